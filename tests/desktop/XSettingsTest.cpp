// XSETTINGS: the settings block as managers write it, and a real settings manager (xsettingsd)
// followed as it starts, changes its icon theme and quits.
#include "support/XSession.h"

#include "platform/x11/XSettings.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <csignal>

namespace kelp::test {
namespace {

// Builds a settings block in either byte order.
class Block
{
public:
    explicit Block(bool bigEndian, quint32 count) : _big(bigEndian)
    {
        _bytes.append(char(bigEndian ? 1 : 0)).append(3, '\0');
        u32(7); // serial
        u32(count);
    }
    Block &string(const QByteArray &name, const QByteArray &value)
    {
        header(1, name);
        u32(static_cast<quint32>(value.size()));
        padded(value);
        return *this;
    }
    Block &integer(const QByteArray &name, qint32 value)
    {
        header(0, name);
        u32(static_cast<quint32>(value));
        return *this;
    }
    Block &colour(const QByteArray &name, quint16 r, quint16 g, quint16 b, quint16 a)
    {
        header(2, name);
        for (quint16 v : {r, b, g, a}) // red, blue, green, alpha on the wire
            u16(v);
        return *this;
    }
    QByteArray bytes() const { return _bytes; }

private:
    void header(char type, const QByteArray &name)
    {
        _bytes.append(type).append('\0');
        u16(static_cast<quint16>(name.size()));
        padded(name);
        u32(0); // last change
    }
    void padded(const QByteArray &b) { _bytes.append(b).append((4 - b.size() % 4) % 4, '\0'); }
    void u16(quint16 v)
    {
        char b[2];
        _big ? qToBigEndian(v, b) : qToLittleEndian(v, b);
        _bytes.append(b, 2);
    }
    void u32(quint32 v)
    {
        char b[4];
        _big ? qToBigEndian(v, b) : qToLittleEndian(v, b);
        _bytes.append(b, 4);
    }
    bool _big;
    QByteArray _bytes;
};

TEST(XSettingsBlock, BothByteOrdersDecodeAndEveryTruncationIsRefused)
{
    for (bool big : {false, true}) {
        const QByteArray block = Block(big, 3)
                                     .string("Net/IconThemeName", "Papirus-Dark")
                                     .integer("Xft/DPI", -98304)
                                     .colour("Gtk/Colour", 1, 2, 3, 65535)
                                     .bytes();
        const auto settings = parseXSettings(block);
        ASSERT_TRUE(settings.has_value()) << "big endian: " << big;
        EXPECT_EQ(settings->value("Net/IconThemeName").toString(), QStringLiteral("Papirus-Dark"));
        EXPECT_EQ(settings->value("Xft/DPI").toInt(), -98304);
        EXPECT_EQ(settings->value("Gtk/Colour").toList(), (QVariantList{1, 2, 3, 65535}));
        // A block cut anywhere is refused as a whole, never read past its end.
        for (qsizetype n = 0; n < block.size(); ++n)
            EXPECT_FALSE(parseXSettings(block.left(n)).has_value()) << "cut at " << n;
    }
    // A count that the bytes cannot hold, an unknown type, an unknown byte order.
    EXPECT_FALSE(parseXSettings(Block(false, 0xFFFFFFFF).bytes()).has_value());
    QByteArray unknownType = Block(false, 1).integer("A", 1).bytes();
    unknownType[12] = 9;
    EXPECT_FALSE(parseXSettings(unknownType).has_value());
    QByteArray unknownOrder = Block(false, 0).bytes();
    unknownOrder[0] = 2;
    EXPECT_FALSE(parseXSettings(unknownOrder).has_value());
    EXPECT_TRUE(parseXSettings(Block(false, 0).bytes()).has_value());
}

TEST(XSettings, DarkModeFromThePreferenceOrTheThemeName)
{
    using Settings = QHash<QString, QVariant>;
    const QString prefer = QStringLiteral("Gtk/ApplicationPreferDarkTheme");
    const QString theme = QStringLiteral("Net/ThemeName");
    EXPECT_EQ(darkModeFromXSettings({}), std::nullopt) << "neither said";
    EXPECT_EQ(darkModeFromXSettings(Settings{{prefer, 1}}), true);
    EXPECT_EQ(darkModeFromXSettings(Settings{{prefer, 0}}), false);
    EXPECT_EQ(darkModeFromXSettings(Settings{{theme, QStringLiteral("Breeze-Dark")}}), true);
    EXPECT_EQ(darkModeFromXSettings(Settings{{theme, QStringLiteral("Adwaita")}}), false);
    // Either one says dark: a dark theme without the preference, the preference on a light theme.
    EXPECT_EQ(darkModeFromXSettings(Settings{{prefer, 0}, {theme, QStringLiteral("Adwaita-dark")}}),
              true);
    EXPECT_EQ(darkModeFromXSettings(Settings{{prefer, 1}, {theme, QStringLiteral("Adwaita")}}),
              true);
    // A value of the wrong type says nothing.
    EXPECT_EQ(darkModeFromXSettings(Settings{{prefer, QStringLiteral("1")}}), std::nullopt);
}

TEST(XSettingsWatch, FollowsARealSettingsManager)
{
    QString why;
    if (!XSession::instance().start(&why)) GTEST_SKIP() << why.toStdString();
    if (QStandardPaths::findExecutable(QStringLiteral("xsettingsd")).isEmpty())
        GTEST_SKIP() << "xsettingsd is not installed";
    QTemporaryDir dir;
    const QString config = dir.filePath(QStringLiteral("xsettingsd.conf"));
    const auto configure = [&](const QByteArray &theme) {
        return writeFile(config, "Net/IconThemeName \"" + theme + "\"\nXft/DPI 98304\n");
    };
    ASSERT_TRUE(configure("First"));

    X11XSettingsWatch watch(XSession::instance().display.toLatin1());
    EXPECT_EQ(watch.iconThemeName(), QString()); // no manager yet
    QSignalSpy changed(&watch, &X11XSettingsWatch::iconThemeNameChanged);

    QProcess manager;
    manager.start(QStringLiteral("xsettingsd"), {QStringLiteral("-c"), config});
    ASSERT_TRUE(manager.waitForStarted());
    // A manager that starts later is found through its announcement.
    QTRY_COMPARE_WITH_TIMEOUT(watch.iconThemeName(), QStringLiteral("First"), 10000);
    EXPECT_EQ(changed.size(), 1);

    // A changed setting is followed; a reload that changes nothing else is not announced.
    ASSERT_TRUE(configure("Second"));
    ::kill(static_cast<pid_t>(manager.processId()), SIGHUP);
    QTRY_COMPARE_WITH_TIMEOUT(watch.iconThemeName(), QStringLiteral("Second"), 10000);
    ::kill(static_cast<pid_t>(manager.processId()), SIGHUP);
    QTest::qWait(300);
    EXPECT_EQ(changed.size(), 2);

    // The manager going away leaves no theme.
    manager.terminate();
    ASSERT_TRUE(manager.waitForFinished(5000));
    QTRY_COMPARE_WITH_TIMEOUT(watch.iconThemeName(), QString(), 10000);
}

TEST(XSettingsWatch, ARunningKelpReloadsItsIconsWhenTheDesktopThemeChanges)
{
    QString why;
    if (!XSession::instance().start(&why)) GTEST_SKIP() << why.toStdString();
    if (QStandardPaths::findExecutable(QStringLiteral("xsettingsd")).isEmpty())
        GTEST_SKIP() << "xsettingsd is not installed";
    QTemporaryDir home;
    const QString config = home.filePath(QStringLiteral("xsettingsd.conf"));
    const auto configure = [&](const QByteArray &theme) {
        return writeFile(config, "Net/IconThemeName \"" + theme + "\"\n");
    };
    for (const char *theme : {"hicolor", "KelpOne", "KelpTwo"})
        ASSERT_TRUE(writeFile(
            home.filePath(QStringLiteral("machine/icons/%1/index.theme").arg(QLatin1String(theme))),
            "[Icon Theme]\nName=Test\nDirectories=\n"));
    ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("machine/applications/app.desktop")),
                          "[Desktop Entry]\nType=Application\nName=App\nExec=true\nIcon=app\n"));
    ASSERT_TRUE(configure("KelpOne"));
    QProcess manager;
    manager.start(QStringLiteral("xsettingsd"), {QStringLiteral("-c"), config});
    ASSERT_TRUE(manager.waitForStarted());

    QProcessEnvironment env = displayHomeEnvironment(home.path());
    env.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
    QProcess kelp;
    kelp.setProcessEnvironment(env);
    kelp.setProcessChannelMode(QProcess::MergedChannels);
    QByteArray log;
    QObject::connect(&kelp, &QProcess::readyRead, [&]() { log += kelp.readAll(); });
    kelp.start(QStringLiteral(KELP_BINARY), {});
    ASSERT_TRUE(kelp.waitForStarted());
    const auto logged = [&](const QByteArray &text) {
        return waitUntil([&]() { return log.contains(text); }, 20000);
    };
    EXPECT_TRUE(logged("Icon theme KelpOne (from XSETTINGS)")) << log.constData();

    ASSERT_TRUE(configure("KelpTwo"));
    ::kill(static_cast<pid_t>(manager.processId()), SIGHUP);
    EXPECT_TRUE(logged("Icon theme KelpTwo (from XSETTINGS)")) << log.constData();

    runKelp(QStringLiteral(KELP_BINARY), {QStringLiteral("--quit")}, env);
    EXPECT_TRUE(kelp.waitForFinished(10000));
    manager.terminate();
    manager.waitForFinished(5000);
}

} // namespace
} // namespace kelp::test
