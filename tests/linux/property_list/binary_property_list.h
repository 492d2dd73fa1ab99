#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velunor::testing {

/// Puts a binary property list together object by object, sound or not. Lengths and references are
/// four bytes wide.
class BinaryPropertyList {
  public:
    /// Adds an object of these very bytes; its number.
    std::uint32_t add(const std::string& object) {
        objects_.push_back(object);
        return static_cast<std::uint32_t>(objects_.size() - 1);
    }

    std::uint32_t addText(const std::string& text) { return add(head(0x5, text.size()) + text); }

    std::uint32_t addArray(const std::vector<std::uint32_t>& elements) {
        return add(arrayOf(elements));
    }

    std::uint32_t addDictionary(const std::vector<std::uint32_t>& keys,
                                const std::vector<std::uint32_t>& values) {
        return add(head(0xD, keys.size()) + references(keys) + references(values));
    }

    static std::string arrayOf(const std::vector<std::uint32_t>& elements) {
        return head(0xA, elements.size()) + references(elements);
    }

    /// The file with the object `top` at its top level.
    [[nodiscard]] std::string file(std::uint32_t top) const {
        std::string out = "bplist00";
        std::string offsets;
        for (const std::string& object : objects_) {
            offsets += number(out.size(), 4);
            out += object;
        }
        const std::size_t table = out.size();
        return out + offsets + std::string(6, '\0') + "\4\4" + number(objects_.size(), 8) +
               number(top, 8) + number(table, 8);
    }

    static std::string number(std::uint64_t value, int size) {
        std::string out;
        for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
            out += static_cast<char>((value >> shift) & 0xFFU);
        }
        return out;
    }

  private:
    static std::string head(unsigned kind, std::size_t count) {
        constexpr std::size_t longest = 0xF;
        const unsigned marker = kind << 4U;
        if (count < longest) {
            return {static_cast<char>(marker | count)};
        }
        return static_cast<char>(marker | longest) + std::string("\x12") + number(count, 4);
    }

    static std::string references(const std::vector<std::uint32_t>& indices) {
        std::string out;
        for (const std::uint32_t index : indices) {
            out += number(index, 4);
        }
        return out;
    }

    std::vector<std::string> objects_;
};

}  // namespace velunor::testing
