// Reports of earlier runs: which one is offered, how its text is read, how its stack addresses
// are named, and that each is offered once.
#include "support/TestSupport.h"

#include "OpenFeedback/CrashReports.h"
#include "OpenFeedback/HangWatchdog.h"
#include "OpenFeedback/OpenFeedback.h"
#include "settings/Defaults.h"

#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTabBar>
#include <QTest>
#include <QTimer>

#include <thread>

#include <gtest/gtest.h>

using namespace kelp;
using namespace kelp::test;

namespace {

bool writeDated(const QString &path, const QByteArray &content, const QDateTime &when)
{
    if (!writeFile(path, content)) return false;
    QFile file(path);
    return file.open(QIODevice::ReadWrite) &&
           file.setFileTime(when, QFileDevice::FileModificationTime);
}

__attribute__((noinline)) int markerForSymbols(int x)
{
    return x * 3 + 1;
}

class Reports : public ::testing::Test
{
protected:
    QString crashes() const { return dir.filePath(QStringLiteral("crashes")); }
    QString hangs() const { return dir.filePath(QStringLiteral("hangs")); }
    QTemporaryDir dir;
    const QDateTime now = QDateTime::currentDateTimeUtc();
};

TEST_F(Reports, NewestNonEmptyReportNotOlderThanTheLastLook)
{
    ASSERT_TRUE(writeDated(crashes() + QStringLiteral("/Kelp_old.crash"), "a", now.addSecs(-100)));
    ASSERT_TRUE(
        writeDated(crashes() + QStringLiteral("/deep/Kelp_new.crash"), "b", now.addSecs(-10)));
    // Not Kelp's, not a crash report, or empty (a run that was killed): never offered.
    ASSERT_TRUE(writeDated(crashes() + QStringLiteral("/Other_x.crash"), "c", now.addSecs(-1)));
    ASSERT_TRUE(writeDated(crashes() + QStringLiteral("/Kelp_x.log"), "c", now.addSecs(-1)));
    ASSERT_TRUE(writeDated(crashes() + QStringLiteral("/Kelp_empty.crash"), "", now.addSecs(-1)));
    ASSERT_TRUE(writeDated(hangs() + QStringLiteral("/anything.hang"), "h", now.addSecs(-50)));

    EXPECT_EQ(newestReport({crashes()}, {hangs()}, now.addSecs(-60)),
              crashes() + QStringLiteral("/deep/Kelp_new.crash"));
    EXPECT_EQ(newestReport({crashes()}, {hangs()}, QDateTime()),
              crashes() + QStringLiteral("/deep/Kelp_new.crash"));
    // A report exactly as old as the last look counts.
    EXPECT_EQ(newestReport({crashes()}, {hangs()}, now.addSecs(-10)),
              crashes() + QStringLiteral("/deep/Kelp_new.crash"));
    EXPECT_EQ(newestReport({crashes()}, {hangs()}, now.addSecs(-9)), QString());
    // A hang report counts whatever its name.
    ASSERT_TRUE(writeDated(hangs() + QStringLiteral("/z 1.hang"), "h", now.addSecs(-2)));
    EXPECT_EQ(newestReport({crashes()}, {hangs()}, now.addSecs(-9)),
              hangs() + QStringLiteral("/z 1.hang"));
    EXPECT_EQ(newestReport({dir.filePath(QStringLiteral("none"))}, {}, QDateTime()), QString());
}

TEST_F(Reports, HugeBinaryAndUnreadableReportsStillGiveText)
{
    // 10 MB: only the end is shown, and it says so.
    QByteArray huge(10 * 1024 * 1024, 'x');
    huge.append("THE END\n");
    ASSERT_TRUE(writeFile(crashes() + QStringLiteral("/Kelp_huge.hang"), huge));
    const QString shown = readReport(crashes() + QStringLiteral("/Kelp_huge.hang"));
    EXPECT_TRUE(shown.startsWith(QStringLiteral("[The report is 10485768 bytes long")));
    EXPECT_TRUE(shown.endsWith(QStringLiteral("THE END\n")));
    EXPECT_LT(shown.size(), 256 * 1024 + 200);

    QByteArray binary;
    for (int i = 0; i < 256; ++i)
        binary.append(char(i));
    ASSERT_TRUE(writeFile(crashes() + QStringLiteral("/Kelp_bin.crash"), binary));
    const QString text = readReport(crashes() + QStringLiteral("/Kelp_bin.crash"));
    EXPECT_FALSE(text.isEmpty());
    for (const QChar c : text)
        EXPECT_TRUE(c.unicode() >= 0x20 || c == QLatin1Char('\n') || c == QLatin1Char('\t'));

    EXPECT_EQ(readReport(crashes() + QStringLiteral("/missing.crash")), QString());
}

TEST_F(Reports, StackAddressesAreNamedFromTheModuleMap)
{
    if (QStandardPaths::findExecutable(QStringLiteral("addr2line")).isEmpty())
        GTEST_SKIP() << "addr2line is not installed";
    EXPECT_EQ(markerForSymbols(1), 4);
    const quintptr address = reinterpret_cast<quintptr>(&markerForSymbols);
    const QString report = QStringLiteral("Kelp crash report\nSignal: 11 (SIGSEGV)\n\nStack:\n0x") +
                           QString::number(address, 16) + QStringLiteral("\n0x10\n\nModules:\n") +
                           QString::fromUtf8(readFile(QStringLiteral("/proc/self/maps")));
    const QString symbols = symbolise(report);
    EXPECT_TRUE(symbols.startsWith(QStringLiteral("Symbols:\n"))) << qPrintable(symbols);
    EXPECT_TRUE(symbols.contains(QStringLiteral("markerForSymbols"))) << qPrintable(symbols);
    // An address in no module stays unnamed.
    EXPECT_TRUE(symbols.contains(QStringLiteral("0x10 ?"))) << qPrintable(symbols);
    EXPECT_EQ(symbolise(QStringLiteral("Stack:\n0x10\n")), QString());
}

TEST_F(Reports, EachReportIsOfferedOnceOnTheCrashForm)
{
    Defaults defaults(dir.filePath(QStringLiteral("Kelp.plist")));
    defaults.setValue(Key::LastCrashCheckTime, now.addSecs(-60));
    ASSERT_TRUE(writeDated(crashes() + QStringLiteral("/Kelp_1.crash"), "first", now.addSecs(-30)));
    // Dated in the future (a clock that was wrong): offered, but not at every start after.
    ASSERT_TRUE(writeDated(crashes() + QStringLiteral("/Kelp_2.crash"), "Signal: 11 (SIGSEGV)",
                           now.addDays(1)));
    OpenFeedback reporter(defaults);
    reporter.setReportFolders({crashes()}, {hangs()});
    QSignalSpy checked(&reporter, &OpenFeedback::crashCheckFinished);

    reporter.checkForCrashReports();
    ASSERT_TRUE(checked.wait());
    EXPECT_EQ(checked.at(0).at(0).toString(), crashes() + QStringLiteral("/Kelp_2.crash"));
    OFController *form = reporter.controller();
    EXPECT_TRUE(reporter.isFeedbackWindowVisible());
    EXPECT_EQ(form->segments()->currentIndex(), 2);
    EXPECT_EQ(form->segments()->tabText(2), QStringLiteral("Crash Report"));
    EXPECT_TRUE(form->txtCrashDescription()->toPlainText().endsWith(
        QStringLiteral("possible cause!\n\nSignal: 11 (SIGSEGV)")));
    // The settings file keeps whole seconds.
    EXPECT_GE(defaults.value(Key::LastCrashCheckTime), now.addSecs(-1));
    reporter.closeFeedbackWindow();

    QTest::qWait(20); // the next look starts after the first
    reporter.checkForCrashReports();
    ASSERT_TRUE(checked.wait());
    EXPECT_EQ(checked.at(1).at(0).toString(), QString());
    EXPECT_FALSE(reporter.isFeedbackWindowVisible());
}

TEST_F(Reports, BlockedGuiThreadLeavesOneHangReportWithItsStack)
{
    HangWatchdog watchdog(hangs(), std::chrono::milliseconds(300));
    // Idle: no report however long it lasts.
    QTest::qWait(700);
    EXPECT_EQ(watchdog.reportsWritten(), 0);
    QTimer::singleShot(0, [] { std::this_thread::sleep_for(std::chrono::milliseconds(1200)); });
    ASSERT_TRUE(waitUntil([&] { return watchdog.reportsWritten() > 0; }, 5000));
    QTest::qWait(500);
    EXPECT_EQ(watchdog.reportsWritten(), 1) << "one report per hang";
    const QString path = newestReport({}, {hangs()}, QDateTime());
    ASSERT_FALSE(path.isEmpty());
    const QByteArray report = readFile(path);
    EXPECT_TRUE(report.startsWith("Kelp hang report\n"));
    EXPECT_TRUE(report.contains("\nStack:\n0x")) << "the GUI thread's stack was taken";
    EXPECT_TRUE(report.contains("\nModules:\n"));
}

} // namespace
