// `kelp --print-catalogue`, run as a user would, over a private home.
#include "support/TestSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace kelp;

namespace {

struct KelpRun
{
    int status = -1;
    QJsonObject json;
    QByteArray err;
};

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

    KelpRun run(const QStringList &args)
    {
        QProcess p;
        const QProcessEnvironment env = test::privateHomeEnvironment(home.path());
        p.setProcessEnvironment(env);
        p.start(QStringLiteral(KELP_BINARY), args);
        KelpRun r;
        if (!p.waitForFinished(60000)) return r;
        r.status = p.exitCode();
        r.err = p.readAllStandardError();
        r.json = QJsonDocument::fromJson(p.readAllStandardOutput()).object();
        return r;
    }

    QTemporaryDir home;
};

} // namespace

TEST_F(PrintCatalogue, PrintsEveryGroupAndEntry)
{
    const KelpRun r = run({QStringLiteral("--print-catalogue")});
    ASSERT_EQ(r.status, 0) << r.err.constData();
    for (const char *key :
         {"allApps", "allApps1D", "includedApps", "includedApps1D", "excludedApps",
          "excludedApps1D", "missingApps", "userApps", "userApps1D", "runningApps", "apps"})
        EXPECT_TRUE(r.json.contains(QLatin1String(key))) << key;

    const QString editor = home.filePath(QStringLiteral("data/applications/editor.desktop"));
    const QString term = home.filePath(QStringLiteral("machine/applications/term.desktop"));
    EXPECT_EQ(r.json.value(QStringLiteral("allApps")).toArray(),
              (QJsonArray{QJsonArray{editor}, QJsonArray{term}}));
    const QJsonObject apps = r.json.value(QStringLiteral("apps")).toObject();
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
    ASSERT_EQ(run({QStringLiteral("--print-catalogue")}).status, 0);
    put(QStringLiteral("data/applications/later.desktop"),
        "[Desktop Entry]\nType=Application\nName=Later\nExec=true\n");
    const QString later = home.filePath(QStringLiteral("data/applications/later.desktop"));

    KelpRun r = run({QStringLiteral("--print-catalogue")});
    ASSERT_EQ(r.status, 0);
    EXPECT_FALSE(r.json.value(QStringLiteral("apps")).toObject().contains(later));
    r = run({QStringLiteral("--print-catalogue"), QStringLiteral("--rescan")});
    ASSERT_EQ(r.status, 0);
    EXPECT_TRUE(r.json.value(QStringLiteral("apps")).toObject().contains(later));
}

TEST_F(PrintCatalogue, KeepsFavouritesAndSurvivesGarbage)
{
    const QString editor = home.filePath(QStringLiteral("data/applications/editor.desktop"));
    put(QStringLiteral("data/Kelp/UserApplications.plist"),
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><array><string>" + editor.toUtf8() +
            "</string></array></array></plist>");
    put(QStringLiteral("config/Kelp/Kelp.plist"), "garbage that is not a property list");
    const KelpRun r = run({QStringLiteral("--print-catalogue")});
    ASSERT_EQ(r.status, 0) << r.err.constData();
    EXPECT_EQ(r.json.value(QStringLiteral("userApps1D")).toArray(), QJsonArray{editor});
}

TEST_F(PrintCatalogue, RefusesBadArguments)
{
    EXPECT_NE(run({QStringLiteral("--no-such-option")}).status, 0);
    EXPECT_NE(run({QStringLiteral("--rescan")}).status, 0);
}
