# shellcheck shell=bash
# ./dev coverage: which lines and branches of the logic the tests of the logic reach.

dev_coverage() {
    [ $# -eq 0 ] || die "coverage takes no arguments"
    need "${PACKAGES_BUILD[@]}" gcovr
    use_utf8
    build coverage
    local directory=$ROOT/build/coverage folder filters=() arguments
    find "$directory" -name '*.gcda' -delete
    # The model drives the whole logic at once: what only it reaches has no test of its own.
    say "running the tests"
    quietly ctest --test-dir "$directory" -j "$(nproc)" --output-on-failure -E "^Model[.]"
    for folder in app prompt window credentials; do
        filters+=(--filter "$ROOT/$folder/")
    done
    # What the compiler adds for exceptions is no branch of the source.
    arguments=(--root "$ROOT" --object-directory "$directory" "${filters[@]}"
        --exclude "$ROOT/app/main.cpp" --exclude-throw-branches --exclude-unreachable-branches)
    mkdir -p "$directory/report"
    gcovr "${arguments[@]}" --txt --html-details "$directory/report/index.html" |
        grep -v ' 100% *$'
    gcovr "${arguments[@]}" --branches --txt --print-summary --fail-under-line 100 \
        --fail-under-branch 95 | grep -vE ' (100|--)% *$'
    say "each line is in build/coverage/report/index.html"
}
