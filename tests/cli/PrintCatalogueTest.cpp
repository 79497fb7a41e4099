// `kelp --print-catalogue`, run as a user would, over a private home.
#include "support/TestSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace kelp;

namespace {

class PrintCatalogue : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        // The default scan folders are the platform's application folders.
        put(QStringLiteral("data/applications/editor.desktop"),
            "[Desktop Entry]\nType=Application\nName=Text Editor\nExec=true\n");
        put(QStringLiteral("machine/applications/term.desktop"),
            "[Desktop Entry]\nType=Application\nName=XTerm Uninstaller\nExec=true\n");
    }
    void put(const QString &rel, const QByteArray &content)
    {
        ASSERT_TRUE(test::writeFile(home.filePath(rel), content));
    }
    // The report, with the exit status and standard error of the run.
    QJsonObject run(const QStringList &args, int *status = nullptr, QByteArray *err = nullptr)
    {
        const test::KelpRun r = test::runKelp(
            QStringLiteral(KELP_BINARY), QStringList{QStringLiteral("--print-catalogue")} + args,
            test::privateHomeEnvironment(home.path()));
        if (status) *status = r.status;
        if (err) *err = r.err;
        return QJsonDocument::fromJson(r.out).object();
    }

    QTemporaryDir home;
};

} // namespace

TEST_F(PrintCatalogue, PrintsEveryGroupAndEntry)
{
    int status = -1;
    QByteArray err;
    const QJsonObject report = run({}, &status, &err);
    ASSERT_EQ(status, 0) << err.constData();
    for (const char *key :
         {"allApps", "allApps1D", "includedApps", "includedApps1D", "excludedApps",
          "excludedApps1D", "missingApps", "userApps", "userApps1D", "runningApps", "apps"})
        EXPECT_TRUE(report.contains(QLatin1String(key))) << key;

    const QString editor = home.filePath(QStringLiteral("data/applications/editor.desktop"));
    const QString term = home.filePath(QStringLiteral("machine/applications/term.desktop"));
    EXPECT_EQ(report.value(QStringLiteral("allApps")).toArray(),
              (QJsonArray{QJsonArray{editor}, QJsonArray{term}}));
    const QJsonObject apps = report.value(QStringLiteral("apps")).toObject();
    const QJsonObject e = apps.value(editor).toObject();
    EXPECT_EQ(e.value(QStringLiteral("name")).toString(), QStringLiteral("Text Editor"));
    EXPECT_EQ(e.value(QStringLiteral("letters")).toString(), QStringLiteral("te"));
    EXPECT_FALSE(e.value(QStringLiteral("containsExcludedKeywords")).toBool());
    EXPECT_EQ(e.value(QStringLiteral("colorSortValue")).toDouble(), 10.0);
    EXPECT_TRUE(
        apps.value(term).toObject().value(QStringLiteral("containsExcludedKeywords")).toBool());
}

TEST_F(PrintCatalogue, UsesTheCachedListUntilAskedToRescan)
{
    run({});
    put(QStringLiteral("data/applications/later.desktop"),
        "[Desktop Entry]\nType=Application\nName=Later\nExec=true\n");
    const QString later = home.filePath(QStringLiteral("data/applications/later.desktop"));

    EXPECT_FALSE(run({}).value(QStringLiteral("apps")).toObject().contains(later));
    EXPECT_TRUE(
        run({QStringLiteral("--rescan")}).value(QStringLiteral("apps")).toObject().contains(later));
}

TEST_F(PrintCatalogue, KeepsFavouritesAndSurvivesGarbage)
{
    const QString editor = home.filePath(QStringLiteral("data/applications/editor.desktop"));
    put(QStringLiteral("data/Kelp/UserApplications.plist"),
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><array><string>" + editor.toUtf8() +
            "</string></array></array></plist>");
    put(QStringLiteral("config/Kelp/Kelp.plist"), "garbage that is not a property list");
    int status = -1;
    const QJsonObject report = run({}, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(report.value(QStringLiteral("userApps1D")).toArray(), QJsonArray{editor});
}
