# shellcheck shell=bash
# ./dev package: the Debian package, looked over by lintian; with --try installed and purged too.

dev_package() {
    local try=${1:-}
    [ $# -eq 0 ] || [ "$*" = --try ] || die "package takes no arguments but --try"
    need "${PACKAGES_PROGRAM[@]}" "${PACKAGES_PACKAGE[@]}"
    build shipped
    local directory=$ROOT/build/package package
    rm -rf "$directory"
    mkdir -p "$directory"
    (
        umask 022
        cd "$ROOT/build/shipped" || exit
        quietly cpack -G DEB -B "$directory"
    )
    rm -rf "$directory/_CPack_Packages"
    package=$(find "$directory" -name '*.deb')
    [ -n "$package" ] || die "no package was made"
    dpkg-deb --info "$package"
    dpkg-deb --contents "$package"
    say "lintian"
    lintian --allow-root --fail-on error "$package"
    say "hardening"
    dpkg-deb --extract "$package" "$directory/unpacked"
    find "$directory/unpacked" -type f \( -perm /u+x -o -name '*.so' \) \
        -exec "$ROOT/tests/system/guest/hardening.py" {} +
    rm -rf "$directory/unpacked"
    # One more blank would keep a line of the description from being wrapped.
    ! dpkg-deb --field "$package" Description | grep '^  ' || die "the description is laid out wrong"
    [ -z "$try" ] || try_package "$package"
    say "the package is ${package#"$ROOT"/}"
}

# try_package PACKAGE : installs, removes and purges it on a bare Debian 12, where nothing that it
# depends on is needed for that.
try_package() {
    [ "$(id -u)" -eq 0 ] || die "package --try has to be run by root, for it makes a root file system"
    # shellcheck source=dev.d/clean-machine.sh
    . "$ROOT/dev.d/clean-machine.sh"
    need debootstrap systemd-container
    mkdir -p "$MACHINES"
    base_system 12
    local machine=$MACHINES/package
    rm -rf --one-file-system "$machine"
    cp -a "$MACHINES/base-12" "$machine"
    cp "$1" "$machine/srv/package.deb"
    say "install, remove, purge"
    systemd-nspawn --quiet --directory "$machine" --machine prompt-package --register=no \
        --keep-unit --console=pipe /bin/sh -e <"$ROOT/packaging/debian/try-package.sh"
    rm -rf --one-file-system "$machine"
}
