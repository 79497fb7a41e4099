#include "control/RegisteredDefaults.h"

#include "catalogue/CatalogueDefaults.h"
#include "extras/Defaults.h"
#include "extras/Logging.h"

#include <QColor>
#include <QDir>
#include <QStandardPaths>

namespace kelp {

QVariantMap controllerDefaults()
{
    return {
        {QStringLiteral("hotKeyCode"), qint64(48)},
        {QStringLiteral("hotKeyModifiers"), qint64(4096)},
        {QStringLiteral("startAtLogin"), false},
        {QStringLiteral("showAppInStatusBar"), true},
        {QStringLiteral("statusBarTogglesWindow"), true},
        {QStringLiteral("showIconInDock"), true},
        {QStringLiteral("showOnBecomeActive"), false},
        {QStringLiteral("hideOnResignActive"), false},
        {QStringLiteral("nonActivatingPanel"), false},
        {QStringLiteral("tabletMode"), false},
        {QStringLiteral("tabletHandedness"), qint64(1)},
        {QStringLiteral("showNoMouseAccessWarning"), true},
        {QStringLiteral("showNoUIAccessWarning"), true},
        {QStringLiteral("cursorHotSpotLocation"), qint64(0)},
        {QStringLiteral("highlightHotSpots"), false},
        {QStringLiteral("cursorHotSpotDelay"), 0.35},
        {QStringLiteral("ignoreCursorHotSpotDelayOnHide"), true},
        {QStringLiteral("groupToShowWhenWindowOpens"), qint64(1)},
        {QStringLiteral("groupShownWhenWindowClosed"), qint64(-1)},
        {QStringLiteral("showWindowAtLaunch"), true},
        {QStringLiteral("appRemoverBundleIdentifier"), QString::fromUtf8(kDefaultAppRemoverId)},
        {QStringLiteral("appRemoverName"), QString::fromUtf8(kDefaultAppRemoverName)},
    };
}

QVariantMap iconViewDefaults()
{
    return {
        {QStringLiteral("groupOrientation"), qint64(2)},
        {QStringLiteral("iconReadingOrder"), qint64(1)},
        {QStringLiteral("maximumIconSize"), qint64(64)},
        {QStringLiteral("iconPadding"), qint64(2)},
        {QStringLiteral("iconSpacing"), qint64(0)},
        {QStringLiteral("excludedIconAlpha"), 0.15},
        {QStringLiteral("drawFilledIconHighlight"), true},
        {QStringLiteral("drawStrokedIconHighlight"), false},
        {QStringLiteral("iconHighlightColor"), Defaults::colorValue(QColor::fromRgbF(1, 0, 0, 1))},
        {QStringLiteral("reverseScrollWheel"), false},
        {QStringLiteral("minimizeEmptyCells"), false},
    };
}

QVariantMap windowDefaults()
{
    return {
        {QStringLiteral("windowAlpha"), 0.85},
        {QStringLiteral("windowColor"), Defaults::colorValue(QColor::fromRgbF(0, 0, 0, 1))},
        {QStringLiteral("windowBorderColor"), Defaults::colorValue(QColor::fromRgbF(1, 1, 1, 1))},
        {QStringLiteral("drawWindowBorder"), false},
        {QStringLiteral("animateWindowResizing"), false},
    };
}

QVariantMap welcomeAssistantDefaults()
{
    return {
        {QStringLiteral("showWelcomeWindow"), true},
        {QStringLiteral("lastShownWelcomeStep"), qint64(0)},
    };
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

QVariantMap arrayControllerDefaults()
{
    QVariantList records;
    const QStringList folders = defaultApplicationFolders();
    for (const QString &folder : folders)
        records.append(QVariantMap{{QStringLiteral("path"), folder}});
    return {{QStringLiteral("searchDirectories"), records}};
}

void registerAllDefaults(Defaults &defaults)
{
    defaults.registerDefaults(controllerDefaults());
    defaults.registerDefaults(catalogueRegisteredDefaults());
    defaults.registerDefaults(iconViewDefaults());
    defaults.registerDefaults(windowDefaults());
    defaults.registerDefaults(welcomeAssistantDefaults());
    defaults.registerDefaults(arrayControllerDefaults());
    migrateScanDirectories(defaults);
}

bool migrateScanDirectories(Defaults &defaults)
{
    const QString oldKey = QStringLiteral("scanDirectories");
    const QVariantList oldList = defaults.array(oldKey);
    if (oldList.isEmpty()) return false;
    QVariantList records;
    for (const QVariant &item : oldList) {
        if (item.typeId() == QMetaType::QString)
            records.append(QVariantMap{{QStringLiteral("path"), item.toString()}});
        else
            qCWarning(lcSettings) << "Ignoring a folder entry of type" << item.typeName()
                                  << "in the old folder list";
    }
    defaults.setValue(QStringLiteral("searchDirectories"), records);
    defaults.remove(oldKey);
    qCInfo(lcSettings) << "Moved" << records.size() << "folders from" << oldKey
                       << "to searchDirectories";
    return true;
}

} // namespace kelp
