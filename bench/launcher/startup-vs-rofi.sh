#!/usr/bin/env bash
# Kelp's cold start against rofi's, side by side in one run, on a private X server (Xvfb +
# openbox): the time from starting the program to its first window mapped, with the same
# generated desktop entries and the Papirus icon theme for both. Kelp starts from its cached
# catalogue (one start beforehand writes it); rofi runs `-show drun -show-icons`. The runs
# alternate, Kelp then rofi, so that a machine that slows down slows both.
# Usage: bench/launcher/startup-vs-rofi.sh BENCH_BUILD_DIR [ENTRIES] [RUNS]
set -euo pipefail
build="${1:?bench build directory (with first-map and kelp)}"
entries="${2:-600}"
runs="${3:-7}"
kelp="$build/src/kelp"
first_map="$build/bench/launcher/first-map"
[ -x "$kelp" ] && [ -x "$first_map" ] || { echo "build kelp and first-map in $build" >&2; exit 1; }

source "$(dirname "$0")/private-session.sh"
private_home "$entries" "$work/data:/usr/share"
mkdir -p "$work/config/gtk-3.0"
printf '[Settings]\ngtk-icon-theme-name=Papirus\n' > "$work/config/gtk-3.0/settings.ini"
printf '<?xml version="1.0"?><plist version="1.0"><dict><key>searchDirectories</key><array><dict><key>path</key><string>%s</string></dict></array><key>groupToShowWhenWindowOpens</key><integer>5</integer></dict></plist>' \
    "$work/data/applications" > "$work/config/Kelp/Kelp.plist"
private_display 1920x1080x24

# One start to write Kelp's catalogue and name caches, and to warm the disk cache for both.
"$first_map" --class Kelp --hold 3000 -- "$kelp" > /dev/null
have_rofi=0
if command -v rofi > /dev/null; then
    have_rofi=1
    "$first_map" --class Rofi --hold 500 -- rofi -show drun -show-icons -icon-theme Papirus > /dev/null
fi

kelp_times=() rofi_times=()
for _ in $(seq 1 "$runs"); do
    kelp_times+=("$("$first_map" --class Kelp --hold 300 -- "$kelp")")
    [ "$have_rofi" = 1 ] &&
        rofi_times+=("$("$first_map" --class Rofi --hold 300 -- rofi -show drun -show-icons -icon-theme Papirus)")
done
median() { printf '%s\n' "$@" | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
k=$(median "${kelp_times[@]}")
echo "Start to first window mapped, $entries entries, Papirus, median of $runs:"
echo "  kelp (cached catalogue): $k ms   [${kelp_times[*]}]"
if [ "$have_rofi" = 1 ]; then
    r=$(median "${rofi_times[@]}")
    echo "  rofi -show drun -show-icons: $r ms   [${rofi_times[*]}]"
    awk -v k="$k" -v r="$r" 'BEGIN {printf "  kelp / rofi: %.2f\n", k / r}'
else
    echo "  rofi is not installed: no comparison"
fi

# A running Kelp shown from a second process: `kelp --show` started to the panel mapped.
"$kelp" 2> /dev/null &
kelp_pid=$!
sleep 3
show_times=()
for _ in $(seq 1 "$runs"); do
    "$kelp" --hide; sleep 0.7
    show_times+=("$("$first_map" --class Kelp --after-exit -- "$kelp" --show)")
    sleep 0.3
done
"$kelp" --quit; wait "$kelp_pid" || true
echo "kelp --show to the panel mapped, median of $runs: $(median "${show_times[@]}") ms   [${show_times[*]}]"
