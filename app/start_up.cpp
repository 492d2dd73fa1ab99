#include "app/start_up.h"

#include <filesystem>

#include "platform/fatal_stop.h"

namespace velunor {
namespace {

const TarnGlobalVariables& agentVariables() {
    if (gv_globvars == nullptr) {
        fatalStop();
    }
    return *gv_globvars;
}

}  // namespace

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
    globals.basePath = agentVariables().tarnagentBasePath;
    globals.dataPath = agentVariables().tarnagentDataDictPath;
    globals.logsPath = agentVariables().tarnagentLogPath;
    globals.productName = UtilsWrapper().productName();
    globals.accessLogPath = globals.logsPath + "/UserLogs/rebootaccess.log";
    if (globals.i18nDefault.loadI18NPropertyFile() != 0) {
        log.write("Loading Application Prop Failed");
        processExit.exit(1);
    }
}

}  // namespace velunor
