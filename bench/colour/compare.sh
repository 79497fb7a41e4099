#!/bin/sh
# Runs the colour analysis benchmark and a well-known JavaScript palette extractor (Color Thief)
# on the very same icons, one core each, and prints both throughputs and their ratio.
#
#   bench/colour/compare.sh [BUILD_DIR] [ICON_COUNT]
#
# BUILD_DIR defaults to build-colour (it must hold a built colour_bench); ICON_COUNT to 1000.
# Needs node and npm; the JavaScript side is installed into bench/colour/js/node_modules.
set -eu

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${1:-$root/build-colour}
count=${2:-1000}
bench=$(find "$build" -name colour_bench -type f -perm -u+x | head -n 1)
[ -n "$bench" ] || { echo "colour_bench not found under $build" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT INT TERM

if [ ! -d "$here/js/node_modules/colorthief" ]; then
    (cd "$here/js" && npm install --no-audit --no-fund >/dev/null)
fi

# Pin both to one core.
pin=""
if command -v taskset >/dev/null 2>&1; then pin="taskset -c 0"; fi

echo "== Kelp colour analysis (C++), $count icons"
KELP_BENCH_ICON_COUNT=$count KELP_BENCH_PNG_DIR="$work/png" $pin "$bench" \
    --benchmark_filter='RealIcons_ColourSortKey|RealIcons_Histogram|Synthetic' \
    --benchmark_min_time=3 --benchmark_out="$work/cpp.json" --benchmark_out_format=json

echo "== Color Thief (JavaScript) on the same $(ls "$work/png" | wc -l) PNG files"
$pin node "$here/js/palette-bench.mjs" "$work/png" 5 | tee "$work/js.txt"

node -e '
const fs = require("fs");
const cpp = JSON.parse(fs.readFileSync(process.argv[1]));
const key = cpp.benchmarks.find((b) => b.name === "BM_RealIcons_ColourSortKey");
const js = fs.readFileSync(process.argv[2], "utf8").trim().split("\n").map((l) => JSON.parse(l));
const kelp = key["icons/s"];
console.log("\n== Summary (icons per second, one core, 128 px icons)");
console.log(`Kelp dominant colours + sort key: ${kelp.toFixed(0)}`);
for (const r of js)
    console.log(`${r.label}: ${r.iconsPerSecond.toFixed(0)}  (Kelp is ${(kelp / r.iconsPerSecond).toFixed(1)}x)`);
' "$work/cpp.json" "$work/js.txt"
