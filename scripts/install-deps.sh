#!/usr/bin/env bash
# Installs what Kelp needs to build, run and test on Debian 12. Installs only what is missing.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-svg-dev libqt6svg6 qt6-pdf-dev qt6-image-formats-plugins
    libplist-dev libglib2.0-dev
    hicolor-icon-theme adwaita-icon-theme papirus-icon-theme
    libxcb1-dev libxcb-ewmh-dev libxcb-icccm4-dev libxcb-xfixes0-dev xvfb openbox xterm x11-apps
    libxcb-keysyms1-dev libxcb-xkb-dev libxcb-xinput-dev trayer
    sway grim wtype libwlroots-examples weston qt6-wayland qt6-wayland-dev wayland-protocols
    libwayland-dev libwayland-bin qt6-base-private-dev plasma-wayland-protocols xwayland mutter kwin-wayland
    libxcb-keysyms1-dev libxcb-xkb-dev libxcb-xinput-dev libxcb-xtest0-dev trayer
    x11-utils x11-xserver-utils xdotool imagemagick picom dbus-daemon dbus-bin xsettingsd
    desktop-file-utils dpkg-dev xdg-desktop-portal
    googletest libgtest-dev libbenchmark-dev
    clang-format
    clang libclang-rt-14-dev
    binutils git
)
if [ "${1:-}" = "--with-bench" ]; then
    packages+=(nodejs npm)
fi

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -q
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
