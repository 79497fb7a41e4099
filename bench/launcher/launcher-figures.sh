#!/usr/bin/env bash
# Figures for the running launcher, on a private X server (Xvfb + openbox):
#   - the time from `kelp --toggle` (a second process) to the panel painted on screen,
#   - how often a running Kelp with its panel hidden wakes up, and the CPU it uses, over 20 s.
# Usage: bench/launcher/launcher-figures.sh BUILD_DIR [ENTRIES]
set -euo pipefail
build="${1:?build directory}"
entries="${2:-1000}"
kelp="$build/src/kelp"
[ -x "$kelp" ] || { echo "no $kelp" >&2; exit 1; }

source "$(dirname "$0")/private-session.sh"
private_home "$entries"
printf '<?xml version="1.0"?><plist version="1.0"><dict><key>searchDirectories</key><array><dict><key>path</key><string>%s</string></dict></array><key>groupToShowWhenWindowOpens</key><integer>5</integer></dict></plist>' \
    "$work/data/applications" > "$work/config/Kelp/Kelp.plist"
private_display 1920x1080x24

QT_LOGGING_RULES="kelp.timing.debug=true" "$kelp" 2> "$work/kelp.log" &
kelp_pid=$!
for _ in $(seq 1 100); do grep -q "panel painted" "$work/kelp.log" 2>/dev/null && break; sleep 0.1; done
sleep 5 # icons load and the catalogue settles

echo "Toggle to first frame ($entries entries, icons loaded; 10 rounds: hide, then show):"
for _ in $(seq 1 10); do
    "$kelp" --toggle; sleep 0.5      # hides
    "$kelp" --toggle; sleep 0.5      # shows: the running Kelp logs request-to-paint
done
grep -o "panel painted [0-9.]* ms after the request" "$work/kelp.log" | awk '{print $3}' | sort -n |
    awk '{a[NR]=$1} END {if (NR) printf "  median %.1f ms, best %.1f ms, worst %.1f ms (%d shows)\n", a[int((NR+1)/2)], a[1], a[NR], NR}'

"$kelp" --hide; sleep 2
read_counts() {
    awk '/^voluntary_ctxt_switches|^nonvoluntary_ctxt_switches/ {s += $2} END {print s}' /proc/"$kelp_pid"/status
}
cpu_ticks() { awk '{print $14 + $15}' /proc/"$kelp_pid"/stat; }
w0=$(read_counts); c0=$(cpu_ticks)
sleep 20
w1=$(read_counts); c1=$(cpu_ticks)
hz=$(getconf CLK_TCK)
echo "Idle with the panel hidden, 20 s: $((w1 - w0)) wake-ups (context switches of the main thread), CPU $(( (c1 - c0) * 1000 / hz )) ms"
"$kelp" --quit
