// The desktop notification, with a service on a bus of the test's own.

#include "platform/qt/desktop/notification.h"

#include <gmock/gmock.h>

#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTimer>

#include "tests/qt/support/widget_test.h"
#include "tests/support/desktop/notification_service.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/wait.h"

namespace velunor {
namespace {

using ::testing::ElementsAre;
using testing::NotificationService;
using testing::Notifying;

class NotificationTest : public ::testing::Test {
  protected:
    NotificationTest()
        : connection_(QDBusConnection::connectToBus(QString::fromStdString(bus_.address()),
                                                    "notification")),
          notification(connection_) {
        QGuiApplication::setDesktopFileName("velunor-test");
        QObject::connect(&notification, &DesktopNotification::clicked,
                         [this](const QByteArray& token) { clicks.push_back(token); });
    }
    void TearDown() override {
        QDBusConnection::disconnectFromBus("notification");
        QGuiApplication::setDesktopFileName({});
    }
    [[nodiscard]] std::string address() const { return bus_.address(); }
    void show(const QString& title = "Title") {
        notification.show({"Agent", title, "<b>Body</b> & more"});
    }
    /// Whether so many have been shown, and the program knows of the last one.
    [[nodiscard]] bool isShown(const NotificationService& service, std::size_t times = 1) {
        return waitUntil([&] { return service.shown().size() == times; }) && answersAreIn();
    }
    /// Handles what is on its way to the program.
    [[nodiscard]] bool answersAreIn() {
        bool answered = false;
        QDBusPendingCallWatcher watcher(
            connection_.interface()->asyncCall("NameHasOwner", "org.example.Nobody"));
        QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, [&] { answered = true; });
        return waitUntil([&] { return answered; });
    }
    /// Clicks on the last one; whether the program hears of it.
    [[nodiscard]] bool isHeard(NotificationService& service, const std::string& action,
                               const std::string& token) {
        QTimer heard;
        connection_.connect(QString(), "/org/freedesktop/Notifications",
                            "org.freedesktop.Notifications", "ActionInvoked", &heard,
                            SLOT(start()));
        service.click(action, token);
        return waitUntil([&] { return heard.isActive(); });
    }

  private:
    testing::TemporaryDirectory directory_;
    testing::PrivateBus bus_{directory_.path()};
    QDBusConnection connection_;

  protected:
    DesktopNotification notification;
    std::vector<QByteArray> clicks;
};

TEST_F(NotificationTest, SaysWhoTellsWhatAndStaysUntilItIsTakenBack) {
    NotificationService service(address());
    show();
    ASSERT_TRUE(isShown(service));
    const testing::Notification told = service.shown().front();
    EXPECT_EQ(told.application, "Agent");
    EXPECT_EQ(told.replaced, 0U);
    EXPECT_EQ(told.icon, "velunor-test");
    EXPECT_EQ(told.title, "Title");
    EXPECT_EQ(told.body, "<b>Body</b> & more");
    EXPECT_THAT(told.actions, ElementsAre("default", "Title"));
    EXPECT_EQ(told.desktopEntry, "velunor-test");
    EXPECT_EQ(told.urgency, 2) << "others are kept back while a window fills the screen";
    EXPECT_EQ(told.timeOut, 0) << "it stays";
    EXPECT_THAT(service.withdrawn(), ElementsAre());
    notification.withdraw();
    EXPECT_TRUE(waitUntil([&] { return service.withdrawn() == std::vector{1U}; }));
    // There is no more to take back.
    notification.withdraw();
    notification.withdrawAtEnd();
    ASSERT_TRUE(answersAreIn());
    EXPECT_THAT(service.withdrawn(), ElementsAre(1U));
}

TEST_F(NotificationTest, IsLiteralWhereTheServiceTakesMarkup) {
    NotificationService service(address(), Notifying::withMarkup);
    show();
    ASSERT_TRUE(isShown(service));
    EXPECT_EQ(service.shown().front().body, "&lt;b&gt;Body&lt;/b&gt; &amp; more");
}

TEST_F(NotificationTest, ClickBringsTheTokenOnce) {
    NotificationService service(address());
    show();
    ASSERT_TRUE(isShown(service));
    service.click("another");
    service.click();
    EXPECT_TRUE(waitUntil([&] { return !clicks.empty(); }));
    ASSERT_TRUE(answersAreIn());
    EXPECT_THAT(clicks, ElementsAre("token-of-the-test"));
    // Somebody else's notification is none of this program's.
    notification.withdraw();
    service.click();
    const NotificationService* const other = &service;
    ASSERT_TRUE(waitUntil([&] { return other->withdrawn().size() == 1; }));
    ASSERT_TRUE(answersAreIn());
    EXPECT_THAT(clicks, ElementsAre("token-of-the-test"));
}

TEST_F(NotificationTest, TokenOfTheOneBeforeIsNotThatOfTheNext) {
    NotificationService service(address());
    show();
    ASSERT_TRUE(isShown(service));
    ASSERT_TRUE(isHeard(service, "another", "a-token"));
    EXPECT_THAT(clicks, ElementsAre());
    show();
    ASSERT_TRUE(isShown(service, 2));
    ASSERT_TRUE(isHeard(service, "default", ""));
    EXPECT_THAT(clicks, ElementsAre(""));
}

TEST_F(NotificationTest, QuestionIsForgottenWithItsAnswer) {
    const NotificationService service(address());
    const auto asked = [&] { return notification.findChildren<QDBusPendingCallWatcher*>().size(); };
    show();
    EXPECT_EQ(asked(), 1);
    ASSERT_TRUE(isShown(service));
    EXPECT_TRUE(waitUntil([&] { return asked() == 0; }));
}

TEST_F(NotificationTest, NextOneTakesThePlaceOfTheOneBefore) {
    NotificationService service(address());
    show("first");
    ASSERT_TRUE(isShown(service));
    show("second");
    ASSERT_TRUE(isShown(service, 2));
    EXPECT_THAT(service.withdrawn(), ElementsAre(1U));
    service.click();
    EXPECT_TRUE(waitUntil([&] { return clicks.size() == 1; }));
    notification.withdrawAtEnd();
    EXPECT_TRUE(waitUntil([&] { return service.withdrawn() == std::vector{1U, 2U}; }));
}

TEST_F(NotificationTest, WithdrawnBeforeItIsAnsweredForItIsNotLeftThere) {
    NotificationService service(address());
    show();
    notification.withdraw();
    ASSERT_TRUE(waitUntil([&] { return service.calls() > 0; }));
    ASSERT_TRUE(answersAreIn());
    EXPECT_TRUE(service.shown().empty());
    // Asked for twice at once, the last one stays.
    show("first");
    show("second");
    ASSERT_TRUE(isShown(service));
    EXPECT_EQ(service.shown().front().title, "second");
}

TEST_F(NotificationTest, WithdrawnWhileTheServiceShowsItIsTakenBackWithItsAnswer) {
    NotificationService service(address());
    show();
    // The service has it, and its answer waits for this program's loop, which runs a turn at a
    // time.
    ASSERT_TRUE(testing::eventually([&] {
        if (service.shown().size() == 1) {
            return true;
        }
        QCoreApplication::processEvents();
        return false;
    }));
    notification.withdraw();
    EXPECT_THAT(service.withdrawn(), ElementsAre());
    EXPECT_TRUE(waitUntil([&] { return service.withdrawn() == std::vector{1U}; }));
}

TEST_F(NotificationTest, IsTakenBackWithoutTheLoopBeforeTheProcessEnds) {
    const NotificationService service(address());
    show();
    ASSERT_TRUE(isShown(service));
    notification.withdrawAtEnd();
    EXPECT_TRUE(testing::eventually([&] { return service.withdrawn() == std::vector{1U}; }));
}

TEST_F(NotificationTest, ServiceThatIsMissingOrMuteCostsNoTime) {
    QElapsedTimer since;
    since.start();
    show();
    ASSERT_TRUE(answersAreIn());
    notification.withdrawAtEnd();
    const NotificationService mute(address(), Notifying::mutely);
    show();
    ASSERT_TRUE(waitUntil([&] { return mute.calls() == 1; }));
    notification.withdrawAtEnd();
    EXPECT_LT(since.elapsed(), 5000);
    EXPECT_TRUE(mute.shown().empty());
}

}  // namespace
}  // namespace velunor
