# shellcheck shell=bash
# ./dev bench: the prompt beside other programs that show one small window, in the same run.

readonly BENCH_RUNS=${BENCH_RUNS:-15}

dev_bench() {
    [ $# -eq 0 ] || die "bench takes no arguments"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" \
        "${PACKAGES_BENCH[@]}"
    use_utf8
    build release -- VelunorOSUpdate ostrel-agent sysadminctl bench bench_peer
    # shellcheck source=dev.d/run.sh
    . "$ROOT/dev.d/run.sh"
    development_directories "$ROOT/build/bench"
    VELUNOR_AGENT_SETTINGS=$ROOT/build/bench/ostrel-agent.toml \
        "$ROOT/build/release/bench" "$BENCH_RUNS" "$ROOT/build/release"
}
