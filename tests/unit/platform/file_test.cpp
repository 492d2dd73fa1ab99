#include "platform/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/temporary_directory.h"

namespace velunor::testing {
namespace {

std::string contentOf(const std::string& path) {
    const auto result = readWholeFile(path);
    return result ? std::string(reinterpret_cast<const char*>(result->data()), result->size())
                  : "error: " + result.error().description;
}

TEST(FileTest, ReadsTheWholeFile) {
    const TemporaryDirectory directory;
    const std::string content(200000, 'x');
    directory.write("file", content);
    EXPECT_EQ(contentOf(directory.file("file")), content);
    directory.write("empty", "");
    EXPECT_EQ(contentOf(directory.file("empty")), "");
}

TEST(FileTest, MissingFileIsAnError) {
    const TemporaryDirectory directory;
    EXPECT_EQ(contentOf(directory.file("none")), "error: No such file or directory");
    EXPECT_FALSE(fileExists(directory.file("none")));
}

TEST(FileTest, DirectoryIsAnError) {
    const TemporaryDirectory directory;
    EXPECT_TRUE(fileExists(directory.path()));
    EXPECT_EQ(contentOf(directory.path()), "error: Not a regular file");
}

TEST(FileTest, PipeIsAnErrorAndNoHang) {
    const TemporaryDirectory directory;
    ASSERT_EQ(mkfifo(directory.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(contentOf(directory.file("pipe")), "error: Not a regular file");
}

TEST(FileTest, LoopOfLinksIsAnError) {
    const TemporaryDirectory directory;
    std::filesystem::create_symlink("loop", directory.file("loop"));
    EXPECT_EQ(contentOf(directory.file("loop")), "error: Too many levels of symbolic links");
    EXPECT_EQ(contentOf(directory.file("loop/file")), "error: Too many levels of symbolic links");
}

TEST(FileTest, PathThroughAFileIsAnError) {
    const TemporaryDirectory directory;
    directory.write("file", "");
    EXPECT_EQ(contentOf(directory.file("file/file")), "error: Not a directory");
}

TEST(FileTest, LinkIsFollowed) {
    const TemporaryDirectory directory;
    directory.write("file", "content");
    std::filesystem::create_symlink(directory.file("file"), directory.file("link"));
    EXPECT_EQ(contentOf(directory.file("link")), "content");
}

TEST(FileTest, LinkThatLeadsNowhereDoesNotExist) {
    const TemporaryDirectory directory;
    std::filesystem::create_symlink(directory.file("gone"), directory.file("link"));
    EXPECT_FALSE(fileExists(directory.file("link")));
}

TEST(FileTest, FileOverTheLimitIsAnError) {
    constexpr std::size_t sixteenMebibytes = 16'777'216;
    const TemporaryDirectory directory;
    directory.write("file", "");
    ASSERT_EQ(truncate(directory.file("file").c_str(), sixteenMebibytes), 0);
    EXPECT_EQ(contentOf(directory.file("file")).size(), sixteenMebibytes);
    ASSERT_EQ(truncate(directory.file("file").c_str(), sixteenMebibytes + 1), 0);
    EXPECT_EQ(contentOf(directory.file("file")), "error: File too large");
}

}  // namespace
}  // namespace velunor::testing
