#!/usr/bin/env bash
# Checks the layers of Kelp's code that the compiler alone does not catch:
#   - only src/platform/ includes desktop headers (X11, xcb, GLib/GIO, GDK, Wayland, Qt's platform
#     plugin headers);
#   - src/colour/ is plain C++: no Qt header.
# Prints each offending include as "file:line: reason" and exits 1 when there is any.
set -euo pipefail
cd "$(dirname "$0")/.."

# Test harness code that drives a real X server itself (starting Xvfb, making windows without
# Kelp's help) may talk to it directly, and so may the GIO lister the differential test compares
# Kelp with, the tests' virtual pointer, a Wayland client of its own, and the tests' one-protocol
# compositor.
allowed_desktop_includes=(
    tests/support/XSession.h
    tests/support/VirtualPointer.cpp
    tests/support/ToplevelListServer.cpp
    tests/desktop/X11DesktopTest.cpp
    bench/launcher/FirstMap.cpp
    bench/triggers/TriggerToMap.cpp
    tests/desktop/CompositingWatchTest.cpp
    tests/e2e/PointerEndToEndTest.cpp
    tests/desktop/GioListApps.cpp
    tests/e2e/triggers/TriggersEndToEndTest.cpp
)

desktop_header='^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"](X11/|xcb/|gio/|gio-unix|glib\.h|glib/|glib-|gobject/|gdk|wayland-|qpa/|[a-z0-9-]+-client-protocol\.h)'
qt_header='^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"](Qt[A-Za-z]*/|Q[A-Za-z0-9_]*[>"]|q[a-z0-9_]*\.h[>"])'

if git rev-parse --is-inside-work-tree > /dev/null 2>&1; then
    mapfile -t files < <(git ls-files --cached --others --exclude-standard -- \
        '*.c' '*.cc' '*.cpp' '*.h' '*.hpp' | sort -u)
else
    mapfile -t files < <(find src tests bench -type f \
        \( -name '*.c' -o -name '*.cc' -o -name '*.cpp' -o -name '*.h' -o -name '*.hpp' \) | sort)
fi

status=0
for file in "${files[@]}"; do
    [ -f "$file" ] || continue
    case "$file" in
    src/platform/*) ;;
    *)
        allowed=0
        for a in "${allowed_desktop_includes[@]}"; do [ "$file" = "$a" ] && allowed=1; done
        if [ "$allowed" = 0 ]; then
            while IFS=: read -r line text; do
                echo "$file:$line: desktop header outside src/platform/: $text" >&2
                status=1
            done < <(grep -nE "$desktop_header" "$file" || true)
        fi
        ;;
    esac
    case "$file" in
    src/colour/*)
        while IFS=: read -r line text; do
            echo "$file:$line: Qt header in src/colour/ (plain C++ only): $text" >&2
            status=1
        done < <(grep -nE "$qt_header" "$file" || true)
        ;;
    esac
done

if [ "$status" = 0 ]; then
    echo "Layers: ${#files[@]} files, no desktop header outside src/platform/, no Qt in src/colour/"
fi
exit "$status"
