# shellcheck shell=bash
# ./dev fuzz: looks for an input that a part of the program cannot take. The fuzzers are in
# tests/fuzz; ./dev test --full gives each of them what is in its corpus.

dev_fuzz() {
    [ $# -le 2 ] || die "fuzz takes a target and a number of seconds at most"
    local target=${1:-} seconds=${2:-60}
    if [ -z "$target" ]; then
        list_fuzzers
        return
    fi
    [ -f "$ROOT/tests/fuzz/${target}_fuzzer.cpp" ] ||
        die "fuzz: there is no target $target; ./dev fuzz lists them"
    [[ $seconds =~ ^[1-9][0-9]*$ ]] || die "fuzz: $seconds is not a number of seconds"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_TEST[@]}" "${PACKAGES_FULL[@]}"
    use_utf8
    build fuzz -- "fuzz_$target"
    run_fuzzer "$target" "$seconds"
}

list_fuzzers() {
    local source
    for source in "$ROOT"/tests/fuzz/*_fuzzer.cpp; do
        basename "$source" _fuzzer.cpp
    done
}

# run_fuzzer TARGET SECONDS : what it has found new to try is kept for the next run.
run_fuzzer() {
    local target=$1 seconds=$2 status=0 finding output
    local new=$ROOT/build/fuzz/new/$target findings=$ROOT/build/fuzz/findings/$target
    local dictionary=$ROOT/tests/fuzz/dictionaries/$target.dict options=()
    [ ! -f "$dictionary" ] || options=("-dict=$dictionary")
    rm -rf "$findings"
    mkdir -p "$new" "$findings"
    output=$ROOT/build/fuzz/$target.log
    "$ROOT/build/fuzz/tests/fuzz/fuzz_$target" "${options[@]}" "-max_total_time=$seconds" \
        "${FUZZ_LIMITS[@]}" "-artifact_prefix=$findings/" "$new" "$ROOT/tests/fuzz/corpus/$target" \
        >"$output" 2>&1 || status=$?
    grep -E '^#[0-9]+[[:space:]]+DONE' "$output" || true
    [ "$status" -ne 0 ] || return 0
    grep -E 'runtime error|^SUMMARY|^==[0-9]+== ?ERROR' "$output" || tail -n 5 "$output"
    say "a finding; the log is ${output#"$ROOT"/}"
    for finding in "$findings"/*; do
        [ ! -f "$finding" ] || say "its input is ${finding#"$ROOT"/}"
    done
    return 1
}
