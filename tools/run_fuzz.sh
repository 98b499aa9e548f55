#!/usr/bin/env bash
# Fuzzes every text reader for a bounded time: builds the harnesses of tests/fuzz with clang's
# libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer into build/fuzz (BUILD_DIR
# overrides), then runs each for FUZZ_SECONDS seconds (8 by default) starting from its seed
# corpus in tests/fuzz/corpus/<harness>. New interesting inputs stay in the build directory.
# A crash, a hang (an input taking more than 10 s), running out of memory, a leak or a
# sanitizer report fails the run, and the input that caused it is copied into the harness's
# corpus folder as a regression input, to be fixed and committed with the fix (the test suite
# replays every corpus file).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=${BUILD_DIR:-build/fuzz}
case "$build" in /*) ;; *) build="$root/$build" ;; esac
seconds=${FUZZ_SECONDS:-8}
harnesses=(pelix_in lattice_in potfor_in pair_table ternary_table multipole_in acknial_in giovani_in
           ionic_in hefepot_in)

as_root() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }
if ! command -v clang++ >/dev/null || ! echo 'extern "C" int LLVMFuzzerTestOneInput(const char*, long) { return 0; }' \
        | clang++ -x c++ -fsanitize=fuzzer -o /dev/null - 2>/dev/null; then
    as_root apt-get update -qq
    # Debian's clang carries libFuzzer and the sanitizer runtimes in libclang-rt-dev.
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq clang libclang-rt-dev \
        >/dev/null
fi

cmake -S tests/fuzz -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build"

export ASAN_OPTIONS="detect_leaks=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
status=0
for harness in "${harnesses[@]}"; do
    seeds="$root/tests/fuzz/corpus/$harness"
    found="$build/corpus/$harness"
    artifacts="$build/artifacts/$harness"
    rm -rf "$artifacts" && mkdir -p "$found" "$artifacts"
    echo "== fuzz_$harness for ${seconds} s"
    if ! "$build/fuzz_$harness" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
            -close_fd_mask=1 -print_final_stats=1 -artifact_prefix="$artifacts/" \
            "$found" "$seeds" 2>"$build/fuzz_$harness.log"; then
        tail -n 60 "$build/fuzz_$harness.log"
        status=1
    fi
    grep -E '^(stat::number_of_executed_units|stat::new_units_added)' \
        "$build/fuzz_$harness.log" || true
    for input in "$artifacts"/*; do
        [ -e "$input" ] || continue
        kept="$seeds/regression-$(basename "$input")"
        cp "$input" "$kept"
        echo "fuzz_$harness: $(basename "$input") kept as $kept"
        status=1
    done
done
exit $status
