#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/expected.h"
#include "platform/interface.h"
#include "platform/property_list.h"
#include "platform/secret.h"

namespace velunor {

// Directory nodes of accounts. The service and its sessions may be used from several threads at
// once; a node or a record by one thread at a time. Operations block while the directory answers;
// implementations bound that time.

/// Why a directory operation failed.
struct DirectoryError {
    std::string domain;
    std::int64_t code = 0;
    std::string message;

    /// The error in one line, as log lines print it.
    [[nodiscard]] std::string description() const {
        return "Error Domain=" + domain + " Code=" + std::to_string(code) + " \"" + message + "\"";
    }
};

template <class Value>
using DirectoryResult = Expected<Value, DirectoryError>;

/// The values of one attribute: texts or byte strings.
using DirectoryValues = std::variant<std::vector<std::string>, std::vector<std::vector<std::byte>>>;

inline constexpr std::string_view attributeJPEGPhoto = "dsAttrTypeStandard:JPEGPhoto";
inline constexpr std::string_view attributePicture = "dsAttrTypeStandard:Picture";
inline constexpr std::string_view attributeSearchPath = "dsAttrTypeStandard:SearchPath";

/// A found account record.
class DirectoryRecord : public Interface {
  public:
    /// The values of `attribute`; an error also when the record lacks it.
    [[nodiscard]] virtual DirectoryResult<DirectoryValues> valuesForAttribute(
        std::string_view attribute) const = 0;
};

using DirectoryRecords = std::vector<std::unique_ptr<DirectoryRecord>>;

/// An open node.
class DirectoryNode : public Interface {
  public:
    /// Authenticates as the user record `recordName`; none on success.
    [[nodiscard]] virtual std::optional<DirectoryError> setCredentials(
        const std::string& recordName, const Secret& password) = 0;

    /// The requested attributes of the node itself; none when they are unavailable, as those of an
    /// ordinary node are.
    [[nodiscard]] virtual std::optional<PropertyListDictionary> nodeDetails(
        std::span<const std::string_view> /*keys*/) {
        return std::nullopt;
    }

    /// At most `maximumResults` user records whose record name equals `recordName`, complete, with
    /// all their attributes.
    [[nodiscard]] virtual DirectoryResult<DirectoryRecords> usersNamed(
        const std::string& recordName, std::size_t maximumResults) = 0;
};

using DirectoryNodePointer = std::unique_ptr<DirectoryNode>;

/// The kinds of node that can be opened without a name.
enum class DirectoryNodeType : std::uint32_t { localNodes = 0x2200 };

class DirectorySession : public Interface {
  public:
    /// Opens the node with a path-like name such as "/Local/Default" or "/Search".
    [[nodiscard]] virtual DirectoryResult<DirectoryNodePointer> openNode(
        const std::string& name) = 0;
    [[nodiscard]] virtual DirectoryResult<DirectoryNodePointer> openNode(
        DirectoryNodeType type) = 0;
};

class DirectoryService : public Interface {
  public:
    /// The process's session with the directory, or null when there is none.
    [[nodiscard]] virtual std::shared_ptr<DirectorySession> defaultSession() = 0;
};

}  // namespace velunor
