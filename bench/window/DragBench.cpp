// Drag figures: a frame while a favourite is dragged over 1,000 favourites (10 bunches of 100),
// and the applications lit for a dragged file's type among 1,000 desktop entries.
//
// A frame is what one pointer move costs the GUI thread: the selection follows the pointer (cells,
// bunch ends and gaps in turn), the drag marks change, and the view repaints what changed into its
// backing store on the offscreen platform, as a window does. The whole view painted with the drag
// marks is the worst case. The lit applications are found by GIO for a content type (the first
// lookup of a drag) and mapped to the catalogue's entries; with Ctrl only the mapping runs again.
//
//   build-bench/bench/window/drag_bench [--benchmark_filter=...]
#include "catalogue/TQAppManager.h"
#include "desktop/Desktop.h"
#include "extras/Plist.h"
#include "platform/gio/GioFileTypeApps.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"
#include "window/FileDrop.h"
#include "window/TQIconView.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPainter>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

using namespace kelp;

namespace {

struct Favourites
{
    QTemporaryDir home;
    std::unique_ptr<Defaults> defaults;
    std::unique_ptr<TQAppManager> catalogue;
    std::unique_ptr<TQIconView> view;

    Favourites()
    {
        qputenv("HOME", home.path().toUtf8());
        qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
        qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
        defaults = std::make_unique<Defaults>(home.filePath(QStringLiteral("config/Kelp.plist")));
        registerAllDefaults(*defaults);
        catalogue = std::make_unique<TQAppManager>(*defaults, nullptr);
        catalogue->setWalksInBackground(false);

        QVariantList bunches;
        for (int b = 0; b < 10; ++b) {
            QStringList paths;
            for (int i = 0; i < 100; ++i)
                paths << QStringLiteral("/opt/apps%1/App %2.app").arg(b).arg(b * 100 + i);
            bunches.append(QVariant(paths));
        }
        const QString folder = CatalogueFiles::catalogueFolder() + QStringLiteral("/");
        QDir().mkpath(folder);
        plist::writeXmlFile(folder + CatalogueFiles::kAllApplicationsFile, bunches);
        plist::writeXmlFile(folder + CatalogueFiles::kUserApplicationsFile, bunches);
        catalogue->readAllAppsFromDisk();
        catalogue->readUserAppsFromDisk();

        QImage icon(128, 128, QImage::Format_ARGB32_Premultiplied);
        icon.fill(Qt::transparent);
        {
            QPainter p(&icon);
            p.setRenderHint(QPainter::Antialiasing);
            p.setBrush(QColor(200, 120, 40));
            p.drawRoundedRect(QRectF(8, 8, 112, 112), 24, 24);
        }
        icon.setDevicePixelRatio(2.0);
        for (const TQAppPtr &app : catalogue->userApps1D())
            app->setDisplayIcon(icon);

        view = std::make_unique<TQIconView>(*catalogue, *defaults);
        view->setMaxIconViewSize(QSize(1800, 1000));
        view->setGroupToShow(Group::User);
        IconDragState drag;
        drag.moveInProgress = true;
        drag.payloadApp = catalogue->userApps1D().first();
        view->setDragState(drag);
    }

    // Points the pointer passes over: every cell's centre, each bunch's ends, each gap.
    std::vector<QPointF> path() const
    {
        const IconGridLayout &l = view->layout();
        std::vector<QPointF> points;
        for (std::uint64_t r = 0; r < l.rowCount(); r += 3)
            for (std::uint64_t c = 0; c < l.colCount(); c += 2)
                points.push_back(l.rectOfCoords(Coords::cell(r, c)).center());
        for (const QRectF &gap : l.bunchSpacingRects())
            points.push_back(gap.center());
        for (const QRectF &bunch : l.bunchRects()) {
            points.push_back(bunch.intersected(l.marginRects()[0]).center());
            points.push_back(bunch.intersected(l.marginRects()[2]).center());
        }
        return points;
    }
};

// One pointer move during a move: the selection, then the repaint of what it marked dirty.
void BM_DragFrameOverFavourites(benchmark::State &state)
{
    Favourites f;
    f.view->resize(f.view->viewSize());
    f.view->show();
    QCoreApplication::processEvents();
    const std::vector<QPointF> points = f.path();
    std::size_t i = 0;
    QElapsedTimer frame;
    qint64 worstNs = 0;
    for (auto _ : state) {
        frame.start();
        f.view->myMouseMoved(points[i++ % points.size()]);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateRequest);
        QCoreApplication::processEvents();
        worstNs = std::max(worstNs, frame.nsecsElapsed());
    }
    state.counters["worst_ms"] = static_cast<double>(worstNs) / 1e6;
    state.counters["points"] = static_cast<double>(points.size());
}
BENCHMARK(BM_DragFrameOverFavourites)->Unit(benchmark::kMillisecond);

// The whole view painted with the drag marks (the insertion marker, the separators).
void BM_DragFullRepaint(benchmark::State &state)
{
    Favourites f;
    QImage image(f.view->viewSize(), QImage::Format_ARGB32_Premultiplied);
    const std::vector<QPointF> points = f.path();
    std::size_t i = 0;
    for (auto _ : state) {
        f.view->myMouseMoved(points[i++ % points.size()]);
        f.view->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
        benchmark::DoNotOptimize(image.constBits());
    }
    state.counters["rows"] = static_cast<double>(f.view->layout().rowCount());
    state.counters["cols"] = static_cast<double>(f.view->layout().colCount());
}
BENCHMARK(BM_DragFullRepaint)->Unit(benchmark::kMillisecond);

// 1,000 desktop entries, every fourth opening text files, indexed as installers index them.
struct Entries
{
    QTemporaryDir home;
    std::unique_ptr<Defaults> defaults;
    std::unique_ptr<TQAppManager> catalogue;
    AppList entries;
    GioFileTypeApps types;
    QUrl text;

    Entries()
    {
        const QString apps = home.filePath(QStringLiteral("data/applications"));
        QDir().mkpath(apps);
        qputenv("HOME", home.path().toUtf8());
        qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
        qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
        qputenv("XDG_DATA_DIRS", home.filePath(QStringLiteral("machine")).toUtf8());
        defaults = std::make_unique<Defaults>(home.filePath(QStringLiteral("config/Kelp.plist")));
        registerAllDefaults(*defaults);
        catalogue = std::make_unique<TQAppManager>(*defaults, nullptr);
        for (int i = 0; i < 1000; ++i) {
            const QString path = apps + QStringLiteral("/app%1.desktop").arg(i);
            QFile f(path);
            if (!f.open(QIODevice::WriteOnly)) std::abort();
            f.write("[Desktop Entry]\nType=Application\nName=App " + QByteArray::number(i) +
                    "\nExec=true %F\nMimeType=" +
                    (i % 4 == 0 ? QByteArray("text/plain;") : QByteArray("image/png;")) + "\n");
            entries.append(catalogue->appForPath(path));
        }
        if (QProcess::execute(QStringLiteral("update-desktop-database"), {apps}) != 0)
            std::fprintf(stderr, "update-desktop-database failed: no MIME index\n");
        const QString file = home.filePath(QStringLiteral("notes.txt"));
        QFile f(file);
        if (f.open(QIODevice::WriteOnly)) f.write("notes\n");
        text = QUrl::fromLocalFile(file);
        QElapsedTimer cold;
        cold.start();
        DroppableApps::lookUpNow(types, text); // GIO reads the entries once per process
        firstMs = static_cast<double>(cold.nsecsElapsed()) / 1e6;
    }
    // GLib reads the XDG folders once per process: one set of entries for every run.
    static Entries &instance()
    {
        static Entries entries;
        return entries;
    }
    double firstMs = 0;
};

// The first lookup of a drag: the file's type, the applications GIO lists for it, the entries.
void BM_LitAppsLookUpAndMap(benchmark::State &state)
{
    Entries &e = Entries::instance();

    std::size_t lit = 0;
    for (auto _ : state) {
        const auto [type, apps] = DroppableApps::lookUpNow(e.types, e.text);
        lit = entriesAtPaths(e.entries, apps.preferred).size();
        benchmark::DoNotOptimize(lit);
    }
    state.counters["lit"] = static_cast<double>(lit);
    state.counters["first_ms"] = e.firstMs;
}
BENCHMARK(BM_LitAppsLookUpAndMap)->Unit(benchmark::kMillisecond);

// The entries for the type's applications, worked out afresh (the first time in a drag).
void BM_LitAppsMapping(benchmark::State &state)
{
    Entries &e = Entries::instance();
    const auto [type, apps] = DroppableApps::lookUpNow(e.types, e.text);
    std::size_t lit = 0;
    for (auto _ : state) {
        lit = entriesAtPaths(e.entries, apps.preferred).size();
        benchmark::DoNotOptimize(lit);
    }
    state.counters["lit"] = static_cast<double>(lit);
}
BENCHMARK(BM_LitAppsMapping)->Unit(benchmark::kMicrosecond);

// Ctrl pressed or released during the drag: everything is known, the view asks the drag's cache.
void BM_LitAppsCtrlToggle(benchmark::State &state)
{
    Entries &e = Entries::instance();
    Desktop services = desktop();
    services.fileTypes = std::make_shared<GioFileTypeApps>();
    setDesktop(services);
    DroppableApps droppable;
    droppable.lookUp(e.text);
    while (!droppable.isKnown())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    bool widen = false;
    std::size_t lit = 0;
    for (auto _ : state) {
        lit = droppable.appsFor(e.entries, widen).size();
        widen = !widen;
        benchmark::DoNotOptimize(lit);
    }
    state.counters["lit"] = static_cast<double>(lit);
}
BENCHMARK(BM_LitAppsCtrlToggle)->Unit(benchmark::kMicrosecond);

} // namespace
