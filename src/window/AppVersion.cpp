#include "window/AppVersion.h"

#include "extras/DesktopEntryKeys.h"

#include "extras/Logging.h"
#include "extras/Plist.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVariantMap>

namespace kelp {

namespace {

// Extension keys that hold the program's own version, most specific first.
constexpr const char *kDesktopVersionKeys[] = {
    "X-AppImage-Version",
    "X-GNOME-Bugzilla-Version",
    "X-KDE-PluginInfo-Version",
};

AppVersion fromDesktopEntry(const QString &path)
{
    const QHash<QString, QString> keys = desktopEntryKeys(path);
    if (keys.isEmpty()) {
        qCInfo(lcExtras).noquote() << "Cannot read" << path << "for its version";
        return {};
    }
    for (const char *key : kDesktopVersionKeys) {
        const QString v = keys.value(QLatin1String(key));
        if (!v.isEmpty()) return {v, {}};
    }
    return {};
}

QString plistString(const QVariantMap &info, const char *key)
{
    const QVariant v = info.value(QLatin1String(key));
    if (v.typeId() == QMetaType::QString) return v.toString().trimmed();
    if (v.typeId() == QMetaType::LongLong || v.typeId() == QMetaType::Double) return v.toString();
    return {};
}

AppVersion fromBundle(const QString &path)
{
    const QString infoPath = QDir(path).filePath(QStringLiteral("Contents/Info.plist"));
    if (!QFileInfo::exists(infoPath)) return {};
    const plist::ReadResult r = plist::readFile(infoPath);
    if (!r.ok()) {
        qCInfo(lcExtras).noquote() << "Cannot read" << infoPath << "for its version:" << r.error;
        return {};
    }
    const QVariantMap info = r.value.toMap();
    return {plistString(info, "CFBundleShortVersionString"), plistString(info, "CFBundleVersion")};
}

} // namespace

AppVersion AppVersion::forPath(const QString &path)
{
    if (path.isEmpty()) return {};
    if (path.endsWith(QLatin1String(".desktop"))) return fromDesktopEntry(path);
    if (QFileInfo(path).isDir()) return fromBundle(path);
    return {};
}

QString AppVersion::labelSuffix() const
{
    if (!shortVersion.isEmpty()) {
        QString v = shortVersion;
        if (!bundleVersion.isEmpty() && bundleVersion.compare(shortVersion, Qt::CaseInsensitive))
            v = QStringLiteral("%1 (%2)").arg(shortVersion, bundleVersion);
        return u'\n' + QCoreApplication::translate("TQIconOverlayView", "Version: %1").arg(v);
    }
    if (!bundleVersion.isEmpty())
        return u'\n' + QCoreApplication::translate("TQIconOverlayView", "Bundle Version: %1")
                           .arg(bundleVersion);
    return {};
}

} // namespace kelp
