#include "platform/property_list/property_list_limits.h"

#include <cstdint>
#include <vector>

namespace velunor {

namespace {

/// A walk over the objects of a binary property list, with every offset checked.
class BinaryWalk {
  public:
    explicit BinaryWalk(std::span<const std::byte> bytes) : bytes_(bytes) {}

    BinaryPropertyListCheck run() {
        constexpr std::size_t headerSize = 8;
        constexpr std::size_t trailerSize = 32;
        if (bytes_.size() < headerSize + trailerSize) {
            object("Binary property list is too short");
            return result_;
        }
        const std::size_t trailer = bytes_.size() - trailerSize;
        offsetSize_ = byteAt(trailer + 6);
        referenceSize_ = byteAt(trailer + 7);
        objectCount_ = numberAt(trailer + 8, 8);
        const std::uint64_t top = numberAt(trailer + 16, 8);
        offsetTable_ = numberAt(trailer + 24, 8);
        end_ = trailer;
        const bool sane = offsetSize_ >= 1 && offsetSize_ <= 8 && referenceSize_ >= 1 &&
                          referenceSize_ <= 8 && objectCount_ > 0 && top < objectCount_ &&
                          offsetTable_ >= headerSize && offsetTable_ <= end_ &&
                          objectCount_ <= (end_ - offsetTable_) / offsetSize_;
        if (!sane) {
            object("Binary property list has an impossible trailer");
            return result_;
        }
        open_.assign(objectCount_, false);
        checked_.assign(objectCount_, false);
        visit(top, 0);
        return result_;
    }

  private:
    struct Extent {
        std::uint64_t position = 0;
        std::uint64_t count = 0;
    };

    void object(const char* reason) {
        if (!result_.objection) {
            result_.objection = reason;
        }
    }

    [[nodiscard]] std::uint8_t byteAt(std::size_t position) const {
        return std::to_integer<std::uint8_t>(bytes_[position]);
    }

    [[nodiscard]] std::uint64_t numberAt(std::size_t position, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < size; ++index) {
            value = (value << 8U) | byteAt(position + index);
        }
        return value;
    }

    /// Where the object begins, or none when that is outside of the objects.
    [[nodiscard]] std::optional<std::uint64_t> positionOf(std::uint64_t index) const {
        if (index >= objectCount_) {
            return std::nullopt;
        }
        const std::uint64_t position = numberAt(offsetTable_ + index * offsetSize_, offsetSize_);
        return position < offsetTable_ ? std::optional(position) : std::nullopt;
    }

    /// Where an object's content begins and how many elements it has.
    [[nodiscard]] std::optional<Extent> extentOf(std::uint64_t position) const {
        constexpr std::uint8_t lengthFollows = 0x0F;
        const std::uint8_t low = byteAt(position) & 0x0FU;
        if (low != lengthFollows) {
            return Extent{position + 1, low};
        }
        if (position + 1 >= offsetTable_ || (byteAt(position + 1) & 0xF0U) != 0x10U) {
            return std::nullopt;
        }
        const std::size_t size = std::size_t{1} << (byteAt(position + 1) & 0x0FU);
        if (size > 8 || position + 2 + size > offsetTable_) {
            return std::nullopt;
        }
        return Extent{position + 2 + size, numberAt(position + 2, size)};
    }

    void visit(std::uint64_t index, int depth) {
        const auto position = positionOf(index);
        if (!position) {
            object("Binary property list refers to a place outside of it");
            return;
        }
        if (++visited_ > mostPropertyListValues) {
            object("Binary property list holds too many values");
            return;
        }
        const std::uint8_t kind = byteAt(*position) >> 4U;
        if (kind < 0xAU) {
            countScalar(index, *position, kind);
            return;
        }
        if (open_[index]) {
            object("Binary property list contains itself");
            return;
        }
        if (depth >= deepestPropertyList) {
            object("Binary property list is nested too deeply");
            return;
        }
        const auto extent = extentOf(*position);
        const std::uint64_t references = kind == 0xDU ? 2 : 1;
        if (!extent || extent->position > offsetTable_ ||
            extent->count > (offsetTable_ - extent->position) / referenceSize_ / references) {
            object("Binary property list has an impossible length");
            return;
        }
        open_[index] = true;
        visitElements(*extent, kind == 0xDU, depth);
        open_[index] = false;
    }

    /// A text or data object can be long and referred to many times, and is copied each time.
    void countScalar(std::uint64_t index, std::uint64_t position, std::uint8_t kind) {
        if (kind < 0x4U || kind > 0x6U) {
            return;
        }
        const auto extent = extentOf(position);
        const std::size_t unit = kind == 0x6U ? 2 : 1;
        if (!extent || extent->position > offsetTable_ ||
            extent->count > (offsetTable_ - extent->position) / unit) {
            object("Binary property list has an impossible length");
            return;
        }
        content_ += extent->count * unit;
        if (content_ > mostPropertyListContent) {
            object("Binary property list holds too much content");
        }
        if (kind != 0x4U && !checked_[index]) {
            checked_[index] = true;
            checkCharacters(*extent, unit);
        }
    }

    /// The parser cuts a text at a NUL, stops the whole process where that text is a key, and
    /// leaves out halves of surrogate pairs, which can make one key out of another.
    void checkCharacters(const Extent& extent, std::size_t unit) {
        constexpr const char* notUtf16 = "Binary property list has a text that is not valid UTF-16";
        bool isPairOpen = false;
        for (std::uint64_t index = 0; index < extent.count; ++index) {
            const std::uint64_t character = numberAt(extent.position + index * unit, unit);
            const bool isLowHalf = character >= 0xDC00U && character <= 0xDFFFU;
            if (character == 0) {
                object("Binary property list has a text that holds a NUL character");
                return;
            }
            if (isLowHalf != isPairOpen) {
                object(notUtf16);
                return;
            }
            isPairOpen = character >= 0xD800U && character <= 0xDBFFU;
        }
        if (isPairOpen) {
            object(notUtf16);
        }
    }

    void visitElements(const Extent& extent, bool isDictionary, int depth) {
        const std::uint64_t count = extent.count * (isDictionary ? 2 : 1);
        for (std::uint64_t element = 0; element < count && !result_.objection; ++element) {
            const std::uint64_t reference =
                numberAt(extent.position + element * referenceSize_, referenceSize_);
            if (isDictionary && element < extent.count && !isText(reference)) {
                result_.hasForeignKeys = true;
                result_.topLevelHasForeignKeys |= depth == 0;
            }
            visit(reference, depth + 1);
        }
    }

    [[nodiscard]] bool isText(std::uint64_t index) const {
        const auto position = positionOf(index);
        const unsigned kind = position ? byteAt(*position) >> 4U : 0U;
        return kind == 0x5U || kind == 0x6U;
    }

    std::span<const std::byte> bytes_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t objectCount_ = 0;
    std::uint64_t offsetTable_ = 0;
    std::size_t end_ = 0;
    std::size_t visited_ = 0;
    std::uint64_t content_ = 0;
    /// Which containers the walk is inside of.
    std::vector<bool> open_;
    /// Which texts need no second look.
    std::vector<bool> checked_;
    BinaryPropertyListCheck result_;
};

}  // namespace

BinaryPropertyListCheck checkBinaryPropertyList(std::span<const std::byte> bytes) {
    return BinaryWalk(bytes).run();
}

}  // namespace velunor
