# shellcheck shell=bash
# ./dev bench: the prompt beside other programs that show one small window, in one run as root; and
# how its parts grow with what they are given.

# One of which the quartiles can be told.
readonly BENCH_RUNS=${BENCH_RUNS:-21}

dev_bench() {
    local results=$ROOT/build/bench
    [ $# -eq 0 ] || die "bench takes no arguments"
    [ "$(id -u)" -eq 0 ] || die "only root learns the memory of a process that is closed to others"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" \
        "${PACKAGES_BENCH[@]}"
    use_utf8
    build release -- VelunorOSUpdate bench bench_peer bench_fltk bench_parts
    mkdir -p "$results"
    say "measuring, with $BENCH_RUNS runs of each program"
    "$ROOT/build/release/bench" "$BENCH_RUNS" "$ROOT/build/release" >"$results/programs.tsv"
    say "measuring single parts"
    QT_QPA_PLATFORM=offscreen "$ROOT/build/release/bench_parts" \
        --benchmark_out="$results/parts.json" >"$results/parts.txt" 2>&1 ||
        die "the parts could not be measured: $results/parts.txt"
    python3 "$ROOT/dev.d/bench_report.py" "$results/programs.tsv" "$results/parts.json" \
        "$results" | tee "$results/tables.md"
    say "tables and plots are in $results"
}
