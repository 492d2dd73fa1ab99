// The console user's picture, from the account's own file and from the accounts service.

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::testing {
namespace {

constexpr unsigned long red = 0xd0103a;
constexpr unsigned long blue = 0x1034d0;

// A PNG file of a few bytes whose header promises 100000 by 100000 pixels.
constexpr auto bomb = std::to_array<unsigned char>(
    {0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0x00, 0x00, 0x00, 0x0d, 0x49, 0x48,
     0x44, 0x52, 0x00, 0x01, 0x86, 0xa0, 0x00, 0x01, 0x86, 0xa0, 0x08, 0x02, 0x00, 0x00,
     0x00, 0x27, 0x30, 0x9c, 0x9f, 0x00, 0x00, 0x00, 0x1a, 0x49, 0x44, 0x41, 0x54, 0x78,
     0xda, 0xed, 0xc1, 0x31, 0x01, 0x00, 0x00, 0x00, 0xc2, 0xa0, 0xf5, 0x4f, 0x6d, 0x0d,
     0x0f, 0xa0, 0x00, 0x00, 0x80, 0x77, 0x03, 0x0b, 0xb8, 0x00, 0x01, 0x52, 0x3c, 0x66,
     0x7c, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4e, 0x44, 0xae, 0x42, 0x60, 0x82});

class Picture : public CredentialsTest {
  protected:
    /// Writes a picture of one colour for the desktop's user.
    static void paint(const std::filesystem::path& path, unsigned long colour) {
        std::array<char, 8> text{};
        std::snprintf(text.data(), text.size(), "#%06lx", colour);
        ChildProcess convert(
            {.arguments = {"convert", "-size", "96x96", "xc:" + std::string(text.data()),
                           "png:" + path.string()},
             .environment = environmentOfTools()});
        ASSERT_EQ(convert.wait(), (Ending{0, 0}));
    }
    static Environment environmentOfTools() { return {{"PATH", "/usr/bin:/bin"}}; }

    /// Tells the accounts service that this is the user's picture, and starts it.
    void keepPicture(const std::string& path) {
        const testing::AsRoot root;
        writeFile("/var/lib/AccountsService/users/ada",
                  "[User]\nSystemAccount=false\nIcon=" + path + "\n");
        machine.startSystemBus();
        machine.startAccountsService();
    }

    /// Whether so much of the window gets this colour as the round picture takes.
    [[nodiscard]] bool showsPicture(unsigned long colour) {
        constexpr std::size_t smallestArea = 400;
        return eventually([&] {
            const auto window = display().screen().windowOf(process().id());
            return (window && display().screen().pixelsOfColour(*window, colour) >= smallestArea) ||
                   !process().isRunning();
        });
    }
    [[nodiscard]] bool showsNeither() {
        const auto window = display().screen().windowOf(process().id());
        return window && display().screen().pixelsOfColour(*window, red) == 0 &&
               display().screen().pixelsOfColour(*window, blue) == 0;
    }

    /// Expects that the prompt keeps its own picture and says nothing about it.
    void expectNoneSilently() {
        startPrompt();
        ASSERT_TRUE(waitForControl("label", "ada"));
        ASSERT_TRUE(waitForLog("Dock bounce (critical) triggered at ")) << systemLog();
        EXPECT_FALSE(logged("Error: "));
        EXPECT_TRUE(showsNeither());
    }

    [[nodiscard]] std::filesystem::path face() const { return user.home + "/.face"; }
};

TEST_F(Picture, IsThePhotoInTheHomeDirectory) {
    paint(face(), red);
    startPrompt();
    EXPECT_TRUE(showsPicture(red)) << systemLog();
    EXPECT_FALSE(logged("Error: "));
}

TEST_F(Picture, PhotoInTheHomeDirectoryComesBeforeTheOneOfTheAccountsService) {
    paint(face(), red);
    paint(user.home + "/other.png", blue);
    keepPicture(user.home + "/other.png");
    startPrompt();
    EXPECT_TRUE(showsPicture(red)) << systemLog();
}

TEST_F(Picture, WithoutAPhotoIsTheOneOfTheAccountsService) {
    paint(user.home + "/other.png", blue);
    keepPicture(user.home + "/other.png");
    startPrompt();
    EXPECT_TRUE(showsPicture(blue)) << systemLog();
    EXPECT_FALSE(logged("Error: "));
}

TEST_F(Picture, OfAnAccountsServiceThatIsNotThereIsNone) {
    startPrompt();
    EXPECT_TRUE(waitForLog("Error: Error Domain=Accounts Code=")) << systemLog();
    EXPECT_TRUE(process().isRunning());
}

TEST_F(Picture, OfAnAccountsServiceThatNeverAnswersLeavesThePromptUsable) {
    const std::string place = "/run/dbus/system_bus_socket";
    const int silent = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    place.copy(address.sun_path, sizeof address.sun_path - 1);
    {
        const testing::AsRoot root;
        ASSERT_EQ(::bind(silent, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        std::filesystem::permissions(place, std::filesystem::perms(0666));
    }
    ASSERT_EQ(::listen(silent, 8), 0);
    startService();
    startPrompt();
    typePassword(password);
    clickToTheEnd("Go ahead");
    EXPECT_TRUE(deliveredCredentials("ada", password)) << delivered();
    EXPECT_FALSE(logged("Error: ")) << "the look-up had ended before the prompt";
    ::close(silent);
}

TEST_F(Picture, ThatMayNotBeReadIsNoneThoughTheAccountsServiceHasOne) {
    paint(face(), red);
    ASSERT_EQ(::chmod(face().c_str(), 0), 0);
    paint(user.home + "/other.png", blue);
    keepPicture(user.home + "/other.png");
    startPrompt();
    EXPECT_TRUE(waitForLog("Error: Error Domain=File Code=")) << systemLog();
    EXPECT_TRUE(showsNeither());
}

TEST_F(Picture, OfTheAccountsServiceThatIsNotThereIsNoneAndLeavesNoLine) {
    keepPicture(user.home + "/missing.png");
    expectNoneSilently();
}

TEST_F(Picture, OfTheAccountsServiceThatMayNotBeReadIsNoneAndLeavesNoLine) {
    paint(user.home + "/other.png", blue);
    ASSERT_EQ(::chmod((user.home + "/other.png").c_str(), 0), 0);
    keepPicture(user.home + "/other.png");
    expectNoneSilently();
}

TEST_F(Picture, OfTheAccountsServiceThatIsNoImageIsNoneAndLeavesNoLine) {
    writeFile(user.home + "/other.png", "not a picture at all");
    keepPicture(user.home + "/other.png");
    expectNoneSilently();
}

TEST_F(Picture, ThatIsNoImageIsNoneAndLeavesNoLine) {
    writeFile(face(), "not a picture at all");
    expectNoneSilently();
}

TEST_F(Picture, ThatWouldUnpackToGigabytesIsNone) {
    writeFile(face(), std::string_view(reinterpret_cast<const char*>(bomb.data()), bomb.size()));
    startPrompt();
    ASSERT_TRUE(waitForLog("Dock bounce (critical) triggered at ")) << systemLog();
    EXPECT_TRUE(process().isRunning());
    EXPECT_TRUE(showsNeither());
}

}  // namespace
}  // namespace velunor::testing
