# shellcheck shell=bash
# ./dev lint: what can be said about the sources without running them.

dev_lint() {
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" "${PACKAGES_LINT[@]}"
    say "clang-format"
    "$ROOT/dev.d/check-format.sh"
    say "shellcheck"
    "$ROOT/dev.d/check-shell.sh"
    say "include rules"
    quietly cmake "-DROOT=$ROOT" -P "$ROOT/cmake/check_includes.cmake"
    generate_sources clang
    say "cppcheck"
    "$ROOT/dev.d/check-cppcheck.sh" "$ROOT/build/clang"
    say "clang-tidy"
    "$ROOT/dev.d/tidy.py" "$ROOT/build/clang" "$@"
    if [ $# -eq 0 ]; then
        generate_sources fuzz
        "$ROOT/dev.d/tidy.py" "$ROOT/build/fuzz" tests/fuzz/
    fi
    say "nothing to say"
}

# generate_sources PRESET : makes the sources that the toolkit generates, and compiles nothing.
generate_sources() {
    local targets
    quietly cmake --preset "$1"
    targets=$(ninja -C "$ROOT/build/$1" -t targets all | sed -nE 's/^(\w+_autogen): phony$/\1/p')
    # shellcheck disable=SC2086
    quietly cmake --build --preset "$1" --target $targets
}
