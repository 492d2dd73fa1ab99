#include "tests/support/doubles/agent_recording.h"

namespace velunor {

const TarnGlobalVariables* gv_globvars = nullptr;

namespace testing {

namespace {

std::unique_ptr<AgentRecording>& current() {
    static auto instance = std::make_unique<AgentRecording>();
    return instance;
}

class RecordingService : public AgentService {
  public:
    void replyDataBlockForKey(const std::string& key, Secret message,
                              ReplyData withReplyData) override {
        agent().requests.emplace_back(key, message.reveal());
        if (agent().service == AgentRecording::Service::silent) {
            agent().keptReply = std::move(withReplyData);
            return;
        }
        agent().threads.emplace_back(
            [reply = agent().reply, callback = std::move(withReplyData)] { callback(reply); });
    }
};

}  // namespace

void AgentRecording::join() {
    for (std::thread& thread : threads) {
        thread.join();
    }
    threads.clear();
}

AgentRecording& agent() {
    return *current();
}

void resetAgent() {
    agent().join();
    current() = std::make_unique<AgentRecording>();
    gv_globvars = nullptr;
    agent().texts = {{"tarn.agent.msghand.os_reboot.reboot_title", "Title text"},
                     {"tarn.agent.msghand.os_reboot.reboot_text", "Message text"},
                     {"tarn.agent.msghand.os_reboot.credentials_text", "Credentials text"},
                     {"tarn.agent.msghand.os_reboot.change_username_text", "Change user"},
                     {"tarn.agent.msghand.os_reboot.credentials_not_sufficient", "Not sufficient"},
                     {"tarn.agent.msghand.postpone", "Postpone caption"},
                     {"tarn.agent.msghand.update_now", "Update caption"},
                     {"tarn.agent.msghand.remaining_attempts", "tries left"},
                     {"tarn.agent.msghand.automatic_install_text", "Install in %s:%s."},
                     {"tarn.agent.msghand.automatic_postpone_text", "Postpone in %s:%s."}};
}

}  // namespace testing

using testing::agent;

void TarnUtilMac::initializeTarnGlobal() {
    agent().calls.emplace_back("initializeTarnGlobal");
    gv_globvars = agent().hasGlobals ? &agent().variables : nullptr;
}

void TarnUtilMac::initializeAgentParams() {
    agent().calls.emplace_back("initializeAgentParams");
}

bool UtilsWrapper::changeDirectoryTo(const std::string& path) const {
    agent().calls.push_back("changeDirectoryTo " + path);
    return false;
}

std::string UtilsWrapper::productName() const {
    agent().calls.emplace_back("productName");
    return agent().productName;
}

void UtilsWrapper::printAccessToFile(const std::string& path, std::string_view logContent) const {
    agent().entries.emplace_back(path, logContent);
}

void Log::changeLogStream(const std::string& fileName, bool isUserLog) {
    agent().calls.push_back("changeLogStream " + fileName + (isUserLog ? " user" : ""));
}

int I18NUtility::loadI18NPropertyFile() {
    agent().calls.emplace_back("loadI18NPropertyFile");
    texts_ = agent().texts;
    return agent().localisationStatus;
}

std::optional<std::string> I18NUtility::getValueForKeyString(std::string_view key) const {
    const auto found = texts_.find(key);
    return found == texts_.end() ? std::nullopt : std::optional(found->second);
}

std::shared_ptr<AgentService> AgentServiceConnection::getService() const {
    ++agent().services;
    if (agent().service == testing::AgentRecording::Service::absent) {
        return nullptr;
    }
    return std::make_shared<testing::RecordingService>();
}

}  // namespace velunor
