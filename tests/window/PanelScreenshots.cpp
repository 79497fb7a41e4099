// panel_screenshots: draws Kelp's panel in a few typical states into PNG files, for the docs.
// Run it on a real display (Xvfb will do):  panel_screenshots OUTPUT_FOLDER
// Applications come from desktop entries written into a private temporary home; icons from the
// installed icon themes (Papirus when present).
#include "catalogue/IconLoader.h"
#include "catalogue/TQAppManager.h"
#include "desktop/Desktop.h"
#include "platform/DesktopFactory.h"
#include "platform/gio/GioAppsOnDisk.h"
#include "platform/icons/FreedesktopIconSource.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"
#include "window/TQIconOverlayView.h"
#include "window/TQIconView.h"
#include "window/TQWindow.h"

#include "support/TestSupport.h"

#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

using namespace kelp;

namespace {

const char *const kApps[][2] = {
    {"Firefox", "firefox"},
    {"Thunderbird", "thunderbird"},
    {"GIMP", "gimp"},
    {"Inkscape", "inkscape"},
    {"Blender", "blender"},
    {"VLC", "vlc"},
    {"Writer", "libreoffice-writer"},
    {"Calc", "libreoffice-calc"},
    {"Krita", "krita"},
    {"Terminal", "utilities-terminal"},
    {"Text Editor", "accessories-text-editor"},
    {"Calculator", "accessories-calculator"},
    {"Files", "system-file-manager"},
    {"Settings", "preferences-system"},
    {"Audacity", "audacity"},
    {"Steam", "steam"},
};

// The panel (its overlay included) over a backdrop, as the user sees it.
QImage composite(TQWindow &panel)
{
    const QSize size = panel.size() + QSize(80, 80);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&image);
    QLinearGradient backdrop(0, 0, size.width(), size.height());
    backdrop.setColorAt(0, QColor(70, 130, 180));
    backdrop.setColorAt(1, QColor(230, 190, 120));
    p.fillRect(image.rect(), backdrop);
    p.drawPixmap(40, 40, panel.grab());
    return image;
}

bool save(TQWindow &panel, const QString &folder, const QString &name)
{
    QCoreApplication::processEvents();
    const QString path = QDir(folder).filePath(name);
    const bool ok = composite(panel).save(path);
    std::printf("%s %s\n", ok ? "wrote" : "could not write", qPrintable(path));
    return ok;
}

void key(TQWindow &panel, int k, const QString &text)
{
    QKeyEvent press(QEvent::KeyPress, k, Qt::NoModifier, text);
    QCoreApplication::sendEvent(&panel, &press);
    QKeyEvent release(QEvent::KeyRelease, k, Qt::NoModifier, text);
    QCoreApplication::sendEvent(&panel, &release);
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath("data").toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath("config").toUtf8());
    qputenv("XDG_CACHE_HOME", home.filePath("cache").toUtf8());
    qputenv("XDG_DATA_DIRS", "/usr/share");
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: panel_screenshots OUTPUT_FOLDER\n");
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(out);

    const QString apps = home.filePath("apps");
    for (const auto &[name, icon] : kApps)
        test::writeFile(apps + "/" + QString::fromLatin1(name).toLower().remove(u' ') + ".desktop",
                        QByteArray("[Desktop Entry]\nType=Application\nName=") + name +
                            "\nExec=true\nIcon=" + icon + "\n");

    Defaults defaults(home.filePath("config/Kelp/Kelp.plist"));
    registerAllDefaults(defaults);
    defaults.setValue(Key::SearchDirectories, QVariantList{QVariantMap{{"path", apps}}});
    defaults.setValue(Key::GroupToShowWhenWindowOpens, storedGroup(Group::All));
    setDesktop(makeDesktop(QGuiApplication::platformName()));
    IconLoader::shared().setIconSource(std::make_shared<FreedesktopIconSource>("Papirus"));

    TQAppManager catalogue(defaults, std::make_shared<GioAppsOnDisk>());
    bool scanned = false;
    QObject::connect(&catalogue, &TQAppManager::rescanFinished, [&] { scanned = true; });
    catalogue.rescanAllAppsPrioritizingGroup(Group::All, true);
    test::waitUntil([&] { return scanned; });
    catalogue.excludeApp(catalogue.allApps1D().value(2));
    catalogue.moveApp(catalogue.allApps1D().value(0), Group::User, TQAppManager::kAtEnd,
                      TQAppManager::kAtEnd);
    catalogue.loadAllIconsPrioritizingGroup(Group::All);
    QTest::qWait(1500);

    TQWindow panel(catalogue, defaults);
    panel.show();
    QTest::qWait(600);
    bool ok = save(panel, out, "panel.png");

    // The pointer resting on an icon, and a filter being typed.
    TQIconView *view = panel.iconView();
    const QRectF cell = view->rectOfApp(catalogue.allApps1D().value(5));
    view->myMouseMoved(cell.center());
    QTest::qWait(2300);
    ok = save(panel, out, "panel-long-label.png") && ok;
    key(panel, Qt::Key_T, "t");
    key(panel, Qt::Key_E, "e");
    ok = save(panel, out, "panel-filter.png") && ok;
    QTest::qWait(1800);

    // A light panel with a border, on the favourites (a small panel: short labels).
    defaults.setValue(Key::WindowColour, QColor(245, 245, 240));
    defaults.setValue(Key::DrawWindowBorder, true);
    defaults.setValue(Key::WindowBorderColour, QColor(120, 120, 120));
    view->setGroupToShow(Group::User);
    QTest::qWait(300);
    ok = save(panel, out, "panel-light-favourites.png") && ok;
    return ok ? 0 : 1;
}
