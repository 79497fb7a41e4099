#include "control/KelpDocuments.h"

#include "control/WelcomeLogging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

Q_LOGGING_CATEGORY(lcWelcome, "kelp.welcome", QtInfoMsg)

namespace kelp {

QString documentPath(const QString &name)
{
    const QString file = name + QStringLiteral(".pdf");
    const QString programFolder = QCoreApplication::applicationDirPath();
    QStringList candidates{
        programFolder + QLatin1Char('/') + file,
        QDir::cleanPath(programFolder + QStringLiteral("/../share/kelp/") + file),
        QDir::cleanPath(programFolder + QStringLiteral("/../../share/kelp/") + file)};
    for (const QString &folder :
         QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation))
        candidates.append(folder + QStringLiteral("/kelp/") + file);
    for (const QString &candidate : candidates)
        if (QFileInfo(candidate).isFile()) return candidate;
    return {};
}

} // namespace kelp
