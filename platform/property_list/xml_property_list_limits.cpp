#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "platform/property_list/property_list_limits.h"

namespace velunor {

namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::array<std::string_view, 3> containerNames{"plist", "array", "dict"};
constexpr std::array<std::string_view, 8> leafNames{"key",  "string", "integer", "real",
                                                    "date", "data",   "true",    "false"};

template <std::size_t size>
bool contains(const std::array<std::string_view, size>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Splits an XML property list into its marks and follows what is open. It is stricter than the
/// parser behind it, so that the two can never disagree on where a mark ends or how deep it lies.
class XmlScan {
  public:
    explicit XmlScan(std::string_view text) : text_(text) {}

    std::optional<std::string> run() {
        while (!objection_) {
            const auto mark = text_.find('<', position_);
            checkContent(text_.substr(position_, mark - position_));
            if (mark == std::string_view::npos) {
                break;
            }
            position_ = mark;
            takeMark();
        }
        if (!objection_ && (!open_.empty() || values_ == 0)) {
            object("ends too early");
        }
        return objection_;
    }

  private:
    void object(const char* reason) {
        if (!objection_) {
            objection_ = std::string("XML property list ") + reason;
        }
    }

    [[nodiscard]] bool isInLeaf() const {
        return !open_.empty() && contains(leafNames, open_.back());
    }

    /// Text between marks. Each entity in it makes the parser move the rest of the text.
    void checkContent(std::string_view content) {
        constexpr std::uint64_t mostMovedBytes = std::uint64_t{1} << 30U;
        if (!isInLeaf()) {
            if (content.find_first_not_of(blanks) != std::string_view::npos) {
                object("has text outside of a value");
            }
            return;
        }
        for (auto at = content.find('&'); at != std::string_view::npos && !objection_;
             at = content.find('&', at + 1)) {
            movedBytes_ += content.size() - at;
            if (movedBytes_ > mostMovedBytes) {
                object("holds too many entities");
            }
        }
    }

    void takeMark() {
        const auto rest = text_.substr(position_);
        if (rest.starts_with("<!--")) {
            takeThrough("-->", 4);
        } else if (rest.starts_with("<![CDATA[") && isInLeaf()) {
            takeThrough("]]>", 9);
        } else if (rest.starts_with("<?") && !isInLeaf()) {
            if (!hasPairedQuotes(takeThrough("?>", 1))) {
                object("has an instruction with an open quotation");
            }
        } else if (rest.starts_with("<!DOCTYPE") && values_ == 0) {
            const auto declaration = takeThrough(">", 1);
            if (declaration.find('[') != std::string_view::npos || !hasPairedQuotes(declaration)) {
                object("defines a document type of its own");
            }
        } else if (rest.starts_with("</")) {
            takeClosingTag(takeThrough(">", 2));
        } else {
            takeOpeningTag(takeThrough(">", 1));
        }
    }

    /// Moves behind the next `terminator` at least `start` characters from here; what stood in
    /// between.
    std::string_view takeThrough(std::string_view terminator, std::size_t start) {
        const std::size_t first = position_ + start;
        const auto found = text_.find(terminator, first);
        if (found == std::string_view::npos) {
            object("ends inside of a tag");
            return {};
        }
        position_ = found + terminator.size();
        return text_.substr(first, found - first);
    }

    static bool hasPairedQuotes(std::string_view text) {
        return std::count(text.begin(), text.end(), '"') % 2 == 0;
    }

    void takeClosingTag(std::string_view tag) {
        const auto end = tag.find_last_not_of(blanks);
        const auto name = tag.substr(0, end == std::string_view::npos ? 0 : end + 1);
        if (open_.empty() || open_.back() != name) {
            object("closes what is not open");
            return;
        }
        open_.pop_back();
    }

    void takeOpeningTag(std::string_view tag) {
        const bool isClosed = tag.ends_with('/');
        const auto inner = isClosed ? tag.substr(0, tag.size() - 1) : tag;
        const auto name = inner.substr(0, inner.find_first_of(blanks));
        const bool isContainer = contains(containerNames, name);
        if (isInLeaf() || (!isContainer && !contains(leafNames, name)) || !hasPairedQuotes(tag) ||
            tag.find('<') != std::string_view::npos) {
            object("has an unexpected tag");
        } else if (open_.empty() ? values_ > 0 : name == "plist") {
            object("has more than one top level");
        } else if (++values_ > mostPropertyListValues) {
            object("holds too many values");
        } else if (isContainer && open_.size() > deepestPropertyList) {
            object("is nested too deeply");
        } else if (!isClosed) {
            open_.push_back(name);
        }
    }

    std::string_view text_;
    std::size_t position_ = 0;
    std::size_t values_ = 0;
    std::uint64_t movedBytes_ = 0;
    /// Names of the open tags, outermost first.
    std::vector<std::string_view> open_;
    std::optional<std::string> objection_;
};

}  // namespace

std::optional<std::string> xmlPropertyListObjection(std::string_view text) {
    return XmlScan(text).run();
}

}  // namespace velunor
