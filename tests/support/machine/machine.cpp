#include "tests/support/machine/machine.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string_view>

#include "tests/support/files.h"
#include "tests/support/wait.h"

namespace velunor::testing {
namespace {

constexpr const char* systemBusSocket = "/run/dbus/system_bus_socket";
constexpr const char* systemBusSettings = "/run/dbus/system.conf";

// The services' own rules, but no service is started because somebody asks for it.
constexpr std::string_view systemBusConfiguration =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus"/>
  </policy>
  <includedir>/usr/share/dbus-1/system.d</includedir>
</busconfig>
)";

const testing::Environment rootEnvironment{{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"},
                                           {"LC_ALL", "C.UTF-8"}};

void require(bool condition, const std::string& what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

}  // namespace

std::string reachable(const std::string& path) {
    constexpr std::string_view tree = SOURCE_TREE;
    require(path.starts_with(tree), path + " is not in the source tree");
    return treePath + path.substr(tree.size());
}

std::filesystem::path placeOfPrograms() {
    std::filesystem::path place = "/run/programs";
    std::filesystem::create_directory(place);
    return place;
}

std::string newPassword() {
    constexpr std::size_t length = 20;
    std::random_device random;
    std::uniform_int_distribution<int> letter('a', 'z');
    std::string password;
    while (password.size() < length) {
        password += static_cast<char>(letter(random));
    }
    return password;
}

Machine::Machine() {
    require(::geteuid() == 0 && std::filesystem::exists(treePath),
            "this is not a machine that a test has for itself");
}

void Machine::run(const std::vector<std::string>& command) {
    testing::ChildProcess process({.arguments = command, .environment = rootEnvironment});
    require(process.wait() == testing::Ending{0, 0}, command.front() + " failed");
}

Account Machine::addAccount(const std::string& name, const std::string& password,
                            const std::vector<std::string>& groups) {
    run({"useradd", "--create-home", "--home-dir", "/run/homes/" + name, "--shell", "/bin/sh",
         name});
    for (const std::string& group : groups) {
        run({"groupadd", "--force", group});
        run({"gpasswd", "--add", name, group});
    }
    // NOLINTNEXTLINE(cert-env33-c): the command is always the same, and it reads passwords only so.
    FILE* passwords = ::popen("/usr/sbin/chpasswd --crypt-method SHA512", "we");
    require(passwords != nullptr, "chpasswd does not start");
    const std::string line = name + ":" + password + "\n";
    const bool written = std::fwrite(line.data(), 1, line.size(), passwords) == line.size();
    require(::pclose(passwords) == 0 && written, "chpasswd failed");
    const passwd* entry = ::getpwnam(name.c_str());
    require(entry != nullptr, "no account " + name);
    return {name, entry->pw_uid, entry->pw_gid, entry->pw_dir};
}

void Machine::seat(const Account& account) {
    const std::string user = std::to_string(account.user);
    testing::writeFile("/run/systemd/seats/seat0",
                       "IS_SEAT0=1\nCAN_GRAPHICAL=1\nACTIVE=c1\n"
                       "ACTIVE_UID=" +
                           user + "\nSESSIONS=c1\nUIDS=" + user + "\n");
    testing::writeFile(
        "/run/systemd/sessions/c1",
        "UID=" + user + "\nUSER=" + account.name +
            "\nACTIVE=1\nIS_DISPLAY=1\nSTATE=active\nREMOTE=0\nTYPE=x11\nCLASS=user\n"
            "SEAT=seat0\n");
    testing::writeFile("/run/systemd/users/" + user,
                       "NAME=" + account.name +
                           "\nSTATE=active\nSTOPPING=no\nDISPLAY=c1\nSESSIONS=c1\nSEATS=seat0\n"
                           "ACTIVE_SESSIONS=c1\nONLINE_SESSIONS=c1\nACTIVE_SEATS=seat0\n");
}

void Machine::leaveSeat() {
    for (const char* kind : {"seats", "sessions", "users"}) {
        for (const auto& entry :
             std::filesystem::directory_iterator(std::string("/run/systemd/") + kind)) {
            std::filesystem::remove(entry);
        }
    }
}

void Machine::startSystemBus() {
    testing::writeFile(systemBusSettings, systemBusConfiguration);
    systemBus_ = std::make_unique<testing::ChildProcess>(
        testing::Command{.arguments = {"dbus-daemon", "--nofork", "--nopidfile",
                                       "--config-file=" + std::string(systemBusSettings)},
                         .environment = rootEnvironment});
    require(testing::eventually([] { return std::filesystem::exists(systemBusSocket); }),
            "the system bus did not start");
}

void Machine::startAccountsService() {
    accountsService_ = std::make_unique<testing::ChildProcess>(testing::Command{
        .arguments = {"/usr/libexec/accounts-daemon"}, .environment = rootEnvironment});
    require(testing::eventually([] {
                testing::ChildProcess ask(
                    {.arguments = {"dbus-send", "--system", "--print-reply",
                                   "--dest=org.freedesktop.Accounts", "/org/freedesktop/Accounts",
                                   "org.freedesktop.Accounts.ListCachedUsers"},
                     .environment = rootEnvironment});
                return ask.wait() == testing::Ending{0, 0};
            }),
            "the accounts service did not start");
}

ActingAs::ActingAs(const Account& account) {
    require(::initgroups(account.name.c_str(), account.group) == 0 &&
                ::setegid(account.group) == 0 && ::seteuid(account.user) == 0,
            "cannot act as " + account.name);
}

ActingAs::~ActingAs() {
    // The real user is still root, who may take the place back.
    if (::seteuid(0) != 0 || ::setegid(0) != 0 || ::setgroups(0, nullptr) != 0) {
        std::abort();
    }
}

AsRoot::AsRoot() : user_(::geteuid()), group_(::getegid()) {
    require(::seteuid(0) == 0 && ::setegid(0) == 0, "cannot be root again");
}

AsRoot::~AsRoot() {
    if (::setegid(group_) != 0 || ::seteuid(user_) != 0) {
        std::abort();
    }
}

}  // namespace velunor::testing
