# Sourced by the launcher benchmarks: a private home with generated desktop entries, and a private
# X server (Xvfb) with openbox, all removed when the script exits.
#   private_home ENTRIES [DATA_DIRS]   makes $work, writes ENTRIES entries, exports the XDG folders
#   private_display SIZE               starts Xvfb (SIZE like 1920x1080x24) and openbox, exports DISPLAY
work="$(mktemp -d)"
xvfb_pid=
trap 'kill $(jobs -p) $xvfb_pid 2>/dev/null || true; rm -rf "$work"' EXIT

private_home() {
    local entries="$1" data_dirs="${2:-/usr/share}"
    mkdir -p "$work/runtime" "$work/data/applications" "$work/config/Kelp"
    chmod 700 "$work/runtime"
    local icons=(utilities-terminal accessories-calculator accessories-text-editor
                 system-file-manager web-browser help-browser preferences-system
                 applications-games multimedia-volume-control)
    for i in $(seq 1 "$entries"); do
        printf '[Desktop Entry]\nType=Application\nName=Application %s\nExec=true\nIcon=%s\n' \
            "$i" "${icons[$((i % ${#icons[@]}))]}" > "$work/data/applications/app$i.desktop"
    done
    export HOME="$work" XDG_RUNTIME_DIR="$work/runtime" XDG_DATA_HOME="$work/data" \
           XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache" XDG_DATA_DIRS="$data_dirs"
}

private_display() {
    mkfifo "$work/displayfd"
    Xvfb -displayfd 3 -screen 0 "$1" -nolisten tcp 3> "$work/displayfd" 2>/dev/null &
    xvfb_pid=$!
    local display
    read -r display < "$work/displayfd"
    export DISPLAY=":$display"
    unset QT_QPA_PLATFORM
    openbox --sm-disable >/dev/null 2>&1 &
    sleep 1
}
