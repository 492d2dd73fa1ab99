#pragma once

#include <string>

#include "agent/ltarnutils.h"

namespace velunor {

/// What the window reads of the process-wide environment, by reference to its owner, which must
/// outlive the window.
struct PromptEnvironment {
    const std::string& productName;
    const std::string& basePath;
    const std::string& dataPath;
    const std::string& accessLogPath;
    const I18NUtility& i18nDefault;
};

}  // namespace velunor
