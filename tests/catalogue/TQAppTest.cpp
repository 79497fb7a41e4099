#include "catalogue/TQApp.h"
#include "catalogue/ZRXattrMetadataStore.h"

#include "support/TestSupport.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace kelp;

TEST(TQApp, IdentityFollowsTheStandardisedPath)
{
    TQApp a(QStringLiteral("/Applications/Foo.app"));
    TQApp b(QStringLiteral("/Applications/../Applications/./Foo.app/"));
    TQApp c(QStringLiteral("/Applications/foo.app"));
    EXPECT_EQ(b.path(), QStringLiteral("/Applications/Foo.app"));
    EXPECT_TRUE(a.isEqual(&b));
    EXPECT_EQ(a.hash(), b.hash());
    EXPECT_FALSE(a.isEqual(&c)) << "paths compare case-sensitively";
    EXPECT_FALSE(a.isEqual(nullptr));
    EXPECT_EQ(TQApp::standardizePath(QStringLiteral("~/x//y/")),
              QDir::homePath() + QStringLiteral("/x/y"));

    EXPECT_FALSE(a.setPath(QStringLiteral("/Applications/./Foo.app")));
    EXPECT_TRUE(a.setPath(QStringLiteral("/Applications/Bar.app")));
    EXPECT_EQ(a.name(), QStringLiteral("Bar"));
}

TEST(TQApp, Names)
{
    EXPECT_EQ(TQApp(QStringLiteral("/Applications/Safari.app")).name(), QStringLiteral("Safari"));
    EXPECT_EQ(TQApp(QStringLiteral("/Applications/Foo.Bar.app")).name(), QStringLiteral("Foo.Bar"));
    TQApp entry(QStringLiteral("/usr/share/applications/org.gnome.Calculator.desktop"));
    EXPECT_EQ(entry.name(), QStringLiteral("org.gnome.Calculator"));
    entry.setDisplayName(QStringLiteral("Calculator Uninstaller"));
    EXPECT_EQ(entry.name(), QStringLiteral("Calculator Uninstaller"));
    EXPECT_EQ(entry.letters(), QByteArray("cu"));
    EXPECT_TRUE(entry.containsExcludedKeywords()) << "\"uninstall\" is matched case-insensitively";
    entry.setDisplayName(QStringLiteral("Calculator"));
    EXPECT_FALSE(entry.containsExcludedKeywords());
    EXPECT_FALSE(TQApp::excludedNameSubstrings().isEmpty());
}

TEST(TQApp, ExtendedAttributesAsText)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Tool.desktop"));
    ASSERT_TRUE(test::writeFile(path, "[Desktop Entry]\n"));
    TQApp app(path);
    EXPECT_TRUE(app.xattrs().isEmpty());
    ZRXattrMetadataStore::setData(QByteArray("Hello"), QStringLiteral("user.kelp.test"), path,
                                  true);
    if (ZRXattrMetadataStore::allKeysAtPath(path, true).isEmpty())
        GTEST_SKIP() << "this file system keeps no extended attributes";
    EXPECT_EQ(app.xattrs(), QStringLiteral("key: user.kelp.test\ndata: <48656c6c 6f>"));
}
