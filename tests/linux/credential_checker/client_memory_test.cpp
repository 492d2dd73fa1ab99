// What is left of a password in the process that had it checked.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/directory/credential_checker.h"
#include "platform/linux/directory/network_node.h"
#include "platform/posix/file_descriptor.h"
#include "tests/linux/credential_checker/checker_support.h"
#include "tests/linux/credential_checker/listening_socket.h"
#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

constexpr std::size_t needleSize = 24;
constexpr std::size_t chunkSize = std::size_t{1} << 16U;
constexpr unsigned char mask = 0x80;

/// A password that is in this process only while it is a Secret.
class Needle {
  public:
    Needle() {
        std::random_device random;
        std::uniform_int_distribution<int> letter('a', 'z');
        for (unsigned char& byte : masked_) {
            byte = static_cast<unsigned char>(static_cast<unsigned>(letter(random)) | mask);
        }
    }

    [[nodiscard]] Secret password() const {
        Secret secret;
        for (const unsigned char byte : masked_) {
            const char letter = static_cast<char>(byte & ~mask);
            secret.append({&letter, 1});
        }
        return secret;
    }

    [[nodiscard]] bool isAt(const char* bytes) const {
        for (std::size_t index = 0; index < needleSize; ++index) {
            if ((static_cast<unsigned char>(bytes[index]) | mask) != masked_[index] ||
                (static_cast<unsigned char>(bytes[index]) & mask) != 0) {
                return false;
            }
        }
        return true;
    }

  private:
    std::array<unsigned char, needleSize> masked_{};
};

/// Where the memory is looked at; what it holds for that moment is not counted.
std::array<char, chunkSize>& window() {
    static std::array<char, chunkSize> bytes{};
    return bytes;
}

int occurrencesIn(int memory, std::uintptr_t begin, std::uintptr_t end, const Needle& needle) {
    const auto own = reinterpret_cast<std::uintptr_t>(window().data());
    int occurrences = 0;
    for (std::uintptr_t address = begin; address < end; address += chunkSize - needleSize) {
        const ssize_t count = pread(memory, window().data(), std::min(chunkSize, end - address),
                                    static_cast<off_t>(address));
        for (ssize_t index = 0; index + static_cast<ssize_t>(needleSize) <= count; ++index) {
            const std::uintptr_t place = address + static_cast<std::uintptr_t>(index);
            const bool isOwn = place + needleSize > own && place < own + chunkSize;
            if (!isOwn && needle.isAt(window().data() + index)) {
                ++occurrences;
            }
        }
    }
    return occurrences;
}

/// How often the needle is in the memory of this process.
int occurrencesOf(const Needle& needle) {
    constexpr std::uintptr_t largest = std::uintptr_t{1} << 30U;
    const FileDescriptor memory(open("/proc/self/mem", O_RDONLY | O_CLOEXEC));
    std::ifstream maps("/proc/self/maps");
    int occurrences = 0;
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        std::string access;
        fields >> std::hex >> begin >> dash >> end >> access;
        // A sanitizer reserves address space beyond all measure, and writes no program's data
        // there.
        if (access.starts_with("rw") && end - begin <= largest) {
            occurrences += occurrencesIn(memory.get(), begin, end, needle);
        }
    }
    window().fill('\0');
    return occurrences;
}

TEST(ClientMemory, SearchFindsAPasswordThatIsThere) {
    const Needle needle;
    {
        const Secret password = needle.password();
        EXPECT_EQ(occurrencesOf(needle), 1);
    }
    EXPECT_EQ(occurrencesOf(needle), 0);
}

TEST(ClientMemory, NothingIsLeftAfterAskingTheProgram) {
    const TemporaryDirectory directory;
    const Needle needle;
    for (const char* commands : {"cat >/dev/null; echo accepted", "exit 1", "sleep 600"}) {
        const CredentialCheckerSettings settings{directory.file("none"),
                                                 script(directory.file("checker"), commands),
                                                 std::chrono::milliseconds{400}};
        static_cast<void>(checkLocalPassword(settings, "alice", needle.password()));
        EXPECT_EQ(occurrencesOf(needle), 0) << commands;
    }
}

TEST(ClientMemory, NothingIsLeftAfterAskingANetworkNode) {
    const TemporaryDirectory directory;
    const Needle needle;
    DirectoryNodeSettings settings;
    settings.timeout = std::chrono::seconds{0};
    for (const char* commands : {"cat >/dev/null; echo accepted", "exit 1", "sleep 600"}) {
        const auto node = openNetworkNode(
            script(directory.file("checker"), std::string("echo ready; ") + commands), settings);
        ASSERT_TRUE(node) << commands;
        static_cast<void>((*node)->setCredentials("alice", needle.password()));
        EXPECT_EQ(occurrencesOf(needle), 0) << commands;
    }
}

TEST(ClientMemory, NothingIsLeftAfterAskingTheService) {
    const TemporaryDirectory directory;
    const Needle needle;
    const CredentialCheckerSettings settings{directory.file("socket"), "/nonexistent",
                                             std::chrono::milliseconds{400}};
    const ListeningSocket listener(settings.socketPath);
    const auto error = checkLocalPassword(settings, "alice", needle.password());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, ETIMEDOUT);
    EXPECT_EQ(occurrencesOf(needle), 0);
}

}  // namespace
}  // namespace velunor::testing
