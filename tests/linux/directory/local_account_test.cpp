// Records of real accounts: the picture in the home directory and the one of the accounts service.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/directory/directory_service.h"
#include "tests/support/files.h"
#include "tests/support/machine/machine.h"

namespace velunor {
namespace {

using ::testing::HasSubstr;
using Photos = std::vector<std::vector<std::byte>>;
using Paths = std::vector<std::string>;

class LocalAccount : public ::testing::Test {
  protected:
    LocalAccount() : user(machine.addAccount("ada", testing::newPassword())) {
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/run/dbus/system_bus_socket", 1);
    }

    static DirectoryRecords recordsNamed(const std::string& name, std::size_t maximum = 1) {
        const auto session = LinuxDirectoryService(LinuxDirectorySettings{}).defaultSession();
        const auto node = *session->openNode(DirectoryNodeType::localNodes);
        return *node->usersNamed(name, maximum);
    }

    /// What the user's record has, asked as the user.
    DirectoryResult<DirectoryValues> value(std::string_view attribute) const {
        const testing::ActingAs acting(user);
        const DirectoryRecords records = recordsNamed("ada");
        return records.at(0)->valuesForAttribute(attribute);
    }
    DirectoryResult<DirectoryValues> photo() const { return value(attributeJPEGPhoto); }
    DirectoryResult<DirectoryValues> picture() const { return value(attributePicture); }

    [[nodiscard]] std::filesystem::path face() const { return user.home + "/.face"; }

    static std::string errorOf(const DirectoryResult<DirectoryValues>& result) {
        return result ? "no error" : result.error().description();
    }

    void keepPicture(const std::string& path) {
        testing::writeFile("/var/lib/AccountsService/users/ada",
                           "[User]\nSystemAccount=false\nIcon=" + path + "\n");
    }

    testing::Machine machine;
    testing::Account user;
};

TEST_F(LocalAccount, IsFoundByItsExactNameOnly) {
    EXPECT_EQ(recordsNamed("ada").size(), 1U);
    for (const std::string& name :
         {std::string("Ada"), std::string("ad"), std::string("ada "), std::string("ada\0", 4),
          std::string(), std::string("*"), std::string(10'000, 'a'), std::string("\n"),
          std::string("аda"), std::to_string(user.user)}) {
        EXPECT_TRUE(recordsNamed(name).empty()) << name;
    }
}

TEST_F(LocalAccount, NoRecordIsGivenWhereNoneIsWanted) {
    EXPECT_TRUE(recordsNamed("ada", 0).empty());
}

TEST_F(LocalAccount, PhotoIsTheFileInTheHomeDirectory) {
    testing::writeFile(face(), "abc");
    EXPECT_EQ(*photo(), DirectoryValues(Photos{{std::byte{'a'}, std::byte{'b'}, std::byte{'c'}}}));
}

TEST_F(LocalAccount, WithoutThatFileHasAnEmptyListOfPhotos) {
    EXPECT_EQ(*photo(), DirectoryValues(Photos{}));
}

TEST_F(LocalAccount, PhotoThatMayNotBeReadIsAnError) {
    testing::writeFile(face(), "abc");
    ASSERT_EQ(::chmod(face().c_str(), 0), 0);
    EXPECT_EQ(errorOf(photo()),
              "Error Domain=File Code=0 \"" + face().string() + ": Permission denied\"");
}

TEST_F(LocalAccount, HomeDirectoryThatMayNotBeReadIsAnError) {
    testing::writeFile(face(), "abc");
    ASSERT_EQ(::chown(user.home.c_str(), 0, 0), 0);
    ASSERT_EQ(::chmod(user.home.c_str(), S_IRWXU), 0);
    EXPECT_THAT(errorOf(photo()), HasSubstr("Permission denied"));
}

TEST_F(LocalAccount, PhotoThatIsAPipeIsAnErrorAtOnce) {
    ASSERT_EQ(::mkfifo(face().c_str(), 0666), 0);
    EXPECT_THAT(errorOf(photo()), HasSubstr("Not a regular file"));
}

TEST_F(LocalAccount, PhotoThatIsALinkToNowhereIsAnError) {
    std::filesystem::create_symlink("/nowhere/at/all", face());
    EXPECT_THAT(errorOf(photo()), HasSubstr("No such file"));
}

TEST_F(LocalAccount, PhotoBeyondTheLargestFileIsAnError) {
    testing::writeFile(face(), "abc");
    std::filesystem::resize_file(face(), std::uintmax_t{1} << 30U);
    EXPECT_THAT(errorOf(photo()), HasSubstr("File too large"));
}

TEST_F(LocalAccount, PictureIsThePathThatTheAccountsServiceKeeps) {
    keepPicture("/run/homes/ada/picture.png");
    machine.startSystemBus();
    machine.startAccountsService();
    EXPECT_EQ(*picture(), DirectoryValues(Paths{"/run/homes/ada/picture.png"}));
}

TEST_F(LocalAccount, PictureWithoutASystemBusIsAnError) {
    EXPECT_EQ(errorOf(picture()), "Error Domain=Accounts Code=107 \"No system bus\"");
}

TEST_F(LocalAccount, PictureWithoutAnAccountsServiceIsAnError) {
    machine.startSystemBus();
    EXPECT_EQ(errorOf(picture()),
              "Error Domain=Accounts Code=113 \"The name org.freedesktop.Accounts was not provided "
              "by any .service files\"");
}

TEST_F(LocalAccount, AttributeOfAnotherNameIsAnError) {
    EXPECT_EQ(errorOf(value("dsAttrTypeStandard:Other")),
              "Error Domain=Directory Code=61 \"No attribute dsAttrTypeStandard:Other\"");
}

}  // namespace
}  // namespace velunor
