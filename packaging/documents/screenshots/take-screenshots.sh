#!/usr/bin/env bash
# Takes the documents' screenshots of a real Kelp: a private home with a dozen desktop entries, a
# private X server (Xvfb) with openbox, the panel captured as the screen shows it.
#   bash packaging/documents/screenshots/take-screenshots.sh PATH/TO/kelp
# Writes panel.png (the panel) and filter.png (the panel with "te" typed) into this folder.
set -euo pipefail
kelp="$(realpath "${1:?usage: take-screenshots.sh PATH/TO/kelp}")"
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../../../bench/launcher/private-session.sh"

private_home 0
entry() { printf '[Desktop Entry]\nType=Application\nName=%s\nExec=true\nIcon=%s\n' "$2" "$3" \
              > "$work/data/applications/$1.desktop"; }
entry terminal "Terminal" utilities-terminal
entry editor "Text Editor" accessories-text-editor
entry calculator "Calculator" accessories-calculator
entry files "Files" system-file-manager
entry browser "Web Browser" web-browser
entry help "Help" help-browser
entry settings "Settings" preferences-system
entry games "Games" applications-games
entry volume "Volume Control" multimedia-volume-control
entry mail "Mail" internet-mail
entry viewer "Image Viewer" image-viewer
entry monitor "System Monitor" utilities-system-monitor
cat > "$work/config/Kelp/Kelp.plist" <<PLIST
<?xml version="1.0"?><plist version="1.0"><dict>
<key>showWelcomeWindow</key><false/>
<key>iconThemeName</key><string>Papirus</string>
<key>searchDirectories</key><array><dict><key>path</key><string>$work/data/applications</string></dict></array>
</dict></plist>
PLIST
private_display 1024x768x24
"$kelp" >/dev/null 2>&1 &
sleep 6
panel=$(xdotool search --onlyvisible --name '^Kelp Main$' | head -1)
eval "$(xdotool getwindowgeometry --shell "$panel")"
crop="$((WIDTH + 16))x$((HEIGHT + 16))+$((X - 8))+$((Y - 8))"
import -window root -crop "$crop" +repage -strip "$here/panel.png"
xdotool windowactivate --sync "$panel"
xdotool type --delay 60 te
sleep 0.3
import -window root -crop "$crop" +repage -strip "$here/filter.png"
"$kelp" --quit || true
