#include "window/styled_text.h"

namespace velunor {
namespace {

constexpr std::string_view placeholder = "%s";
constexpr TextAttributes valueAttributes{FontWeight::bold, 17.0, TextColor::standard};

}  // namespace

AttributedString buildAttributedUpdateString(std::string_view templateText,
                                             std::span<const std::string> values,
                                             const TextSegmenter& segmenter) {
    AttributedString styled;
    bool moreSegments = true;
    for (std::size_t index = 0; moreSegments; ++index) {
        const std::size_t end = templateText.find(placeholder);
        moreSegments = end != std::string_view::npos;
        styled.push_back({std::string(templateText.substr(0, end)), std::nullopt, 0});
        if (moreSegments) {
            templateText.remove_prefix(end + placeholder.size());
        }
        if (index < values.size()) {
            const std::string& value = values[index];
            styled.push_back({value, valueAttributes, segmenter.characterCount(value)});
        }
    }
    return styled;
}

}  // namespace velunor
