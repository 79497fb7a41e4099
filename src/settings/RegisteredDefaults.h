#pragma once
// The start-up steps that put the registered defaults of settings/SettingsTable.h into a store.
namespace kelp {

class Defaults;

// Registers the defaults of every owner, then moves an old folder list over
// (migrateScanDirectories). Called once at start-up, before any object reads a setting.
void registerAllDefaults(Defaults &defaults);

// Older versions kept the folders to scan as plain paths under "scanDirectories". When that key
// holds a non-empty array, each path becomes a {"path": p} record under "searchDirectories" and
// the old key is removed. Returns whether anything was moved; running it again does nothing.
bool migrateScanDirectories(Defaults &defaults);

} // namespace kelp
