#include "platform/qt/countdown_speech.h"

#include <charconv>
#include <vector>

namespace velunor {

namespace {

constexpr long secondsPerMinute = 60;
/// Longer figures are none of a countdown.
constexpr std::size_t longestFigure = 9;

}  // namespace

std::optional<long> countdownSeconds(const AttributedString& text) {
    std::vector<long> figures;
    for (const TextRun& run : text) {
        if (!run.attributes) {
            continue;
        }
        long figure = 0;
        const char* end = run.text.data() + run.text.size();
        const auto [stop, error] = std::from_chars(run.text.data(), end, figure);
        if (error != std::errc() || stop != end || figure < 0 || run.text.size() > longestFigure) {
            return std::nullopt;
        }
        figures.push_back(figure);
    }
    if (figures.size() != 2) {
        return std::nullopt;
    }
    return figures[0] * secondsPerMinute + figures[1];
}

bool isSpokenMoment(long secondsLeft) {
    return secondsLeft % secondsPerMinute == 0 || secondsLeft == 30 || secondsLeft == 10;
}

}  // namespace velunor
