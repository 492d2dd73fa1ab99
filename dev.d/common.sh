# shellcheck shell=bash
# What the verbs share: messages, Debian packages, building, a virtual display.

say() { printf '== %s\n' "$*" >&2; }

die() {
    printf 'dev: %s\n' "$*" >&2
    exit 1
}

# Debian packages by purpose, for the verbs.
# shellcheck disable=SC2034
{
# Debian 13 is the first with Qt 6's layer-shell library, which finds the corner on Wayland.
layer_shell=() layer_shell_tests=()
# shellcheck source=/dev/null
debian=$(. /etc/os-release && echo "${VERSION_ID:-13}")
if [ "${debian%%.*}" -ge 13 ]; then
    layer_shell=(liblayershellqtinterface-dev libwayland-dev)
    layer_shell_tests=(sway grim)
fi
readonly PACKAGES_PROGRAM=(
    build-essential cmake ninja-build ccache pkg-config
    qt6-base-dev qt6-svg-dev libtomlplusplus-dev libexpat1-dev libsystemd-dev libpam0g-dev
    # PAM's description for pkg-config asks for it on Debian 13.
    libaudit-dev
    libldap-dev libxcb1-dev
    # Makes the man pages.
    scdoc "${layer_shell[@]}")
# The program and its tests.
readonly PACKAGES_BUILD=(
    "${PACKAGES_PROGRAM[@]}" libgtest-dev libgmock-dev librapidcheck-dev
    libx11-dev libxfixes-dev libxtst-dev)
readonly PACKAGES_DISPLAY=(
    dbus dbus-bin xvfb openbox x11-utils at-spi2-core imagemagick
    fonts-dejavu-core fonts-noto-core fonts-noto-color-emoji)
# Letters of Chinese, Japanese and Korean, for the pictures and the test that every text fits.
readonly PACKAGES_SHOTS=(fonts-noto-cjk)
readonly PACKAGES_TEST=(
    clang-format shellcheck slapd ldap-utils openssl ca-certificates accountsservice
    groff-base mandoc python3 python3-gi systemd util-linux passwd qt6-translations-l10n
    x11-xserver-utils faketime "${PACKAGES_SHOTS[@]}")
# Compositors, Wayland, the screen reader and what people use as a window manager, for end-to-end
# tests.
readonly PACKAGES_DESKTOPS=(
    picom weston xwayland qt6-wayland orca speech-dispatcher
    awesome fluxbox i3-wm icewm kwin-x11 metacity xfwm4 "${layer_shell_tests[@]}")
# Panels, and desktops that no test of every day is on.
readonly PACKAGES_MATRIX=(
    dbus-bin gnome-shell kwin-wayland python3 sway swaybg tint2 xfce4-panel xfconf)
readonly PACKAGES_FULL=(clang libclang-rt-dev valgrind)
readonly PACKAGES_LINT=(clang clang-format clang-tidy cppcheck shellcheck)
readonly PACKAGES_BENCH=(
    adwaita-icon-theme gnuplot-nox kdialog libbenchmark-dev libfltk1.3-dev librsvg2-common
    libxdamage-dev python3 strace valgrind yad zenity)
readonly PACKAGES_PACKAGE=(dpkg-dev file gzip lintian)
# What one input may take: seconds and megabytes.
readonly FUZZ_LIMITS=(-timeout=10 -rss_limit_mb=2048)
}

# need PACKAGE... : installs those that are missing.
need() {
    local package missing=() as_root=()
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            die "these packages are missing, and neither root nor sudo is here to install them:" \
                "${missing[*]}"
        as_root=(sudo)
    fi
    say "installing ${missing[*]}"
    quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update
    # The tests start directory servers of their own; the system's has nothing to serve and stays
    # down without a configuration.
    if [[ " ${missing[*]} " == *" slapd "* ]]; then
        "${as_root[@]}" debconf-set-selections <<<'slapd slapd/no_configuration boolean true'
    fi
    quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
}

# quietly COMMAND... : shows what the command wrote only when it fails.
quietly() {
    local output
    output=$(mktemp)
    if ! "$@" >"$output" 2>&1 </dev/null; then
        cat "$output" >&2
        rm -f "$output"
        die "failed: $*"
    fi
    rm -f "$output"
}

# build PRESET [CMAKE-ARGUMENT...] [-- TARGET...] : configures and builds.
build() {
    local preset=$1 configure=() targets=()
    shift
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        configure+=("$1")
        shift
    done
    [ $# -eq 0 ] || shift
    [ $# -eq 0 ] || targets=(--target "$@")
    # Without these, ccache would see each checkout as another program.
    export CCACHE_BASEDIR=$ROOT CCACHE_NOHASHDIR=1
    # And without these, no test that reads the precompiled headers would be found again.
    export CCACHE_SLOPPINESS=pch_defines,time_macros
    # What the compiler tells of the files that it read spares a run of the preprocessor.
    export CCACHE_DEPEND=1
    say "building $preset"
    quietly cmake --preset "$preset" "${configure[@]}"
    quietly cmake --build --preset "$preset" -j "$(nproc)" "${targets[@]}"
}

# A locale that holds every character, on a system that has none set up.
use_utf8() {
    case ${LC_ALL:-${LC_CTYPE:-${LANG:-}}} in
        *[Uu][Tt][Ff]8 | *[Uu][Tt][Ff]-8) ;;
        *) export LC_ALL=C.UTF-8 ;;
    esac
}

CHILDREN=()

# A directory that is removed when ./dev ends.
SCRATCH=

# keep PID : ends this process, and its process group when it leads one, when ./dev ends.
keep() { CHILDREN+=("$1"); }

end_children() {
    local index pid
    for ((index = ${#CHILDREN[@]} - 1; index >= 0; index--)); do
        pid=${CHILDREN[index]}
        kill -TERM -- "-$pid" 2>/dev/null || kill -TERM "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    CHILDREN=()
    [ -z "$SCRATCH" ] || rm -rf "$SCRATCH"
}

end_children_at_exit() {
    trap end_children EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
}

# start_display WIDTHxHEIGHT : a virtual X server on a free number, with a window manager.
start_display() {
    local size=$1 pipe number
    end_children_at_exit
    pipe=$(mktemp -u)
    mkfifo -m 600 "$pipe"
    setsid Xvfb -displayfd 3 -screen 0 "${size}x24" -nolisten tcp -noreset 3>"$pipe" \
        >/dev/null 2>&1 </dev/null &
    keep $!
    IFS= read -r -t 30 number <"$pipe" || die "the virtual display did not start"
    rm -f "$pipe"
    export DISPLAY=":$number"
    unset WAYLAND_DISPLAY XAUTHORITY
    setsid openbox --sm-disable >/dev/null 2>&1 </dev/null &
    keep $!
    # The window manager is at work once it has set the usable area of the screen.
    local tries=0
    until xprop -root _NET_WORKAREA 2>/dev/null | grep -q '='; do
        [ $((tries += 1)) -le 300 ] || die "the window manager did not start"
        sleep 0.1
    done
}
