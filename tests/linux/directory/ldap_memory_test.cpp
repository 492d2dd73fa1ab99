// What is left of a password in the program's memory after a check.

#include <fcntl.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <vector>

#include "platform/linux/directory/ldap_node.h"
#include "platform/posix/file_descriptor.h"
#include "tests/linux/directory/ldap_server.h"
#include "tests/support/forked_copy.h"

namespace velunor::testing {
namespace {

/// A byte of a password that is nowhere in memory: it is made anew, byte by byte, where it is
/// needed.
char passwordByte(unsigned seed, std::size_t place) {
    constexpr unsigned letters = 26;
    const unsigned value = (seed + static_cast<unsigned>(place) + 1U) * 2654435761U;
    return static_cast<char>('a' + (value >> 16U) % letters);
}

Secret password(unsigned seed, std::size_t length) {
    Secret secret;
    while (secret.size() < length) {
        const char byte = passwordByte(seed, secret.size());
        secret.append({&byte, 1});
    }
    return secret;
}

/// How many bytes of the password in a row are no accident.
constexpr std::size_t telling = 8;
/// From which of its bytes on the password is looked for: each multiple of this.
constexpr std::size_t stride = 64;

/// Whether `bytes` hold a part of the password.
bool holdsPart(std::string_view bytes, unsigned seed, std::size_t length) {
    for (std::size_t from = 0; from + telling <= length; from += stride) {
        std::size_t place = 0;
        while ((place = bytes.find(passwordByte(seed, from), place)) != std::string_view::npos) {
            std::size_t same = 1;
            while (same < telling && place + same < bytes.size() &&
                   bytes[place + same] == passwordByte(seed, from + same)) {
                ++same;
            }
            if (same == telling) {
                return true;
            }
            ++place;
        }
    }
    return false;
}

/// Whether this process's memory between two addresses holds a part of the password.
bool memoryHoldsPart(int memory, std::uintptr_t begin, std::uintptr_t end, unsigned seed,
                     std::size_t length) {
    constexpr std::size_t step = std::size_t{1} << 20U;
    std::vector<char> bytes(step + telling);
    bool holds = false;
    for (std::uintptr_t place = begin; place < end && !holds; place += step) {
        const ssize_t count = pread(memory, bytes.data(), std::min(bytes.size(), end - place),
                                    static_cast<off_t>(place));
        holds =
            count > 0 && holdsPart({bytes.data(), static_cast<std::size_t>(count)}, seed, length);
        // A copy here would be found the next time.
        wipe(bytes.data(), bytes.size());
    }
    return holds;
}

/// The places in this process's writable memory that hold a part of the password, as
/// /proc/self/maps tells them.
std::vector<std::string> placesWith(unsigned seed, std::size_t length) {
    // Larger ones are what sanitizers know about the memory, and no memory of the program.
    constexpr std::size_t largest = std::size_t{128} << 20U;
    const FileDescriptor memory(open("/proc/self/mem", O_RDONLY | O_CLOEXEC));
    std::ifstream maps("/proc/self/maps");
    std::vector<std::string> lines;
    for (std::string line; std::getline(maps, line);) {
        lines.push_back(line);
    }
    std::vector<std::string> places;
    for (const std::string& line : lines) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char isWritable = 0;
        std::istringstream(line) >> std::hex >> begin >> isWritable >> end >> isWritable >>
            isWritable;
        if (isWritable == 'w' && end - begin <= largest &&
            memoryHoldsPart(memory.get(), begin, end, seed, length)) {
            places.push_back(line);
        }
    }
    return places;
}

struct Session {
    const char* name;
    const char* cipherSuite;
};

void PrintTo(const Session& session, std::ostream* out) {
    *out << session.name;
}

class LdapNodeMemory : public ::testing::TestWithParam<Session> {};

TEST_P(LdapNodeMemory, KeepsNoPasswordAfterACheck) {
    LdapServerSettings special;
    special.cipherSuite = GetParam().cipherSuite;
    LdapServer server(special);
    LdapNodeSettings settings;
    settings.uri = server.tlsUri();
    settings.userBase = LdapServer::accounts();
    settings.certificateAuthorities = server.authorities();
    for (const std::size_t length : {std::size_t{14}, std::size_t{1024}}) {
        const std::string user = "user" + std::to_string(length);
        const auto seed = static_cast<unsigned>(length);
        // Another process gives the password to the server.
        ASSERT_EQ(inChild([&] {
                      server.addAccount(user, password(seed, length).reveal());
                      return std::string("added");
                  }).text,
                  "added");
        auto node = openLdapNode(settings);
        ASSERT_TRUE(node) << node.error().description();
        auto& open = **node;
        {
            const Secret typed = password(seed, length);
            EXPECT_EQ(open.setCredentials(user, typed), std::nullopt);
            EXPECT_THAT(placesWith(seed, length), ::testing::Not(::testing::IsEmpty()));
        }
        EXPECT_THAT(placesWith(seed, length), ::testing::IsEmpty()) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(
    EachKindOfCipher, LdapNodeMemory,
    ::testing::Values(
        Session{"AesGcm", "NORMAL:-VERS-ALL:+VERS-TLS1.3:-CIPHER-ALL:+AES-256-GCM"},
        Session{"ChaCha", "NORMAL:-VERS-ALL:+VERS-TLS1.3:-CIPHER-ALL:+CHACHA20-POLY1305"},
        Session{"OldAesGcm", "NORMAL:-VERS-ALL:+VERS-TLS1.2:-CIPHER-ALL:+AES-256-GCM"},
        Session{"OldChaCha", "NORMAL:-VERS-ALL:+VERS-TLS1.2:-CIPHER-ALL:+CHACHA20-POLY1305"},
        Session{"OldAesCbc", "NORMAL:-VERS-ALL:+VERS-TLS1.2:-CIPHER-ALL:+AES-256-CBC"}),
    [](const auto& session) { return std::string(session.param.name); });

}  // namespace
}  // namespace velunor::testing
