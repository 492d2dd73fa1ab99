#include <QApplication>
#include <QLineEdit>
#include <QPalette>
#include <cmath>

#include "platform/qt/desktop/appearance.h"
#include "platform/qt/widgets/text_button.h"
#include "platform/qt/widgets/text_label.h"
#include "tests/qt/ui/prompt_window_fixture.h"

namespace velunor {
namespace {

using ThemedWindowTest = PromptWindowTest;

TEST_F(ThemedWindowTest, FollowsTheDesktopsSchemeWhileItIsShown) {
    const QPalette before = QApplication::palette();
    QApplication::setPalette(QPalette(QColor(0xF0, 0xF0, 0xF0)));
    show();
    const QRgb light = window.grab().toImage().pixel(210, 4);

    QPalette dark(QColor(0x30, 0x30, 0x30), QColor(0x20, 0x20, 0x20));
    dark.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(dark);
    QCoreApplication::processEvents();
    const QRgb shown = window.grab().toImage().pixel(210, 4);
    QApplication::setPalette(before);

    EXPECT_GT(qGray(light), 200);
    EXPECT_LT(qGray(shown), 80);
}

double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

/// Contrast of two colours by the web accessibility guidelines, from 1 to 21.
double contrast(const QColor& one, const QColor& other) {
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

/// A look that the desktop asks for, and the contrast that texts and outlines have at least.
struct Look {
    const char* name;
    bool highContrast;
    double ofTexts;
    double ofOutlines;
};

class ThemeTest : public ::testing::TestWithParam<Look> {
  protected:
    void SetUp() override { setHighContrast(GetParam().highContrast); }
    void TearDown() override { setHighContrast(false); }
};

TEST_P(ThemeTest, HasEnoughContrastInBothSchemes) {
    QPalette dark(QColor(0x30, 0x30, 0x30), QColor(0x20, 0x20, 0x20));
    dark.setColor(QPalette::WindowText, Qt::white);
    for (const QPalette& palette : {QPalette(QColor(0xF0, 0xF0, 0xF0)), dark}) {
        const Theme& theme = themeFor(palette);
        for (const QColor& ground : {theme.card, theme.panel}) {
            EXPECT_GE(contrast(theme.text, ground), GetParam().ofTexts);
            EXPECT_GE(contrast(theme.secondaryText, ground), GetParam().ofTexts);
            EXPECT_GE(contrast(theme.link, ground), GetParam().ofTexts);
            EXPECT_GE(contrast(theme.fieldBorder, ground), GetParam().ofOutlines);
            EXPECT_GE(contrast(theme.buttonBorder, ground), GetParam().ofOutlines);
        }
        for (const QColor& plate : {theme.accent, theme.accentHover, theme.accentPressed}) {
            EXPECT_GE(contrast(theme.onAccent, plate), GetParam().ofTexts);
        }
        for (const QColor& plate : {theme.button, theme.buttonHover, theme.buttonPressed}) {
            EXPECT_GE(contrast(theme.text, plate), GetParam().ofTexts);
        }
        EXPECT_GE(contrast(theme.link, theme.linkHover), GetParam().ofTexts);
        EXPECT_GE(contrast(theme.noticeText, theme.notice), GetParam().ofTexts);
        EXPECT_GE(contrast(theme.refused, theme.panel), GetParam().ofOutlines);
        EXPECT_GE(contrast(theme.refused, theme.field), GetParam().ofOutlines);
        EXPECT_GE(contrast(theme.text, theme.field), GetParam().ofTexts);
        EXPECT_GE(contrast(theme.secondaryText, theme.field), GetParam().ofTexts);
    }
}

TEST_P(ThemeTest, IsDarkOnlyWhereTextIsLighterThanItsGround) {
    QPalette palette(QColor(0x30, 0x30, 0x30), QColor(0x20, 0x20, 0x20));
    const auto isDarkWith = [&](const QColor& text) {
        palette.setColor(QPalette::WindowText, text);
        return themeFor(palette).dark;
    };
    EXPECT_TRUE(isDarkWith(QColor(0x21, 0x21, 0x21)));
    EXPECT_FALSE(isDarkWith(QColor(0x20, 0x20, 0x20)));
    EXPECT_FALSE(isDarkWith(QColor(0x1F, 0x1F, 0x1F)));
}

class ThemedWindowInALook : public PromptWindowTest, public ::testing::WithParamInterface<Look> {
  protected:
    void SetUp() override { setHighContrast(GetParam().highContrast); }
    void TearDown() override { setHighContrast(false); }
};

/// The strongest contrast within a part of a picture: of a text and its ground.
double contrastWithin(const QImage& picture, const QRect& part) {
    QColor lightest = picture.pixelColor(part.center());
    QColor darkest = lightest;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            const QColor color = picture.pixelColor(x, y);
            lightest = luminance(color) > luminance(lightest) ? color : lightest;
            darkest = luminance(color) < luminance(darkest) ? color : darkest;
        }
    }
    return contrast(lightest, darkest);
}

TEST_P(ThemedWindowInALook, ShowsEveryTextWithEnoughContrast) {
    const QPalette before = QApplication::palette();
    prompt.credentials = true;
    prompt.notice = true;
    QPalette dark(QColor(0x30, 0x30, 0x30), QColor(0x20, 0x20, 0x20));
    dark.setColor(QPalette::WindowText, Qt::white);
    for (const QPalette& palette : {QPalette(QColor(0xF0, 0xF0, 0xF0)), dark}) {
        QApplication::setPalette(palette);
        show();
        const QImage picture = window.grab().toImage();
        for (const TextLabel* label : window.findChildren<TextLabel*>()) {
            const QRect place(label->mapTo(&window, QPoint(0, 0)), label->size());
            EXPECT_GE(contrastWithin(picture, place), GetParam().ofTexts)
                << label->objectName().toStdString();
        }
        for (const TextButton* button : window.findChildren<TextButton*>()) {
            // Within the plate, whose outline is not the text.
            const QRect place(button->mapTo(&window, QPoint(0, 0)), button->size());
            EXPECT_GE(contrastWithin(picture, place.adjusted(8, 8, -8, -8)), GetParam().ofTexts)
                << button->objectName().toStdString();
        }
    }
    QApplication::setPalette(before);
}

TEST_F(ThemedWindowTest, FollowsHighContrastWhileItIsShown) {
    prompt.credentials = true;
    show();
    auto& field = *window.findChild<QLineEdit*>("passwordTextFiled");
    const auto outline = [&] {
        const QImage picture = field.grab().toImage();
        // In the middle of the upper edge, inwards.
        int width = 0;
        while (picture.pixelColor(picture.width() / 2, width) != currentTheme().field) {
            ++width;
        }
        return width;
    };
    EXPECT_EQ(outline(), 1);
    setHighContrast(true);
    QCoreApplication::processEvents();
    EXPECT_EQ(outline(), 2);
    EXPECT_EQ(field.palette().color(QPalette::PlaceholderText), QColor(Qt::black));
    window.activateWindow();
    field.setFocus();
    EXPECT_EQ(outline(), 3);
    setHighContrast(false);
    QCoreApplication::processEvents();
    EXPECT_EQ(outline(), 2);
}

TEST_F(ThemedWindowTest, HasNoMixedColoursInHighContrastButAtTheEdgesOfLetters) {
    setHighContrast(true);
    prompt.credentials = true;
    prompt.notice = true;
    show();
    const QImage picture = window.grab().toImage();
    setHighContrast(false);
    // Along a line between two texts everything is black or white.
    const auto& panel = *window.findChild<QWidget*>("credentailsRequiredView");
    const int y = panel.mapTo(&window, QPoint(0, 4)).y();
    for (int x = 0; x < picture.width(); ++x) {
        const QColor color = picture.pixelColor(x, y);
        EXPECT_TRUE(color == Qt::white || color == Qt::black) << x;
    }
}

constexpr Look usualLook{"Usual", false, 4.5, 3.0};
constexpr Look strongLook{"HighContrast", true, 7.0, 7.0};

INSTANTIATE_TEST_SUITE_P(InALook, ThemeTest, ::testing::Values(usualLook, strongLook),
                         [](const auto& look) { return look.param.name; });
INSTANTIATE_TEST_SUITE_P(InALook, ThemedWindowInALook, ::testing::Values(usualLook, strongLook),
                         [](const auto& look) { return look.param.name; });

}  // namespace
}  // namespace velunor
