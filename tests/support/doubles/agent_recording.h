#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "agent/ltarnutils.h"

namespace velunor::testing {

/// The agent library as the tests see it: what was called, in order, and what it answers.
struct AgentRecording {
    /// How the service treats a request.
    enum class Service { absent, replies, silent };

    /// One line a call, such as "changeDirectoryTo /A".
    std::vector<std::string> calls;
    bool hasGlobals = true;
    TarnGlobalVariables variables{"/base", "/data", "/logs"};
    std::string productName = "Ostrel Agent";
    int localisationStatus = 0;
    std::map<std::string, std::string, std::less<>> texts;
    Service service = Service::replies;
    /// How often the service was asked for.
    int services = 0;
    std::string reply = "OK";
    /// Requests as key and message.
    std::vector<std::pair<std::string, std::string>> requests;
    /// Access-log entries as path and text.
    std::vector<std::pair<std::string, std::string>> entries;
    /// The callback of a request that a silent service was given.
    AgentService::ReplyData keptReply;

    /// Waits for the threads that deliver replies.
    void join();
    std::vector<std::thread> threads;
};

/// The recording of the running test.
AgentRecording& agent();

/// Starts a fresh recording with all ten texts.
void resetAgent();

}  // namespace velunor::testing
