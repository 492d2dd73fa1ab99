#include "tests/model/expected_texts.h"

#include <chrono>

namespace velunor::testing {
namespace {

std::string twoDigits(std::int64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

}  // namespace

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char character : text) {
        switch (character) {
            case '\n':
                out += "\\n";
                break;
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            default:
                out += character;
        }
    }
    return out + "\"";
}

std::string listed(const std::vector<std::string>& texts) {
    std::string out = "[";
    for (const std::string& text : texts) {
        out += (out.size() > 1 ? ", " : "") + quoted(text);
    }
    return out + "]";
}

std::string json(const std::string& text) {
    std::string out = quoted(text);
    for (std::size_t at = out.find('/'); at != std::string::npos; at = out.find('/', at + 2)) {
        out.insert(at, "\\");
    }
    return out;
}

std::string calendar(std::int64_t seconds) {
    constexpr std::int64_t perDay = 86400;
    const std::chrono::year_month_day day{
        std::chrono::sys_days{std::chrono::days{seconds / perDay}}};
    const std::int64_t rest = seconds % perDay;
    return std::to_string(static_cast<int>(day.year())) + "-" +
           twoDigits(static_cast<unsigned>(day.month())) + "-" +
           twoDigits(static_cast<unsigned>(day.day())) + " " + twoDigits(rest / 3600) + ":" +
           twoDigits(rest / 60 % 60) + ":" + twoDigits(rest % 60);
}

}  // namespace velunor::testing
