#!/usr/bin/env bash
# Installs what is missing, builds Kelp with warnings as errors and runs every test; then builds
# again with AddressSanitizer and UndefinedBehaviorSanitizer and runs every test once more.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs="$(nproc)"

echo "== Formatting"
files=$(git ls-files '*.cpp' '*.h' 2>/dev/null || true)
if [ -n "$files" ]; then
    # shellcheck disable=SC2086
    clang-format --dry-run --Werror $files
fi

echo "== Layers"
bash scripts/check-layers.sh

echo "== Build (warnings are errors; the benchmarks are built too, so that they keep building)"
cmake -S . -B build-ci -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELP_WERROR=ON -DKELP_BUILD_BENCH=ON
cmake --build build-ci -j"$jobs"
echo "== Tests"
QT_QPA_PLATFORM=offscreen ctest --test-dir build-ci --output-on-failure -j"$jobs"
echo "== Debian package"
bash scripts/check-package.sh build-ci

echo "== Build with AddressSanitizer and UndefinedBehaviorSanitizer"
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKELP_WERROR=ON -DKELP_SANITIZE=ON -DKELP_BUILD_BENCH=OFF
cmake --build build-asan -j"$jobs"
echo "== Tests under the sanitizers"
# Libraries unloaded before the leak check would leave their memory as leaks of unknown modules:
# every process of the run keeps what it loads (tests/support/keep-modules-loaded.c). The
# preloaded library comes before the sanitizer's runtime, which ASan is told to accept.
cc -shared -fPIC -O2 -o build-asan/keep-modules-loaded.so tests/support/keep-modules-loaded.c
LD_PRELOAD="$PWD/build-asan/keep-modules-loaded.so" \
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:verify_asan_link_order=0 \
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
LSAN_OPTIONS=suppressions="$PWD/tests/lsan.supp" \
QT_QPA_PLATFORM=offscreen ctest --test-dir build-asan --output-on-failure -j"$jobs"
