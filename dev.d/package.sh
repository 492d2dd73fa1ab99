# shellcheck shell=bash
# ./dev package: the Debian package, looked over by lintian.

dev_package() {
    [ $# -eq 0 ] || die "package takes no arguments"
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
    say "the package is ${package#"$ROOT"/}"
}
