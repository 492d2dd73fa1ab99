#include "tests/qt/widget_test.h"

#include <QApplication>
#include <memory>

namespace {

/// The application object that every widget needs, for the whole test program.
class WidgetEnvironment : public testing::Environment {
  public:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        application_ = std::make_unique<QApplication>(argumentCount_, arguments_);
    }
    void TearDown() override { application_.reset(); }

  private:
    char name_[9] = "qt_tests";
    int argumentCount_ = 1;
    char* arguments_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> application_;
};

[[maybe_unused]] testing::Environment* const environment =
    testing::AddGlobalTestEnvironment(new WidgetEnvironment);

}  // namespace
