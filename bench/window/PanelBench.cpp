// The panel's own work on the GUI thread: fitting the selector bar's labels, painting the bar and
// the overlay, and fitting the panel to a new icon view size.
#include "catalogue/TQAppManager.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"
#include "window/TQIconOverlayView.h"
#include "window/TQIconView.h"
#include "window/TQStatsControl.h"
#include "window/TQWindow.h"

#include <QDir>
#include <QPainter>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace kelp;

namespace {

struct World
{
    QTemporaryDir home;
    std::unique_ptr<Defaults> defaults;
    std::unique_ptr<TQAppManager> catalogue;

    World()
    {
        qputenv("XDG_DATA_HOME", home.filePath("data").toUtf8());
        qputenv("XDG_CACHE_HOME", home.filePath("cache").toUtf8());
        defaults = std::make_unique<Defaults>(home.filePath("Kelp.plist"));
        registerAllDefaults(*defaults);
        catalogue = std::make_unique<TQAppManager>(*defaults, nullptr);
        catalogue->setWalksInBackground(false);
        catalogue->files().setUsesApplicationSupportFolder(false);
    }
    static World &instance()
    {
        static World world;
        return world;
    }
};

void BM_BarLabelFitting(benchmark::State &state)
{
    World &w = World::instance();
    QWidget parent;
    auto *bar = new TQStatsControl(*w.catalogue, *w.defaults, &parent);
    bar->setGeometry(38, 10, 100, 20);
    parent.resize(1000, 40);
    parent.show();
    int width = 0;
    for (auto _ : state) {
        // Alternate between room for the long labels and room only for the tiny ones.
        parent.resize((++width % 2) ? 1000 : 150, 40);
        benchmark::DoNotOptimize(bar->usedFrame());
    }
}
BENCHMARK(BM_BarLabelFitting);

void BM_BarPaint(benchmark::State &state)
{
    World &w = World::instance();
    QWidget parent;
    auto *bar = new TQStatsControl(*w.catalogue, *w.defaults, &parent);
    bar->setGeometry(38, 10, 100, 20);
    parent.resize(1000, 40);
    bar->selectButtonForGroup(Group::Included);
    QImage image(bar->size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        image.fill(Qt::transparent);
        bar->render(&image);
        benchmark::DoNotOptimize(image.bits());
    }
}
BENCHMARK(BM_BarPaint);

void BM_OverlayPaintFilterAndLabel(benchmark::State &state)
{
    World &w = World::instance();
    TQIconOverlayView overlay(*w.defaults);
    overlay.resize(800, 500);
    overlay.filterStringDidChange(QStringLiteral("saf"), 60.0);
    overlay.selectedAppDidChange(w.catalogue->appForPath("/apps/Safari.app"),
                                 QRectF(300, 200, 68, 68));
    QImage image(overlay.size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        image.fill(Qt::transparent);
        overlay.render(&image);
        benchmark::DoNotOptimize(image.bits());
    }
}
BENCHMARK(BM_OverlayPaintFilterAndLabel);

void BM_PanelFitsNewViewSize(benchmark::State &state)
{
    World &w = World::instance();
    QStringList small, large;
    for (int i = 0; i < 300; ++i)
        (i < 20 ? small : large) << QStringLiteral("/apps/App%1.app").arg(i);
    TQWindow panel(*w.catalogue, *w.defaults);
    panel.show();
    bool toggle = false;
    for (auto _ : state) {
        // Both shapes are laid out by the icon view; what is timed is mostly the panel's refit.
        state.PauseTiming();
        w.catalogue->files().setUsesApplicationSupportFolder(false);
        QVariantList folders{QVariant((toggle = !toggle) ? small : large)};
        w.defaults->setValue("AllApplications", folders);
        w.catalogue->readAllAppsFromDisk();
        w.catalogue->rebuildDependentApps();
        state.ResumeTiming();
        panel.iconView()->resizeViewForced(true);
        benchmark::DoNotOptimize(panel.geometry());
    }
}
BENCHMARK(BM_PanelFitsNewViewSize);

} // namespace
