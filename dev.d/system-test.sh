# shellcheck shell=bash
# ./dev system-test: the package on a Debian that is booted, with users who sit at it.

# How it ends where no container can be made; build servers take it for "skipped".
readonly STATUS_NO_CONTAINERS=77

# What the machine has beside the package and what that depends on.
readonly PACKAGES_MACHINE=(
    systemd systemd-sysv dbus dbus-user-session libpam-systemd polkitd accountsservice
    xvfb xkb-data openbox xdotool x11-utils i3lock fonts-dejavu-core
    python3 python3-gi procps apt-utils dpkg-dev slapd ldap-utils openssl
    packagekit packagekit-tools)

dev_system_test() {
    local release=12 arguments=() argument
    for argument in "$@"; do
        case $argument in
            12 | 13) release=$argument ;;
            --without-lines | --keep | [0-9a-z]*) arguments+=("$argument") ;;
            *) die "system-test: unknown argument $argument" ;;
        esac
    done
    [ "$(id -u)" -eq 0 ] || die "system-test has to be run by root, for it boots a root file system"
    # shellcheck source=dev.d/clean-machine.sh
    . "$ROOT/dev.d/clean-machine.sh"
    need debootstrap systemd-container util-linux python3
    containers_are_possible || {
        say "no container can be made here, and nothing has been tested"
        exit "$STATUS_NO_CONTAINERS"
    }
    local place=$ROOT/build/system-test lock
    mkdir -p "$place" "$MACHINES/archives/$release"
    exec {lock}>"$MACHINES/lock"
    flock --nonblock "$lock" || die "system-test: another machine is being made or at work"
    base_system "$release"
    local package
    package=$(package_for "$release" "$place") || exit
    machine_base "$release" "$place" "$package"

    local machine=$place/machine-$release
    rm -rf --one-file-system "$machine"
    cp -a --reflink=auto "$place/base-$release" "$machine"
    cp -R "$ROOT/tests/system/guest" "$machine/srv/system-test"
    # What checks of examples and documents run.
    cp -R "$ROOT/packaging" "$ROOT/docs" "$machine/srv/system-test/"
    [ ! -d "$ROOT/examples" ] || cp -R "$ROOT/examples" "$machine/srv/system-test/"
    cp "$package" "$machine/srv/system-test/package.deb"
    exec "$ROOT/tests/system/host.py" "$machine" "$MACHINES/archives/$release" "${arguments[@]}"
}

# containers_are_possible : whether namespaces, mounts and device nodes may be made.
containers_are_possible() {
    # shellcheck disable=SC2016
    unshare --mount --pid --fork --uts --ipc --net --propagation private sh -c '
        mount -t tmpfs tmpfs /mnt && mknod /mnt/null c 1 3 && : >/mnt/null' >&2
}

# package_for RELEASE PLACE : prints where the package of this tree for that release is.
package_for() {
    local release=$1 place=$2 builder=$2/builder-$1 id=
    # shellcheck source=/dev/null
    id=$(. /etc/os-release && printf '%s-%s' "$ID" "${VERSION_ID:-}")
    if [ "$id" = "debian-$release" ]; then
        "$ROOT/dev" package >"$place/package-$release.log" ||
            die "the package cannot be made; $place/package-$release.log says why"
        find "$ROOT/build/package" -name '*.deb'
        return
    fi
    say "making the package on Debian $release"
    [ -d "$builder" ] || cp -a "$MACHINES/base-$release" "$builder"
    mkdir -p "$place/build-$release" "$place/ccache-$release"
    run_in "$builder" "$release" --bind-ro "$ROOT:/srv/prompt" \
        --bind "$place/build-$release:/srv/prompt/build" \
        --bind "$place/ccache-$release:/var/cache/ccache" --setenv CCACHE_DIR=/var/cache/ccache \
        /srv/prompt/dev package >"$place/package-$release.log" 2>&1 ||
        die "the package cannot be made; $place/package-$release.log says why"
    find "$place/build-$release/package" -name '*.deb'
}

# machine_base RELEASE PLACE PACKAGE : a system with everything that the machine needs but the
# package; what that depends on is fetched. It is made anew when either changes.
machine_base() {
    local release=$1 base=$2/base-$1 wanted
    wanted="${PACKAGES_MACHINE[*]}; $(dpkg-deb --field "$3" Depends Recommends)"
    [ "$(cat "$base/srv/made-for" 2>/dev/null)" != "$wanted" ] || return 0
    say "making the machine's system, Debian $release"
    rm -rf --one-file-system "$base" "$base.new"
    cp -a "$MACHINES/base-$release" "$base.new"
    cp "$3" "$base.new/srv/package.deb"
    # The directory server is started by the checks, with a configuration of their own.
    quietly run_in "$base.new" "$release" /bin/sh -ec "
        export DEBIAN_FRONTEND=noninteractive
        apt-get update
        echo 'slapd slapd/no_configuration boolean true' | debconf-set-selections
        apt-get install -y --no-install-recommends ${PACKAGES_MACHINE[*]}
        apt-get install -y --download-only /srv/package.deb
        rm /srv/package.deb"
    printf '%s\n' "$wanted" >"$base.new/srv/made-for"
    mv "$base.new" "$base"
}

# run_in MACHINE RELEASE [OPTION...] COMMAND... : runs it in that system, which is not booted. What it
# writes need not survive a loss of power.
run_in() {
    local machine=$1 release=$2
    shift 2
    systemd-nspawn --quiet --directory "$machine" --machine "prompt-system-$release" --register=no \
        --keep-unit --resolv-conf=copy-host --console=pipe --suppress-sync=yes \
        --bind "$MACHINES/archives/$release:/var/cache/apt/archives" "$@" </dev/null
}
