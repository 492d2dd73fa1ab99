# shellcheck shell=bash
# ./dev lint: what can be said about the sources without running them.

dev_lint() {
    [ $# -eq 0 ] || die "lint takes no arguments"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" "${PACKAGES_LINT[@]}"
    say "clang-format"
    "$ROOT/dev.d/check-format.sh"
    say "shellcheck"
    "$ROOT/dev.d/check-shell.sh"
    say "include rules"
    cmake "-DROOT=$ROOT" -P "$ROOT/cmake/check_includes.cmake"
    # The build makes the headers that the toolkit generates.
    build debug
    say "clang-tidy"
    # Own sources alone: the generated ones are below build/.
    run-clang-tidy -quiet -j "$(nproc)" -p "$ROOT/build/debug" \
        "^$ROOT/(agent|app|credentials|platform|prompt|tests|tools|window)/.*\\.cpp\$" \
        >"$ROOT/build/debug/clang-tidy.log" 2>&1 || {
        grep -E '(warning|error):' "$ROOT/build/debug/clang-tidy.log" | sort -u >&2
        die "clang-tidy found something; build/debug/clang-tidy.log has it all"
    }
    say "nothing to say"
}
