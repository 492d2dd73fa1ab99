#include "tools/osupdate_checkpass/ldap/ldap_check.h"

#include <ldap.h>

#include <utility>

#include "tools/osupdate_checkpass/ldap/ldap_error.h"

namespace velunor {
namespace {

/// No directory has a longer name, and a server's answer should not grow without end.
constexpr std::size_t longestEntryName = 2048;

constexpr std::string_view placeholder = "%u";

/// `value` as a filter may hold it; none when memory is short.
std::optional<std::string> escapedForFilter(std::string_view value) {
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

}  // namespace

std::optional<DirectoryError> askDirectory(LdapConnection& connection,
                                           const DirectoryNodeSettings& settings,
                                           const CheckRequest& request) {
    if (settings.userFilter.find(placeholder) == std::string::npos) {
        return ldapError(LDAP_FILTER_ERROR, "The filter for accounts has no place for a name");
    }
    const auto name = escapedForFilter(request.userName());
    if (!name) {
        return ldapError(LDAP_NO_MEMORY, "The account cannot be looked up");
    }
    auto entry = connection.findEntry(settings.userBase, filterFor(settings.userFilter, *name));
    if (!entry) {
        return std::move(entry).error();
    }
    const std::string& entryName = *entry;
    // The directory's own root has no name, and a bind without one is a bind as nobody; so is one
    // without a password, which no request has.
    if (entryName.empty() || entryName.size() > longestEntryName) {
        return ldapError(LDAP_LOCAL_ERROR, "The account's entry cannot be bound as");
    }
    return connection.bind(entryName, request.password());
}

}  // namespace velunor
