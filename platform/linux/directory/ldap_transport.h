#pragma once

#include <ldap.h>

#include "platform/linux/directory/ldap_socket.h"
#include "platform/posix/file_descriptor.h"

namespace velunor {

/// What an LDAP handle reads from and writes to. Two layers: one below TLS, which is the socket and
/// keeps a deadline, whatever the library above it does; and one above TLS, which overwrites each
/// request as soon as it is sent, because the library frees requests, passwords included, as they
/// are. That is all as long as TLS encrypts straight from the request, as GnuTLS does with the
/// ciphers that are accepted; what a library copies and frees by itself cannot be reached. The
/// kernel gets nothing in clear text. Must outlive the handle that it is attached to. One thread at
/// a time.
class LdapTransport {
  public:
    /// `socket` is a connected one.
    explicit LdapTransport(FileDescriptor socket) : socket_(std::move(socket)) {}
    LdapTransport(const LdapTransport&) = delete;
    LdapTransport& operator=(const LdapTransport&) = delete;
    ~LdapTransport() = default;

    /// Puts both layers into a new handle; false when memory is short.
    [[nodiscard]] bool attach(LDAP* handle);

    /// From now on nothing is read or written after `deadline`.
    void setDeadline(LdapDeadline deadline) { deadline_ = deadline; }

    /// Whether the deadline has ended something.
    [[nodiscard]] bool hasTimedOut() const { return hasTimedOut_; }

    [[nodiscard]] int socket() const { return socket_.get(); }

  private:
    ber_slen_t read(void* bytes, ber_len_t count);
    ber_slen_t write(const void* bytes, ber_len_t count);
    /// Whether the deadline has passed.
    bool isTooLate();
    /// Whether to try again what the socket was not ready for.
    bool waitAgain(short events);

    static LdapTransport& of(Sockbuf_IO_Desc* layer);
    static Sockbuf_IO socketLayer;
    static Sockbuf_IO wipingLayer;

    FileDescriptor socket_;
    LdapDeadline deadline_{};
    bool hasTimedOut_ = false;
};

}  // namespace velunor
