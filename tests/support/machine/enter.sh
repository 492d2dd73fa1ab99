#!/usr/bin/env bash
# Runs a command as root on a machine of its own: the programs of this one, with an /etc, a /run and
# processes of its own. Accounts that are made there are real and are gone with it.
#   enter.sh TREE COMMAND [ARGUMENT...]
# TREE is shown at /run/velunor/tree, where every account can read it. Where this is not run by
# root, sudo must let the user in without a password.
set -euo pipefail

if [ "${1:-}" = --inside ]; then
    tree=$2
    shift 2
    # The tree may be below a directory that is covered in a moment.
    exec {kept}<"$tree"
    fresh() { mount -t tmpfs -o "mode=$1" tmpfs "$2"; }

    place=$(mktemp -d)
    fresh 755 "$place"
    cp -a /etc/. "$place"
    mount --move "$place" /etc
    rmdir "$place"
    printf 'CREATE_MAIL_SPOOL=no\n' >>/etc/default/useradd

    fresh 755 /run
    mkdir -p /run/lock /run/dbus /run/user /run/homes /run/velunor/tree \
        /run/systemd/{seats,sessions,users,journal}
    mount --bind "/proc/self/fd/$kept" /run/velunor/tree
    exec {kept}<&-
    # The accounts that the accounts service of this machine remembers are nobody's business.
    [ ! -d /var/lib/AccountsService ] || fresh 700 /var/lib/AccountsService
    exec "$@"
fi

[ $# -ge 2 ] || {
    sed -n '2,6p' "$0" >&2
    exit 2
}
script=$(realpath -- "$0")
if [ "$(id -u)" -ne 0 ]; then
    passed=()
    for name in $(compgen -e | grep -E '^(GTEST_|[A-Z]+SAN_OPTIONS$)'); do
        passed+=("$name=${!name}")
    done
    exec sudo -n /usr/bin/env "${passed[@]}" "$script" "$@"
fi
exec unshare --mount --pid --fork --kill-child --mount-proc --propagation private \
    "$script" --inside "$@"
