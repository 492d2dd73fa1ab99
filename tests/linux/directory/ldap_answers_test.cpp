// Answers that no server of the tests gives by itself, byte by byte. TLS is none of their concern.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <ldap.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "tools/osupdate_checkpass/ldap/ldap_check.h"

namespace velunor::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// An element of BER with its length.
std::string element(int tag, const std::string& content) {
    std::string text(1, static_cast<char>(tag));
    if (content.size() < 0x80) {
        text += static_cast<char>(content.size());
    } else {
        text += {static_cast<char>(0x82), static_cast<char>(content.size() >> 8U),
                 static_cast<char>(content.size() & 0xFFU)};
    }
    return text + content;
}

constexpr int octets = 0x04;
constexpr int sequence = 0x30;
constexpr int searchEntry = 0x64;
constexpr int searchEnd = 0x65;
constexpr int bindEnd = 0x61;

const std::string noText = element(octets, "") + element(octets, "");
const std::string success = std::string({0x0A, 0x01, 0x00}) + noText;

/// An entry of this name whose attribute "uid" is "alice".
std::string entryNamed(const std::string& name) {
    return element(
        searchEntry,
        element(octets, name) +
            element(sequence, element(sequence, element(octets, "uid") +
                                                    element(0x31, element(octets, "alice")))));
}

std::string control(const std::string& identifier, const std::string& value) {
    return element(sequence, element(octets, identifier) + element(octets, value));
}

std::string boundWith(const std::string& controls) {
    return element(bindEnd, success) + element(0xA0, controls);
}

using Answers = std::vector<std::vector<std::string>>;

/// Gives each request the next of these answers, and ends with the last one or the client.
void serve(int socket, const Answers& answers) {
    constexpr std::size_t largest = 16384;
    std::string request(largest, '\0');
    for (const auto& parts : answers) {
        if (recv(socket, request.data(), largest, 0) <= 0) {
            return;
        }
        // The message's length, of one byte or of more, and then its number.
        const auto length = static_cast<std::uint8_t>(request[1]);
        const std::size_t place = length < 0x80 ? 2 : 2 + (length & 0x7FU);
        const std::string number = request.substr(place, 3);
        std::string text;
        for (const std::string& part : parts) {
            text += element(sequence, number + part);
        }
        send(socket, text.data(), text.size(), MSG_NOSIGNAL);
    }
    recv(socket, request.data(), largest, 0);
}

/// What a check of alice's password tells where the server gives these answers.
std::string checkedWith(const Answers& answers) {
    std::array<int, 2> ends{};
    std::array<int, 2> input{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0 ||
        pipe2(input.data(), O_CLOEXEC) != 0) {
        return "no connection";
    }
    FileDescriptor writer(input[1]);
    const FileDescriptor reader(input[0]);
    CheckRequest request;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{30};
    const bool isWritten = writeWhole(writer.get(), std::string("alice\0right\0", 12)) == 0;
    writer = FileDescriptor();
    if (!isWritten || !request.read(reader.get(), deadline, 1024)) {
        return "no request";
    }
    const FileDescriptor server(ends[1]);
    const std::jthread thread([&] { serve(server.get(), answers); });
    DirectoryNodeSettings settings;
    settings.userBase = "dc=example,dc=org";
    auto handle = newLdapHandle(FileDescriptor(ends[0]), settings);
    if (!handle) {
        return handle.error().description();
    }
    const auto error =
        askDirectory(handle->get(), settings, request, {STDOUT_FILENO, std::chrono::seconds{30}});
    handle->reset();
    return error ? error->description() : "accepted";
}

/// The same where the account is found and the bind is answered so.
std::string boundAnswer(const std::string& answer) {
    return checkedWith(
        {{entryNamed("uid=alice,dc=example,dc=org"), element(searchEnd, success)}, {answer}});
}

TEST(LdapAnswers, SuccessIsAccepted) {
    EXPECT_EQ(boundAnswer(element(bindEnd, success)), "accepted");
}

TEST(LdapAnswers, OlderWordForAnExpiredPasswordIsARefusal) {
    EXPECT_EQ(boundAnswer(boundWith(control(LDAP_CONTROL_X_PASSWORD_EXPIRED, "0"))),
              "Error Domain=LDAP Code=49 \"The server does not accept name and password: Invalid "
              "credentials (the password must be changed)\"");
}

TEST(LdapAnswers, WarningThatAPasswordExpiresSoonIsNone) {
    constexpr char minute = 60;
    const std::string seconds = element(0xA0, element(0x80, std::string(1, minute)));
    EXPECT_EQ(boundAnswer(boundWith(
                  control(LDAP_CONTROL_PASSWORDPOLICYRESPONSE, element(sequence, seconds)))),
              "accepted");
}

TEST(LdapAnswers, PolicyThatIsNotUnderstoodIsARefusal) {
    EXPECT_THAT(boundAnswer(boundWith(control(LDAP_CONTROL_PASSWORDPOLICYRESPONSE, "x"))),
                HasSubstr("(the password policy's answer is not understood)\""));
}

TEST(LdapAnswers, EndOfASearchThatCannotBeReadIsAnError) {
    const std::string end = element(searchEnd, std::string({0x0A, 0x01, 0x00}));
    EXPECT_THAT(checkedWith({{entryNamed("uid=alice,dc=example,dc=org"), end}}),
                StartsWith("Error Domain=LDAP Code=-4 \"The account cannot be looked up: "));
}

TEST(LdapAnswers, AnswerToABindThatCannotBeReadIsARefusal) {
    const std::string end = element(bindEnd, std::string({0x0A, 0x01, 0x00}));
    EXPECT_THAT(boundAnswer(end),
                StartsWith("Error Domain=LDAP Code=-4 \"The server does not accept name and "
                           "password: "));
}

TEST(LdapAnswers, ControlsThatCannotBeReadAreARefusal) {
    // They could have told that the password must be changed.
    EXPECT_THAT(boundAnswer(boundWith(element(sequence, ""))), StartsWith("Error Domain=LDAP "));
}

TEST(LdapAnswers, EntryWithoutANameIsNotBoundAs) {
    // A bind without a name succeeds as nobody.
    EXPECT_THAT(
        checkedWith({{entryNamed(""), element(searchEnd, success)}, {element(bindEnd, success)}}),
        HasSubstr("\"The account's entry cannot be bound as: "));
}

TEST(LdapAnswers, EntrysNameHasAtMost2048Bytes) {
    const auto answerFor = [](std::size_t length) {
        const std::string prefix = "uid=";
        const std::string name = prefix + std::string(length - prefix.size(), 'x');
        return checkedWith(
            {{entryNamed(name), element(searchEnd, success)}, {element(bindEnd, success)}});
    };
    EXPECT_EQ(answerFor(2048), "accepted");
    EXPECT_THAT(answerFor(2049), HasSubstr("\"The account's entry cannot be bound as: "));
}

}  // namespace
}  // namespace velunor::testing
