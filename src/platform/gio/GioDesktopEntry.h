#pragma once
// Freedesktop desktop entries read with GLib's key-file parser: what the files-on-disk service, the
// launcher and the running-application layer share. Safe on any thread.
#include "desktop/WindowMatching.h"
#include "platform/gio/GLibPtr.h"

namespace kelp {

inline constexpr const char *kDesktopEntryGroup = "Desktop Entry";

// The key file at path, or null with GLib's reason in *error.
GLibPtr<GKeyFile> loadKeyFile(const QString &path, QString *error = nullptr);

// A string value of the [Desktop Entry] group, trimmed; empty when the key is absent.
QString desktopEntryString(GKeyFile *file, const char *key);

// The program an Exec line runs: its first word, after "env" and its VAR=value words. *parsed
// tells whether the line could be split into words at all.
QString execProgram(const QString &exec, bool *parsed = nullptr);

// The program's canonical path through PATH, or an empty string when it is not installed.
QString resolveProgram(const QString &program);

// What matching needs to know of a desktop entry (StartupWMClass, the Exec program resolved
// through PATH to a canonical path). Reads the file.
EntryFacts readEntryFacts(const QString &path);

} // namespace kelp
