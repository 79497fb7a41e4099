// The preferences window from the request to its first painted frame: made, laid out, shown and
// painted the first time (what `kelp --preferences` costs the first time), and shown again once
// made (every later time). Runs on the offscreen platform unless QT_QPA_PLATFORM says otherwise
// (Xvfb: QT_QPA_PLATFORM=xcb DISPLAY=...).
//
//   build-bench/bench/prefs/prefs_bench
#include "prefs/PrefsWindow.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEvent>
#include <QEventLoop>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

using namespace kelp;

namespace {

// Counts the frames the window paints.
class PaintWatch : public QObject
{
public:
    int painted = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint) ++painted;
        return false;
    }
};

struct Store
{
    QTemporaryDir home;
    std::unique_ptr<Defaults> defaults;
    Store()
    {
        qputenv("HOME", home.path().toUtf8());
        defaults = std::make_unique<Defaults>(home.filePath(QStringLiteral("config/Kelp.plist")));
        registerAllDefaults(*defaults);
        // A scan list of the usual length, one of the folders real.
        QVariantList folders;
        for (const QString &f : {QStringLiteral("~/.local/share/applications"),
                                 QStringLiteral("/usr/local/share/applications"),
                                 QStringLiteral("/usr/share/applications"), home.path()})
            folders.append(QVariantMap{{QStringLiteral("path"), f}});
        defaults->setValue(Key::SearchDirectories, folders);
    }
};

void showAndWaitForFrame(PrefsWindow &window, PaintWatch &watch)
{
    watch.painted = 0;
    window.show();
    while (watch.painted == 0)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

void BM_PrefsFirstOpenToFirstFrame(benchmark::State &state)
{
    Store store;
    for (auto _ : state) {
        PaintWatch watch;
        auto window = std::make_unique<PrefsWindow>(*store.defaults, PrefsHooks{});
        window->installEventFilter(&watch);
        showAndWaitForFrame(*window, watch);
        state.PauseTiming();
        window.reset();
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_PrefsFirstOpenToFirstFrame)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PrefsReopenToFirstFrame(benchmark::State &state)
{
    Store store;
    PaintWatch watch;
    PrefsWindow window(*store.defaults, PrefsHooks{});
    window.installEventFilter(&watch);
    showAndWaitForFrame(window, watch);
    for (auto _ : state) {
        state.PauseTiming();
        window.closePrefs();
        QCoreApplication::processEvents();
        state.ResumeTiming();
        showAndWaitForFrame(window, watch);
    }
}
BENCHMARK(BM_PrefsReopenToFirstFrame)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
