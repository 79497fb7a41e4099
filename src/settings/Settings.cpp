#include "settings/Settings.h"

#include "settings/Defaults.h"

#include <QDir>
#include <QStandardPaths>

#include <array>

namespace kelp {
namespace {

using Owner = SettingOwner;

template <typename T> QVariant storedForm(const T &value)
{
    if constexpr (std::is_same_v<T, QColor>)
        return Defaults::colourValue(value);
    else if constexpr (std::is_same_v<T, QDateTime>)
        return value.isValid() ? QVariant(value) : QVariant();
    else
        return QVariant::fromValue(value);
}

constexpr std::array<SettingInfo, std::size_t(SettingId::Count)> kTable = {{
#define KELP_SETTING_INFO(id, name, type, owner, fallback)                                         \
    {SettingId::id, QLatin1StringView(#name), QMetaType::fromType<type>(), Owner::owner},
    KELP_SETTINGS_TABLE(KELP_SETTING_INFO)
#undef KELP_SETTING_INFO
}};

} // namespace

std::span<const SettingInfo> allSettings()
{
    return kTable;
}

const SettingInfo &settingInfo(SettingId id)
{
    return kTable[std::size_t(id)];
}

const SettingInfo *settingNamed(QStringView key)
{
    for (const SettingInfo &info : kTable)
        if (key == info.name) return &info;
    return nullptr;
}

QVariant settingDefault(SettingId id)
{
    switch (id) {
#define KELP_SETTING_DEFAULT(id, name, type, owner, fallback)                                      \
    case SettingId::id:                                                                            \
        return storedForm<type>(fallback);
        KELP_SETTINGS_TABLE(KELP_SETTING_DEFAULT)
#undef KELP_SETTING_DEFAULT
    case SettingId::Count:
        break;
    }
    return {};
}

QVariantMap registeredDefaultsOf(SettingOwner owner)
{
    QVariantMap out;
    if (owner == Owner::Program) return out;
    for (const SettingInfo &info : kTable)
        if (info.owner == owner) out.insert(QString(info.name), settingDefault(info.id));
    return out;
}

QStringList defaultApplicationFolders()
{
    const QString home = QDir::cleanPath(QDir::homePath());
    QStringList folders;
    const QStringList locations =
        QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    for (const QString &location : locations) {
        QString path = QDir::cleanPath(location);
        if (path == home)
            path = QStringLiteral("~");
        else if (home != u'/' && path.startsWith(home + u'/'))
            path = u'~' + path.mid(home.size());
        if (!folders.contains(path)) folders.append(path);
    }
    return folders;
}

QVariantList defaultSearchDirectories()
{
    QVariantList records;
    const QStringList folders = defaultApplicationFolders();
    for (const QString &folder : folders)
        records.append(QVariantMap{{QStringLiteral("path"), folder}});
    return records;
}

} // namespace kelp
