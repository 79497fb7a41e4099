#!/usr/bin/env bash
# Builds Kelp's Debian package from a configured build folder and checks it as a fresh machine
# would see it: unpacked into a scratch root, every file in its place, the desktop entry valid,
# the dependencies declared, and the packaged program running (the quick client in bin finding
# the whole program in libexec).
#   bash scripts/check-package.sh BUILD_FOLDER
set -euo pipefail
build="${1:?usage: check-package.sh BUILD_FOLDER}"
cd "$build"
rm -f ./*.deb
cpack -G DEB >/dev/null
deb=$(ls ./*.deb)
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb -x "$deb" "$root"

status=0
for file in usr/bin/kelp usr/libexec/kelp/kelp usr/share/applications/kelp.desktop \
            usr/share/icons/hicolor/scalable/apps/kelp.svg \
            usr/share/icons/hicolor/16x16/apps/kelp.png usr/share/icons/hicolor/48x48/apps/kelp.png \
            usr/share/icons/hicolor/256x256/apps/kelp.png usr/share/doc/kelp/README.md \
            "usr/share/kelp/Welcome to Kelp.pdf" "usr/share/kelp/Kelp User Guide.pdf"; do
    if [ ! -s "$root/$file" ]; then
        echo "package: missing $file"
        status=1
    fi
done
desktop-file-validate "$root/usr/share/applications/kelp.desktop" || status=1

# The desktop entry must start the whole program by its full path where the install put it (KDE
# Plasma shows its window list only to the program an installed entry names so): in the package,
# and in an install under another prefix.
check_exec() { # ENTRY ROOT EXPECTED
    local program
    program=$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$1" | head -n 1)
    if [ "$program" != "$3" ] || [ ! -x "$2$program" ]; then
        echo "package: $1 starts '$program', not the installed $3"
        status=1
    fi
}
check_exec "$root/usr/share/applications/kelp.desktop" "$root" /usr/libexec/kelp/kelp
other=$(mktemp -d)
trap 'rm -rf "$root" "$other"' EXIT
DESTDIR="$other" cmake --install . --prefix /opt/kelp >/dev/null
check_exec "$other/opt/kelp/share/applications/kelp.desktop" "$other" /opt/kelp/libexec/kelp/kelp
depends=$(dpkg-deb -f "$deb" Depends)
for needed in libqt6widgets6 libplist3 libglib2.0-0 libqt6svg6; do
    case "$depends" in
        *"$needed"*) ;;
        *) echo "package: Depends lacks $needed ($depends)"; status=1 ;;
    esac
done
version=$("$root/usr/bin/kelp" --version)
case "$version" in
    "Kelp "*) ;;
    *) echo "package: the packaged kelp printed '$version'"; status=1 ;;
esac
[ "$status" = 0 ] && echo "Package $(basename "$deb"): files, desktop entry, dependencies and program all right"
exit "$status"
