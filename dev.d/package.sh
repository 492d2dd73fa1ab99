# shellcheck shell=bash
# ./dev package: the Debian package, looked over by lintian.

dev_package() {
    [ $# -eq 0 ] || die "package takes no arguments"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" \
        "${PACKAGES_PACKAGE[@]}"
    build release -- all
    local directory=$ROOT/build/package package
    rm -rf "$directory"
    mkdir -p "$directory"
    (
        umask 022
        cd "$ROOT/build/release" || exit
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
