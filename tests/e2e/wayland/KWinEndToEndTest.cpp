// Kelp under KDE's compositor, KWin, run headless (`kwin_wayland --virtual`) with a session bus of
// its own, as the unprivileged test user. KWin shares its window list only with a program whose
// installed desktop entry starts it by its full path and names the list in
// X-KDE-Wayland-Interfaces: with Kelp's own entry (made from the one Kelp installs) Kelp follows
// the windows of other programs, matched to catalogue entries by app id, and outlives the window
// events KWin sends; with an entry that starts plain `kelp`, KWin keeps the list and Kelp's log
// says why.
#include "support/SwaySession.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace kelp::test {
namespace {

class WaylandUnderKWin : public ::testing::Test
{
protected:
    void SetUp() override
    {
        kwinProgram = QStandardPaths::findExecutable(QStringLiteral("kwin_wayland"));
        if (kwinProgram.isEmpty()) GTEST_SKIP() << "kwin_wayland is not installed";
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty())
            GTEST_SKIP() << "dbus-daemon is not installed";
        QString why;
        ASSERT_TRUE(session().ensureUser(&why)) << why.toStdString();
        ASSERT_TRUE(dir.isValid());
        QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                              QFileDevice::ExeOwner | QFileDevice::ExeOther);
        runtime = dir.filePath(QStringLiteral("runtime"));
        home = dir.filePath(QStringLiteral("home"));
        QDir().mkpath(runtime);
        QDir().mkpath(home + QStringLiteral("/data/applications"));
        QDir().mkpath(home + QStringLiteral("/installed/applications"));
        QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                           QFileDevice::ExeOwner);
        amberEntry = home + QStringLiteral("/data/applications/org.example.Amber.desktop");
        ASSERT_TRUE(writeFile(amberEntry, "[Desktop Entry]\nType=Application\nName=Amber\n"
                                          "Exec=" COLOUR_WINDOW " orange org.example.Amber\n"));
        ASSERT_TRUE(writeFile(home + QStringLiteral("/config/Kelp/Kelp.plist"),
                              "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                              "<key>showWelcomeWindow</key><false/>"
                              "<key>searchDirectories</key><array><dict><key>path</key><string>" +
                                  home.toUtf8() +
                                  "/data/applications</string></dict></array></dict></plist>"));
        // The packaged kwin_wayland carries a file capability (cap_sys_resource) that a
        // container's bounding set may lack, and exec then fails; a copy carries none. KWin's
        // platform plugin only loads in a program named kwin_wayland.
        const QString kwinFolder = dir.filePath(QStringLiteral("kwin"));
        QDir().mkpath(kwinFolder);
        kwinCopy = kwinFolder + QStringLiteral("/kwin_wayland");
        ASSERT_TRUE(QFile::copy(kwinProgram, kwinCopy));
        ASSERT_TRUE(session().giveToUser(runtime) && session().giveToUser(home) &&
                    session().giveToUser(kwinFolder));

        env = privateHomeEnvironment(home);
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
        env.remove(QStringLiteral("DISPLAY"));
        const QString bus = QStringLiteral("unix:path=") + runtime + QStringLiteral("/bus");
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus);
        env.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("KDE"));
        env.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
        // KWin looks up desktop entries in the installed folder first, then the machine's.
        env.insert(QStringLiteral("XDG_DATA_DIRS"),
                   home + QStringLiteral("/installed:/usr/local/share:/usr/share"));
        session().startAsUser(dbus, QStringLiteral("dbus-daemon"),
                              {QStringLiteral("--session"), QStringLiteral("--nofork"),
                               QStringLiteral("--address=") + bus},
                              env);
        ASSERT_TRUE(
            waitUntil([&] { return QFile::exists(runtime + QStringLiteral("/bus")); }, 20000))
            << "the session bus did not start";
    }

    // Installs Kelp's desktop entry, made from the one Kelp installs, starting `program`.
    void installEntry(const QString &program)
    {
        QByteArray entry = readFile(QStringLiteral(KELP_DESKTOP_TEMPLATE));
        ASSERT_TRUE(entry.contains("@KELP_WHOLE_PROGRAM@"));
        entry.replace("@KELP_WHOLE_PROGRAM@", program.toUtf8());
        const QString path = home + QStringLiteral("/installed/applications/kelp.desktop");
        ASSERT_TRUE(writeFile(path, entry));
        ASSERT_TRUE(session().giveToUser(home));
    }

    void startKWin()
    {
        kwin.setProcessChannelMode(QProcess::MergedChannels);
        session().startAsUser(kwin, kwinCopy,
                              {QStringLiteral("--virtual"), QStringLiteral("--no-lockscreen"),
                               QStringLiteral("--socket"), QStringLiteral("wayland-kelp"),
                               QStringLiteral("--width"), QStringLiteral("1280"),
                               QStringLiteral("--height"), QStringLiteral("720")},
                              env);
        ASSERT_TRUE(waitUntil(
            [&] {
                kwinLog += kwin.readAll();
                return QFile::exists(runtime + QStringLiteral("/wayland-kelp")) ||
                       kwin.state() == QProcess::NotRunning;
            },
            30000));
        ASSERT_EQ(kwin.state(), QProcess::Running)
            << "KWin did not start: " << kwinLog.toStdString();
        env.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-kelp"));
        env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("kelp.platform.debug=true"));
    }

    void TearDown() override
    {
        for (QProcess *p : {&colour, &kelp, &kwin, &dbus})
            endProcess(*p);
    }

    static SwaySession &session() { return SwaySession::instance(); }

    void startKelp()
    {
        kelp.setProcessChannelMode(QProcess::MergedChannels);
        session().startAsUser(kelp, QStringLiteral(KELP_BINARY), {QStringLiteral("--show")}, env);
        ASSERT_TRUE(kelp.waitForStarted());
    }

    bool logShows(const QByteArray &text, int timeoutMs = 20000)
    {
        return waitUntil(
                   [&] {
                       log += kelp.readAll();
                       return log.contains(text) || kelp.state() == QProcess::NotRunning;
                   },
                   timeoutMs) &&
               log.contains(text);
    }

    // The running group as a second kelp, asking KWin itself, prints it.
    QStringList runningGroup()
    {
        QProcess p;
        session().startAsUser(p, QStringLiteral(KELP_BINARY), {QStringLiteral("--print-catalogue")},
                              env);
        if (!p.waitForFinished(30000)) return {QStringLiteral("(no answer)")};
        QStringList paths;
        const QJsonArray running = QJsonDocument::fromJson(p.readAllStandardOutput())
                                       .object()
                                       .value("runningApps")
                                       .toArray();
        for (const QJsonValue &v : running)
            paths.append(v.toString());
        return paths;
    }

    QTemporaryDir dir;
    QString kwinProgram;
    QString kwinCopy;
    QString runtime;
    QString home;
    QString amberEntry;
    QProcessEnvironment env;
    QProcess dbus;
    QProcess kwin;
    QProcess kelp;
    QProcess colour;
    QByteArray log;
    QByteArray kwinLog;
};

TEST_F(WaylandUnderKWin, KelpsOwnEntryGetsTheWindowListFollowedByAppIdThroughKWinsEvents)
{
    // KWin compares the entry's program with the file the connecting process runs from.
    installEntry(QFileInfo(QStringLiteral(KELP_WHOLE_PROGRAM)).canonicalFilePath());
    startKWin();
    startKelp();
    ASSERT_TRUE(logShows("Running applications from org_kde_plasma_window_management"))
        << log.toStdString() << kwinLog.toStdString();
    EXPECT_TRUE(logShows("overlay layer surface")) << log.toStdString();

    // Another program's window: Kelp sees it, matches it to its entry by app id, and is still
    // running after the window events KWin sends with it.
    QProcessEnvironment wayland = env;
    wayland.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
    colour.setProcessChannelMode(QProcess::MergedChannels);
    session().startAsUser(colour, QStringLiteral(COLOUR_WINDOW),
                          {QStringLiteral("orange"), QStringLiteral("org.example.Amber")}, wayland);
    ASSERT_TRUE(logShows("app id org.example.Amber")) << log.toStdString();
    QStringList group;
    EXPECT_TRUE(
        waitUntil([&] { return (group = runningGroup()) == QStringList{amberEntry}; }, 20000))
        << group.join(' ').toStdString();
    EXPECT_EQ(kelp.state(), QProcess::Running) << log.toStdString();

    // Its window closing takes it out of the group.
    endProcess(colour);
    EXPECT_TRUE(waitUntil([&] { return (group = runningGroup()).isEmpty(); }, 20000))
        << group.join(' ').toStdString();
    ASSERT_EQ(kelp.state(), QProcess::Running) << log.toStdString();
    EXPECT_FALSE(log.contains("is NULL")) << log.toStdString();
}

TEST_F(WaylandUnderKWin, AnEntryStartingPlainKelpGetsNoWindowListAndTheLogSaysWhy)
{
    installEntry(QStringLiteral("kelp"));
    startKWin();
    startKelp();
    ASSERT_TRUE(logShows("The compositor shares no window list")) << log.toStdString();
    EXPECT_TRUE(logShows("KDE Plasma shares its window list only with a program whose installed"))
        << log.toStdString();
    EXPECT_TRUE(logShows("overlay layer surface")) << log.toStdString();
}

} // namespace
} // namespace kelp::test
