#include "platform/linux/directory/ldap_transport.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

#include "platform/secret.h"

namespace velunor {

namespace {

int keepTransport(Sockbuf_IO_Desc* layer, void* transport) {
    layer->sbiod_pvt = transport;
    return 0;
}

int doNothing(Sockbuf_IO_Desc* /*layer*/) {
    return 0;
}

}  // namespace

LdapTransport& LdapTransport::of(Sockbuf_IO_Desc* layer) {
    return *static_cast<LdapTransport*>(layer->sbiod_pvt);
}

Sockbuf_IO LdapTransport::socketLayer{
    .sbi_setup = keepTransport,
    .sbi_remove = doNothing,
    .sbi_ctrl = [](Sockbuf_IO_Desc* /*layer*/, int /*option*/, void* /*argument*/) { return 0; },
    .sbi_read = [](Sockbuf_IO_Desc* layer, void* bytes,
                   ber_len_t count) { return of(layer).read(bytes, count); },
    .sbi_write = [](Sockbuf_IO_Desc* layer, void* bytes,
                    ber_len_t count) { return of(layer).write(bytes, count); },
    .sbi_close = doNothing,
};

Sockbuf_IO LdapTransport::wipingLayer{
    .sbi_setup = keepTransport,
    .sbi_remove = doNothing,
    .sbi_ctrl = [](Sockbuf_IO_Desc* layer, int option,
                   void* argument) { return LBER_SBIOD_CTRL_NEXT(layer, option, argument); },
    .sbi_read = [](Sockbuf_IO_Desc* layer, void* bytes,
                   ber_len_t count) { return LBER_SBIOD_READ_NEXT(layer, bytes, count); },
    .sbi_write =
        [](Sockbuf_IO_Desc* layer, void* bytes, ber_len_t count) {
            const ber_slen_t sent = LBER_SBIOD_WRITE_NEXT(layer, bytes, count);
            // The library would send it again only to follow a referral, which it must not do here.
            // A request that fails is given up whole: the layer below never asks for a later try.
            const int reason = errno;
            wipe(static_cast<char*>(bytes), sent > 0 ? static_cast<ber_len_t>(sent) : count);
            errno = reason;
            return sent;
        },
    .sbi_close = doNothing,
};

bool LdapTransport::attach(LDAP* handle) {
    Sockbuf* buffer = nullptr;
    return ldap_get_option(handle, LDAP_OPT_SOCKBUF, static_cast<void*>(&buffer)) ==
               LDAP_OPT_SUCCESS &&
           ber_sockbuf_add_io(buffer, &socketLayer, LBER_SBIOD_LEVEL_PROVIDER, this) == 0 &&
           ber_sockbuf_add_io(buffer, &wipingLayer, LBER_SBIOD_LEVEL_APPLICATION, this) == 0;
}

ber_slen_t LdapTransport::read(void* bytes, ber_len_t count) {
    while (!isTooLate()) {
        const ssize_t done = recv(socket_.get(), bytes, count, MSG_DONTWAIT);
        if (done >= 0 || !waitAgain(POLLIN)) {
            return done;
        }
    }
    return -1;
}

ber_slen_t LdapTransport::write(const void* bytes, ber_len_t count) {
    while (!isTooLate()) {
        const ssize_t done = send(socket_.get(), bytes, count, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (done >= 0 || !waitAgain(POLLOUT)) {
            return done;
        }
    }
    return -1;
}

bool LdapTransport::isTooLate() {
    // Asked before each turn: a peer that always has another byte ready must not hold us.
    if (std::chrono::steady_clock::now() < deadline_) {
        return false;
    }
    hasTimedOut_ = true;
    errno = ETIMEDOUT;
    return true;
}

bool LdapTransport::waitAgain(short events) {
    if (errno == EINTR) {
        return true;
    }
    if (errno != EAGAIN) {
        return false;
    }
    return waitForSocket(socket_.get(), events, deadline_) || isTooLate();
}

}  // namespace velunor
