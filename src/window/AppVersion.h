#pragma once
// The version an application declares about itself, for the long label of the selected icon.
//
// An application bundle folder ("*.app") declares it in Contents/Info.plist
// (CFBundleShortVersionString and CFBundleVersion). A desktop entry has no standard key for it:
// its "Version" key is the version of the desktop entry format, not of the program, and is never
// shown. Some entries carry the program's version in an extension key (AppImage, GNOME, KDE);
// the first of those present is used.
#include <QString>

namespace kelp {

struct AppVersion
{
    QString shortVersion;  // the marketing version ("2.4.1")
    QString bundleVersion; // the build number, when the bundle has one

    bool isEmpty() const { return shortVersion.isEmpty() && bundleVersion.isEmpty(); }

    // Reads the file(s) at path; an empty result when there is nothing to read. Safe to call from
    // any thread.
    static AppVersion forPath(const QString &path);

    // The text after the path in the long label: "\nVersion: v", "\nVersion: v (b)" when the
    // build number differs from v (ignoring case), "\nBundle Version: b" with only a build
    // number, empty with neither.
    QString labelSuffix() const;
};

} // namespace kelp
