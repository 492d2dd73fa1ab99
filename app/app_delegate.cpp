#include "app/app_delegate.h"

namespace velunor {

AppDelegate::AppDelegate(Application& application, ProcessActivity& processActivity)
    : application_(application), processActivity_(processActivity) {}

void AppDelegate::applicationDidFinishLaunching() {
    activity_ = processActivity_.beginUserInitiated("Timer Enabled");
    const std::vector<Window*> windows = application_.windows();
    if (!windows.empty()) {
        windows.front()->setLevel(floatingWindowLevel);
    }
}

void AppDelegate::applicationWillTerminate() {
    if (activity_) {
        processActivity_.end(*activity_);
    }
}

}  // namespace velunor
