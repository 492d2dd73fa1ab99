// The prompt's texts as they are installed, in every language.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>

#include "agent/linux/texts.h"
#include "agent/ltarnutils.h"
#include "tests/linux/agent/agent_files.h"

namespace velunor::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAreArray;

const std::string prefix = "tarn.agent.msghand.";
const std::string title = prefix + "os_reboot.reboot_title";
const std::string message = prefix + "os_reboot.reboot_text";
const std::set<std::string> countdowns{prefix + "automatic_install_text",
                                       prefix + "automatic_postpone_text"};
const std::set<std::string> keys{title,
                                 message,
                                 prefix + "os_reboot.credentials_text",
                                 prefix + "os_reboot.change_username_text",
                                 prefix + "os_reboot.credentials_not_sufficient",
                                 prefix + "postpone",
                                 prefix + "update_now",
                                 prefix + "remaining_attempts",
                                 prefix + "automatic_install_text",
                                 prefix + "automatic_postpone_text",
                                 prefix + "prompt.user_name",
                                 prefix + "prompt.password",
                                 prefix + "prompt.show_password",
                                 prefix + "prompt.caps_lock_on",
                                 prefix + "prompt.password_refused",
                                 prefix + "prompt.hidden"};

std::vector<std::string> keysOf(const Properties& texts) {
    std::vector<std::string> found;
    for (const auto& [key, text] : texts) {
        found.push_back(key);
    }
    return found;
}

/// Blanks that a text may end in: ASCII, no-break, narrow no-break and ideographic.
const std::vector<std::string> blanks{" ", "\u00A0", "\u202F", "\u3000"};

bool beginsOrEndsWithABlank(const std::string& text) {
    return std::any_of(blanks.begin(), blanks.end(), [&text](const std::string& blank) {
        return text.starts_with(blank) || text.ends_with(blank);
    });
}

/// Whether UTF-8 `text` has one of U+0000 to U+001F or U+007F to U+009F.
bool hasControlCharacter(const std::string& text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const auto byte = static_cast<unsigned char>(text[index]);
        const auto next =
            index + 1 < text.size() ? static_cast<unsigned char>(text[index + 1]) : 0U;
        if (byte < 0x20 || byte == 0x7F || (byte == 0xC2 && next >= 0x80 && next < 0xA0)) {
            return true;
        }
    }
    return false;
}

int countOf(const std::string& part, const std::string& text) {
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

/// The texts of each language; a file that cannot be read as such fails the test.
class ShippedTexts : public ::testing::Test {
  protected:
    ShippedTexts() {
        for (const auto& entry : std::filesystem::directory_iterator(SHIPPED_TEXTS)) {
            const std::string name = entry.path().filename();
            if (entry.path().extension() != ".properties") {
                continue;
            }
            EXPECT_THAT(name, StartsWith("application_"));
            const auto result = parseProperties(readFile(entry.path()), name);
            if (!result) {
                ADD_FAILURE() << result.error().description;
                continue;
            }
            const std::string stem = entry.path().stem();
            languages_[stem.substr(stem.find('_') + 1)] = *result;
        }
    }

    [[nodiscard]] const std::map<std::string, Properties>& languages() const { return languages_; }

    [[nodiscard]] const Properties& english() const { return languages_.at("en"); }

    /// Calls `check` with the key and the text of each text of each language.
    template <typename Check>
    void forEachText(Check check) const {
        for (const auto& [language, texts] : languages_) {
            for (const auto& [key, text] : texts) {
                SCOPED_TRACE(::testing::Message() << language << ": " << key << " = " << text);
                check(key, text);
            }
        }
    }

  private:
    std::map<std::string, Properties> languages_;
};

TEST_F(ShippedTexts, AreInManyLanguagesAndScripts) {
    EXPECT_GE(languages().size(), 30U);
    for (const char* language : {"ar", "he", "hi", "th", "ja", "ko", "zh_CN", "zh_TW"}) {
        EXPECT_TRUE(languages().contains(language)) << language;
    }
}

TEST_F(ShippedTexts, HaveEveryKeyAndNoOther) {
    for (const auto& [language, texts] : languages()) {
        EXPECT_THAT(keysOf(texts), UnorderedElementsAreArray(keys)) << language;
    }
}

TEST_F(ShippedTexts, CountdownsTakeMinutesAndSecondsAndNothingElse) {
    forEachText([](const std::string& key, const std::string& text) {
        const int figures = countdowns.contains(key) ? 2 : 0;
        EXPECT_EQ(countOf("%s", text), figures);
        EXPECT_EQ(countOf("%", text), figures);
    });
}

TEST_F(ShippedTexts, AreNotEmpty) {
    forEachText([](const std::string& /*key*/, const std::string& text) {
        EXPECT_THAT(text, Not(IsEmpty()));
    });
}

TEST_F(ShippedTexts, NeitherBeginNorEndWithABlank) {
    forEachText([](const std::string& /*key*/, const std::string& text) {
        EXPECT_FALSE(beginsOrEndsWithABlank(text));
    });
}

TEST_F(ShippedTexts, HoldNoControlCharacter) {
    forEachText([](const std::string& /*key*/, const std::string& text) {
        EXPECT_FALSE(hasControlCharacter(text));
    });
}

TEST_F(ShippedTexts, AreTranslated) {
    for (const auto& [language, texts] : languages()) {
        if (language != "en") {
            for (const char* spoken : {"prompt.show_password", "prompt.password_refused"}) {
                EXPECT_NE(texts.at(prefix + spoken), english().at(prefix + spoken)) << language;
            }
            EXPECT_NE(texts.at(title), english().at(title)) << language;
            EXPECT_NE(texts.at(message), english().at(message)) << language;
        }
    }
}

struct SessionCase {
    const char* name;
    const char* lang;
    const char* language;
};

void PrintTo(const SessionCase& value, std::ostream* out) {
    *out << value.name;
}

class TextsOfASession : public AgentFiles, public ::testing::WithParamInterface<SessionCase> {
  protected:
    TextsOfASession() {
        initialiseLibrary();
        std::filesystem::copy(SHIPPED_TEXTS, directory() / "base/i18n",
                              std::filesystem::copy_options::recursive);
    }
};

TEST_P(TextsOfASession, AreInItsLanguage) {
    const std::string file =
        SHIPPED_TEXTS "/application_" + std::string(GetParam().language) + ".properties";
    const auto expected = parseProperties(readFile(file), file);
    ASSERT_TRUE(expected);
    setenv("LANG", GetParam().lang, 1);
    I18NUtility texts;
    ASSERT_EQ(texts.loadI18NPropertyFile(), 0);
    for (const auto& [key, text] : *expected) {
        EXPECT_EQ(texts.getValueForKeyString(key), text);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Lang, TextsOfASession,
    ::testing::Values(
        SessionCase{"Standard", "C.UTF-8", "en"}, SessionCase{"Britain", "en_GB.UTF-8", "en"},
        SessionCase{"Unknown", "tlh.UTF-8", "en"}, SessionCase{"Austria", "de_AT.UTF-8", "de"},
        SessionCase{"Mexico", "es_MX.UTF-8", "es"}, SessionCase{"Brazil", "pt_BR.UTF-8", "pt_BR"},
        SessionCase{"Portugal", "pt_PT.UTF-8", "pt"}, SessionCase{"Nynorsk", "nn_NO.UTF-8", "nb"},
        SessionCase{"Norwegian", "no_NO.UTF-8", "nb"},
        SessionCase{"OldHebrew", "iw_IL.UTF-8", "he"},
        SessionCase{"OldIndonesian", "in_ID.UTF-8", "id"},
        SessionCase{"Serbia", "sr_RS.UTF-8", "sr"},
        SessionCase{"SerbianInLatin", "sr_RS.UTF-8@latin", "sr_Latn"},
        SessionCase{"China", "zh_CN.UTF-8", "zh_CN"},
        SessionCase{"Singapore", "zh_SG.UTF-8", "zh_CN"},
        SessionCase{"Taiwan", "zh_TW.UTF-8", "zh_TW"},
        SessionCase{"HongKong", "zh_HK.UTF-8", "zh_TW"},
        SessionCase{"Macao", "zh_MO.UTF-8", "zh_TW"}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace velunor::testing
