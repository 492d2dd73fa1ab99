#include "agent/ltarnutils.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <utility>

#include "agent/linux/library_log.h"
#include "agent/linux/settings.h"
#include "agent/linux/texts.h"
#include "platform/file.h"
#include "platform/posix/file_descriptor.h"

namespace velunor {

const TarnGlobalVariables* gv_globvars = nullptr;

namespace {

/// The library's state. Never destroyed, because a thread of the library may outlive main.
struct LibraryState {
    TarnGlobalVariables variables;
    AgentSettings settings;
    bool settingsFailed = false;
};

LibraryState& state() {
    static auto* const instance = new LibraryState;
    return *instance;
}

std::string errorText(int number) {
    return std::generic_category().message(number);
}

/// Has the file system keep room for this many bytes behind the file's end: a write that meets the
/// end of the room takes what fits, and an entry would be torn. 0, or else errno's number. Where
/// room cannot be kept the write itself has to tell.
int keepRoom(int file, off_t end, std::size_t length) {
    const auto added = static_cast<off_t>(length);
    rlimit largest{};
    if (getrlimit(RLIMIT_FSIZE, &largest) == 0 &&
        static_cast<rlim_t>(end + added) > largest.rlim_cur) {
        return EFBIG;
    }
    if (fallocate(file, FALLOC_FL_KEEP_SIZE, end, added) == 0) {
        return 0;
    }
    return errno == ENOSPC || errno == EDQUOT ? errno : 0;
}

std::string pathOfLanguage(const std::string& language) {
    return state().variables.tarnagentBasePath + "/i18n/application_" + language + ".properties";
}

/// The pairs of one property file, or the line that says why there are none.
Expected<Properties> loadFile(const std::string& path) {
    const auto bytes = readWholeFile(path);
    if (!bytes) {
        return Error{path + ": " + bytes.error().description};
    }
    const auto& content = *bytes;
    return parseProperties({reinterpret_cast<const char*>(content.data()), content.size()}, path);
}

/// The texts in the first of the languages that has a usable file. A regional language such as
/// pt_BR takes from the ones that it falls back to what it lacks itself.
Properties loadPreferred(const std::vector<std::string>& languages) {
    Properties texts;
    std::vector<std::string> wanted = languages;
    for (const std::string& language : languages) {
        const std::string path = pathOfLanguage(language);
        if (std::find(wanted.begin(), wanted.end(), language) == wanted.end() ||
            !fileExists(path)) {
            continue;
        }
        auto result = loadFile(path);
        if (!result) {
            library_log::write(result.error().description);
            continue;
        }
        texts.merge(*result);
        wanted = languageWithFallbacks(language);
    }
    return texts;
}

}  // namespace

const AgentSettings& loadedSettings() {
    return state().settings;
}

void TarnUtilMac::initializeTarnGlobal() {
    gv_globvars = &state().variables;
}

void TarnUtilMac::initializeAgentParams() {
    const auto path = settingsPath();
    auto result = path ? loadSettings(*path) : Expected<AgentSettings>(path.error());
    if (!result) {
        state().settingsFailed = true;
        library_log::writeError(result.error().description);
        return;
    }
    AgentSettings& settings = state().settings = *std::move(result);
    state().variables = {.tarnagentBasePath = settings.basePath,
                         .tarnagentDataDictPath = settings.dataPath,
                         .tarnagentLogPath = settings.logPath};
    for (const std::string& line : settings.unknownKeys) {
        library_log::write(line);
    }
}

bool UtilsWrapper::changeDirectoryTo(const std::string& path) const {
    return ::chdir(path.c_str()) == 0;
}

std::string UtilsWrapper::productName() const {
    return state().settings.productName;
}

void UtilsWrapper::printAccessToFile(const std::string& path, std::string_view logContent) const {
    const FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen()) {
        library_log::write(path + ": " + errorText(errno));
        return;
    }
    struct stat about {};
    if (fstat(file.get(), &about) != 0 || !S_ISREG(about.st_mode)) {
        library_log::write(path + ": Not a regular file");
        return;
    }
    int error = keepRoom(file.get(), about.st_size, logContent.size());
    if (error == 0) {
        // One write for the entry, so that the entries of several users do not mix.
        error = writeWhole(file.get(), logContent);
    }
    if (error != 0) {
        library_log::write(path + ": " + errorText(error));
    }
}

void Log::changeLogStream(const std::string& fileName, bool isUserLog) {
    const std::string& logPath = state().variables.tarnagentLogPath;
    const bool plainName = fileName.find('/') == std::string::npos;
    const std::string folder = isUserLog ? logPath + "/UserLogs/" : logPath + "/";
    library_log::open(logPath.empty() || !plainName ? std::string() : folder + fileName + ".log");
}

int I18NUtility::loadI18NPropertyFile() {
    constexpr int failed = 1;
    if (state().settingsFailed) {
        return failed;
    }
    auto english = loadFile(pathOfLanguage("en"));
    if (!english) {
        library_log::writeError(english.error().description);
        return failed;
    }
    texts_ = loadPreferred(sessionLanguages());
    // What the language lacks stays English.
    texts_.merge(*english);
    return 0;
}

std::optional<std::string> I18NUtility::getValueForKeyString(std::string_view key) const {
    const auto found = texts_.find(key);
    return found == texts_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace velunor
