#include <gtest/gtest.h>

#include <QFontMetrics>
#include <QGlyphRun>
#include <QLineEdit>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextLayout>
#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "platform/qt/widgets/text_button.h"
#include "platform/qt/widgets/text_label.h"
#include "tests/qt/support/offscreen_screen.h"
#include "tests/qt/support/sample_states.h"

namespace velunor {
namespace {

using Complaints = std::vector<std::string>;

/// The room that a word-wrapped text takes at this width, by another measure than the window's own:
/// wider than that when one of its words is.
QSize roomOf(const QString& text, const QFont& font, int width) {
    constexpr int endless = 1 << 20;
    return QFontMetrics(font)
        .boundingRect(QRect(0, 0, width, endless), Qt::AlignLeft | Qt::TextWordWrap, text)
        .size();
}

/// Whether the text may break inside its words: a name of the machine's making.
bool isName(const QWidget& label) {
    return label.objectName() == "updateDescription" || label.objectName() == "userNameLabel";
}

/// Whether the machine's fonts have all letters of the text: what a missing one would take says
/// nothing about the real one.
bool hasLetters(const QString& text, const QFont& font) {
    QTextLayout layout(text, font);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    const QList<QGlyphRun> runs = layout.glyphRuns();
    return std::none_of(runs.begin(), runs.end(),
                        [](const QGlyphRun& run) { return run.glyphIndexes().contains(0); });
}

void checkText(const QWidget& control, const QString& text, const QFont& font, const QSize& box,
               Complaints& complaints) {
    const std::string name = control.objectName().toStdString();
    if (!hasLetters(text, font)) {
        complaints.push_back(name + ": no font has its letters; are the Noto fonts installed?");
    }
    const QSize room = roomOf(text, font, box.width());
    if (room.width() > box.width() && !isName(control)) {
        complaints.push_back(name + ": a word is wider than its box");
    }
    if (room.height() > box.height()) {
        complaints.push_back(name + ": the text is taller than its box");
    }
    if (control.hasHeightForWidth() && control.heightForWidth(control.width()) > control.height()) {
        complaints.push_back(name + ": the box is lower than it asks for");
    }
}

/// Every visible control in `contents` that has something to read or to type.
std::vector<const QWidget*> controlsIn(const QWidget& contents) {
    std::vector<const QWidget*> controls;
    for (const QWidget* control : contents.findChildren<QWidget*>()) {
        const bool isText = qobject_cast<const TextLabel*>(control) != nullptr ||
                            qobject_cast<const TextButton*>(control) != nullptr ||
                            qobject_cast<const QLineEdit*>(control) != nullptr;
        if (isText && control->isVisible()) {
            controls.push_back(control);
        }
    }
    return controls;
}

QRect placeIn(const QWidget& contents, const QWidget& control) {
    return {control.mapTo(&contents, QPoint(0, 0)), control.size()};
}

/// No control leaves the part of the card it belongs to, and none lies over another.
void checkPlaces(const QScrollArea& area, Complaints& complaints) {
    const QWidget& contents = *area.widget();
    if (contents.width() > area.viewport()->width()) {
        complaints.push_back(area.objectName().toStdString() + ": wider than the card");
    }
    const auto controls = controlsIn(contents);
    for (auto one = controls.begin(); one != controls.end(); ++one) {
        const std::string name = (*one)->objectName().toStdString();
        const QRect place = placeIn(contents, **one);
        if (!contents.rect().contains(place)) {
            complaints.push_back(name + ": not on the card");
        }
        for (auto other = std::next(one); other != controls.end(); ++other) {
            if (place.intersects(placeIn(contents, **other))) {
                complaints.push_back(name + ": lies over " + (*other)->objectName().toStdString());
            }
        }
    }
}

/// What a person would see wrong. A body that is taller than the screen scrolls where it
/// `mayScroll`.
Complaints complaintsAbout(const PromptWindow& window, bool mayScroll) {
    Complaints complaints;
    for (const auto* label : window.findChildren<TextLabel*>()) {
        if (label->isVisible()) {
            const QString shown = boundedText({label->text(), {}}).text;
            checkText(*label, shown, label->textFont(), label->size(), complaints);
        }
    }
    for (const auto* button : window.findChildren<TextButton*>()) {
        if (button->isVisible()) {
            const QString shown = boundedText({button->literalText(), {}}).text;
            checkText(*button, shown, button->textFont(), button->textRoom().size(), complaints);
        }
    }
    for (const auto* field : window.findChildren<QLineEdit*>()) {
        if (!field->isVisible()) {
            continue;
        }
        // The editor keeps two points free at either end of its text.
        const int room =
            field->width() - field->textMargins().left() - field->textMargins().right() - 4;
        if (field->fontMetrics().horizontalAdvance(field->placeholderText()) > room) {
            complaints.push_back(field->objectName().toStdString() + ": its name is cut");
        }
        if (field->placeholderText().isEmpty()) {
            complaints.push_back(field->objectName().toStdString() + ": shows no name");
        }
    }
    const auto& body = *window.findChild<QScrollArea*>("bodyArea");
    const auto& timer = *window.findChild<QScrollArea*>("timerArea");
    const auto& footer = *window.findChild<QScrollArea*>("footerArea");
    checkPlaces(body, complaints);
    checkPlaces(timer, complaints);
    checkPlaces(footer, complaints);
    if (!mayScroll && body.verticalScrollBar()->maximum() > 0) {
        complaints.emplace_back("a part of the texts is out of sight");
    }
    if (timer.verticalScrollBar()->maximum() > 0 || footer.verticalScrollBar()->maximum() > 0) {
        complaints.emplace_back("a part of the countdown or the buttons is out of sight");
    }
    for (const QScrollArea* area : {&body, &timer, &footer}) {
        if (!window.rect().contains(placeIn(window, *area))) {
            complaints.push_back(area->objectName().toStdString() + ": leaves the card");
        }
    }
    const QSize usable = QGuiApplication::primaryScreen()->availableGeometry().size();
    if (window.width() > usable.width() || window.height() > usable.height()) {
        complaints.emplace_back("the window is larger than the screen");
    }
    return complaints;
}

std::string listed(const Complaints& complaints) {
    std::string list;
    for (const std::string& complaint : complaints) {
        list += complaint + '\n';
    }
    return list;
}

/// Texts on a screen of so many points.
template <int width, int height>
class TextsOnAScreen : public testing::TestWithParam<std::string> {
  protected:
    static void SetUpTestSuite() {
        application_ = std::make_unique<OffscreenApplication>(width, height);
        setDesktopTextScale(1);
    }
    static void TearDownTestSuite() { application_.reset(); }
    void SetUp() override { ASSERT_TRUE(application_->isReady()); }
    void TearDown() override { setDesktopTextScale(1); }

  private:
    static inline std::unique_ptr<OffscreenApplication> application_;
};

class TextFitsTest : public TextsOnAScreen<1280, 800> {};
class SmallScreenTest : public TextsOnAScreen<640, 480> {};

TEST_P(TextFitsTest, InEveryState) {
    for (const SampleState& state : sampleStates()) {
        PromptWindow window;
        ASSERT_TRUE(showState(window, state, GetParam()));
        const bool mayScroll = std::string(state.name) == "long_texts";
        EXPECT_EQ(listed(complaintsAbout(window, mayScroll)), "") << state.name;
    }
}

TEST_P(TextFitsTest, InEveryStateAtEachTextSizeOfADesktop) {
    for (const double scale : {1.25, 1.5, 2.0}) {
        setDesktopTextScale(scale);
        for (const SampleState& state : sampleStates()) {
            PromptWindow window;
            ASSERT_TRUE(showState(window, state, GetParam()));
            EXPECT_EQ(listed(complaintsAbout(window, true)), "") << state.name << " " << scale;
        }
    }
}

TEST_P(TextFitsTest, NoticesALabelThatIsTooNarrow) {
    PromptWindow window;
    ASSERT_TRUE(showState(window, sampleStates().front(), GetParam()));
    auto& label = *window.findChild<TextLabel*>("messageLabel");
    label.resize(label.width() / 3, label.height());

    EXPECT_NE(listed(complaintsAbout(window, true)), "");
}

/// The controls that a person must always see.
constexpr std::array alwaysInSight{"timerInfoLabel", "postponeAttemptsRemainingLabel",
                                   "postponeButton", "updateNowButton"};

TEST_P(SmallScreenTest, KeepsCountdownAttemptsAndButtonsInSight) {
    setDesktopTextScale(2);
    for (const int words : {0, 2000}) {
        const SampleState state{.name = "administrators_texts",
                                .prepare =
                                    [words](SamplePrompt& prompt) {
                                        for (int count = 0; count < words; ++count) {
                                            prompt.message += " word";
                                        }
                                        prompt.credentials = true;
                                        prompt.notice = true;
                                    },
                                .proceeds = words > 0};
        PromptWindow window;
        ASSERT_TRUE(showState(window, state, GetParam()));
        QScrollBar& bar = *window.findChild<QScrollArea*>("bodyArea")->verticalScrollBar();
        ASSERT_GT(bar.maximum(), 0);
        for (const int place : {0, bar.maximum()}) {
            bar.setValue(place);
            for (const char* name : alwaysInSight) {
                const auto& control = *window.findChild<QWidget*>(name);
                EXPECT_EQ(control.visibleRegion(), QRegion(control.rect())) << name;
            }
        }
        EXPECT_EQ(listed(complaintsAbout(window, true)), "") << words;
        // Something is left of the texts as well.
        EXPECT_GE(window.findChild<QWidget*>("bodyArea")->height(), window.height() / 4);
    }
}

INSTANTIATE_TEST_SUITE_P(Languages, SmallScreenTest, testing::ValuesIn(shippedLanguages()),
                         [](const auto& each) { return each.param; });

INSTANTIATE_TEST_SUITE_P(Languages, TextFitsTest, testing::ValuesIn(shippedLanguages()),
                         [](const auto& each) { return each.param; });

}  // namespace
}  // namespace velunor
