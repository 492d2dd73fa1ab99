#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "prompt/os_update_notification_response.h"

namespace velunor::testing {
namespace {

OSUpdateNotificationResponse proceed(std::optional<std::string> user = std::nullopt,
                                     std::optional<std::string> password = std::nullopt) {
    Proceed answer{std::move(user), std::nullopt};
    if (password) {
        answer.passwd.emplace(*password);
    }
    return {std::move(answer)};
}

OSUpdateNotificationResponse postpone(std::optional<std::string> user = std::nullopt) {
    return {Postponse{std::move(user)}};
}

std::string json(const OSUpdateNotificationResponse& response) {
    const auto encoded = encodeJson(response);
    return encoded ? std::string(encoded->reveal()) : "no JSON";
}

std::string encodingError(const OSUpdateNotificationResponse& response) {
    const auto encoded = encodeJson(response);
    return encoded ? "" : encoded.error().description;
}

DecodingError decodingError(std::string_view text) {
    auto decoded = decodeJson(text);
    return decoded ? DecodingError{{}, "", "no error"} : decoded.error();
}

std::string decodedText(std::string_view text) {
    const auto decoded = decodeJson(text);
    return decoded ? json(*decoded) : "no answer";
}

TEST(ResponseText, NamesTheUserOrNA) {
    EXPECT_EQ(proceed().description(), "proceed - NA");
    EXPECT_EQ(proceed("alice").description(), "proceed - alice");
    EXPECT_EQ(postpone().description(), "postpone - NA");
    EXPECT_EQ(postpone("bob").description(), "postpone - bob");
}

TEST(ResponseText, NeverHoldsThePassword) {
    EXPECT_EQ(proceed("alice", "p4ss").description(), "proceed - alice");
    EXPECT_EQ(proceed(std::nullopt, "p4ss").description(), "proceed - NA");
}

TEST(ResponseText, EmptyUserNameIsPresent) {
    EXPECT_EQ(postpone("").description(), "postpone - ");
}

TEST(ResponseJson, AbsentValuesAreLeftOut) {
    EXPECT_EQ(json(proceed()), R"({"proceed":{}})");
    EXPECT_EQ(json(postpone()), R"({"postponse":{}})");
    EXPECT_EQ(json(proceed("alice")), R"({"proceed":{"userName":"alice"}})");
    EXPECT_EQ(json(proceed(std::nullopt, "x")), R"({"proceed":{"passwd":"x"}})");
}

TEST(ResponseJson, MembersComeInTheStatedOrder) {
    EXPECT_EQ(json(proceed("alice", "p4ss")),
              R"({"proceed":{"userName":"alice","passwd":"p4ss"}})");
    EXPECT_EQ(json(postpone("bob")), R"({"postponse":{"userName":"bob"}})");
}

TEST(ResponseJson, EmptyTextsAreWritten) {
    EXPECT_EQ(json(proceed("", "")), R"({"proceed":{"userName":"","passwd":""}})");
}

TEST(ResponseJson, SlashIsEscaped) {
    EXPECT_EQ(json(proceed("a", "x/y")), R"({"proceed":{"userName":"a","passwd":"x\/y"}})");
}

TEST(ResponseJson, QuotesBackslashesAndControlCharactersAreEscaped) {
    EXPECT_EQ(json(postpone("\"\\\b\f\n\r\t")), R"({"postponse":{"userName":"\"\\\b\f\n\r\t"}})");
    EXPECT_EQ(json(postpone(std::string("\0\x01\x1F\x7F", 4))),
              "{\"postponse\":{\"userName\":\"\\u0000\\u0001\\u001f\x7F\"}}");
}

TEST(ResponseJson, OtherScriptsAndEmojiStayAsTheyAre) {
    EXPECT_EQ(json(postpone("Zoë 日本 \U0001F600")),
              "{\"postponse\":{\"userName\":\"Zoë 日本 \U0001F600\"}}");
}

TEST(ResponseJson, TextThatIsNotUtf8IsAnErrorThatNamesTheMemberOnly) {
    EXPECT_EQ(encodingError(postpone("\xFF")), "The text of \"userName\" is not valid UTF-8.");
    EXPECT_EQ(encodingError(proceed("a", "secret\xC3")),
              "The text of \"passwd\" is not valid UTF-8.");
}

TEST(ResponseDecoding, AcceptsWhatEncodingWrites) {
    for (const auto* text :
         {R"({"proceed":{}})", R"({"postponse":{}})", R"({"postponse":{"userName":"bob"}})",
          R"({"proceed":{"userName":"alice","passwd":"x\/y"}})"}) {
        EXPECT_EQ(decodedText(text), text);
    }
}

TEST(ResponseDecoding, EscapedSlashIsASlash) {
    const auto decoded = decodeJson(R"({"proceed":{"passwd":"a\/b"}})");
    const auto& answer = decoded->answer;
    EXPECT_EQ(std::get<Proceed>(answer).passwd->reveal(), "a/b");
}

TEST(ResponseDecoding, BothCasesAreAnInvalidNumberOfKeys) {
    const auto error = decodingError(R"({"proceed":{},"postponse":{}})");
    EXPECT_EQ(error.kind, DecodingError::Kind::typeMismatch);
    EXPECT_EQ(error.debugDescription, "Invalid number of keys found, expected one.");
    EXPECT_EQ(error.codingPath, "");
}

TEST(ResponseDecoding, NoCaseIsAnInvalidNumberOfKeys) {
    EXPECT_EQ(decodingError("{}").debugDescription, "Invalid number of keys found, expected one.");
    EXPECT_EQ(decodingError(R"({"other":{}})").debugDescription,
              "Invalid number of keys found, expected one.");
}

TEST(ResponseDecoding, KeysThatAreNoCaseAreNotCounted) {
    EXPECT_EQ(decodedText(R"({"other":1,"proceed":{"extra":[1,{}],"userName":"a"}})"),
              R"({"proceed":{"userName":"a"}})");
}

TEST(ResponseDecoding, CaseNamesAreCaseSensitive) {
    EXPECT_EQ(decodingError(R"({"Proceed":{},"postpone":{}})").debugDescription,
              "Invalid number of keys found, expected one.");
}

TEST(ResponseDecoding, NullAndAbsentAreAbsent) {
    EXPECT_EQ(decodedText(R"({"proceed":{"userName":null,"passwd":null}})"), R"({"proceed":{}})");
}

TEST(ResponseDecoding, PostponeIgnoresAPassword) {
    EXPECT_EQ(decodedText(R"({"postponse":{"userName":"b","passwd":5}})"),
              R"({"postponse":{"userName":"b"}})");
}

TEST(ResponseDecoding, CaseThatIsNoObjectIsAnOrdinaryError) {
    for (const auto* text : {R"({"proceed":null})", R"({"proceed":1})", R"({"proceed":"x"})",
                             R"({"proceed":[]})", R"({"proceed":true})"}) {
        const auto error = decodingError(text);
        EXPECT_EQ(error.kind, DecodingError::Kind::typeMismatch) << text;
        EXPECT_EQ(error.codingPath, "proceed") << text;
        EXPECT_EQ(error.debugDescription,
                  "Expected to decode an object but found something else instead.");
    }
}

TEST(ResponseDecoding, InnerValueThatIsNoTextIsAnOrdinaryError) {
    EXPECT_EQ(decodingError(R"({"proceed":{"userName":5}})").codingPath, "proceed.userName");
    EXPECT_EQ(decodingError(R"({"proceed":{"passwd":{}}})").codingPath, "proceed.passwd");
    EXPECT_EQ(decodingError(R"({"postponse":{"userName":false}})").codingPath,
              "postponse.userName");
    EXPECT_EQ(decodingError(R"({"proceed":{"passwd":{}}})").debugDescription,
              "Expected to decode a text but found something else instead.");
}

TEST(ResponseDecoding, TopLevelThatIsNoObjectIsATypeMismatch) {
    for (const auto* text : {"[]", "1", "\"proceed\"", "null", "true"}) {
        const auto error = decodingError(text);
        EXPECT_EQ(error.kind, DecodingError::Kind::typeMismatch) << text;
        EXPECT_EQ(error.codingPath, "") << text;
        EXPECT_EQ(error.debugDescription,
                  "Expected to decode an object but found something else instead.");
    }
}

TEST(ResponseDecoding, BlanksBetweenTokensAreAllowed) {
    EXPECT_EQ(decodedText(" \n{ \"proceed\" :\t{ \"userName\" : \"a\" } }\r\n"),
              R"({"proceed":{"userName":"a"}})");
    EXPECT_EQ(decodedText("{ } "), "no answer");
    EXPECT_EQ(decodedText("{\"other\" : [ 1 , 2 ] , \"proceed\" : { \"userName\" : null , "
                          "\"passwd\" : \"a b\" } }"),
              R"({"proceed":{"passwd":"a b"}})");
}

class MalformedJsonTest : public ::testing::TestWithParam<std::string> {};

TEST_P(MalformedJsonTest, IsCorruptData) {
    EXPECT_EQ(decodingError(GetParam()).kind, DecodingError::Kind::dataCorrupted);
    EXPECT_EQ(decodingError(GetParam()).debugDescription, "The given data was not valid JSON.");
    EXPECT_EQ(decodingError(GetParam()).codingPath, "");
}

INSTANTIATE_TEST_SUITE_P(Decoding, MalformedJsonTest,
                         ::testing::Values("", " ", "{", "}", "{\"proceed\":{}",
                                           "{\"proceed\":{}}x", "{\"proceed\":{},}", "{proceed:{}}",
                                           "{'proceed':{}}", "{\"proceed\" {}}", "{\"a\":01}",
                                           "{\"a\":1.}", "{\"a\":.5}", "{\"a\":1e}", "{\"a\":-}",
                                           "{\"a\":+1}", "{\"a\":tru}", "{\"a\":\"\n\"}",
                                           "{\"a\":\"\\x\"}", "{\"a\":\"\\u12\"}",
                                           "{\"a\":\"\\uD800\"}", "{\"a\":\"\\uDC00\"}",
                                           "{\"a\":\"\\uD800\\u0041\"}", "{\"a\":\"", "{\"a\":\"\\",
                                           "[1,]", "[1 2]", "\xEF\xBB\xBF{}", "{\"a\":\"\xFF\"}",
                                           "NaN", "~{\"proceed\":{}}", "{\"a\":\"\x1F\"}"));

TEST(ResponseDecoding, EndlessNestingIsCorruptDataAndNoCrash) {
    EXPECT_EQ(decodingError(std::string(100000, '[')).kind, DecodingError::Kind::dataCorrupted);
    std::string objects;
    for (int depth = 0; depth < 100000; ++depth) {
        objects += "{\"a\":";
    }
    EXPECT_EQ(decodingError(objects).kind, DecodingError::Kind::dataCorrupted);
}

/// An answer beside arrays or objects that are nested so deep, the answer's own object included.
std::string nested(int depth, const std::string& opening, const std::string& closing) {
    std::string text = R"({"proceed":{},"other":)";
    for (int level = 1; level < depth; ++level) {
        text += opening;
    }
    text += "1";
    for (int level = 1; level < depth; ++level) {
        text += closing;
    }
    return text + "}";
}

TEST(ResponseDecoding, NestingIsReadUpToItsLimit) {
    EXPECT_EQ(decodedText(nested(128, "[", "]")), R"({"proceed":{}})");
    EXPECT_EQ(decodedText(nested(129, "[", "]")), "no answer");
    EXPECT_EQ(decodedText(nested(128, "{\"a\":", "}")), R"({"proceed":{}})");
    EXPECT_EQ(decodedText(nested(129, "{\"a\":", "}")), "no answer");
}

TEST(ResponseDecoding, NumbersOfEveryFormAreRead) {
    EXPECT_EQ(decodedText(R"({"n":[0,-0,1.5,-2e10,3E+4,5e-6,79],"proceed":{}})"),
              R"({"proceed":{}})");
}

TEST(ResponseDecoding, SurrogatePairsJoin) {
    EXPECT_EQ(decodedText(R"({"postponse":{"userName":"\ud83d\uDE00\u00e9"}})"),
              "{\"postponse\":{\"userName\":\"\U0001F600\u00e9\"}}");
}

TEST(ResponseDecoding, RandomTextsComeBackUnchanged) {
    constexpr std::array alphabet{U'\0',     U'\n',     U'"',          U'\\',
                                  U'/',      U'a',      U'\x7F',       U'\u00e9',
                                  U'\u2028', U'\uFFFD', U'\U0001F600', U'\U0010FFFF'};
    std::mt19937 random(4711);
    std::uniform_int_distribution<std::size_t> pick(0, std::size(alphabet) - 1);
    const auto text = [&] {
        std::string out;
        for (int count = 0; count < 20; ++count) {
            const char32_t code = alphabet[pick(random)];
            if (code < 0x80) {
                out += static_cast<char>(code);
            } else if (code < 0x800) {
                out += static_cast<char>(0xC0 | (code >> 6));
                out += static_cast<char>(0x80 | (code & 0x3F));
            } else if (code < 0x10000) {
                out += static_cast<char>(0xE0 | (code >> 12));
                out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
                out += static_cast<char>(0x80 | (code & 0x3F));
            } else {
                out += static_cast<char>(0xF0 | (code >> 18));
                out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
                out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
                out += static_cast<char>(0x80 | (code & 0x3F));
            }
        }
        return out;
    };
    for (int round = 0; round < 500; ++round) {
        const std::string user = text();
        const std::string password = text();
        const auto decoded = decodeJson(json(proceed(user, password)));
        const auto& answer = decoded->answer;
        EXPECT_EQ(std::get<Proceed>(answer).userName, user);
        EXPECT_EQ(std::get<Proceed>(answer).passwd->reveal(), password);
    }
}

}  // namespace
}  // namespace velunor::testing
