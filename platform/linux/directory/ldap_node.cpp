#include "platform/linux/directory/ldap_node.h"

#include <ldap.h>

#include <utility>

#include "platform/linux/directory/ldap_connection.h"
#include "platform/linux/directory/ldap_error.h"
#include "platform/text.h"

namespace velunor {

namespace {

/// Together with the password well below what the library holds in one piece of memory: it would
/// leave a copy of the password behind where the piece has to grow.
constexpr std::size_t longestEntryName = 2048;
constexpr std::size_t longestPassword = 1024;
constexpr std::size_t longestRecordName = 1024;

constexpr std::string_view placeholder = "%u";

/// `value` as a filter may hold it; none when memory is short.
std::optional<std::string> escapedForFilter(const std::string& value) {
    berval plain{value.size(), const_cast<char*>(value.data())};
    berval escaped{};
    ldap_bv2escaped_filter_value(&plain, &escaped);
    const std::unique_ptr<char, void (*)(void*)> owner(escaped.bv_val, ldap_memfree);
    return owner == nullptr ? std::nullopt
                            : std::optional(std::string(escaped.bv_val, escaped.bv_len));
}

/// The filter with each "%u" replaced, and nothing in the name taken for another one.
std::string filterFor(std::string_view filter, std::string_view name) {
    std::string result;
    for (std::size_t place = 0; (place = filter.find(placeholder)) != std::string_view::npos;) {
        result += filter.substr(0, place);
        result += name;
        filter.remove_prefix(place + placeholder.size());
    }
    return result += filter;
}

/// Why these cannot be anybody's name and password, without asking the server.
std::optional<DirectoryError> inputError(const std::string& recordName, const Secret& password) {
    const auto refused = [](std::string_view reason) {
        return ldapError(LDAP_INVALID_CREDENTIALS, reason);
    };
    if (recordName.empty()) {
        return refused("There is no user name");
    }
    // A server answers a bind with a name and no password with success, as for anybody.
    if (password.empty()) {
        return refused("There is no password");
    }
    if (recordName.size() > longestRecordName || password.size() > longestPassword) {
        return refused("User name or password is too long");
    }
    if (!isValidUtf8(recordName) || recordName.find('\0') != std::string::npos ||
        password.reveal().find('\0') != std::string_view::npos) {
        return refused("User name or password is not a text");
    }
    return std::nullopt;
}

class LdapNode final : public DirectoryNode {
  public:
    LdapNode(LdapNodeSettings settings, std::unique_ptr<LdapConnection> connection)
        : settings_(std::move(settings)), connection_(std::move(connection)) {}

    std::optional<DirectoryError> setCredentials(const std::string& recordName,
                                                 const Secret& password) override {
        if (auto error = inputError(recordName, password)) {
            return error;
        }
        if (settings_.userFilter.find(placeholder) == std::string::npos) {
            return ldapError(LDAP_FILTER_ERROR, "The filter for accounts has no place for a name");
        }
        const auto escaped = escapedForFilter(recordName);
        if (!escaped) {
            return ldapError(LDAP_NO_MEMORY, "The account cannot be looked up");
        }
        auto connection = takeConnection();
        if (!connection) {
            return std::move(connection).error();
        }
        return check(**connection, *escaped, password);
    }

    std::optional<PropertyListDictionary> nodeDetails(
        std::span<const std::string_view> /*keys*/) override {
        return std::nullopt;
    }

    DirectoryResult<DirectoryRecords> usersNamed(const std::string& /*recordName*/,
                                                 std::size_t /*maximumResults*/) override {
        return ldapError(LDAP_NOT_SUPPORTED, "Records of network accounts are not read");
    }

  private:
    using ConnectionPointer = std::unique_ptr<LdapConnection>;

    /// A connection that nobody has bound on: each look-up is made as nobody.
    DirectoryResult<ConnectionPointer> takeConnection() {
        if (connection_ != nullptr) {
            return std::move(connection_);
        }
        return LdapConnection::open(settings_);
    }

    std::optional<DirectoryError> check(LdapConnection& connection, const std::string& name,
                                        const Secret& password) const {
        auto entry =
            connection.findEntry(settings_.userBase, filterFor(settings_.userFilter, name));
        if (!entry) {
            return std::move(entry).error();
        }
        const auto& entryName = *entry;
        // The directory's own root has no name, and a bind without one is a bind as nobody.
        if (entryName.empty() || entryName.size() > longestEntryName) {
            return ldapError(LDAP_LOCAL_ERROR, "The account's entry cannot be bound as");
        }
        return connection.bind(entryName, password);
    }

    LdapNodeSettings settings_;
    ConnectionPointer connection_;
};

}  // namespace

DirectoryResult<DirectoryNodePointer> openLdapNode(const LdapNodeSettings& settings) {
    auto connection = LdapConnection::open(settings);
    if (!connection) {
        return std::move(connection).error();
    }
    return std::make_unique<LdapNode>(settings, *std::move(connection));
}

}  // namespace velunor
