// The scan's progress as the dock reads it: a LauncherEntry signal on a private session bus.
#include "desktop/LauncherProgress.h"
#include "platform/DesktopFactory.h"

#include "support/TestSupport.h"

#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

using namespace kelp;

TEST(LauncherProgress, SignalReachesTheSessionBus)
{
    for (const char *tool : {"dbus-daemon", "dbus-monitor"})
        if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
            GTEST_SKIP() << tool << " is not installed";
    QProcess bus;
    bus.start(QStringLiteral("dbus-daemon"),
              {QStringLiteral("--session"), QStringLiteral("--nofork"),
               QStringLiteral("--print-address")});
    ASSERT_TRUE(test::waitUntil([&] { return bus.canReadLine(); }, 10000));
    const QByteArray address = bus.readLine().trimmed();
    const QByteArray previous = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);

    QProcess monitor;
    monitor.start(QStringLiteral("dbus-monitor"),
                  {QStringLiteral("--address"), QString::fromLatin1(address),
                   QStringLiteral("interface='com.canonical.Unity.LauncherEntry'")});
    QByteArray seen;
    // The monitor announces itself on the bus first; wait for that before sending.
    ASSERT_TRUE(test::waitUntil([&] {
        seen += monitor.readAllStandardOutput();
        return seen.contains("NameAcquired") || seen.contains("signal");
    }));
    {
        // The running Kelp's progress, as the desktop is made for it (sent when it goes).
        DesktopOptions options;
        options.launcherProgress = true;
        const Desktop services = makeDesktop(QStringLiteral("offscreen"), options);
        ASSERT_TRUE(services.launcherProgress);
        services.launcherProgress->showProgress(2, 4);
        services.launcherProgress->showProgress(0, 0);
    }
    EXPECT_TRUE(test::waitUntil([&] {
        seen += monitor.readAllStandardOutput();
        return seen.count("member=Update") >= 2;
    }));
    EXPECT_TRUE(seen.contains("application://kelp.desktop")) << seen.constData();
    EXPECT_TRUE(seen.contains("double 0.5"));
    EXPECT_TRUE(seen.contains("boolean false")) << "count 0 hides the bar";

    monitor.kill();
    monitor.waitForFinished();
    bus.kill();
    bus.waitForFinished();
    qputenv("DBUS_SESSION_BUS_ADDRESS", previous);
}
