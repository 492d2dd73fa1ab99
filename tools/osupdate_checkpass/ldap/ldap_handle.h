#pragma once

#include <ldap.h>

#include <memory>
#include <string>

#include "platform/directory_service.h"
#include "platform/linux/directory/directory_settings.h"
#include "platform/posix/file_descriptor.h"
#include "tools/osupdate_checkpass/ldap/ldap_step.h"

namespace velunor {

/// A connection to a directory server.
struct LdapSocket {
    /// Close-on-exec.
    FileDescriptor socket;
    /// Whether TLS comes first; else the connection begins in clear text and is upgraded.
    bool beginsWithTls;
};

/// To be called first. At its first use the library looks up the machine's own full name, which is
/// of no use here; a name server that is silent costs a check no more than a moment of it. Of one
/// thread.
void prepareDirectoryLibrary();

/// Connects to the server at "ldaps://host[:port]" or "ldap://host[:port]", a slash at the end
/// allowed; anything else that a directory's URI could say, such as other schemes or several
/// servers, is an error. Looks the name up and takes the first address that answers, all in one
/// step's time; a silent address uses up no more than its share of it.
[[nodiscard]] DirectoryResult<LdapSocket> connectToServer(const std::string& uri,
                                                          const StepLimit& limit);

struct CloseLdap {
    void operator()(LDAP* handle) const { ldap_unbind_ext(handle, nullptr, nullptr); }
};

/// The library's side of a connection, which it closes at its end.
using LdapHandle = std::unique_ptr<LDAP, CloseLdap>;

/// A handle over a connected socket, with everything set that decides what it trusts and asks. It
/// never connects by itself. An error where the library takes an option not, such as authorities
/// that cannot be read.
[[nodiscard]] DirectoryResult<LdapHandle> newLdapHandle(FileDescriptor socket,
                                                        const DirectoryNodeSettings& settings);

}  // namespace velunor
