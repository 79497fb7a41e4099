#pragma once
// Typed names for Kelp's settings, made from the one table in settings/SettingsTable.h.
//
//   defaults.value(Key::MaximumIconSize)          // qint64, known at compile time
//   defaults.setValue(Key::WindowAlpha, 0.5);
//   if (Key::WindowAlpha.is(changedKey)) ...      // in a Defaults::changed handler
//
// The table also answers questions about every setting at run time (settingInfo(), allSettings(),
// settingNamed()), which the registration of defaults, the tools' "--set key=value" and the tests
// use.
#include "settings/SettingsTable.h"

#include <QColor>
#include <QDateTime>
#include <QLatin1StringView>
#include <QString>
#include <QVariant>

#include <span>

namespace kelp {

// Who registers a setting's default.
enum class SettingOwner {
    Controller,
    Catalogue,
    IconView,
    Window,
    Welcome,
    ScanFolders,
    Program, // stored by Kelp, never registered
};

// One number per row of the table, in table order.
enum class SettingId : int {
#define KELP_SETTING_ID(id, name, type, owner, fallback) id,
    KELP_SETTINGS_TABLE(KELP_SETTING_ID)
#undef KELP_SETTING_ID
        Count
};

// A setting whose values are of type T.
template <typename T> struct Setting
{
    using Type = T;
    SettingId id;
    const char *key; // the name in the settings file

    QLatin1StringView name() const { return QLatin1StringView(key); }
    // Whether a key from Defaults::changed() is this setting.
    bool is(const QString &changedKey) const { return changedKey == name(); }
    operator SettingId() const { return id; }
};

namespace Key {
#define KELP_SETTING_KEY(id, name, type, owner, fallback)                                          \
    inline constexpr Setting<type> id{SettingId::id, #name};
KELP_SETTINGS_TABLE(KELP_SETTING_KEY)
#undef KELP_SETTING_KEY
} // namespace Key

struct SettingInfo
{
    SettingId id;
    QLatin1StringView name;
    QMetaType type;
    SettingOwner owner;
};

std::span<const SettingInfo> allSettings();
const SettingInfo &settingInfo(SettingId id);
// The row of the setting stored under that key, or nullptr.
const SettingInfo *settingNamed(QStringView key);
// A setting's default as it is stored (colours as device RGBA). Settings of the Program owner give
// what a read gives before anything is stored.
QVariant settingDefault(SettingId id);
// The defaults one owner registers, keyed by name.
QVariantMap registeredDefaultsOf(SettingOwner owner);

// The application folders of the desktop as searchDirectories records ({"path": folder}), in the
// desktop's search order, with "~" for the home folder and without duplicates.
QVariantList defaultSearchDirectories();
QStringList defaultApplicationFolders();

} // namespace kelp
