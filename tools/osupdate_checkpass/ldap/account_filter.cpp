#include "tools/osupdate_checkpass/ldap/account_filter.h"

#include <ldap.h>

#include <algorithm>
#include <utility>

#include "platform/owned.h"

namespace velunor {
namespace {

/// What stands for the account's name.
constexpr std::string_view placeholder = "%u";

std::string withName(std::string_view pattern, std::string_view name) {
    std::string result;
    for (std::size_t place = pattern.find(placeholder); place != std::string_view::npos;
         place = pattern.find(placeholder)) {
        result += pattern.substr(0, place);
        result += name;
        pattern.remove_prefix(place + placeholder.size());
    }
    return result += pattern;
}

/// Takes the comparisons of a filter such as "(&(objectClass=person)(uid=%u))" one by one.
void addComparisons(std::string_view pattern, std::string_view name, AccountFilter& filter) {
    constexpr std::string_view parentheses = "()";
    while (!pattern.empty()) {
        const std::string_view item = pattern.substr(0, pattern.find_first_of(parentheses));
        pattern.remove_prefix(std::min(item.size() + 1, pattern.size()));
        const std::size_t sign = std::min(item.find('='), item.size());
        // "=", "~=", ">=", "<=", or a rule between colons.
        const std::string_view attribute = item.substr(0, item.find_first_of(":~<>="));
        if (!attribute.empty() && item.find(placeholder, sign) != std::string_view::npos) {
            filter.attributes.emplace_back(attribute);
            filter.names.push_back(withName(item.substr(sign + 1), name));
        }
    }
}

}  // namespace

std::optional<AccountFilter> accountFilter(std::string_view pattern, std::string_view name) {
    berval plain{name.size(), const_cast<char*>(name.data())};
    berval escaped{};
    ldap_bv2escaped_filter_value(&plain, &escaped);
    const Owned<char, ldap_memfree> owner(escaped.bv_val);
    if (owner == nullptr) {
        return std::nullopt;
    }
    AccountFilter filter;
    filter.text = withName(pattern, {escaped.bv_val, escaped.bv_len});
    addComparisons(pattern, name, filter);
    return filter.attributes.empty() ? std::nullopt : std::optional(std::move(filter));
}

}  // namespace velunor
