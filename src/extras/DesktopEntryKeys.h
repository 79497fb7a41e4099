#pragma once
// The keys of a desktop entry's [Desktop Entry] group, read without GLib: for the few places
// outside the desktop layer that need one key (an icon name, a version) from a file.
#include <QHash>
#include <QString>

namespace kelp {

// Escapes (\s \n \t \r \\) resolved; the first occurrence of a key wins; empty when the file
// cannot be read.
QHash<QString, QString> desktopEntryKeys(const QString &path);

} // namespace kelp
