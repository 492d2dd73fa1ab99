# shellcheck shell=bash
# ./dev load [PROMPTS]: that many prompts of several users at once, and a flood of connections at the
# credential checker.

dev_load() {
    local prompts=${1:-200}
    [[ $# -le 1 && $prompts =~ ^[1-9][0-9]*$ ]] || die "load takes a number of prompts"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}"
    use_utf8
    build release -- load_tests
    VELUNOR_LOAD_PROMPTS=$prompts "$ROOT/build/release/tests/e2e/load/load_tests"
}
