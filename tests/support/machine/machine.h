#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/machine/journal.h"

namespace velunor::testing {

/// Where every account can read the source tree and its builds.
inline constexpr const char* treePath = "/run/velunor/tree";

/// `path`, a place in the source tree, as every account can reach it.
[[nodiscard]] std::string reachable(const std::string& path);

/// A directory of the machine's own, where set-user-ID bits count; in a temporary directory of a
/// container they may count for nothing.
[[nodiscard]] std::filesystem::path placeOfPrograms();

/// An account of the machine.
struct Account {
    std::string name;
    uid_t user = 0;
    gid_t group = 0;
    std::string home;
};

/// A password that nobody has used before, of letters that any keyboard has.
[[nodiscard]] std::string newPassword();

/// The machine that a test has for itself, made by `enter.sh`. Its operations need root and throw
/// where they fail.
class Machine {
  public:
    Machine();

    /// Makes an account with this password, a home directory and these additional groups.
    Account addAccount(const std::string& name, const std::string& password,
                       const std::vector<std::string>& groups = {});
    /// Runs a command to its end; throws when it fails.
    static void run(const std::vector<std::string>& command);

    /// The account has the active graphical session at the machine.
    static void seat(const Account& account);
    /// Nobody has a session at the machine.
    static void leaveSeat();

    /// Starts the system's message bus.
    void startSystemBus();
    /// Starts the accounts service on the system's message bus, which must be there.
    void startAccountsService();

    [[nodiscard]] const Journal& journal() const { return journal_; }

  private:
    Journal journal_;
    std::unique_ptr<testing::ChildProcess> systemBus_;
    std::unique_ptr<testing::ChildProcess> accountsService_;
};

/// The test's process acts as an account as long as this lives, and so does what it starts.
class ActingAs {
  public:
    explicit ActingAs(const Account& account);
    ActingAs(const ActingAs&) = delete;
    ActingAs& operator=(const ActingAs&) = delete;
    ~ActingAs();
};

/// The test's process, which acts as an account, is root again as long as this lives.
class AsRoot {
  public:
    AsRoot();
    AsRoot(const AsRoot&) = delete;
    AsRoot& operator=(const AsRoot&) = delete;
    ~AsRoot();

  private:
    uid_t user_;
    gid_t group_;
};

}  // namespace velunor::testing
