// Icon grid figures for 1,000 entries (10 scan folders of 100): laying out the grid and painting
// all of it, and a typed filter key up to the repainted grid. Painting goes into an image of the
// view's size, which is the work the window system asks of the view; runs on the offscreen
// platform unless QT_QPA_PLATFORM says otherwise.
//
//   build/bench/window/window_bench [--benchmark_filter=...]
#include "catalogue/TQAppManager.h"
#include "extras/Plist.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"
#include "window/TQIconView.h"

#include <QDir>
#include <QKeyEvent>
#include <QPainter>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

using namespace kelp;

namespace {

struct Panel
{
    QTemporaryDir home;
    std::unique_ptr<Defaults> defaults;
    std::unique_ptr<TQAppManager> catalogue;
    std::unique_ptr<TQIconView> view;

    explicit Panel(Group group)
    {
        qputenv("HOME", home.path().toUtf8());
        qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
        qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
        qputenv("XDG_DATA_DIRS", home.filePath(QStringLiteral("machine")).toUtf8());
        defaults = std::make_unique<Defaults>(home.filePath(QStringLiteral("config/Kelp.plist")));
        registerAllDefaults(*defaults);
        catalogue = std::make_unique<TQAppManager>(*defaults, nullptr);
        catalogue->setWalksInBackground(false);

        static const char *const words[] = {"Text", "Mail", "Photo", "Sound", "Video",
                                            "Web",  "Code", "Game",  "Chart", "Note"};
        QVariantList folders;
        for (int f = 0; f < 10; ++f) {
            QStringList paths;
            for (int i = 0; i < 100; ++i)
                paths << QStringLiteral("/opt/apps%1/%2 %3 %4.app")
                             .arg(f)
                             .arg(QLatin1String(words[i % 10]), QLatin1String(words[(i / 10) % 10]))
                             .arg(f * 100 + i);
            folders.append(QVariant(paths));
        }
        QDir().mkpath(CatalogueFiles::catalogueFolder());
        plist::writeXmlFile(CatalogueFiles::catalogueFolder() + QStringLiteral("/") +
                                CatalogueFiles::kAllApplicationsFile,
                            folders);
        catalogue->readAllAppsFromDisk();

        // Every entry gets a 64-point icon, drawn at twice the pixels as on a HiDPI screen.
        QImage icon(128, 128, QImage::Format_ARGB32_Premultiplied);
        icon.fill(Qt::transparent);
        {
            QPainter p(&icon);
            p.setRenderHint(QPainter::Antialiasing);
            p.setBrush(QColor(40, 120, 200));
            p.drawRoundedRect(QRectF(8, 8, 112, 112), 24, 24);
        }
        icon.setDevicePixelRatio(2.0);
        for (const TQAppPtr &app : catalogue->allApps1D())
            app->setDisplayIcon(icon);

        view = std::make_unique<TQIconView>(*catalogue, *defaults);
        view->setMaxIconViewSize(QSize(1800, 1000));
        view->setGroupToShow(group);
    }

    void paint(QImage &image) { view->render(&image, QPoint(), QRegion(), QWidget::DrawChildren); }
};

void layoutAndPaint(benchmark::State &state, Group group)
{
    Panel panel(group);
    QImage image(panel.view->viewSize(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        panel.view->resizeViewForced(true);
        panel.paint(image);
        benchmark::DoNotOptimize(image.constBits());
    }
    state.counters["rows"] = static_cast<double>(panel.view->layout().rowCount());
    state.counters["cols"] = static_cast<double>(panel.view->layout().colCount());
    state.counters["icon"] = panel.view->layout().iconWidth();
}

void BM_LayoutAndPaintFlat(benchmark::State &state)
{
    layoutAndPaint(state, Group::All1D);
}
BENCHMARK(BM_LayoutAndPaintFlat)->Unit(benchmark::kMillisecond);

void BM_LayoutAndPaintBunches(benchmark::State &state)
{
    layoutAndPaint(state, Group::All);
}
BENCHMARK(BM_LayoutAndPaintBunches)->Unit(benchmark::kMillisecond);

void BM_LayoutOnly(benchmark::State &state)
{
    Panel panel(Group::All);
    for (auto _ : state)
        panel.view->resizeViewForced(true);
}
BENCHMARK(BM_LayoutOnly)->Unit(benchmark::kMicrosecond);

// A typed letter dims the entries that do not match; the grid is painted again.
void BM_KeyToRepaintedGrid(benchmark::State &state)
{
    Panel panel(Group::All1D);
    QImage image(panel.view->viewSize(), QImage::Format_ARGB32_Premultiplied);
    QKeyEvent letter(QEvent::KeyPress, Qt::Key_M, Qt::NoModifier, QStringLiteral("m"));
    QKeyEvent back(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier, QString());
    bool typed = false;
    for (auto _ : state) {
        panel.view->handleKeyDown(typed ? &back : &letter);
        typed = !typed;
        panel.paint(image);
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(BM_KeyToRepaintedGrid)->Unit(benchmark::kMillisecond);

// A hit test as the pointer moves.
void BM_PointerHitTest(benchmark::State &state)
{
    Panel panel(Group::All);
    const QSize size = panel.view->viewSize();
    int i = 0;
    for (auto _ : state) {
        const QPointF p((i * 37) % size.width(), (i * 53) % size.height());
        ++i;
        benchmark::DoNotOptimize(panel.view->coordsOfPoint(p));
        benchmark::DoNotOptimize(panel.view->coordsOfPoint2(p));
    }
}
BENCHMARK(BM_PointerHitTest)->Unit(benchmark::kNanosecond);

} // namespace
