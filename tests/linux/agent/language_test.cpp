// The choice of the language.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

#include "agent/linux/texts.h"

namespace velunor::testing {
namespace {

struct FallbackCase {
    const char* name;
    const char* locale;
    std::vector<std::string> expected;
};

void PrintTo(const FallbackCase& value, std::ostream* out) {
    *out << value.name;
}

class LanguageFallbacks : public ::testing::TestWithParam<FallbackCase> {};

TEST_P(LanguageFallbacks, GoFromTheRegionToTheLanguage) {
    EXPECT_EQ(languageWithFallbacks(GetParam().locale), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Region, LanguageFallbacks,
    ::testing::Values(FallbackCase{"Brazil", "pt_BR", {"pt_BR", "pt"}},
                      FallbackCase{"Portugal", "pt_PT", {"pt_PT", "pt"}},
                      FallbackCase{"Mexico", "es_MX.UTF-8", {"es_MX", "es"}},
                      FallbackCase{"EncodingAndModifier", "de_DE.UTF-8@euro", {"de_DE", "de"}},
                      FallbackCase{"ModifierAlone", "ca@valencia", {"ca"}},
                      FallbackCase{"NumberOfARegion", "es_419", {"es_419", "es"}},
                      FallbackCase{"LastLettersAndDigits", "zz_Z09", {"zz_Z09", "zz"}},
                      FallbackCase{"Hyphens", "pt-BR", {"pt_BR", "pt"}}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Chinese, LanguageFallbacks,
    ::testing::Values(
        FallbackCase{"Alone", "zh", {"zh_CN", "zh"}},
        FallbackCase{"China", "zh_CN.GB18030", {"zh_CN", "zh"}},
        FallbackCase{"Singapore", "zh_SG", {"zh_SG", "zh_CN", "zh"}},
        FallbackCase{"Taiwan", "zh_TW.Big5", {"zh_TW", "zh"}},
        FallbackCase{"HongKong", "zh_HK", {"zh_HK", "zh_TW", "zh"}},
        FallbackCase{"Macao", "zh_MO", {"zh_MO", "zh_TW", "zh"}},
        FallbackCase{"Simplified", "zh_Hans", {"zh_Hans", "zh_CN", "zh"}},
        FallbackCase{"Traditional", "zh_Hant", {"zh_Hant", "zh_TW", "zh"}},
        FallbackCase{
            "SimplifiedInHongKong", "zh_Hans_HK", {"zh_Hans_HK", "zh_Hans", "zh_CN", "zh"}},
        FallbackCase{"TraditionalInChina", "zh-Hant-CN", {"zh_Hant_CN", "zh_Hant", "zh_TW", "zh"}}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(
    OtherNames, LanguageFallbacks,
    ::testing::Values(FallbackCase{"Norwegian", "no", {"nb"}},
                      FallbackCase{"NorwegianOfNorway", "no_NO.UTF-8", {"nb_NO", "nb"}},
                      FallbackCase{"Bokmal", "nb_NO", {"nb_NO", "nb"}},
                      FallbackCase{"Nynorsk", "nn_NO", {"nn_NO", "nn", "nb"}},
                      FallbackCase{"OldHebrew", "iw_IL", {"he_IL", "he"}},
                      FallbackCase{"OldIndonesian", "in", {"id"}},
                      FallbackCase{"OldCodeAsRegion", "en_in", {"en_in", "en"}},
                      FallbackCase{"LongerThanAnOldCode", "inh", {"inh"}}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Script, LanguageFallbacks,
    ::testing::Values(FallbackCase{"SerbianIsCyrillic", "sr_RS", {"sr_RS", "sr"}},
                      FallbackCase{"Latin", "sr@latin", {"sr_Latn", "sr"}},
                      FallbackCase{
                          "LatinOfARegion", "sr_RS.UTF-8@latin", {"sr_Latn_RS", "sr_Latn", "sr"}},
                      FallbackCase{"LatinAsASubtag", "sr-Latn", {"sr_Latn", "sr"}}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(NoLanguage, LanguageFallbacks,
                         ::testing::Values(FallbackCase{"Empty", "", {}},
                                           FallbackCase{"EncodingAlone", ".UTF-8", {}},
                                           FallbackCase{"ModifierAlone", "@latin", {}},
                                           FallbackCase{"AnotherSign", "de~x", {}},
                                           FallbackCase{"Path", "../de", {}},
                                           FallbackCase{"Absolute", "/de", {}}),
                         [](const auto& test) { return std::string(test.param.name); });

struct LanguageCase {
    const char* name;
    const char* language;
    const char* lcAll;
    const char* lcMessages;
    const char* lang;
    std::vector<std::string> expected;
};

void PrintTo(const LanguageCase& value, std::ostream* out) {
    *out << value.name;
}

class PreferredLanguages : public ::testing::TestWithParam<LanguageCase> {};

TEST_P(PreferredLanguages, FollowTheSession) {
    const LanguageCase& session = GetParam();
    EXPECT_EQ(preferredLanguages(session.language, session.lcAll, session.lcMessages, session.lang),
              session.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Session, PreferredLanguages,
    ::testing::Values(
        LanguageCase{"NothingSet", "", "", "", "", {}},
        LanguageCase{"LangAlone", "", "", "", "de_CH.UTF-8", {"de_CH", "de"}},
        LanguageCase{"RegionFallsBack", "", "", "", "pt_BR", {"pt_BR", "pt"}},
        LanguageCase{"ModifierIsDropped", "", "", "", "de_DE@euro", {"de_DE", "de"}},
        LanguageCase{"MessagesOverLang", "", "", "fr_FR.UTF-8", "de_DE", {"fr_FR", "fr"}},
        LanguageCase{"AllOverMessages", "", "it_IT", "fr_FR", "de_DE", {"it_IT", "it"}},
        LanguageCase{"LanguageListOverAll",
                     "sv:nb_NO",
                     "it_IT",
                     "",
                     "",
                     {"sv", "nb_NO", "nb", "it_IT", "it"}},
        LanguageCase{"FallbackBeforeTheNextInTheList",
                     "nn:sv",
                     "",
                     "",
                     "de_DE.UTF-8",
                     {"nn", "nb", "sv", "de_DE", "de"}},
        LanguageCase{"EmptyListElements", ":de::", "", "", "fr", {"de", "fr"}},
        LanguageCase{
            "RepeatedLanguages", "de_DE:de:de_AT", "", "", "de_DE", {"de_DE", "de", "de_AT"}},
        LanguageCase{"ScriptSubtag", "", "", "", "ks_Deva_IN", {"ks_Deva_IN", "ks_Deva", "ks"}},
        LanguageCase{"StandardLocale", "", "", "", "C", {}},
        LanguageCase{"StandardLocaleWithEncoding", "", "C.UTF-8", "", "de_DE", {}},
        LanguageCase{"PosixLocale", "", "", "", "POSIX", {}},
        LanguageCase{"LanguageIgnoredInStandardLocale", "de", "", "", "C", {}},
        LanguageCase{"LanguageIgnoredWithoutLocale", "de", "", "", "", {}},
        LanguageCase{"PathInLang", "", "", "", "../../etc/x", {}},
        LanguageCase{"PathInLanguage", "../../etc/x:de", "", "", "fr", {"de", "fr"}},
        LanguageCase{"AbsolutePath", "", "", "", "/etc/passwd", {}}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace velunor::testing
