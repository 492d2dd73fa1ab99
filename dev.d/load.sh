# shellcheck shell=bash
# ./dev load [PROMPTS]: that many prompts of several users at once, and a flood of connections at the
# credential checker.

dev_load() {
    local prompts=${1:-200}
    [[ $# -le 1 && $prompts =~ ^[1-9][0-9]*$ ]] || die "load takes a number of prompts"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}"
    use_utf8
    build release -- load_tests
    local tests=$ROOT/build/release/tests/e2e/load/load_tests report=$ROOT/build/load.xml median
    VELUNOR_LOAD_PROMPTS=$prompts "$tests" --gtest_filter=-CheckerFlood.*
    "$tests" --gtest_filter=CheckerFlood.* "--gtest_output=xml:$report"
    median=$(sed -n 's/.*"median_milliseconds" value="\([0-9]*\)".*/\1/p' "$report")
    say "all of $prompts prompts are heard; beside the flood a check takes $median ms (median)"
}
