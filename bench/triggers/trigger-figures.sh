#!/usr/bin/env bash
# Figures for the triggers of a running Kelp on a private X server (Xvfb + openbox + trayer), all
# three on (hot key, top-left hot spot with a 0.25 s delay, tray icon):
#   - Control-Tab pressed through XTEST to the panel mapped, 10 rounds,
#   - the pointer jumped into the hot spot to the panel mapped, 10 rounds (includes the delay),
#   - context switches of every Kelp thread over 10 s, idle with the pointer still.
# Usage: bench/triggers/trigger-figures.sh BUILD_DIR [ENTRIES]
set -euo pipefail
build="${1:?build directory}"
entries="${2:-200}"
kelp="$build/src/kelp"
to_map="$build/bench/triggers/trigger-to-map"
for f in "$kelp" "$to_map"; do [ -x "$f" ] || { echo "no $f" >&2; exit 1; }; done

source "$(dirname "$0")/../launcher/private-session.sh"
private_home "$entries"
printf '<?xml version="1.0"?><plist version="1.0"><dict><key>searchDirectories</key><array><dict><key>path</key><string>%s</string></dict></array><key>showWindowAtLaunch</key><false/><key>cursorHotSpotLocation</key><integer>1</integer><key>cursorHotSpotDelay</key><real>0.25</real></dict></plist>' \
    "$work/data/applications" > "$work/config/Kelp/Kelp.plist"
private_display 1920x1080x24
trayer --edge top --align right --height 24 >/dev/null 2>&1 &
sleep 1

QT_LOGGING_RULES="kelp.timing.debug=true;kelp.triggers.info=true" "$kelp" 2> "$work/kelp.log" &
kelp_pid=$!
for _ in $(seq 1 100); do grep -q "icon is in the tray" "$work/kelp.log" 2>/dev/null && break; sleep 0.1; done
sleep 5 # icons load and the catalogue settles

echo "Hot key (Control-Tab through XTEST) to the panel mapped:"
echo "  $("$to_map" --class Kelp --key)"
echo "Hot spot (a jump into the top-left corner, delay 0.25 s) to the panel mapped:"
echo "  $("$to_map" --class Kelp --corner)"
grep -o "panel painted [0-9.]* ms after the request" "$work/kelp.log" | awk '{print $3}' | sort -n |
    awk '{a[NR]=$1} END {if (NR) printf "Inside Kelp, trigger to first paint: median %.1f ms, worst %.1f ms (%d shows)\n", a[int((NR+1)/2)], a[NR], NR}'

sleep 2
switches() {
    cat /proc/"$kelp_pid"/task/*/status |
        awk '/^voluntary_ctxt_switches|^nonvoluntary_ctxt_switches/ {s += $2} END {print s}'
}
s0=$(switches)
sleep 10
s1=$(switches)
echo "Idle, all three triggers on, pointer still, 10 s: $((s1 - s0)) context switches (all threads)"
"$kelp" --quit
