#!/usr/bin/env bash
# A running Kelp toggled many times from second processes, on a private X server (Xvfb + openbox):
# after every batch the panel must be in the state the count of toggles says (shown after an odd
# count, hidden after an even one), and the running Kelp's memory must stay flat.
# Usage: bench/launcher/toggle-soak.sh BUILD_DIR [TOGGLES] [BATCH]
set -euo pipefail
build="${1:?build directory}"
toggles="${2:-1000}"
batch="${3:-50}"
kelp="$build/src/kelp"
[ -x "$kelp" ] || { echo "no $kelp" >&2; exit 1; }

source "$(dirname "$0")/private-session.sh"
private_home 200
private_display 1280x800x24

"$kelp" 2> "${KELP_LOG:-$work/kelp.log}" &
kelp_pid=$!
visible() { [ -n "$(xdotool search --onlyvisible --class Kelp 2>/dev/null | head -1)" ]; }
for _ in $(seq 1 100); do visible && break; sleep 0.1; done
"$kelp" --hide
sleep 3 # icons load; the panel is hidden
rss() { awk '/^VmRSS/ {print $2}' /proc/"$kelp_pid"/status; }
start_rss=$(rss)
echo "Start: hidden, $start_rss KiB resident"

wrong=0
done_toggles=0
while [ "$done_toggles" -lt "$toggles" ]; do
    for _ in $(seq 1 "$batch"); do "$kelp" --toggle; done
    done_toggles=$((done_toggles + batch))
    # Let the last fade finish, then compare with what the count says.
    sleep 1
    want=hidden; [ $((done_toggles % 2)) = 1 ] && want=shown
    got=hidden; visible && got=shown
    if [ "$want" != "$got" ]; then
        wrong=$((wrong + 1))
        echo "after $done_toggles toggles: $got, expected $want"
    fi
    if [ $((done_toggles % 200)) = 0 ]; then echo "  $done_toggles toggles: $(rss) KiB"; fi
done
end_rss=$(rss)
echo "End: $done_toggles toggles, $wrong batches in the wrong state, $end_rss KiB resident (start $start_rss KiB)"
"$kelp" --quit
wait "$kelp_pid" || true
[ "$wrong" = 0 ]
