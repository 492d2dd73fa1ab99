#include "tools/ostrel_agent/prompt_user.h"

#include <systemd/sd-login.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <utility>

#include "platform/owned.h"
#include "platform/posix/password_database.h"
#include "platform/posix/process.h"

namespace velunor {
namespace {

/// The graphical session that `command` asks for, or why there is none.
Expected<DesktopSession, Refusal> sessionFor(const PromptCommand& command) {
    const auto* name = std::get_if<std::string>(&command.user);
    std::string who = "the user at the machine";
    Expected<DesktopSession, NoDesktop> session = NoDesktop::nobodyThere;
    if (name != nullptr) {
        const auto account = localAccountNamed(*name).account;
        if (!account) {
            return Refusal{AgentExit::unknownUser, "there is no user " + *name};
        }
        who = *name;
        session = desktopOf(account->user);
    } else {
        session = desktopAtSeat();
    }
    if (session) {
        return *std::move(session);
    }
    if (session.error() == NoDesktop::notGraphical) {
        return Refusal{AgentExit::noDesktop, "the session of " + who + " is not graphical"};
    }
    return Refusal{AgentExit::nobodyThere, name == nullptr
                                               ? "nobody is logged in at the machine"
                                               : who + " has no session in the foreground"};
}

}  // namespace

Expected<std::optional<PromptUser>, Refusal> PromptUser::find(const PromptCommand& command) {
    if (std::holds_alternative<std::monostate>(command.user)) {
        return std::optional<PromptUser>();
    }
    if (geteuid() != 0) {
        return Refusal{AgentExit::usage, "only root can ask another user"};
    }
    auto session = sessionFor(command);
    if (!session) {
        return std::move(session).error();
    }
    const PasswordEntry entry = passwordEntryOf(session->user).value_or(PasswordEntry{});
    const auto account = localAccountNamed(entry.name.value_or("")).account;
    if (!account) {
        return Refusal{AgentExit::unknownUser,
                       "the user " + std::to_string(session->user) + " has no account"};
    }
    return std::optional(PromptUser(*std::move(session), account->group));
}

PromptUser::PromptUser(DesktopSession session, gid_t group)
    : session_(std::move(session)),
      group_(group),
      service_("velunor-os-update-" + std::to_string(getpid())) {}

std::vector<std::string> PromptUser::inSession(const std::vector<std::string>& command) const {
    const std::string user = std::to_string(session_.user);
    // The kernel tells it to end where this process is killed.
    std::vector<std::string> words{"/usr/bin/setpriv",
                                   "--pdeathsig",
                                   "TERM",
                                   "--reuid",
                                   user,
                                   "--regid",
                                   std::to_string(group_),
                                   "--init-groups",
                                   "--reset-env",
                                   "--",
                                   "/usr/bin/env",
                                   "XDG_RUNTIME_DIR=/run/user/" + user,
                                   LinuxProcessInfo().bundlePath() + "/start-in-session",
                                   service_};
    for (const char* variable : {"VELUNOR_AGENT_BUS", "VELUNOR_AGENT_SETTINGS"}) {
        if (const char* value = std::getenv(variable)) {
            words.push_back("--setenv=" + (variable + ("=" + std::string(value))));
        }
    }
    words.emplace_back("--");
    words.insert(words.end(), command.begin(), command.end());
    return words;
}

bool PromptUser::hasStarted(pid_t sender, std::optional<uid_t> user) const {
    char* unit = nullptr;
    const bool isKnown = sender > 0 && sd_pid_get_user_unit(sender, &unit) >= 0;
    const Owned<char, std::free> owner(unit);
    return isKnown && user == session_.user && service_ + ".service" == unit;
}

bool PromptUser::leaves() const {
    using namespace std::chrono_literals;
    // The display goes first, and the login manager knows a moment later.
    const auto end = std::chrono::steady_clock::now() + 2s;
    while (isOpen(session_) && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(50ms);
    }
    return !isOpen(session_);
}

}  // namespace velunor
