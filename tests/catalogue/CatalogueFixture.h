#pragma once
// A catalogue over a private temporary home: its settings, data and cache folders all live in a
// temporary directory, so tests never see or touch the user's own files.
#include "catalogue/TQAppManager.h"
#include "extras/Plist.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace kelp::test {

class CatalogueFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        qputenv("HOME", home.path().toUtf8());
        qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
        qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
        qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
        qputenv("XDG_DATA_DIRS", home.filePath(QStringLiteral("machine")).toUtf8());
        defaults =
            std::make_unique<Defaults>(home.filePath(QStringLiteral("config/Kelp/Kelp.plist")));
        registerAllDefaults(*defaults);
    }

    void makeCatalogue(std::shared_ptr<const AppsOnDisk> appsOnDisk = nullptr)
    {
        catalogue = std::make_unique<TQAppManager>(*defaults, std::move(appsOnDisk));
        catalogue->setWalksInBackground(false);
    }

    static QString userFile(const QString &name)
    {
        return CatalogueFiles::catalogueFolder() + QLatin1Char('/') + name;
    }
    QString machineFile(const QString &name) const
    {
        return home.filePath(QStringLiteral("machine/Kelp/")) + name;
    }

    static QVariant pathsVariant(const QList<QStringList> &lists)
    {
        QVariantList outer;
        for (const QStringList &l : lists)
            outer.append(QVariant(l));
        return outer;
    }

    // Fills group 5 the way a start from the cached file does.
    void setAll(const QList<QStringList> &folders)
    {
        ASSERT_TRUE(QDir().mkpath(CatalogueFiles::catalogueFolder()));
        ASSERT_TRUE(plist::writeXmlFile(userFile(CatalogueFiles::kAllApplicationsFile),
                                        pathsVariant(folders)));
        catalogue->readAllAppsFromDisk();
    }

    static QStringList paths(const AppList &apps) { return TQAppManager::pathsFromApps(apps); }
    static QList<QStringList> paths(const AppLists &apps)
    {
        return TQAppManager::pathArraysFromAppArrays(apps);
    }
    TQAppPtr app(const QString &path) { return catalogue->appForPath(path); }

    QTemporaryDir home;
    std::unique_ptr<Defaults> defaults;
    std::unique_ptr<TQAppManager> catalogue;
};

} // namespace kelp::test
