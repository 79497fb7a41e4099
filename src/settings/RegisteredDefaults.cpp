#include "settings/RegisteredDefaults.h"

#include "extras/Logging.h"
#include "settings/Defaults.h"
#include "settings/Settings.h"

namespace kelp {

void registerAllDefaults(Defaults &defaults)
{
    for (SettingOwner owner :
         {SettingOwner::Controller, SettingOwner::Catalogue, SettingOwner::IconView,
          SettingOwner::Window, SettingOwner::Welcome, SettingOwner::ScanFolders})
        defaults.registerDefaults(registeredDefaultsOf(owner));
    migrateScanDirectories(defaults);
}

bool migrateScanDirectories(Defaults &defaults)
{
    const QVariantList oldList = defaults.value(Key::ScanDirectories);
    if (oldList.isEmpty()) return false;
    QVariantList records;
    for (const QVariant &item : oldList) {
        if (item.typeId() == QMetaType::QString)
            records.append(QVariantMap{{QStringLiteral("path"), item.toString()}});
        else
            qCWarning(lcSettings) << "Ignoring a folder entry of type" << item.typeName()
                                  << "in the old folder list";
    }
    defaults.setValue(Key::SearchDirectories, records);
    defaults.remove(Key::ScanDirectories);
    qCInfo(lcSettings) << "Moved" << records.size() << "folders from" << Key::ScanDirectories.name()
                       << "to" << Key::SearchDirectories.name();
    return true;
}

} // namespace kelp
