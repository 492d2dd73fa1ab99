#include <bit>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/property_list/property_list_forms.h"
#include "platform/text.h"

namespace velunor {
namespace {

/// Most bytes in texts and data, shared ones counted each time they are referred to.
constexpr std::uint64_t mostContent = std::uint64_t{32} * 1024 * 1024;

/// The upper half of an object's first byte.
enum Kind : std::uint8_t {
    constant = 0x0,
    integer = 0x1,
    real = 0x2,
    date = 0x3,
    data = 0x4,
    text = 0x5,
    wideText = 0x6,
    identifier = 0x8,
    array = 0xA,
    dictionary = 0xD
};

/// Walks from the top object to all that it holds. The first objection ends the walk.
class BinaryReader {
  public:
    explicit BinaryReader(std::string_view bytes) : bytes_(bytes) {}

    Expected<PropertyListValue> run() {
        constexpr std::string_view header = "bplist00";
        constexpr std::size_t headerSize = header.size();
        constexpr std::size_t trailerSize = 32;
        if (bytes_.size() < headerSize + trailerSize) {
            return Error{"Binary property list is too short"};
        }
        if (!bytes_.starts_with(header)) {
            return Error{"Binary property list is of an unknown version"};
        }
        const std::size_t trailer = bytes_.size() - trailerSize;
        offsetSize_ = byteAt(trailer + 6);
        referenceSize_ = byteAt(trailer + 7);
        objectCount_ = numberAt(trailer + 8, 8);
        const std::uint64_t top = numberAt(trailer + 16, 8);
        offsetTable_ = numberAt(trailer + 24, 8);
        const bool sane = offsetSize_ >= 1 && offsetSize_ <= 8 && referenceSize_ >= 1 &&
                          referenceSize_ <= 8 && objectCount_ > 0 && top < objectCount_ &&
                          offsetTable_ >= headerSize && offsetTable_ <= trailer &&
                          objectCount_ <= (trailer - offsetTable_) / offsetSize_;
        if (!sane) {
            return Error{"Binary property list has an impossible trailer"};
        }
        open_.assign(objectCount_, false);
        auto value = read(top, 0);
        if (!value) {
            return Error{std::string("Binary property list ") + objection_};
        }
        if (hasForeignKey_ &&
            !std::holds_alternative<PropertyListForeignDictionary>(value->value)) {
            return Error{"Binary property list has a key that is not a text"};
        }
        return *std::move(value);
    }

  private:
    using Value = std::optional<PropertyListValue>;

    struct Extent {
        std::uint64_t position = 0;
        std::uint64_t count = 0;
    };

    std::nullopt_t object(const char* reason) {
        objection_ = reason;
        return std::nullopt;
    }

    [[nodiscard]] std::uint8_t byteAt(std::size_t position) const {
        return static_cast<std::uint8_t>(bytes_[position]);
    }

    [[nodiscard]] std::uint64_t numberAt(std::size_t position, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < size; ++index) {
            value = (value << 8U) | byteAt(position + index);
        }
        return value;
    }

    /// Where an object's content begins and how many elements of `unit` bytes it has; none when it
    /// does not lie before the offset table.
    std::optional<Extent> extentAt(std::uint64_t position, std::uint64_t unit) {
        constexpr std::uint8_t lengthFollows = 0x0F;
        Extent extent{position + 1, byteAt(position) & 0x0FU};
        if (extent.count == lengthFollows) {
            const bool isThere =
                position + 1 < offsetTable_ && byteAt(position + 1) >> 4U == integer;
            const std::size_t size =
                isThere ? std::size_t{1} << (byteAt(position + 1) & 0x0FU) : SIZE_MAX;
            if (size > 8 || position + 2 + size > offsetTable_) {
                return object("has an impossible length");
            }
            extent = {position + 2 + size, numberAt(position + 2, size)};
        }
        if (extent.count > (offsetTable_ - extent.position) / unit) {
            return object("has an impossible length");
        }
        return extent;
    }

    Value read(std::uint64_t index, std::size_t depth) {
        const std::uint64_t position =
            index < objectCount_ ? numberAt(offsetTable_ + index * offsetSize_, offsetSize_)
                                 : offsetTable_;
        if (position >= offsetTable_) {
            return object("refers to a place outside of it");
        }
        if (++values_ > mostPropertyListValues) {
            return object("holds too many values");
        }
        const std::uint8_t kind = byteAt(position) >> 4U;
        if (kind != array && kind != dictionary) {
            return kind == data || kind == text || kind == wideText ? readContent(position, kind)
                                                                    : readNumber(position, kind);
        }
        if (open_[index]) {
            return object("contains itself");
        }
        if (depth >= deepestPropertyList) {
            return object("is nested too deeply");
        }
        open_[index] = true;
        Value value = kind == array ? readArray(position, depth) : readDictionary(position, depth);
        open_[index] = false;
        return value;
    }

    Value readArray(std::uint64_t position, std::size_t depth) {
        const auto extent = extentAt(position, referenceSize_);
        if (!extent) {
            return std::nullopt;
        }
        PropertyListArray elements;
        for (std::uint64_t element = 0; element < extent->count; ++element) {
            auto value = readElement(*extent, element, depth);
            if (!value) {
                return std::nullopt;
            }
            elements.push_back(*std::move(value));
        }
        return PropertyListValue{std::move(elements)};
    }

    /// The keys stand before the values. The last of two equal keys counts.
    Value readDictionary(std::uint64_t position, std::size_t depth) {
        const auto extent = extentAt(position, referenceSize_ * 2);
        if (!extent) {
            return std::nullopt;
        }
        PropertyListDictionary members;
        bool isForeign = false;
        for (std::uint64_t element = 0; element < extent->count; ++element) {
            auto key = readElement(*extent, element, depth);
            auto value = key ? readElement(*extent, extent->count + element, depth) : std::nullopt;
            if (!value) {
                return std::nullopt;
            }
            auto* name = std::get_if<std::string>(&key->value);
            if (name == nullptr) {
                isForeign = true;
            } else {
                members.insert_or_assign(std::move(*name), *std::move(value));
            }
        }
        if (isForeign) {
            hasForeignKey_ = true;
            return PropertyListValue{PropertyListForeignDictionary{}};
        }
        return PropertyListValue{std::move(members)};
    }

    Value readElement(const Extent& extent, std::uint64_t element, std::size_t depth) {
        return read(numberAt(extent.position + element * referenceSize_, referenceSize_),
                    depth + 1);
    }

    /// A text or data. It can be long and referred to many times, and is copied each time.
    Value readContent(std::uint64_t position, std::uint8_t kind) {
        const std::size_t unit = kind == wideText ? 2 : 1;
        auto extent = extentAt(position, unit);
        if (!extent) {
            return std::nullopt;
        }
        extent->count *= unit;
        content_ += extent->count;
        if (content_ > mostContent) {
            return object("holds too much content");
        }
        const auto content = bytes_.substr(extent->position, extent->count);
        if (kind == data) {
            const auto bytes = std::as_bytes(std::span(content));
            return PropertyListValue{PropertyListData(bytes.begin(), bytes.end())};
        }
        auto value = kind == text ? std::optional(std::string(content))
                                  : utf8FromUtf16(content, std::endian::big);
        if (!value) {
            return object("has a text that is not valid UTF-16");
        }
        if (!isValidUtf8(*value)) {
            return object("is malformed: it has a text that is not valid UTF-8");
        }
        if (value->find('\0') != std::string::npos) {
            return object("has a text that holds a NUL character");
        }
        return PropertyListValue{*std::move(value)};
    }

    Value readNumber(std::uint64_t position, std::uint8_t kind) {
        constexpr std::uint8_t null = 0x00;
        constexpr std::uint8_t no = 0x08;
        constexpr std::uint8_t yes = 0x09;
        const std::uint8_t low = byteAt(position) & 0x0FU;
        if (kind == constant && low == null) {
            return PropertyListValue{PropertyListNull{}};
        }
        if (kind == constant && (low == no || low == yes)) {
            return PropertyListValue{low == yes};
        }
        const std::uint64_t size = kind == identifier ? low + 1U : std::uint64_t{1} << low;
        const bool isThere = size <= offsetTable_ - position - 1;
        const bool isFraction =
            (kind == real && (size == 4 || size == 8)) || (kind == date && size == 8);
        const bool isWhole = (kind == integer && size <= 16) || (kind == identifier && size <= 8);
        if (!isThere || (!isFraction && !isWhole)) {
            return object("is malformed: it has a value of an unknown kind or size");
        }
        // Of sixteen bytes the upper eight only repeat the sign.
        const std::uint64_t bits = numberAt(position + 1, size);
        if (isWhole) {
            return PropertyListValue{static_cast<std::int64_t>(bits)};
        }
        const double number = size == 8 ? std::bit_cast<double>(bits)
                                        : std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        return kind == date ? PropertyListValue{PropertyListDate{number}}
                            : PropertyListValue{number};
    }

    std::string_view bytes_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t objectCount_ = 0;
    /// Where the objects end.
    std::uint64_t offsetTable_ = 0;
    std::size_t values_ = 0;
    std::uint64_t content_ = 0;
    /// Which containers the walk is inside of.
    std::vector<bool> open_;
    bool hasForeignKey_ = false;
    const char* objection_ = "";
};

}  // namespace

Expected<PropertyListValue> parseBinaryPropertyList(std::string_view bytes) {
    return BinaryReader(bytes).run();
}

}  // namespace velunor
