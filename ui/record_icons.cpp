// Records vector pictures as what a painter does to draw them, so that the program itself need not
// load the toolkit's SVG module, which costs more than the pictures. Run while building:
// record_icons DIRECTORY FILE.svg... writes DIRECTORY/FILE.picture of each.

#include <QCoreApplication>
#include <QFileInfo>
#include <QPainter>
#include <QPicture>
#include <QSvgRenderer>
#include <cstdlib>
#include <iostream>

#include "platform/qt/widgets/picture_view.h"

namespace {

bool record(const QString& file, const QString& directory) {
    QSvgRenderer renderer(file);
    if (!renderer.isValid()) {
        return false;
    }
    QPicture picture;
    QPainter painter(&picture);
    renderer.render(&painter,
                    QRectF(0, 0, velunor::recordedPictureSide, velunor::recordedPictureSide));
    painter.end();
    return picture.save(directory + '/' + QFileInfo(file).completeBaseName() + ".picture");
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    for (const QString& file : arguments.sliced(2)) {
        if (!record(file, arguments.at(1))) {
            std::cerr << file.toStdString() << ": no picture that can be recorded\n";
            return EXIT_FAILURE;
        }
    }
    return EXIT_SUCCESS;
}
