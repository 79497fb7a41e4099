#include "catalogue/CatalogueFiles.h"

#include "extras/Logging.h"
#include "extras/Plist.h"
#include "settings/Defaults.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

namespace kelp {
namespace {

// Keeps a file that could not be understood beside the new one, so nothing the user arranged is
// lost for good when Kelp writes the file again.
void keepAside(const QString &path, const QString &reason)
{
    const QString aside = path + QStringLiteral(".corrupt-") +
                          QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    if (QFile::rename(path, aside))
        qCWarning(lcCatalogue).noquote()
            << path << "could not be read (" + reason + "); kept as" << aside;
    else
        qCWarning(lcCatalogue).noquote() << path << "could not be read (" + reason + ")";
}

// The user's bad files are kept aside; the machine's are the administrator's to mend.
void reject(const QString &path, const QString &reason, CatalogueFiles::Domain domain)
{
    if (domain == CatalogueFiles::UserDomain)
        keepAside(path, reason);
    else
        qCWarning(lcCatalogue).noquote() << "Ignoring" << path << ":" << reason;
}

} // namespace

QString CatalogueFiles::catalogueFolder()
{
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty()) base = QDir::tempPath();
    return base + QStringLiteral("/Kelp");
}

QStringList CatalogueFiles::machineCatalogueFolders()
{
    QStringList out;
    const QString user = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    for (const QString &dir :
         QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
        if (dir != user) out.append(dir + QStringLiteral("/Kelp"));
    }
    return out;
}

QVariant CatalogueFiles::read(const QString &fileName, Domain domain)
{
    if (!_usesApplicationSupportFolder) {
        if (domain != UserDomain) return {};
        const QVariant v = _defaults.value(QFileInfo(fileName).completeBaseName());
        return v.typeId() == QMetaType::QVariantList ? v : QVariant();
    }
    const QStringList folders =
        domain == UserDomain ? QStringList{catalogueFolder()} : machineCatalogueFolders();
    QVariantList merged;
    bool found = false;
    for (const QString &folder : folders) {
        const QString path = folder + QLatin1Char('/') + fileName;
        const plist::ReadResult read = plist::readFile(path);
        switch (read.status) {
        case plist::ReadResult::Missing:
            continue;
        case plist::ReadResult::Unreadable:
            qCWarning(lcCatalogue).noquote() << "Cannot read" << path << ":" << read.error;
            continue;
        case plist::ReadResult::Corrupt:
            reject(path, read.error, domain);
            continue;
        case plist::ReadResult::Ok:
            break;
        }
        if (read.value.typeId() != QMetaType::QVariantList) {
            reject(path, QStringLiteral("its root is not an array"), domain);
            continue;
        }
        found = true;
        merged.append(read.value.toList());
    }
    return found ? QVariant(merged) : QVariant();
}

bool CatalogueFiles::write(const QVariant &paths, const QString &fileName, Domain domain)
{
    if (domain != UserDomain) return false; // the machine's files are the administrator's
    if (!_usesApplicationSupportFolder) {
        _defaults.setValue(QFileInfo(fileName).completeBaseName(), paths);
        _defaults.synchronize();
        return true;
    }
    const QString folder = catalogueFolder();
    if (!QDir().mkpath(folder)) {
        qCWarning(lcCatalogue) << "Cannot create the catalogue folder" << folder;
        return false;
    }
    QString error;
    const QString path = folder + QLatin1Char('/') + fileName;
    if (!plist::writeXmlFile(path, paths, &error)) {
        qCWarning(lcCatalogue).noquote() << "Cannot write" << path << ":" << error;
        return false;
    }
    return true;
}

bool CatalogueFiles::write(const QStringList &paths, const QString &fileName, Domain domain)
{
    return write(QVariant(paths), fileName, domain);
}

bool CatalogueFiles::write(const QList<QStringList> &paths, const QString &fileName, Domain domain)
{
    QVariantList outer;
    outer.reserve(paths.size());
    for (const QStringList &inner : paths)
        outer.append(QVariant(inner));
    return write(QVariant(outer), fileName, domain);
}

QStringList CatalogueFiles::pathsIn(const QVariant &root)
{
    QStringList out;
    for (const QVariant &v : root.toList()) {
        if (v.typeId() == QMetaType::QString && !v.toString().isEmpty()) out.append(v.toString());
    }
    return out;
}

std::optional<QList<QStringList>> CatalogueFiles::pathListsIn(const QVariant &root)
{
    const QVariantList outer = root.toList();
    if (outer.isEmpty() || outer.first().typeId() != QMetaType::QVariantList) return std::nullopt;
    QList<QStringList> out;
    for (const QVariant &inner : outer) {
        QStringList paths = pathsIn(inner);
        if (!paths.isEmpty()) out.append(std::move(paths));
    }
    return out;
}

QString CatalogueFiles::dockPreferencesFile()
{
    return QDir::homePath() + QStringLiteral("/Library/Preferences/com.apple.dock.plist");
}

QStringList CatalogueFiles::dockApplicationPaths()
{
    const plist::ReadResult dock = plist::readFile(dockPreferencesFile());
    if (!dock.ok()) {
        if (dock.status != plist::ReadResult::Missing)
            qCInfo(lcCatalogue).noquote()
                << "Ignoring the dock file" << dockPreferencesFile() << ":" << dock.error;
        return {};
    }
    QStringList out;
    for (const QVariant &item :
         dock.value.toMap().value(QStringLiteral("persistent-apps")).toList()) {
        const QString url = item.toMap()
                                .value(QStringLiteral("tile-data"))
                                .toMap()
                                .value(QStringLiteral("file-data"))
                                .toMap()
                                .value(QStringLiteral("_CFURLString"))
                                .toString();
        if (url.isEmpty()) continue;
        // Taken as a path even when it is written as a file URL.
        out.append(url.startsWith(QLatin1String("file:")) ? QUrl(url).toLocalFile() : url);
    }
    return out;
}

} // namespace kelp
