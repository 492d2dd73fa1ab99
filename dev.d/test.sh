# shellcheck shell=bash
# ./dev test: builds every preset, then one ctest run over all of them.

# The thread sanitizer cannot look into the toolkit, so its run is the tests without a window.
readonly THREAD_TESTS=(tests/unit tests/linux)

dev_test() {
    [ $# -eq 0 ] || die "test takes no arguments"
    local begin=$SECONDS preset
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" \
        "${PACKAGES_SHOTS[@]}"
    use_utf8
    for preset in release core asan; do
        build "$preset"
    done
    build tsan -- "${THREAD_TESTS[@]/%/\/all}"
    say "built after $((SECONDS - begin)) seconds"
    collect_tests "$ROOT/build/all"
    say "running every test; the log is build/all/Testing/Temporary/LastTest.log"
    local status=0 output=$ROOT/build/all/output
    # Most tests wait most of the time: for a window, an answer, a limit.
    ctest --test-dir "$ROOT/build/all" -j "$(($(nproc) * 3))" --output-on-failure --no-tests=error \
        --output-junit "$ROOT/build/all/results.xml" 2>&1 | tee "$output" || status=$?
    say "done after $((SECONDS - begin)) seconds"
    # ctest's closing line stands last, so that the end of the output tells the result.
    grep -E '^[0-9]+% tests passed' "$output" || die "ctest gave no result"
    return "$status"
}

# collect_tests DIRECTORY : a ctest tree that takes in those of all presets and the other checks.
collect_tests() {
    local directory=$1 tests=$1/CTestTestfile.cmake folder program name
    mkdir -p "$directory"
    {
        for folder in release core asan; do
            printf 'subdirs("%s")\n' "$ROOT/build/$folder"
        done
        for folder in "${THREAD_TESTS[@]}"; do
            printf 'subdirs("%s")\n' "$ROOT/build/tsan/$folder"
        done
        while IFS= read -r program; do
            name=valgrind.${program##*/}
            printf 'add_test("%s" valgrind --quiet --error-exitcode=99 --leak-check=full ' "$name"
            printf -- '--errors-for-leak-kinds=definite "%s" --gtest_brief=1 ' "$program"
            # A fatal stop is tested in a forked child, which valgrind would report on as well.
            printf -- '--gtest_filter=-*DeathTest*)\n'
            printf 'set_tests_properties("%s" PROPERTIES TIMEOUT 600)\n' "$name"
        done < <(find "$ROOT/build/core/tests/unit" -maxdepth 3 -type f -perm -u+x \
            -name '*_test*' ! -name '*.*' | sort)
        printf 'add_test(lint.format "%s/dev.d/check-format.sh")\n' "$ROOT"
        printf 'add_test(lint.shell "%s/dev.d/check-shell.sh")\n' "$ROOT"
    } >"$tests"
    grep -q valgrind "$tests" || die "no unit tests were found for valgrind"
}
