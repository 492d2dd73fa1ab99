// Tries the prompt on one desktop and prints what it finds, a line for each row of the table:
// desktop, row, outcome, what was found, what was measured, and the reason where that is a limit of
// the desktop.

#include <algorithm>
#include <exception>
#include <iostream>
#include <utility>

#include "tests/desktops/limits.h"
#include "tests/desktops/trial.h"

namespace velunor::testing {
namespace {

using Try = Finding (Trial::*)();

const std::vector<std::pair<std::string, Try>>& rows() {
    static const std::vector<std::pair<std::string, Try>> all{
        {"Typing elsewhere", &Trial::typingElsewhere},
        {"Place", &Trial::place},
        {"Attention", &Trial::attention},
        {"Above other windows", &Trial::aboveOtherWindows},
        {"Every workspace", &Trial::everyWorkspace},
        {"Full screen", &Trial::fullScreen},
        {"Minimised", &Trial::minimized},
        {"Closing", &Trial::closing},
        {"Drag", &Trial::dragging},
        {"Click and type", &Trial::answering}};
    return all;
}

/// Prints the line; whether all is as it is expected.
bool print(const std::string& desktop, const std::string& row, const Finding& finding) {
    const std::optional<Limit> limit = limitOf(desktop, row);
    // A limit that is gone is wrong as well: nobody would take it out of the documents.
    const bool expected = limit && !finding.inOrder && finding.what == limit->found;
    const bool inOrder = expected || (finding.inOrder && !limit);
    std::string measured = finding.measured;
    std::ranges::replace(measured, '\n', ' ');
    std::ranges::replace(measured, '\t', ' ');
    std::cout << desktop << '\t' << row << '\t'
              << (!inOrder   ? "FAIL"
                  : expected ? "limit"
                             : "ok")
              << '\t' << finding.what << '\t' << measured << '\t'
              << (limit ? limit->reason : std::string()) << std::endl;
    return inOrder;
}

void tryOn(const DesktopKind& kind, const std::filesystem::path& pictures) {
    Session session;
    const std::unique_ptr<Desktop> desktop = kind.start(session);
    Trial trial(session, *desktop);
    const auto keepPicture = [&](const std::string& name) {
        writePicture(session.screen().picture(), pictures / (name + ".ppm"));
    };
    for (const auto& [row, tryIt] : rows()) {
        Finding finding{false, "it cannot be tried"};
        try {
            finding = (trial.*tryIt)();
        } catch (const std::exception& error) {
            finding.measured = error.what();
        }
        if (!print(kind.name, row, finding)) {
            keepPicture(kind.name + " " + row);
        }
        if (row == "Place") {
            keepPicture(kind.name);
        }
    }
}

int run(const std::string& name, const std::filesystem::path& pictures) {
    for (const DesktopKind& kind : desktopKinds()) {
        if (name == "--list") {
            std::cout << kind.name << '\t' << kind.system << '\t' << kind.panel << '\t';
            for (const std::string& package : kind.packages) {
                std::cout << package << ' ';
            }
            std::cout << '\n';
        } else if (name == kind.name) {
            tryOn(kind, pictures);
            return 0;
        }
    }
    return name == "--list" ? 0 : 2;
}

}  // namespace
}  // namespace velunor::testing

int main(int count, char** values) {
    if (count < 2) {
        std::cerr << "usage: desktops --list | NAME PICTURES\n";
        return 2;
    }
    try {
        return velunor::testing::run(values[1], count > 2 ? values[2] : ".");
    } catch (const std::exception& error) {
        std::cerr << "desktops: " << values[1] << ": " << error.what() << '\n';
        return 1;
    }
}
