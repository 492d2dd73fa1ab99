// Usage: agent_fake_prompt MODE BODY FILE and three more arguments that stand for nothing
// Stands in for the prompt where a test is about what starts it. Sends BODY as the answer through
// the agent library and behaves as MODE says; BODY is the path of the answer's file for
// "answer-of-file".

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "agent/ltarnutils.h"
#include "tests/support/files.h"
#include "tests/support/wait.h"

namespace {

using velunor::testing::eventually;

bool exists(const std::string& file) {
    struct stat found {};
    return ::stat(file.c_str(), &found) == 0;
}

/// Hands the answer over; what becomes true is that a reply has come.
std::shared_ptr<std::atomic<bool>> send(const std::string& key, const std::string& body) {
    auto replied = std::make_shared<std::atomic<bool>>(false);
    const auto service = velunor::AgentServiceConnection().getService();
    if (service) {
        service->replyDataBlockForKey(key, velunor::Secret(body),
                                      [replied](const std::string& reply) {
                                          std::fprintf(stderr, "the reply is %s\n", reply.c_str());
                                          *replied = true;
                                      });
    }
    return replied;
}

bool sendAndWait(const std::string& key, const std::string& body) {
    return eventually([replied = send(key, body)] { return replied->load(); });
}

/// What tells it to end. A handler would do, but for the thread sanitizer, which loses a signal now
/// and then.
sigset_t endingSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    return signals;
}

/// Stays until it is told to end, and says so in `file`.
int stay(const std::string& file) {
    velunor::testing::writeFile(file + ".started", "");
    const sigset_t signals = endingSignal();
    const timespec notAtAll{};
    const bool ended =
        eventually([&] { return sigtimedwait(&signals, nullptr, &notAtAll) == SIGTERM; });
    velunor::testing::writeFile(file, ended ? "told to end" : "left alone");
    return EXIT_SUCCESS;
}

int run(const std::string& mode, const std::string& body, const std::string& file) {
    constexpr const char* statusKey = "PatchOSUpdateNotificationStatus";
    if (mode == "answer") {
        std::puts("chatter on standard output");
        return sendAndWait(statusKey, body) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    if (mode == "answer-of-file") {
        return sendAndWait(statusKey, velunor::testing::readFile(body)) ? EXIT_SUCCESS
                                                                        : EXIT_FAILURE;
    }
    if (mode == "two-answers") {
        return sendAndWait(statusKey, body) && sendAndWait(statusKey, R"({"proceed":{}})")
                   ? EXIT_SUCCESS
                   : EXIT_FAILURE;
    }
    if (mode == "answer-and-stay") {
        return sendAndWait(statusKey, body) ? stay(file) : EXIT_FAILURE;
    }
    if (mode == "other-key") {
        return sendAndWait("SomethingElse", body) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    if (mode == "leave-in-call") {
        const auto replied = send(statusKey, body);
        // Exit runs the destructors of static objects while the call goes on.
        std::exit(eventually([&] { return exists(file); }) && !*replied ? EXIT_SUCCESS
                                                                        : EXIT_FAILURE);
    }
    return mode == "stay" || mode == "stubborn" ? stay(file) : EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int argumentCount = 7;
    if (argc != argumentCount) {
        return EXIT_FAILURE;
    }
    if (std::string(argv[1]) == "stubborn") {
        std::signal(SIGTERM, SIG_IGN);
    } else if (std::string(argv[1]).ends_with("stay")) {
        const sigset_t signals = endingSignal();
        sigprocmask(SIG_BLOCK, &signals, nullptr);
    }
    velunor::TarnUtilMac util;
    util.initializeTarnGlobal();
    util.initializeAgentParams();
    velunor::Log::changeLogStream("agent_fake_prompt", true);
    return run(argv[1], argv[2], argv[3]);
}
