#include "tests/qt/support/widget_test.h"

#include <QApplication>
#include <array>
#include <memory>
#include <string>

namespace {

/// The application object that every widget needs, for the whole test program.
class WidgetEnvironment : public testing::Environment {
  public:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        // The desktop that the tests run on has no say.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        application_ = std::make_unique<QApplication>(argumentCount_, arguments_.data());
    }
    void TearDown() override { application_.reset(); }

  private:
    std::string name_ = "qt_tests";
    int argumentCount_ = 1;
    std::array<char*, 2> arguments_{name_.data(), nullptr};
    std::unique_ptr<QApplication> application_;
};

[[maybe_unused]] testing::Environment* const environment =
    testing::AddGlobalTestEnvironment(new WidgetEnvironment);

}  // namespace
