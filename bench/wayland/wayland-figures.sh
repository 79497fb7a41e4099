#!/usr/bin/env bash
# Figures for Kelp under a headless sway (the pixman renderer, one 1920x1080 output):
#   (a) the compositor's binding of `kelp --toggle` pressed (wtype of Ctrl+Alt+K) to the panel
#       painted, median over ROUNDS shows; split into the press to sway running the binding and
#       the binding to the first paint;
#   (b) a new toplevel mapped (sway's "new" window event, read from its IPC) to Kelp's running
#       group holding it, median over ROUNDS windows;
#   (c) context switches of every Kelp thread over 10 s, idle with the panel hidden, from 40 s after
#       Kelp's start.
# Times on both sides are wall-clock marks: the script's $EPOCHREALTIME and Kelp's own timing log
# (QT_LOGGING_RULES="kelp.timing.debug=true", which gives each mark the wall clock).
# Usage: bench/wayland/wayland-figures.sh BUILD_DIR [ENTRIES] [ROUNDS]
# BUILD_DIR needs kelp and the tests' colour window (tests/e2e/wayland/kelp_test_colour_window).
# Sway refuses to run as root: as root, everything runs as the tests' user kelp-wayland-test.
set -euo pipefail
build="$(cd "${1:?build directory}" && pwd)"
entries="${2:-200}"
rounds="${3:-21}"
kelp="$build/src/kelp"
window="$build/tests/e2e/wayland/kelp_test_colour_window"
for f in "$kelp" "$window"; do [ -x "$f" ] || { echo "no $f" >&2; exit 1; }; done
for tool in sway swaymsg wtype; do command -v "$tool" >/dev/null || { echo "no $tool" >&2; exit 1; }; done

work="$(mktemp -d)"
chmod 711 "$work"
user=
if [ "$(id -u)" = 0 ]; then
    user=kelp-wayland-test
    id -u "$user" >/dev/null 2>&1 || useradd --system --create-home --shell /usr/sbin/nologin "$user"
fi
pids=()
cleanup() {
    for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

mkdir -p "$work/runtime" "$work/data/applications" "$work/config/Kelp" "$work/cache"
chmod 700 "$work/runtime"
icons=(utilities-terminal accessories-calculator accessories-text-editor system-file-manager
       web-browser help-browser preferences-system applications-games multimedia-volume-control)
for i in $(seq 1 "$entries"); do
    printf '[Desktop Entry]\nType=Application\nName=Application %s\nExec=true\nIcon=%s\n' \
        "$i" "${icons[$((i % ${#icons[@]}))]}" > "$work/data/applications/app$i.desktop"
done
printf '<?xml version="1.0"?><plist version="1.0"><dict><key>searchDirectories</key><array><dict><key>path</key><string>%s</string></dict></array><key>showWindowAtLaunch</key><false/></dict></plist>' \
    "$work/data/applications" > "$work/config/Kelp/Kelp.plist"
# The binding notes when sway ran it, then hands over to kelp --toggle.
cat > "$work/toggle.sh" <<EOF
#!/usr/bin/env bash
echo "\$EPOCHREALTIME" >> "$work/bound"
exec "$kelp" --toggle
EOF
chmod 755 "$work/toggle.sh"
cat > "$work/sway.conf" <<EOF
xwayland disable
output HEADLESS-1 resolution 1920x1080 position 0 0
default_border none
focus_follows_mouse no
bindsym Ctrl+Alt+k exec $work/toggle.sh
EOF
: > "$work/bound" # written by the binding, as the user
[ -z "$user" ] || chown -R "$user:" "$work"

uenv=(HOME="$work" XDG_RUNTIME_DIR="$work/runtime" XDG_DATA_HOME="$work/data"
      XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache" XDG_DATA_DIRS=/usr/share
      PATH="$PATH")
as_user() {
    if [ -n "$user" ]; then runuser -u "$user" -- env -i "${uenv[@]}" "$@"; else env -i "${uenv[@]}" "$@"; fi
}
# For programs run in the background: the subshell becomes the program, so that $! is its pid (or
# runuser's, which hands signals on) and a kill reaches it.
as_user_exec() {
    if [ -n "$user" ]; then exec runuser -u "$user" -- env -i "${uenv[@]}" "$@"; else exec env -i "${uenv[@]}" "$@"; fi
}

as_user_exec WLR_BACKENDS=headless WLR_RENDERER=pixman WLR_LIBINPUT_NO_DEVICES=1 WLR_HEADLESS_OUTPUTS=1 \
    sway -c "$work/sway.conf" > "$work/sway.log" 2>&1 &
pids+=($!)
for _ in $(seq 1 100); do
    ls "$work/runtime"/sway-ipc.*.sock >/dev/null 2>&1 && ls "$work/runtime"/wayland-? >/dev/null 2>&1 && break
    sleep 0.1
done
display="$(basename "$(ls "$work/runtime"/wayland-? | head -1)")"
uenv+=(WAYLAND_DISPLAY="$display" SWAYSOCK="$(ls "$work/runtime"/sway-ipc.*.sock | head -1)")
# One keyboard on the seat for the whole run, as in the tests.
as_user_exec wtype -k Shift_L -s 86400000 -k Shift_L &
pids+=($!)
sleep 0.5

as_user_exec QT_LOGGING_RULES="kelp.timing.debug=true" "$kelp" --hidden > "$work/kelp.log" 2>&1 &
pids+=($!)
for _ in $(seq 1 100); do
    kelp_pid="$(pgrep -u "${user:-$(id -un)}" -f "^$kelp --hidden" | head -1 || true)"
    [ -n "$kelp_pid" ] && break
    sleep 0.1
done
[ -n "$kelp_pid" ] || { echo "Kelp did not start" >&2; cat "$work/kelp.log" >&2; exit 1; }
sleep 5 # the catalogue read, icons loaded

median() { sort -n | awk '{a[NR]=$1} END {if (NR) printf "median %.1f ms, best %.1f, worst %.1f (%d)", a[int((NR+1)/2)], a[1], a[NR], NR; else printf "no figures"}'; }
painted_count() { grep -c "panel painted" "$work/kelp.log" || true; }
wall_of_line() { sed -n "$1p" | sed 's/.*wall clock \([0-9.]*\) ms.*/\1/'; }

# (a) Each round shows the panel (timed), then hides it again.
: > "$work/press-to-paint"
: > "$work/bound-to-paint"
for _ in $(seq 1 "$rounds"); do
    before="$(painted_count)"
    bound_before="$(wc -l < "$work/bound")"
    start="$EPOCHREALTIME"
    as_user wtype -M ctrl -M alt k -m alt -m ctrl
    for _ in $(seq 1 200); do [ "$(painted_count)" -gt "$before" ] && break; sleep 0.01; done
    if [ "$(painted_count)" -gt "$before" ]; then
        painted="$(grep "panel painted" "$work/kelp.log" | wall_of_line "$((before + 1))")"
        bound="$(sed -n "$((bound_before + 1))p" "$work/bound")"
        awk -v p="$painted" -v s="$start" 'BEGIN {printf "%.3f\n", p - s * 1000}' >> "$work/press-to-paint"
        [ -n "$bound" ] && awk -v p="$painted" -v b="$bound" 'BEGIN {printf "%.3f\n", p - b * 1000}' >> "$work/bound-to-paint"
    fi
    sleep 0.6
    as_user wtype -M ctrl -M alt k -m alt -m ctrl
    sleep 0.6
done
echo "(a) Ctrl+Alt+K (sway's binding of kelp --toggle, pressed through wtype) to the panel painted:"
echo "    press to paint:   $(median < "$work/press-to-paint")"
echo "    binding to paint: $(median < "$work/bound-to-paint")"
grep -o "panel painted [0-9.]* ms after the request" "$work/kelp.log" | awk '{print $3}' |
    median | sed 's/^/    inside Kelp, request to paint: /'
echo

# (b) Windows with new app ids (no entry claims them: each stands alone in the running group).
as_user_exec swaymsg -t subscribe -m '["window"]' 2>/dev/null |
    while IFS= read -r line; do
        case "$line" in *'"change": "new"'*|*'"change":"new"'*) echo "$EPOCHREALTIME" >> "$work/mapped" ;; esac
    done &
pids+=($!)
sleep 0.5
: > "$work/mapped"
: > "$work/map-to-group"
for i in $(seq 1 "$rounds"); do
    id="kelp-bench-$i"
    mapped_before="$(wc -l < "$work/mapped")"
    as_user_exec QT_QPA_PLATFORM=wayland "$window" "#336699" "$id" > /dev/null 2>&1 &
    wpid=$!
    for _ in $(seq 1 500); do grep -q "wayland:/app/$id\b" "$work/kelp.log" && break; sleep 0.01; done
    sleep 0.2
    mapped="$(sed -n "$((mapped_before + 1))p" "$work/mapped")"
    grouped="$(grep "running group rebuilt" "$work/kelp.log" | grep -m1 "wayland:/app/$id\b" | wall_of_line 1 || true)"
    if [ -n "$mapped" ] && [ -n "$grouped" ]; then
        awk -v g="$grouped" -v m="$mapped" 'BEGIN {printf "%.3f\n", g - m * 1000}' >> "$work/map-to-group"
    fi
    kill "$wpid" 2>/dev/null || true # runuser hands the signal on to the window
    wait "$wpid" 2>/dev/null || true
    sleep 0.3
done
echo "(b) a new toplevel mapped (sway's IPC) to Kelp's running group holding it:"
echo "    $(median < "$work/map-to-group")"
echo

# (c) Idle: the panel hidden, nothing happening, once the start has settled (the last one-shot
# work after a start, such as idle worker threads ending, is over within 30 s of it).
sleep 2
up="$(ps -o etimes= -p "$kelp_pid" | tr -d ' ')"
[ "${up:-0}" -lt 40 ] && sleep "$((40 - ${up:-0}))"
per_thread() {
    for t in /proc/"$kelp_pid"/task/*; do
        echo "$(basename "$t") $(tr ' ' _ < "$t/comm") $(awk '/^voluntary_ctxt_switches/ {print $2}' "$t/status")"
    done
}
per_thread > "$work/before"
sleep 10
per_thread > "$work/after"
join "$work/before" "$work/after" | awk '{d = $5 - $3; total += d; if (d) busy = busy " " $2 "=" d}
    END {printf "(c) idle under sway, panel hidden, 10 s: %d voluntary context switches (all threads)%s\n", total, busy}'
as_user "$kelp" --quit || true
