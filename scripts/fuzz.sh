#!/usr/bin/env bash
# Builds Kelp's fuzz targets (clang, libFuzzer, ASan + UBSan) and runs each for a while.
#
#   scripts/fuzz.sh [SECONDS_PER_TARGET] [TARGET...]
#
# Defaults: 45 s per target (the CI run), every target. For a long campaign give hours, e.g.
# `scripts/fuzz.sh 3600`. Inputs found interesting are kept in build-fuzz/corpus/<target>/ (seeded
# from fuzz/corpus/<target>/ and kept between runs); a crash, a leak or a hang (an input taking
# over 10 s) stops the target, leaves the input as build-fuzz/artifacts/<target>/crash-* and makes
# the script fail. Each target prints its final coverage line ("cov:", "ft:", "corp:", "exec/s").
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-45}"
shift || true
build=build-fuzz
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$PWD}"
launcher=()
command -v ccache > /dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

if [ ! -f "$build/CMakeCache.txt" ]; then
    CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DKELP_WERROR=ON -DKELP_FUZZ=ON -DKELP_BUILD_TESTS=OFF -DKELP_BUILD_BENCH=OFF \
        "${launcher[@]}" > /dev/null
fi
ninja -C "$build" -j"${KELP_FUZZ_JOBS:-2}" fuzzers

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    mapfile -t targets < <(cd fuzz/corpus && ls)
fi

export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export LSAN_OPTIONS="${LSAN_OPTIONS:-suppressions=$PWD/tests/lsan.supp}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
status=0
for target in "${targets[@]}"; do
    corpus="$build/corpus/$target"
    artifacts="$build/artifacts/$target"
    mkdir -p "$corpus" "$artifacts"
    echo "== $target: $seconds s"
    if ! "$build/fuzz/$target" "$corpus" "fuzz/corpus/$target" -max_total_time="$seconds" \
        -timeout=10 -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 \
        -artifact_prefix="$artifacts/" 2> "$build/$target.log"; then
        echo "!! $target failed; the input is in $artifacts/" >&2
        tail -n 40 "$build/$target.log" >&2
        status=1
    fi
    grep -E '^#[0-9]+ +DONE|stat::number_of_executed_units|stat::peak_rss_mb' "$build/$target.log" || true
done
exit $status
