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

work="$(mktemp -d)"
xvfb_pid=
trap 'kill $(jobs -p) $xvfb_pid 2>/dev/null || true; rm -rf "$work"' EXIT
mkdir -p "$work/runtime" "$work/data/applications"
chmod 700 "$work/runtime"
for i in $(seq 1 200); do
    printf '[Desktop Entry]\nType=Application\nName=Application %s\nExec=true\nIcon=utilities-terminal\n' \
        "$i" > "$work/data/applications/app$i.desktop"
done
mkfifo "$work/displayfd"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3> "$work/displayfd" 2>/dev/null &
xvfb_pid=$!
read -r display < "$work/displayfd"
export DISPLAY=":$display" HOME="$work" XDG_RUNTIME_DIR="$work/runtime" XDG_DATA_HOME="$work/data" \
       XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache" XDG_DATA_DIRS="/usr/share"
unset QT_QPA_PLATFORM
openbox --sm-disable >/dev/null 2>&1 &
sleep 1

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
