// The library's log stream, its small services and the localised texts.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "agent/linux/library_log.h"
#include "agent/ltarnutils.h"
#include "platform/posix/file_descriptor.h"
#include "tests/linux/agent/agent_files.h"

namespace velunor::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

class AgentLog : public AgentFiles {
  protected:
    static std::string errorsOf(const std::function<void()>& step) {
        ::testing::internal::CaptureStderr();
        step();
        return ::testing::internal::GetCapturedStderr();
    }
};

TEST_F(AgentLog, UserStreamIsAFileOfItsOwnerAlone) {
    initialiseLibrary();
    library_log::write("first line");
    EXPECT_THAT(libraryLog(), EndsWith(" first line\n"));
    struct stat found {};
    ASSERT_EQ(stat(userLog().c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0600U);
}

TEST_F(AgentLog, OtherStreamIsBesideTheUsersFolder) {
    initialiseLibrary();
    Log::changeLogStream("agent", false);
    library_log::write("a line");
    EXPECT_THAT(readFile(directory() / "log/agent.log"), EndsWith(" a line\n"));
}

TEST_F(AgentLog, LinesAreAddedToWhatIsThere) {
    writeFile(userLog(), "older\n");
    initialiseLibrary();
    library_log::write("newer");
    EXPECT_THAT(libraryLog(), ::testing::StartsWith("older\n"));
    EXPECT_THAT(libraryLog(), EndsWith(" newer\n"));
}

TEST_F(AgentLog, MissingFolderMeansStandardErrorWithTheReason) {
    std::filesystem::remove_all(directory() / "log");
    const std::string errors = errorsOf([] {
        initialiseLibrary();
        library_log::write("homeless");
    });
    EXPECT_THAT(errors, HasSubstr(userLog().string() + ": No such file or directory\n"));
    EXPECT_THAT(errors, EndsWith(" homeless\n"));
}

TEST_F(AgentLog, LinkIsNotFollowed) {
    writeFile(directory() / "victim", "");
    std::filesystem::create_symlink(directory() / "victim", userLog());
    const std::string errors = errorsOf([] {
        initialiseLibrary();
        library_log::write("a line");
    });
    EXPECT_EQ(readFile(directory() / "victim"), "");
    EXPECT_THAT(errors, EndsWith(" a line\n"));
}

TEST_F(AgentLog, PipeWithoutAReaderIsNoWait) {
    ASSERT_EQ(mkfifo(userLog().c_str(), 0600), 0);
    const std::string errors = errorsOf([] {
        initialiseLibrary();
        library_log::write("a line");
    });
    EXPECT_THAT(errors, EndsWith(" a line\n"));
}

TEST_F(AgentLog, NameWithASlashDoesNotLeaveTheFolder) {
    const std::string errors = errorsOf([] {
        initialiseLibrary();
        Log::changeLogStream("OSUpdateNotification_x/../../../escaped", true);
        library_log::write("a line");
    });
    EXPECT_FALSE(std::filesystem::exists(directory() / "escaped.log"));
    EXPECT_THAT(errors, EndsWith(" a line\n"));
}

TEST_F(AgentLog, ControlCharactersDoNotBreakARecord) {
    initialiseLibrary();
    library_log::write("one\ntwo\x1b[31m");
    EXPECT_THAT(libraryLog(), EndsWith(" one\\ntwo\\u{1B}[31m\n"));
}

class AgentServices : public AgentFiles {
  protected:
    AgentServices() { initialiseLibrary(); }

    [[nodiscard]] std::string accessLog() const { return directory() / "access.log"; }
};

TEST_F(AgentServices, DirectoryIsChanged) {
    const std::filesystem::path before = std::filesystem::current_path();
    EXPECT_TRUE(UtilsWrapper().changeDirectoryTo(directory() / "data"));
    EXPECT_EQ(std::filesystem::current_path(), std::filesystem::canonical(directory() / "data"));
    std::filesystem::current_path(before);
}

TEST_F(AgentServices, MissingDirectoryIsNotChangedTo) {
    const std::filesystem::path before = std::filesystem::current_path();
    EXPECT_FALSE(UtilsWrapper().changeDirectoryTo(directory() / "none"));
    EXPECT_FALSE(UtilsWrapper().changeDirectoryTo(""));
    EXPECT_EQ(std::filesystem::current_path(), before);
}

TEST_F(AgentServices, TextIsAppendedByteForByte) {
    writeFile(accessLog(), "before");
    const std::string text("\n\t\t\0 \xff end", 10);
    UtilsWrapper().printAccessToFile(accessLog(), text);
    UtilsWrapper().printAccessToFile(accessLog(), "");
    UtilsWrapper().printAccessToFile(accessLog(), "\t\tlast");
    EXPECT_EQ(readFile(accessLog()), "before" + text + "\t\tlast");
    EXPECT_EQ(libraryLog(), "");
}

TEST_F(AgentServices, LargeTextIsWrittenWhole) {
    writeFile(accessLog(), "");
    const std::string text(4'000'000, 'x');
    UtilsWrapper().printAccessToFile(accessLog(), text);
    EXPECT_TRUE(readFile(accessLog()) == text);
}

TEST_F(AgentServices, EntriesOfSeveralWritersDoNotMix) {
    writeFile(accessLog(), "");
    constexpr int writers = 4;
    constexpr int entries = 200;
    std::vector<std::thread> threads;
    threads.reserve(writers);
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([this, writer] {
            const std::string entry = "\n" + std::string(300, static_cast<char>('a' + writer));
            for (int count = 0; count < entries; ++count) {
                UtilsWrapper().printAccessToFile(accessLog(), entry);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::istringstream lines(readFile(accessLog()).substr(1));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        ASSERT_EQ(line, std::string(300, line.front()));
    }
    EXPECT_EQ(count, writers * entries);
}

TEST_F(AgentServices, MissingFileIsNotCreated) {
    UtilsWrapper().printAccessToFile(accessLog(), "text");
    EXPECT_FALSE(std::filesystem::exists(accessLog()));
    EXPECT_THAT(libraryLog(), EndsWith(accessLog() + ": No such file or directory\n"));
}

TEST_F(AgentServices, LinkIsNotFollowed) {
    writeFile(directory() / "victim", "");
    std::filesystem::create_symlink(directory() / "victim", accessLog());
    UtilsWrapper().printAccessToFile(accessLog(), "text");
    EXPECT_EQ(readFile(directory() / "victim"), "");
    EXPECT_THAT(libraryLog(), HasSubstr(accessLog() + ": "));
}

TEST_F(AgentServices, PipeWithoutAReaderIsNoWait) {
    ASSERT_EQ(mkfifo(accessLog().c_str(), 0600), 0);
    UtilsWrapper().printAccessToFile(accessLog(), "text");
    EXPECT_THAT(libraryLog(), HasSubstr(accessLog() + ": "));
}

TEST_F(AgentServices, PipeWithAReaderGetsNothing) {
    ASSERT_EQ(mkfifo(accessLog().c_str(), 0600), 0);
    const FileDescriptor reader(open(accessLog().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    ASSERT_TRUE(reader.isOpen());
    UtilsWrapper().printAccessToFile(accessLog(), "text");
    char byte = 0;
    EXPECT_EQ(read(reader.get(), &byte, 1), 0);
    EXPECT_THAT(libraryLog(), EndsWith(accessLog() + ": Not a regular file\n"));
}

TEST_F(AgentServices, DeviceGetsNothing) {
    UtilsWrapper().printAccessToFile("/dev/null", "text");
    EXPECT_THAT(libraryLog(), EndsWith("/dev/null: Not a regular file\n"));
}

TEST_F(AgentServices, FileThatCannotGrowIsALineOfTheLibraryLog) {
    constexpr std::size_t largest = 1'000'000;
    writeFile(accessLog(), std::string(largest, 'x'));
    // Without the signal a write over the limit is an error of the file.
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit{largest, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    UtilsWrapper().printAccessToFile(accessLog(), "text");
    setrlimit(RLIMIT_FSIZE, &before);
    static_cast<void>(std::signal(SIGXFSZ, signalBefore));
    EXPECT_THAT(libraryLog(), EndsWith(accessLog() + ": File too large\n"));
}

class AgentTexts : public AgentFiles {
  protected:
    AgentTexts() { initialiseLibrary(); }

    void writeTexts(const std::string& language, const std::string& text) const {
        writeFile(directory() / ("base/i18n/application_" + language + ".properties"), text);
    }

    /// The text of `key` in a store loaded in the session's language.
    static std::string textOf(std::string_view key) {
        I18NUtility texts;
        EXPECT_EQ(texts.loadI18NPropertyFile(), 0);
        return texts.getValueForKeyString(key).value_or("(none)");
    }
};

TEST_F(AgentTexts, EnglishIsTheTextOfTheStandardLocale) {
    writeTexts("en", "title = Hello\nempty =\n");
    writeTexts("de", "title = Hallo\n");
    EXPECT_EQ(textOf("title"), "Hello");
    EXPECT_EQ(textOf("empty"), "");
    EXPECT_EQ(textOf("other"), "(none)");
}

TEST_F(AgentTexts, LanguageOfTheSessionIsUsed) {
    writeTexts("en", "title = Hello\n");
    writeTexts("de", "title = Grüezi\n");
    setenv("LANG", "de_CH.UTF-8", 1);
    EXPECT_EQ(textOf("title"), "Grüezi");
}

TEST_F(AgentTexts, KeyMissingInTheLanguageIsEnglish) {
    writeTexts("en", "title = Hello\nmore = More\n");
    writeTexts("de", "title = Hallo\n");
    setenv("LANG", "de_DE", 1);
    EXPECT_EQ(textOf("more"), "More");
}

TEST_F(AgentTexts, RegionTakesFromItsMainLanguageBeforeEnglish) {
    writeTexts("en", "a = en\nb = en\nc = en\n");
    writeTexts("pt", "a = pt\nb = pt\n");
    writeTexts("pt_BR", "a = br\n");
    setenv("LANG", "pt_BR.UTF-8", 1);
    EXPECT_EQ(textOf("a"), "br");
    EXPECT_EQ(textOf("b"), "pt");
    EXPECT_EQ(textOf("c"), "en");
}

TEST_F(AgentTexts, RegionTakesFromTheLanguageThatStandsInForIt) {
    writeTexts("en", "a = en\nb = en\n");
    writeTexts("zh_CN", "a = cn\nb = cn\n");
    writeTexts("zh_TW", "a = tw\nb = tw\n");
    writeTexts("zh_HK", "a = hk\n");
    setenv("LANG", "zh_HK.UTF-8", 1);
    EXPECT_EQ(textOf("a"), "hk");
    EXPECT_EQ(textOf("b"), "tw");
}

TEST_F(AgentTexts, SecondLanguageDoesNotMixIntoTheFirst) {
    writeTexts("en", "a = en\nb = en\n");
    writeTexts("sv", "a = sv\n");
    writeTexts("nb", "a = nb\nb = nb\n");
    setenv("LANG", "en_US.UTF-8", 1);
    setenv("LANGUAGE", "fi:sv:nb", 1);
    EXPECT_EQ(textOf("a"), "sv");
    EXPECT_EQ(textOf("b"), "en");
}

TEST_F(AgentTexts, EnglishFirstInTheListStaysEnglish) {
    writeTexts("en", "a = en\n");
    writeTexts("de", "a = de\n");
    setenv("LANG", "de_DE", 1);
    setenv("LANGUAGE", "en_GB:de", 1);
    EXPECT_EQ(textOf("a"), "en");
}

TEST_F(AgentTexts, BrokenLanguageIsALogLineAndEnglish) {
    writeTexts("en", "title = Hello\n");
    writeTexts("de", "title = gr\xFCn\n");
    setenv("LANG", "de_DE", 1);
    EXPECT_EQ(textOf("title"), "Hello");
    EXPECT_THAT(libraryLog(), EndsWith("/application_de.properties: is not UTF-8\n"));
}

TEST_F(AgentTexts, DirectoryInPlaceOfALanguageIsALogLineAndEnglish) {
    writeTexts("en", "title = Hello\n");
    std::filesystem::create_directory(directory() / "base/i18n/application_de.properties");
    setenv("LANG", "de", 1);
    EXPECT_EQ(textOf("title"), "Hello");
    EXPECT_THAT(libraryLog(), EndsWith("/application_de.properties: Not a regular file\n"));
}

TEST_F(AgentTexts, LanguageDoesNotLeadOutOfTheFolder) {
    writeTexts("en", "title = Hello\n");
    std::filesystem::create_directory(directory() / "base/i18n/application_x");
    writeFile(directory() / "stolen.properties", "title = stolen\n");
    setenv("LANG", "x/../../../stolen", 1);
    EXPECT_EQ(textOf("title"), "Hello");
}

class AgentTextsUnusable : public AgentTexts {
  protected:
    void expectUnusable(const std::string& line) {
        I18NUtility texts;
        ::testing::internal::CaptureStderr();
        const int status = texts.loadI18NPropertyFile();
        const std::string errors = ::testing::internal::GetCapturedStderr();
        EXPECT_NE(status, 0);
        EXPECT_THAT(errors, EndsWith(line + "\n"));
        EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1);
        EXPECT_THAT(libraryLog(), EndsWith(line + "\n"));
    }

    [[nodiscard]] std::string english() const {
        return directory() / "base/i18n/application_en.properties";
    }
};

TEST_F(AgentTextsUnusable, MissingEnglishFails) {
    writeTexts("de", "title = Hallo\n");
    setenv("LANG", "de", 1);
    expectUnusable(english() + ": No such file or directory");
}

TEST_F(AgentTextsUnusable, EnglishDirectoryFails) {
    std::filesystem::create_directory(english());
    expectUnusable(english() + ": Not a regular file");
}

TEST_F(AgentTextsUnusable, EnglishPipeFailsWithoutAWait) {
    ASSERT_EQ(mkfifo(english().c_str(), 0600), 0);
    expectUnusable(english() + ": Not a regular file");
}

TEST_F(AgentTextsUnusable, EnglishOtherThanUtf8Fails) {
    writeTexts("en", "title = \xFF\n");
    expectUnusable(english() + ": is not UTF-8");
}

TEST_F(AgentTextsUnusable, EnglishWithAMalformedEscapeFails) {
    writeTexts("en", "\ntitle = \\u00\n");
    expectUnusable(english() + R"(:2: malformed "\u" escape)");
}

}  // namespace
}  // namespace velunor::testing
