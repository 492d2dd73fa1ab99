# shellcheck shell=bash
# ./dev test: the checks of every day; --full is the check that a build server runs.

# What runs on more than one thread, or hands something to another one: the delivery of the answer,
# the agent library with its bus, the idle inhibitor, the account's picture, the log. The sanitizer
# cannot look into the toolkit.
readonly THREAD_TESTS=(
    tests/unit/credentials tests/unit/prompt tests/linux/agent tests/linux/log tests/linux/session)

dev_test() {
    case ${1:-} in
        '') test_quickly ;;
        --full) test_fully ;;
        -*) die "test: unknown option $1" ;;
        *)
            [ $# -eq 1 ] || die "test takes one name at most"
            need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" \
                "${PACKAGES_DESKTOPS[@]}"
            use_utf8
            build release
            run_tests "$ROOT/build/release" -R "$1"
            ;;
    esac
}

# The end-to-end tests beyond the chosen ones are left to the full run.
test_quickly() {
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}"
    use_utf8
    build release
    say "built after $SECONDS seconds"
    collect_tests "$ROOT/build/quick" release
    add_lint "$ROOT/build/quick"
    run_tests "$ROOT/build/quick" -LE e2e
}

test_fully() {
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" \
        "${PACKAGES_DESKTOPS[@]}" "${PACKAGES_FULL[@]}" "${PACKAGES_LINT[@]}" \
        "${PACKAGES_PACKAGE[@]}"
    use_utf8
    local preset corpus
    for preset in release core asan clang fuzz; do
        build "$preset"
    done
    build tsan -- "${THREAD_TESTS[@]/%/\/all}"
    say "built after $SECONDS seconds"
    local all=$ROOT/build/all
    collect_tests "$all" release core asan "${THREAD_TESTS[@]/#/tsan\/}"
    add_lint "$all"
    {
        add_valgrind
        if has_lint_tools; then
            printf 'add_test(lint.cppcheck "%s/dev.d/check-cppcheck.sh" "%s/build/clang")\n' \
                "$ROOT" "$ROOT"
            printf 'add_test(lint.tidy "%s/dev.d/tidy.py" "%s/build/clang")\n' "$ROOT" "$ROOT"
            printf 'add_test(lint.tidy_fuzzers "%s/dev.d/tidy.py" "%s/build/fuzz" tests/fuzz/)\n' \
                "$ROOT" "$ROOT"
        fi
        printf 'add_test(package "%s/dev" package)\n' "$ROOT"
        # Each known input once; any finding ends the program.
        for corpus in "$ROOT"/tests/fuzz/corpus/*; do
            printf 'add_test(fuzz.%s "%s" %s -runs=0 "%s")\n' "${corpus##*/}" \
                "$ROOT/build/fuzz/tests/fuzz/fuzz_${corpus##*/}" "${FUZZ_LIMITS[*]}" "$corpus"
        done
        # Both keep every core busy by themselves, and the first look of clang-tidy is a long one.
        printf 'set_tests_properties(package %s PROPERTIES RUN_SERIAL TRUE TIMEOUT 3600)\n' \
            "$(has_lint_tools && echo lint.tidy lint.tidy_fuzzers)"
    } >>"$all/CTestTestfile.cmake"
    run_tests "$all"
}

# collect_tests DIRECTORY BUILD... : a ctest tree that takes in those of these builds.
collect_tests() {
    mkdir -p "$1"
    local build
    for build in "${@:2}"; do
        # ctest passes over a folder that is not there.
        [ -f "$ROOT/build/$build/CTestTestfile.cmake" ] || die "build/$build has no tests"
    done
    printf "subdirs(\"$ROOT/build/%s\")\n" "${@:2}" >"$1/CTestTestfile.cmake"
}

# has_lint_tools : whether the tools are those whose layout and findings the sources follow. Each
# version lays out some things in another way.
has_lint_tools() {
    clang-format --version | grep -q 'version 14\.'
}

# add_lint DIRECTORY : what can be said of the sources in seconds.
add_lint() {
    {
        if has_lint_tools; then
            printf 'add_test(lint.format "%s/dev.d/check-format.sh")\n' "$ROOT"
        else
            say "layout and clang-tidy are left to Debian 12: the tools here are of another version"
        fi
        printf 'add_test(lint.shell "%s/dev.d/check-shell.sh")\n' "$ROOT"
        printf 'add_test(lint.texts "%s/dev" texts)\n' "$ROOT"
    } >>"$1/CTestTestfile.cmake"
}

# add_valgrind : what neither sanitizer sees is a value that nobody has set. The logic is looked
# through for those, and the parsers of what others have written.
add_valgrind() {
    local program programs=()
    while IFS= read -r program; do
        programs+=("$program")
    done < <(find "$ROOT/build/core/tests/unit" "$ROOT/build/release/tests/linux" -type f \
        -perm -u+x \( -path '*/core/*_test*' -o -name '*property_list_tests' \) ! -name '*.*' | sort)
    [ ${#programs[@]} -gt 5 ] || die "no tests were found for valgrind"
    for program in "${programs[@]}"; do
        # A fatal stop is tested in a forked child, which valgrind would report on as well; and it
        # takes the place of operators new and delete, also of a test's own.
        printf 'add_test("valgrind.%s" valgrind --quiet --error-exitcode=99 --leak-check=full ' \
            "${program##*/}"
        printf -- '--errors-for-leak-kinds=definite "%s" --gtest_brief=1 ' "$program"
        printf -- '--gtest_filter=-*DeathTest*:SecretStorageTest.*)\n'
        printf 'set_tests_properties("valgrind.%s" PROPERTIES TIMEOUT 600 COST 900)\n' \
            "${program##*/}"
    done
}

# run_tests DIRECTORY CTEST-ARGUMENT... : ctest's closing line stands last, for it tells the result.
run_tests() {
    local directory=$1 output=$1/output status=0
    say "running the tests; the log is ${directory#"$ROOT"/}/Testing/Temporary/LastTest.log"
    # Most tests wait most of the time: for a window, an answer, a limit.
    ctest --test-dir "$directory" -j "$(($(nproc) * 3))" --output-on-failure --no-tests=error \
        --output-junit "$directory/results.xml" "${@:2}" 2>&1 | tee "$output" || status=$?
    say "done after $SECONDS seconds"
    grep -E '^[0-9]+% tests passed' "$output" || die "ctest gave no result"
    return "$status"
}
