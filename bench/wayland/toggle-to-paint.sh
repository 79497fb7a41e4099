#!/usr/bin/env bash
# Kelp under a headless sway: the compositor's binding of `kelp --toggle` pressed (through wtype)
# to the panel painted (Kelp's timing mark), shows only, median and spread of RUNS presses.
# Sway will not run as root: as root, sway, Kelp and the tools run as an unprivileged user.
# Usage: bench/wayland/toggle-to-paint.sh BUILD_DIR [RUNS]
set -euo pipefail
build="$(cd "${1:?build directory}" && pwd)"
runs="${2:-30}"
kelp="$build/src/kelp"
[ -x "$kelp" ] || { echo "no $kelp" >&2; exit 1; }
for tool in sway swaymsg wtype; do
    command -v "$tool" > /dev/null || { echo "$tool is not installed" >&2; exit 1; }
done

user=""
if [ "$(id -u)" = 0 ]; then
    user=kelp-wayland-test
    id -u "$user" > /dev/null 2>&1 ||
        useradd --system --no-create-home --shell /usr/sbin/nologin "$user"
fi
as_user() { if [ -n "$user" ]; then runuser -u "$user" -- "$@"; else "$@"; fi; }

work="$(mktemp -d)"
chmod 711 "$work"
home="$work/home"
runtime="$work/runtime"
mkdir -p "$home/data/applications" "$home/config/Kelp" "$runtime"
chmod 700 "$runtime"
trap 'kill $(jobs -p) 2> /dev/null || true; wait 2> /dev/null || true; rm -rf "$work"' EXIT
cat > "$home/config/Kelp/Kelp.plist" <<PLIST
<?xml version="1.0"?><plist version="1.0"><dict><key>searchDirectories</key><array><dict>
<key>path</key><string>/usr/share/applications</string></dict></array></dict></plist>
PLIST
kelp_env=(env -u DISPLAY -u QT_QPA_PLATFORM HOME="$home" XDG_CONFIG_HOME="$home/config"
    XDG_DATA_HOME="$home/data" XDG_CACHE_HOME="$home/cache" XDG_RUNTIME_DIR="$runtime")
cat > "$work/toggle.sh" <<SH
#!/bin/sh
exec ${kelp_env[*]} "$kelp" --toggle
SH
chmod 755 "$work/toggle.sh"
cat > "$work/sway.conf" <<CONF
xwayland disable
output HEADLESS-1 resolution 1024x768 position 0 0
bindsym Ctrl+Alt+k exec $work/toggle.sh
CONF
[ -n "$user" ] && chown -R "$user:" "$home" "$runtime" "$work/sway.conf"

env -u DISPLAY -u WAYLAND_DISPLAY XDG_RUNTIME_DIR="$runtime" WLR_BACKENDS=headless \
    WLR_RENDERER=pixman WLR_LIBINPUT_NO_DEVICES=1 as_user sway -c "$work/sway.conf" \
    > "$work/sway.log" 2>&1 &
for _ in $(seq 1 100); do ls "$runtime"/wayland-? > /dev/null 2>&1 && break; sleep 0.1; done
display="$(basename "$(ls "$runtime"/wayland-? | head -1)")"
client=(env XDG_RUNTIME_DIR="$runtime" WAYLAND_DISPLAY="$display")
as_user "${client[@]}" wtype -k Shift_L -s 86400000 -k Shift_L &

log="$work/kelp.log"
as_user "${kelp_env[@]}" WAYLAND_DISPLAY="$display" QT_LOGGING_RULES="kelp.timing.debug=true" \
    QT_MESSAGE_PATTERN='%{time yyyy-MM-ddTHH:mm:ss.zzz} %{category} %{message}' \
    "$kelp" 2> "$log" &
sleep 4 # the catalogue and its icons load
as_user "${client[@]}" wtype -M ctrl -M alt k -m alt -m ctrl # hidden before the first press
sleep 1

figures=()
for _ in $(seq 1 $((runs * 2))); do
    before=$(grep -c "kelp.timing" "$log" || true)
    pressed=$(date +%s%3N)
    as_user "${client[@]}" wtype -M ctrl -M alt k -m alt -m ctrl
    for _ in $(seq 1 200); do
        [ "$(grep -c "kelp.timing" "$log" || true)" -gt "$before" ] && break
        sleep 0.005
    done
    line=$(grep "kelp.timing" "$log" | tail -1)
    if [ "$(grep -c "kelp.timing" "$log" || true)" -gt "$before" ]; then
        painted=$(date -d "${line%% *}" +%s%3N)
        figures+=($((painted - pressed)))
    fi
    sleep 0.5 # the fade ends; the next press hides the panel again (no mark)
done
[ ${#figures[@]} -gt 0 ] || { echo "no paint was timed" >&2; tail "$log" >&2; exit 1; }
sorted=($(printf '%s\n' "${figures[@]}" | sort -n))
n=${#sorted[@]}
echo "binding pressed to panel painted, $n shows: median ${sorted[$((n / 2))]} ms," \
    "fastest ${sorted[0]} ms, slowest ${sorted[$((n - 1))]} ms (goal: median <= 25 ms)"
