#pragma once

// The agent's utility library as this program uses it, and nothing else of it. The classes are
// concrete; which implementation stands behind them is settled when the program is linked. Names
// such as `tarnagentBasePath` are the library's own and are kept on purpose.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/interface.h"
#include "platform/secret.h"

namespace velunor {

/// The agent's directories. Absolute paths; empty where the agent's settings could not be read.
struct TarnGlobalVariables {
    std::string tarnagentBasePath;
    std::string tarnagentDataDictPath;
    std::string tarnagentLogPath;
};

/// The library's global variables: null until `TarnUtilMac::initializeTarnGlobal` has run. Written
/// during start-up on the main thread, read-only afterwards.
extern const TarnGlobalVariables* gv_globvars;

/// Initialisation of the library. Main thread only.
class TarnUtilMac {
  public:
    /// Sets up the library's global state, `gv_globvars` included.
    void initializeTarnGlobal();

    /// Loads the agent's parameters (directories, product data). An error is reported by the
    /// library itself and makes the localisation load fail.
    void initializeAgentParams();
};

/// Small services of the library. Made for one use and dropped. Main thread only.
class UtilsWrapper {
  public:
    /// Makes `path` the working directory; whether that worked is the answer.
    [[nodiscard]] bool changeDirectoryTo(const std::string& path) const;

    /// Display name of the agent product.
    [[nodiscard]] std::string productName() const;

    /// Appends the text to the end of an existing regular file exactly as given. Creates nothing; a
    /// failure goes to the library's own log.
    void printAccessToFile(const std::string& path, std::string_view logContent) const;
};

/// The library's own log output.
class Log {
  public:
    /// Sends the library's log output of this process to the stream `fileName`, a per-user one
    /// when `isUserLog`. Main thread only.
    static void changeLogStream(const std::string& fileName, bool isUserLog);
};

/// The localised texts. Loaded on the main thread, then readable from any.
class I18NUtility {
  public:
    /// Loads the texts for the user's language. 0 on success, anything else on failure.
    int loadI18NPropertyFile();

    /// The text of `key`, or none when it has no text.
    [[nodiscard]] std::optional<std::string> getValueForKeyString(std::string_view key) const;

  private:
    std::map<std::string, std::string, std::less<>> texts_;
};

/// The agent service as a client sees it.
class AgentService : public Interface {
  public:
    using ReplyData = std::function<void(const std::string& reply)>;

    /// Hands `message` to the service under the request key and returns without waiting. The
    /// callback runs once with the service's reply, on a thread of the library; it never runs when
    /// the service gives no reply. The library wipes its copy of the message after use. One
    /// message only; main thread.
    virtual void replyDataBlockForKey(const std::string& key, Secret message,
                                      ReplyData withReplyData) = 0;
};

/// A connection to the agent service, made afresh for each message. Main thread only.
class AgentServiceConnection {
  public:
    /// The service, or null when it cannot be reached. Does not block on a service that is silent.
    [[nodiscard]] std::shared_ptr<AgentService> getService() const;
};

}  // namespace velunor
