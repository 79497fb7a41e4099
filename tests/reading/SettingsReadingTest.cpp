// The settings file from outside: what Kelp cannot read is kept aside byte for byte, never cut
// and written back, and a file that is not a regular file never blocks the start.
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

#include "Watchdog.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace kelp::test {
namespace {

QByteArray settingsWithNesting(int arrays)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
           "<key>maximumIconSize</key><integer>96</integer><key>someonesValue</key>" +
           QByteArray("<array>").repeated(arrays) + "<string>deep</string>" +
           QByteArray("</array>").repeated(arrays) + "</dict></plist>\n";
}

QStringList asideCopies(const QString &file)
{
    return QDir(QFileInfo(file).absolutePath())
        .entryList({QFileInfo(file).fileName() + QStringLiteral(".corrupt-*")}, QDir::Files);
}

TEST(SettingsReading, AFileNestedTooDeeplyIsKeptAsideWholeAndTheDefaultsApply)
{
    // 70 levels: past what Kelp keeps; 100000 levels: the stack-exhausting file that used to
    // crash every start.
    for (int depth : {70, 100000}) {
        QTemporaryDir dir;
        ASSERT_TRUE(dir.isValid());
        const QString file = dir.filePath(QStringLiteral("Kelp.plist"));
        const QByteArray original = settingsWithNesting(depth);
        ASSERT_TRUE(writeFile(file, original));
        {
            Defaults defaults(file);
            registerAllDefaults(defaults);
            EXPECT_EQ(defaults.value(Key::MaximumIconSize), 64); // the default, not 96
            defaults.setValue(Key::MaximumIconSize, 80);
            ASSERT_TRUE(defaults.synchronize());
        }
        const QStringList copies = asideCopies(file);
        ASSERT_EQ(copies.size(), 1);
        EXPECT_EQ(readFile(dir.filePath(copies.first())), original);
        // The new file holds what was set since, and none of the deep value cut short.
        EXPECT_FALSE(readFile(file).contains("someonesValue"));
    }
}

TEST(SettingsReading, ASettingsFileThatIsAFifoNeitherBlocksNorIsReplaced)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString file = dir.filePath(QStringLiteral("Kelp.plist"));
    ASSERT_EQ(mkfifo(QFile::encodeName(file).constData(), 0600), 0);
    Watchdog watchdog("reading a settings file that is a FIFO", std::chrono::seconds(30));
    Defaults defaults(file);
    registerAllDefaults(defaults);
    EXPECT_EQ(defaults.value(Key::MaximumIconSize), 64);
    defaults.setValue(Key::MaximumIconSize, 80);
    // Kelp never saw what is there, so it does not write over it.
    EXPECT_FALSE(defaults.synchronize());
    struct stat st
    {
    };
    ASSERT_EQ(lstat(QFile::encodeName(file).constData(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));
}

} // namespace
} // namespace kelp::test
