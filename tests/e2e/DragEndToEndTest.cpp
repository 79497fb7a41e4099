// Drags end to end: favourites rearranged with the real pointer, and a file dragged from another
// program onto an application that opens it. Real Xvfb, real openbox, real desktop entries, the
// kelp binary, xdotool driving the pointer through XTEST, and a separate drag-source process.
#include "support/XSession.h"
#include "window/IconGridLayout.h"
#include "window/PanelGeometry.h"
#include "window/TQWindow.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace kelp;
using namespace kelp::test;

namespace {

constexpr QSize kScreen(1280, 800);

class Drag : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (const QString why = XSession::instance().whyNotReady(QStringLiteral("1280x800x24"),
                                                                 {"xdotool", "xwininfo"});
            !why.isEmpty())
            GTEST_SKIP() << qPrintable(why);
        ASSERT_TRUE(home.isValid());
        for (const char *name : {"alpha", "beta", "gamma"})
            ASSERT_TRUE(writeFile(entry(QLatin1String(name)),
                                  "[Desktop Entry]\nType=Application\nName=" + QByteArray(name) +
                                      "\nExec=true\n"));
        // Opens text files: writes the paths it was given, one a line.
        ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("catcher.sh")),
                              "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$0.caught.tmp\" && mv "
                              "\"$0.caught.tmp\" \"$0.caught\"\n"));
        QFile::setPermissions(home.filePath(QStringLiteral("catcher.sh")),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                  QFileDevice::ExeOwner);
        ASSERT_TRUE(writeFile(entry(QStringLiteral("catcher")),
                              "[Desktop Entry]\nType=Application\nName=Catcher\nExec=" +
                                  home.filePath(QStringLiteral("catcher.sh")).toUtf8() +
                                  " %F\nMimeType=text/plain;\n"));
        // GIO reads which types an application opens from the folder's MIME index, which
        // installers write with update-desktop-database.
        if (QStandardPaths::findExecutable(QStringLiteral("update-desktop-database")).isEmpty())
            GTEST_SKIP() << "update-desktop-database is not installed";
        ASSERT_EQ(QProcess::execute(QStringLiteral("update-desktop-database"),
                                    {home.filePath(QStringLiteral("data/applications"))}),
                  0);
        env = displayHomeEnvironment(home.path());
        ASSERT_TRUE(writeScanSettings(home.path(),
                                      "<key>groupToShowWhenWindowOpens</key><integer>8</integer>"));
    }

    void TearDown() override
    {
        if (kelp.state() != QProcess::NotRunning) {
            QProcess quit;
            quit.setProcessEnvironment(env);
            quit.start(QStringLiteral(KELP_BINARY), {QStringLiteral("--quit")});
            quit.waitForFinished(20000);
            if (!kelp.waitForFinished(5000)) kelp.kill();
        }
        if (source.state() != QProcess::NotRunning) {
            source.kill();
            source.waitForFinished(3000);
        }
    }

    QString entry(const QString &name) const
    {
        return home.filePath(QStringLiteral("data/applications/") + name +
                             QStringLiteral(".desktop"));
    }
    QString favouritesFile() const
    {
        return home.filePath(QStringLiteral("data/Kelp/UserApplications.plist"));
    }
    bool writeFavourites(const QList<QStringList> &bunches)
    {
        QByteArray xml = "<?xml version=\"1.0\"?><plist version=\"1.0\"><array>";
        for (const QStringList &bunch : bunches) {
            xml += "<array>";
            for (const QString &name : bunch)
                xml += "<string>" + entry(name).toUtf8() + "</string>";
            xml += "</array>";
        }
        return writeFile(favouritesFile(), xml + "</array></plist>");
    }
    // The favourites file as names: "alpha beta | gamma".
    QString favourites() const
    {
        QFile f(favouritesFile());
        if (!f.open(QIODevice::ReadOnly)) return {};
        const QString xml = QString::fromUtf8(f.readAll());
        QStringList bunches;
        static const QRegularExpression bunchRe(QStringLiteral("<array>(.*?)</array>"),
                                                QRegularExpression::DotMatchesEverythingOption);
        static const QRegularExpression nameRe(QStringLiteral("([a-z]+)\\.desktop</string>"));
        // The outer array's inner arrays, each listing its entries' names.
        const QString inner = xml.mid(xml.indexOf(QLatin1String("<array>")) + 7);
        for (auto b = bunchRe.globalMatch(inner); b.hasNext();) {
            QStringList names;
            for (auto n = nameRe.globalMatch(b.next().captured(1)); n.hasNext();)
                names.append(n.next().captured(1));
            bunches.append(names.join(QLatin1Char(' ')));
        }
        return bunches.join(QStringLiteral(" | "));
    }

    QString x(const QString &tool, const QStringList &args) { return runTool(env, tool, args); }
    QString xdotool(const QStringList &args) { return x(QStringLiteral("xdotool"), args); }

    QRect panel()
    {
        const WindowGeometry g =
            windowGeometry(env, {QStringLiteral("-name"), QStringLiteral("Kelp Main")});
        return g.mapped ? g.rect : QRect();
    }

    void startKelp()
    {
        kelp.setProcessEnvironment(env);
        kelp.setProcessChannelMode(QProcess::ForwardedChannels);
        kelp.start(QStringLiteral(KELP_BINARY), {});
        ASSERT_TRUE(kelp.waitForStarted());
        ASSERT_TRUE(waitUntil([this] { return !panel().isEmpty(); }, 15000))
            << "the panel never showed";
    }

    // Where the favourites of the given bunch sizes lie on the screen, laid out as the panel lays
    // them out; waits until the panel has the size that layout gives it.
    bool layFavourites(std::vector<std::uint64_t> sizes)
    {
        layout = IconGridLayout();
        layout.setShape(GridShape::bunches(std::move(sizes)));
        layout.setGroup(8);
        layout.setMaxViewSize(
            QSizeF(panel::maxIconViewSize(QRect(QPoint(0, 0), kScreen), TQWindow::kMargins)));
        layout.calcRowColCount();
        const QSize view = layout.viewSize().toSize();
        const QMargins m = TQWindow::kMargins;
        const QSize expected(std::max(TQWindow::kMinimumWidth, view.width() + m.left() + m.right()),
                             view.height() + m.top() + m.bottom());
        QRect r;
        const bool settled = waitUntil(
            [&] {
                r = panel();
                return r.size() == expected;
            },
            10000);
        viewOrigin =
            r.topLeft() +
            QPoint(m.left() + std::max(0, (r.width() - m.left() - m.right() - view.width()) / 2),
                   m.top());
        if (!settled)
            ADD_FAILURE() << "panel " << r.width() << "x" << r.height() << ", expected "
                          << expected.width() << "x" << expected.height();
        return settled;
    }
    QPoint onScreen(QPointF viewPoint) const { return viewOrigin + viewPoint.toPoint(); }
    QPoint cell(std::uint32_t bunch, std::uint32_t index) const
    {
        return onScreen(layout.rectOfCoords(layout.coordsOfEntry(bunch, index)).center());
    }
    QPoint gap(std::size_t g) const { return onScreen(layout.bunchSpacingRects().at(g).center()); }

    void pointerTo(QPoint p)
    {
        xdotool({QStringLiteral("mousemove"), QString::number(p.x()), QString::number(p.y())});
    }
    // Presses at from and moves a little, so that a drag begins there.
    void pressAndStart(QPoint from)
    {
        pointerTo(from);
        QTest::qWait(150);
        xdotool({QStringLiteral("mousedown"), QStringLiteral("1")});
        QTest::qWait(150);
        pointerTo(from + QPoint(8, 8));
        QTest::qWait(400); // the source takes a moment to begin the drag
    }
    // Moves in steps from where the pointer is to `to`, and releases there.
    void moveAndRelease(QPoint from, QPoint to)
    {
        const int steps = 12;
        for (int i = 1; i <= steps; ++i) {
            pointerTo(from + (to - from) * i / steps);
            QTest::qWait(60);
        }
        // A drop target answers the last position before it takes the drop.
        pointerTo(to + QPoint(1, 0));
        QTest::qWait(150);
        pointerTo(to);
        QTest::qWait(300);
        xdotool({QStringLiteral("mouseup"), QStringLiteral("1")});
    }
    // Presses at from, moves in steps to to, releases: a drag as a hand makes it.
    void dragWithPointer(QPoint from, QPoint to)
    {
        pressAndStart(from);
        moveAndRelease(from + QPoint(8, 8), to);
    }
    // Shows the panel from a second kelp, as a hot key or a hot spot would during a drag.
    void showPanel()
    {
        QProcess show;
        show.setProcessEnvironment(env);
        show.start(QStringLiteral(KELP_BINARY), {QStringLiteral("--show")});
        show.waitForFinished(20000);
    }

    // Starts the drag source with the files at the screen's top-left corner.
    bool startSource(const QStringList &files)
    {
        source.setProcessEnvironment(env);
        source.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        source.start(QStringLiteral(KELP_DRAG_SOURCE),
                     QStringList{QStringLiteral("20"), QStringLiteral("20")} + files);
        return source.waitForStarted() &&
               waitUntil([this] { return source.canReadLine(); }, 15000) &&
               source.readLine().trimmed() == "ready" &&
               waitUntil(
                   [this] {
                       return x(QStringLiteral("xwininfo"),
                                {QStringLiteral("-name"), QStringLiteral("Kelp Drag Source")})
                           .contains(QLatin1String("IsViewable"));
                   },
                   10000);
    }
    QString sourceOutcome()
    {
        if (!source.waitForFinished(10000)) return QStringLiteral("(still dragging)");
        return QString::fromUtf8(source.readAllStandardOutput()).trimmed();
    }
    QPoint sourcePoint() const { return {80, 80}; }

    QTemporaryDir home;
    QProcessEnvironment env;
    QProcess kelp;
    QProcess source;
    IconGridLayout layout;
    QPoint viewOrigin;
};

} // namespace

TEST_F(Drag, FavouritesMoveIntoAnotherBunchAndIntoAGap)
{
    ASSERT_TRUE(writeFavourites({{"alpha", "beta"}, {"gamma"}, {"catcher"}}));
    startKelp();
    ASSERT_TRUE(layFavourites({2, 1, 1}));

    // Alpha onto gamma's cell: it takes gamma's place at the top of the second bunch.
    dragWithPointer(cell(0, 0), cell(1, 0));
    EXPECT_TRUE(waitUntil([this] { return favourites() == "beta | alpha gamma | catcher"; }))
        << favourites().toStdString();

    // Gamma into the gap between the first and the second bunch: a bunch of its own there.
    ASSERT_TRUE(layFavourites({1, 2, 1}));
    dragWithPointer(cell(1, 1), gap(1));
    EXPECT_TRUE(waitUntil([this] { return favourites() == "beta | gamma | alpha | catcher"; }))
        << favourites().toStdString();
    EXPECT_EQ(kelp.state(), QProcess::Running);
}

TEST_F(Drag, AFileFromAnotherProgramOpensInTheApplicationThatTakesIt)
{
    const QString notes = home.filePath(QStringLiteral("notes.txt"));
    ASSERT_TRUE(writeFile(notes, "Kelp\n"));
    ASSERT_TRUE(writeFavourites({{"alpha", "beta"}, {"gamma"}, {"catcher"}}));
    startKelp();
    ASSERT_TRUE(layFavourites({2, 1, 1}));
    const QString caught = home.filePath(QStringLiteral("catcher.sh.caught"));

    // The drag begins in the other program (which takes the keyboard, so the panel hides), and
    // the panel is called while the file is held, as a hot key or hot spot would call it.
    auto dragOnto = [&](std::uint32_t bunch) {
        if (!startSource({notes})) return false;
        pressAndStart(sourcePoint());
        showPanel();
        if (!layFavourites({2, 1, 1})) return false;
        moveAndRelease(sourcePoint() + QPoint(8, 8), cell(bunch, 0));
        return true;
    };

    // Alpha opens no text: the drop is refused and nothing starts.
    ASSERT_TRUE(dragOnto(0));
    EXPECT_EQ(sourceOutcome(), QStringLiteral("none"));
    QTest::qWait(500);
    EXPECT_FALSE(QFile::exists(caught));

    // The catcher does: it receives the path, the source was asked for a copy, the file stays.
    ASSERT_TRUE(dragOnto(2));
    EXPECT_EQ(sourceOutcome(), QStringLiteral("copy"));
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(caught); }, 15000)) << "the catcher ran";
    QFile f(caught);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll().trimmed(), notes.toUtf8());
    EXPECT_TRUE(QFile::exists(notes)) << "a drop never moves the file";
}
