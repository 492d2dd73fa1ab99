#include "app/start_up.h"

#include "platform/fatal_stop.h"

namespace velunor {

namespace {

const TarnGlobalVariables& agentVariables() {
    if (gv_globvars == nullptr) {
        fatalStop();
    }
    return *gv_globvars;
}

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    return path;
}

std::string_view parentOf(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const auto slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {};
    }
    return withoutTrailingSlashes(path.substr(0, slash == 0 ? 1 : slash));
}

}  // namespace

std::string secondParentOf(std::string_view path) {
    return std::string(parentOf(parentOf(path)));
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
