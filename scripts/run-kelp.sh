#!/usr/bin/env bash
# Installs what is missing, builds Kelp and runs it with the given arguments.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release -DKELP_BUILD_TESTS=OFF -DKELP_BUILD_BENCH=OFF >/dev/null
cmake --build build-release --target kelp kelp_documents -j"$(nproc)"
exec ./build-release/src/kelp "$@"
