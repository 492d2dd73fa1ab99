#include "app/start_up.h"

#include <filesystem>

#include "platform/fatal_stop.h"

namespace velunor {

std::string secondParentOf(std::string_view path) {
    std::filesystem::path folder(path);
    if (!folder.has_filename()) {
        folder = folder.parent_path();
    }
    return folder.parent_path().parent_path().string();
}

void fillGlobals(Globals& globals, const ProcessInfo& processInfo, SystemLog& log,
                 ProcessExit& processExit) {
    globals.bundlePath = processInfo.bundlePath();
    globals.secondParentPath = secondParentOf(globals.bundlePath);
    // The prompt works from any directory, so a refused change is no reason to stop.
    static_cast<void>(UtilsWrapper().changeDirectoryTo(globals.secondParentPath));
    globals.name = processInfo.userName();
    globals.logName = "OSUpdateNotification_" + globals.name;
    globals.util.initializeTarnGlobal();
    globals.util.initializeAgentParams();
    Log::changeLogStream(globals.logName, true);
    if (gv_globvars == nullptr) {
        fatalStop();
    }
    globals.basePath = gv_globvars->tarnagentBasePath;
    globals.dataPath = gv_globvars->tarnagentDataDictPath;
    globals.logsPath = gv_globvars->tarnagentLogPath;
    globals.productName = UtilsWrapper().productName();
    globals.accessLogPath = globals.logsPath + "/UserLogs/rebootaccess.log";
    if (globals.i18nDefault.loadI18NPropertyFile() != 0) {
        log.write("Loading Application Prop Failed");
        processExit.exit(1);
    }
}

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
