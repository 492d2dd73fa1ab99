#!/usr/bin/env bash
# Runs ./dev run and ./dev test of a repository on a machine that has nothing yet.
#   clean_machine.sh ROOT REPOSITORY [USER]
# ROOT is a directory with a minimal Debian 12 (git, and sudo for USER); it is changed, so give a
# copy. REPOSITORY is cloned into it. Without USER everything runs as root. Needs to be root.
set -euo pipefail

if [ "${1:-}" = --inside ]; then
    root=$2 user=$3
    mount --bind "$root" "$root"
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    # The tests make user namespaces, which a process in a mere chroot may not.
    cd "$root"
    mkdir -p .outside
    pivot_root . .outside
    umount -l .outside
    exec /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME="$4" \
        setpriv --reuid="$user" --regid="$user" --init-groups --inh-caps=-all \
        /bin/bash -c 'cd && rm -rf prompt && git clone -q /var/tmp/repository prompt && cd prompt &&
            ./dev run && ./dev test'
fi

[ $# -ge 2 ] || {
    sed -n '2,5p' "$0" >&2
    exit 2
}
root=$(realpath "$1")
repository=$(realpath "$2")
user=${3:-root}
home=/root

cp /etc/resolv.conf "$root/etc/resolv.conf"
if [ "$user" != root ]; then
    home=/home/$user
    chroot "$root" id "$user" >/dev/null 2>&1 ||
        chroot "$root" useradd --create-home --shell /bin/bash "$user"
    printf '%s ALL=(ALL) NOPASSWD: ALL\n' "$user" >"$root/etc/sudoers.d/$user"
    chmod 440 "$root/etc/sudoers.d/$user"
fi
rm -rf "$root/var/tmp/repository"
git clone -q --bare "$repository" "$root/var/tmp/repository"
chroot "$root" chown -R "$user" /var/tmp/repository
exec unshare --mount --pid --fork --propagation private "$0" --inside "$root" "$user" "$home"
