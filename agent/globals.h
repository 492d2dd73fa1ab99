#pragma once

#include <string>

#include "agent/ltarnutils.h"

namespace velunor {

/// The process-wide environment. Filled once by the entry point, in declaration order, before the
/// main loop starts; read-only afterwards, so any thread may read it.
struct Globals {
    std::string bundlePath;
    std::string secondParentPath;
    std::string name;
    std::string logName;
    TarnUtilMac util;
    std::string basePath;
    std::string dataPath;
    std::string logsPath;
    std::string productName;
    std::string accessLogPath;
    I18NUtility i18nDefault;
};

}  // namespace velunor
