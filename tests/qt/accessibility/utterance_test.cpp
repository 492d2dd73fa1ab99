// What a screen reader meets of something that is said.

#include <gtest/gtest.h>

#include <QAccessible>
#include <QCoreApplication>

#include "platform/qt/accessibility/accessibility.h"

namespace velunor {
namespace {

class UtteranceTest : public ::testing::Test {
  protected:
    QAccessibleInterface& said(const QString& text) {
        announcer.announce(text);
        return *QAccessible::queryAccessibleInterface(announcer.children().constLast());
    }

    Announcer announcer;
};

TEST_F(UtteranceTest, IsANotificationOfTheProgramAndHasNothingInIt) {
    QAccessibleInterface& utterance = said("text");
    EXPECT_EQ(utterance.role(), QAccessible::Notification);
    EXPECT_EQ(utterance.text(QAccessible::Name), "text");
    EXPECT_EQ(utterance.text(QAccessible::Description), "");
    ASSERT_NE(utterance.parent(), nullptr);
    EXPECT_EQ(utterance.parent()->object(), QCoreApplication::instance());
    EXPECT_EQ(utterance.childCount(), 0);
    EXPECT_EQ(utterance.child(0), nullptr);
    EXPECT_EQ(utterance.indexOfChild(utterance.parent()), -1);
    EXPECT_FALSE(utterance.state().invisible);
}

TEST_F(UtteranceTest, StaysWhileThreeMoreAreSaid) {
    said("0");
    QObject* first = announcer.children().constFirst();
    for (const char* text : {"1", "2", "3"}) {
        said(text);
    }
    EXPECT_EQ(announcer.children().constFirst(), first);
    said("4");
    EXPECT_EQ(announcer.children().size(), 4);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(announcer.children().constFirst())
                  ->text(QAccessible::Name),
              "1");
}

TEST(AccessibilityEnvironment, NamedBusIsFoundByWayOfTheSession) {
    qputenv("AT_SPI_BUS_ADDRESS", "unix:path=/nowhere");
    prepareAccessibility();
    EXPECT_FALSE(qEnvironmentVariableIsSet("AT_SPI_BUS_ADDRESS"));
    EXPECT_EQ(qgetenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), "1");
    qunsetenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
}

TEST(AccessibilityEnvironment, IsLeftAloneWhereItNamesNone) {
    for (const char* value : {"", "unset"}) {
        qputenv("AT_SPI_BUS_ADDRESS", "");
        if (*value != '\0') {
            qunsetenv("AT_SPI_BUS_ADDRESS");
        }
        prepareAccessibility();
        EXPECT_FALSE(qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"));
    }
    qunsetenv("AT_SPI_BUS_ADDRESS");
}

}  // namespace
}  // namespace velunor
