#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>

#include "platform/linux/directory/directory_service.h"
#include "tests/linux/directory/ldap_server.h"

namespace velunor::testing {

/// What the tests of network directory nodes share.
class LdapNode : public ::testing::Test {
  protected:
    /// For what works, on however loaded a machine.
    static constexpr std::chrono::seconds timeLimit{30};

    /// A node at `uri` that trusts the server's authority.
    static DirectoryNodeSettings nodeAt(const LdapServer& server, const std::string& uri);

    /// "accepted", or the error's description, be it from opening or from the check.
    static std::string answer(const DirectoryNodeSettings& settings, const std::string& user,
                              std::string_view password);
    static std::string answer(DirectoryNode& node, const std::string& user,
                              std::string_view password);

    /// "opened", or the error's description.
    static std::string opening(const DirectoryNodeSettings& settings);

    /// The open node; null, and a failure of the test, when it does not open.
    static DirectoryNodePointer opened(const DirectoryNodeSettings& settings);
};

}  // namespace velunor::testing
