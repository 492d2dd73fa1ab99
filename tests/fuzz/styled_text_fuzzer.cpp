// A localised text with places for values: it shows each value in its place and nothing else; the
// formats lie within the text and cut no character in two, also where the text is cut short.
#include "platform/qt/application/text_segmenter.h"
#include "platform/qt/widgets/shown_text.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/offscreen_application.h"
#include "tests/support/doubles/fake_directory.h"
#include "tests/support/doubles/fakes.h"
#include "tests/support/doubles/plain_controls.h"
#include "tests/support/doubles/recording_log.h"
#include "tests/support/doubles/recording_services.h"
#include "window/view_controller.h"

namespace velunor {
namespace {

struct Prompt {
    testing::RecordingLog log;
    testing::ManualRunLoop runLoop;
    testing::FakeScreens screens;
    testing::ScriptedPropertyLists propertyLists;
    testing::FakeImageReader images;
    QtTextSegmenter segmenter;
    testing::FakeProcessInfo processInfo;
    testing::ThrowingExit processExit;
    testing::FixedClock clock;
    testing::ScriptedChildProcess childProcess;
    testing::FakeConsoleUsers consoleUsers;
    testing::FakeDirectory accounts;
    testing::PlainControls controls;
    Globals globals;
    ViewController controller{{},
                              globals,
                              {log,
                               runLoop,
                               screens,
                               propertyLists,
                               images,
                               segmenter,
                               processInfo,
                               processExit,
                               clock,
                               childProcess,
                               consoleUsers,
                               accounts,
                               "/the/token",
                               {}},
                              controls.view()};
};

void checkFormats(const ShownText& shown) {
    qsizetype end = 0;
    for (const QTextLayout::FormatRange& range : shown.formats) {
        require(range.start >= end && range.length > 0);
        end = range.start + range.length;
        require(end <= shown.text.size());
        for (const qsizetype edge : {qsizetype{range.start}, end}) {
            require(edge == 0 || edge == shown.text.size() ||
                    !(shown.text.at(edge - 1).isHighSurrogate() &&
                      shown.text.at(edge).isLowSurrogate()));
        }
    }
}

void checkBounded(const ShownText& whole) {
    const ShownText shown = boundedText(whole);
    checkFormats(shown);
    if (shown.text == whole.text) {
        require(shown.text.size() <= mostUnits && shown.formats.size() == whole.formats.size());
        return;
    }
    const qsizetype kept = shown.text.size() - 1;
    require(kept >= 0 && kept <= mostUnits && whole.text.startsWith(shown.text.first(kept)));
    require(kept == 0 || !shown.text.at(kept - 1).isHighSurrogate() ||
            !whole.text.at(kept).isLowSurrogate());
}

}  // namespace

void fuzz(std::string_view input) {
    offscreenApplication();
    static Prompt prompt;
    const std::vector<std::string> parts = partsOf(input);
    const std::vector<std::string> values(parts.begin() + 1, parts.end());
    const AttributedString styled =
        prompt.controller.buildAttributedUpdateString(parts.front(), values);
    std::string expected;
    std::string_view rest = parts.front();
    for (std::size_t index = 0; index < styled.size(); ++index) {
        const std::size_t place = rest.find("%s");
        expected += rest.substr(0, place);
        expected += index < values.size() ? values[index] : "";
        if (place == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(place + 2);
    }
    require(plainText(styled) == expected);
    const ShownText shown = shownText(styled);
    require(!isValidUtf8(input) || shown.text == QString::fromStdString(expected));
    checkFormats(shown);
    checkBounded(shown);
}

}  // namespace velunor
