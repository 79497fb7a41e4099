#!/usr/bin/env bash
# Figures for the triggers of a running Kelp on a private X server (Xvfb + openbox + trayer), all
# three on (hot key, top-left hot spot with a 0.25 s delay, tray icon):
#   - Control-Tab pressed through XTEST to the panel mapped, 10 rounds,
#   - the pointer jumped into the hot spot to the panel mapped, 10 rounds (includes the delay),
#   - context switches of every Kelp thread over 10 s, idle with the pointer still.
# Usage: bench/triggers/trigger-figures.sh BUILD_DIR [ENTRIES]   (a build with -DKELP_BUILD_BENCH=ON;
# TRIGGER_TO_MAP=path names the timing tool when it was built elsewhere)
set -euo pipefail
build="${1:?build directory}"
entries="${2:-200}"
kelp="$build/src/kelp"
to_map="${TRIGGER_TO_MAP:-$build/bench/triggers/trigger-to-map}"
for f in "$kelp" "$to_map"; do [ -x "$f" ] || { echo "no $f" >&2; exit 1; }; done

source "$(dirname "$0")/../launcher/private-session.sh"
private_home "$entries"
printf '<?xml version="1.0"?><plist version="1.0"><dict><key>searchDirectories</key><array><dict><key>path</key><string>%s</string></dict></array><key>showWindowAtLaunch</key><false/><key>cursorHotSpotLocation</key><integer>1</integer><key>cursorHotSpotDelay</key><real>0.25</real></dict></plist>' \
    "$work/data/applications" > "$work/config/Kelp/Kelp.plist"
private_display 1920x1080x24
trayer --edge top --align right --height 24 >/dev/null 2>&1 &
sleep 1

QT_LOGGING_RULES="kelp.timing.debug=true;kelp.triggers.debug=true" "$kelp" 2> "$work/kelp.log" &
kelp_pid=$!
for _ in $(seq 1 100); do grep -q "Hot key" "$work/kelp.log" 2>/dev/null && break; sleep 0.1; done
sleep 5 # icons load and the catalogue settles

echo "Hot key (Control-Tab through XTEST) to the panel mapped:"
echo "  $("$to_map" --class Kelp --key)"
echo "Hot spot (a jump into the top-left corner, delay 0.25 s) to the panel mapped:"
echo "  $("$to_map" --class Kelp --corner)"
grep -o "panel painted [0-9.]* ms after the request" "$work/kelp.log" | awk '{print $3}' | sort -n |
    awk '{a[NR]=$1} END {if (NR) printf "Inside Kelp, trigger to first paint: median %.1f ms, worst %.1f ms (%d shows)\n", a[int((NR+1)/2)], a[NR], NR}'

# The pointer parked in the middle of the screen, away from the hot spot, and left still.
xdotool mousemove 960 540
sleep 2
# Context switches per thread (name and count), then the difference over 10 s.
per_thread() {
    for t in /proc/"$kelp_pid"/task/*; do
        echo "$(basename "$t") $(tr ' ' _ < "$t/comm") $(awk '/^voluntary_ctxt_switches|^nonvoluntary_ctxt_switches/ {s += $2} END {print s}' "$t/status")"
    done
}
idle() {
    per_thread > "$work/before"
    sleep 10
    per_thread > "$work/after"
    join "$work/before" "$work/after" | awk -v what="$1" '{d = $5 - $3; total += d; if (d) busy = busy " " $2 "=" d}
        END {printf "Idle, all three triggers on, %s, 10 s: %d context switches (all threads)%s\n", what, total, busy}'
}
idle "pointer still in the middle of the screen"
# The pointer resting in the hot spot (the panel opens, then Kelp asks where the pointer is for
# three seconds).
xdotool mousemove 0 0
sleep 4
idle "pointer resting in the hot spot, panel shown"
"$kelp" --quit
