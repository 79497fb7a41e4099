#include "catalogue/CatalogueReport.h"

#include "catalogue/TQAppManager.h"

#include <QJsonArray>

namespace kelp {
namespace {

QJsonArray pathsJson(const AppList &apps)
{
    QJsonArray out;
    for (const TQAppPtr &a : apps)
        out.append(a->path());
    return out;
}

QJsonArray pathsJson(const AppLists &apps)
{
    QJsonArray out;
    for (const AppList &inner : apps)
        out.append(pathsJson(inner));
    return out;
}

} // namespace

QJsonObject catalogueReport(const TQAppManager &catalogue)
{
    QJsonObject report;
    for (Group group : kAllGroups) {
        const QString name = arrayName(group);
        if (const AppList *flat = catalogue.flatArrayForGroup(group))
            report.insert(name, pathsJson(*flat));
        else if (const AppLists *twoLevel = catalogue.bunchedArrayForGroup(group))
            report.insert(name, pathsJson(*twoLevel));
    }
    QJsonObject apps;
    for (const TQAppPtr &app : catalogue.everythingSet()) {
        QJsonObject entry;
        entry.insert(QStringLiteral("name"), app->name());
        entry.insert(QStringLiteral("letters"), QString::fromLatin1(app->letters()));
        entry.insert(QStringLiteral("containsExcludedKeywords"), app->containsExcludedKeywords());
        entry.insert(QStringLiteral("colorSortValue"), app->colorSortValue());
        apps.insert(app->path(), entry);
    }
    report.insert(QStringLiteral("apps"), apps);
    return report;
}

} // namespace kelp
