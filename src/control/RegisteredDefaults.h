#pragma once
// The registered defaults of Kelp's settings, one table per owner, and the start-up steps that
// put them into a settings store.
//
// Types follow the settings file: integers are qint64, reals double, switches bool, colours
// Defaults::colorValue() (device RGBA as four reals).
#include <QVariantMap>

namespace kelp {

class Defaults;

// The desktop-file ID of the application that deletes an application dropped on it from the panel.
// Empty: no remover is configured until the user picks one (no Linux package of the usual remover
// exists, so naming one would point at nothing).
inline constexpr const char *kDefaultAppRemoverId = "";
inline constexpr const char *kDefaultAppRemoverName = "AppCleaner";

QVariantMap controllerDefaults();
QVariantMap iconViewDefaults();
QVariantMap windowDefaults();
QVariantMap welcomeAssistantDefaults();
// searchDirectories: one {"path": folder} record per application folder of the desktop, in the
// order the desktop searches them, with "~" for the home folder.
QVariantMap arrayControllerDefaults();

// The application folders of the desktop ($XDG_DATA_HOME/applications, then each
// $XDG_DATA_DIRS/applications), abbreviated with "~" under the home folder, without duplicates.
QStringList defaultApplicationFolders();

// Registers every table above and the catalogue's own, then moves an old folder list over
// (migrateScanDirectories). Called once at start-up, before any object reads a setting.
void registerAllDefaults(Defaults &defaults);

// Older versions kept the folders to scan as plain paths under "scanDirectories". When that key
// holds a non-empty array, each path becomes a {"path": p} record under "searchDirectories" and
// the old key is removed. Returns whether anything was moved; running it again does nothing.
bool migrateScanDirectories(Defaults &defaults);

} // namespace kelp
