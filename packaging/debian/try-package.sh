#!/bin/sh
# Run on a machine of its own: what the package leaves there when it comes and when it goes.
set -e

log=/var/log/velunor/ostrel_agent/UserLogs/rebootaccess.log

expect() {
    "$@" || {
        echo "not as expected: $*" >&2
        exit 1
    }
}

# Nothing of the package is left, and everything that was there before is.
expect_gone() {
    expect test -z "$(find /etc /lib/systemd /opt /usr/sbin /var/lib/systemd /var/lib/velunor \
        /var/log/velunor -name '*velunor*' -o -name '*osupdate*' 2>/dev/null)"
    expect test "$(stat -c '%a %U:%G' /opt)" = "755 root:root"
}

dpkg --force-depends -i /srv/package.deb
expect test "$(stat -c '%a %U:%G' $log)" = "666 root:root"
expect test -L /etc/systemd/system/sockets.target.wants/velunor-osupdate-checkpass.socket

# Removed first and purged later.
dpkg --force-depends -r velunor-os-update
expect test -d /opt
expect test -e /etc/velunor/ostrel-agent.toml
dpkg --force-depends -P velunor-os-update
expect_gone

# Purged at once, with what an administrator's add-wants and mask have left.
dpkg --force-depends -i /srv/package.deb
install -d /etc/systemd/system/multi-user.target.wants
ln -s /usr/lib/systemd/system/velunor-osupdate-checkpass.socket \
    /etc/systemd/system/multi-user.target.wants/velunor-osupdate-checkpass.socket
ln -s /dev/null /etc/systemd/system/velunor-osupdate-checkpass.service
dpkg --force-depends -P velunor-os-update
expect_gone
