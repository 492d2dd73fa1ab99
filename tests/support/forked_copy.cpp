#include "tests/support/forked_copy.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace velunor::testing {

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::perror(what);
        _exit(EXIT_FAILURE);
    }
}

void writeFile(const std::string& path, const std::string& content) {
    require(static_cast<bool>(std::ofstream(path) << content << std::flush), path.c_str());
}

}  // namespace

ChildOutcome inChild(const std::function<std::string()>& body) {
    constexpr unsigned longest = 60;
    std::array<int, 2> ends{};
    require(pipe(ends.data()) == 0, "pipe");
    const pid_t child = fork();
    require(child >= 0, "fork");
    if (child == 0) {
        alarm(longest);
        const std::string text = body();
        const bool told =
            ::write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        _exit(told ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    close(ends[1]);
    ChildOutcome outcome;
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = read(ends[0], block.data(), block.size())) > 0) {
        outcome.text.append(block.data(), static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    require(waitpid(child, &status, 0) == child, "waitpid");
    outcome.status = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    return outcome;
}

void enterPrivateNamespace(unsigned user) {
    const auto identity = [](unsigned inside, unsigned outside) {
        return std::to_string(inside) + " " + std::to_string(outside) + " 1";
    };
    const unsigned outsideUser = getuid();
    const unsigned outsideGroup = getgid();
    require(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "unshare");
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", identity(user, outsideUser));
    writeFile("/proc/self/gid_map", identity(user, outsideGroup));
    require(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "mount /");
}

void mountEmptyOver(const std::string& directory) {
    require(mount("none", directory.c_str(), "tmpfs", 0, nullptr) == 0, directory.c_str());
}

void mountFileOver(const std::string& file, const std::string& place) {
    require(mount(file.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) == 0, place.c_str());
}

std::string ownCopyOf(const std::string& program) {
    std::string copy = "/mnt/program";
    mountEmptyOver("/mnt");
    std::error_code error;
    std::filesystem::copy_file(program, copy, error);
    require(!error && chmod("/mnt", S_IRWXU) == 0 && chmod(copy.c_str(), S_IRWXU) == 0,
            program.c_str());
    return copy;
}

}  // namespace velunor::testing
