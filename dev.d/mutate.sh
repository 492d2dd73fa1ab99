# shellcheck shell=bash
# ./dev mutate: small faults put into the sources, and whether the tests of their folder notice them.

dev_mutate() {
    local folder status=0 options=()
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_TEST[@]}" python3 python3-clang
    use_utf8
    export CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_DEPEND=1
    if [ "${1:-}" = --living ]; then
        options+=("$1")
        shift
    fi
    [ $# -gt 0 ] || set -- app prompt window credentials agent
    for folder in "$@"; do
        "$ROOT/dev.d/mutate/mutate.py" "${options[@]}" "$ROOT" "${folder%/}" || status=1
    done
    return "$status"
}
