#include "prompt/os_update_notification_response.h"

#include <array>
#include <span>
#include <utility>

#include "platform/text.h"
#include "prompt/json_reader.h"

namespace velunor {
namespace {

constexpr std::string_view proceedKey = "proceed";
constexpr std::string_view postponseKey = "postponse";
constexpr std::string_view userNameKey = "userName";
constexpr std::string_view passwdKey = "passwd";

void appendString(Secret& out, std::string_view text) {
    constexpr std::string_view hexadecimal = "0123456789abcdef";
    constexpr std::string_view special = "\"\\/\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\/bfnrt";
    out.append("\"");
    for (const char& character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (const auto index = special.find(character); index != std::string_view::npos) {
            out.append("\\");
            out.append(letters.substr(index, 1));
        } else if (byte < 0x20U) {
            out.append("\\u00");
            out.append(hexadecimal.substr(byte >> 4U, 1));
            out.append(hexadecimal.substr(byte & 0x0FU, 1));
        } else {
            out.append({&character, 1});
        }
    }
    out.append("\"");
}

struct TextMember {
    std::string_view key;
    std::optional<std::string_view> text;
};

/// An object whose single member is an object of texts; absent ones are left out.
Expected<Secret> encoded(std::string_view caseName, std::span<const TextMember> members) {
    Secret json;
    json.append("{");
    appendString(json, caseName);
    json.append(":{");
    std::string_view separator;
    for (const auto& [key, text] : members) {
        if (!text) {
            continue;
        }
        if (!isValidUtf8(*text)) {
            return Error{"The text of \"" + std::string(key) + "\" is not valid UTF-8."};
        }
        json.append(std::exchange(separator, ","));
        appendString(json, key);
        json.append(":");
        appendString(json, *text);
    }
    json.append("}}");
    return json;
}

DecodingError typeMismatch(std::string_view codingPath, std::string_view debugDescription) {
    return {DecodingError::Kind::typeMismatch, std::string(codingPath),
            std::string(debugDescription)};
}

/// The optional text under `key`: absent and null are none; another type is an error.
Expected<std::optional<Secret>, DecodingError> takeText(JsonObject& members,
                                                        std::string_view outerKey,
                                                        std::string_view key) {
    const auto member = members.find(key);
    if (member == members.end() || std::holds_alternative<JsonValue::Null>(member->second.value)) {
        return std::optional<Secret>();
    }
    if (auto* text = std::get_if<Secret>(&member->second.value)) {
        return std::optional<Secret>(std::move(*text));
    }
    return typeMismatch(std::string(outerKey) + "." + std::string(key),
                        "Expected to decode a text but found something else instead.");
}

std::optional<std::string> revealed(const std::optional<Secret>& text) {
    return text ? std::optional<std::string>(text->reveal()) : std::nullopt;
}

Expected<OSUpdateNotificationResponse, DecodingError> decodeAnswer(std::string_view caseName,
                                                                   JsonObject& members) {
    auto userName = takeText(members, caseName, userNameKey);
    if (!userName) {
        return std::move(userName).error();
    }
    auto name = revealed(*userName);
    if (caseName == postponseKey) {
        return OSUpdateNotificationResponse{Postponse{std::move(name)}};
    }
    auto passwd = takeText(members, caseName, passwdKey);
    if (!passwd) {
        return std::move(passwd).error();
    }
    return OSUpdateNotificationResponse{Proceed{std::move(name), *std::move(passwd)}};
}

}  // namespace

std::string OSUpdateNotificationResponse::description() const {
    if (const auto* proceed = std::get_if<Proceed>(&answer)) {
        return "proceed - " + proceed->userName.value_or("NA");
    }
    return "postpone - " + std::get<Postponse>(answer).userName.value_or("NA");
}

Expected<Secret> encodeJson(const OSUpdateNotificationResponse& response) {
    if (const auto* postponse = std::get_if<Postponse>(&response.answer)) {
        return encoded(postponseKey, std::array{TextMember{userNameKey, postponse->userName}});
    }
    const auto& [userName, passwd] = std::get<Proceed>(response.answer);
    const auto typed = passwd ? std::optional(passwd->reveal()) : std::nullopt;
    return encoded(proceedKey,
                   std::array{TextMember{userNameKey, userName}, TextMember{passwdKey, typed}});
}

Expected<OSUpdateNotificationResponse, DecodingError> decodeJson(std::string_view json) {
    auto value = parseJson(json);
    if (!value) {
        return DecodingError{DecodingError::Kind::dataCorrupted, "",
                             "The given data was not valid JSON."};
    }
    auto* members = std::get_if<JsonObject>(&value->value);
    if (members == nullptr) {
        return typeMismatch("", "Expected to decode an object but found something else instead.");
    }
    const bool proceeds = members->contains(proceedKey);
    if (proceeds == members->contains(postponseKey)) {
        return typeMismatch("", "Invalid number of keys found, expected one.");
    }
    const std::string_view caseName = proceeds ? proceedKey : postponseKey;
    auto* inner = std::get_if<JsonObject>(&members->find(caseName)->second.value);
    if (inner == nullptr) {
        return typeMismatch(caseName,
                            "Expected to decode an object but found something else instead.");
    }
    return decodeAnswer(caseName, *inner);
}

}  // namespace velunor
