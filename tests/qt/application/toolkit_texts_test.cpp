#include "platform/qt/application/toolkit_texts.h"

#include <QAction>
#include <QMenu>

#include "platform/qt/widgets/text_fields.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

/// The texts of the menu of a field for plain text.
std::string menuTexts() {
    CustomTextField field;
    const std::unique_ptr<QMenu> menu(field.createStandardContextMenu());
    QString texts;
    for (const QAction* action : menu->actions()) {
        texts += action->text() + '\n';
    }
    return texts.remove('&').toStdString();
}

TEST(ToolkitTextsTest, AreInTheFirstLanguageThatHasThem) {
    EXPECT_NE(menuTexts().find("Paste"), std::string::npos);

    auto texts = useToolkitTexts({"tlh", "de_AT", "fr"});
    ASSERT_NE(texts, nullptr) << "is qt6-translations-l10n installed?";
    EXPECT_NE(menuTexts().find("Einf\u00FCgen"), std::string::npos) << menuTexts();
    EXPECT_EQ(menuTexts().find("Paste"), std::string::npos) << menuTexts();

    texts.reset();
    EXPECT_NE(menuTexts().find("Paste"), std::string::npos);
}

TEST(ToolkitTextsTest, StayEnglishForALanguageWithoutThem) {
    EXPECT_EQ(useToolkitTexts({"tlh"}), nullptr);
    EXPECT_EQ(useToolkitTexts({}), nullptr);
}

}  // namespace
}  // namespace velunor
