// The welcome tour's cost on the GUI thread: a step shown (the page rendered at the window's size
// and painted), and the window opened on its first page.
#include "control/TQWelcomeAssistant.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

#include <QApplication>
#include <QPushButton>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace kelp;

namespace {

const QString kWelcomePdf = QStringLiteral(KELP_WELCOME_PDF);

struct World
{
    QTemporaryDir home;
    std::unique_ptr<Defaults> defaults;
    World()
    {
        defaults = std::make_unique<Defaults>(home.filePath(QStringLiteral("Kelp.plist")));
        registerAllDefaults(*defaults);
    }
    static World &instance()
    {
        static World world;
        return world;
    }
};

// A page is shown once the view has painted it: grab() paints the window now.
void BM_WelcomeStepShown(benchmark::State &state)
{
    World &w = World::instance();
    TQWelcomeAssistant *assistant =
        TQWelcomeAssistant::sharedAssistantWithPDFPath(kWelcomePdf, *w.defaults);
    if (!assistant) {
        state.SkipWithError("the welcome document is missing");
        return;
    }
    const int steps = assistant->steps().lastStep();
    int step = 0;
    for (auto _ : state) {
        assistant->showStep(step % steps + 1);
        ++step;
        QApplication::processEvents();
        benchmark::DoNotOptimize(assistant->grab());
    }
    delete assistant;
}
BENCHMARK(BM_WelcomeStepShown)->Unit(benchmark::kMillisecond);

void BM_WelcomeWindowOpened(benchmark::State &state)
{
    World &w = World::instance();
    for (auto _ : state) {
        w.defaults->setValue(Key::LastShownWelcomeStep, qint64(1));
        TQWelcomeAssistant *assistant =
            TQWelcomeAssistant::sharedAssistantWithPDFPath(kWelcomePdf, *w.defaults);
        if (!assistant) {
            state.SkipWithError("the welcome document is missing");
            return;
        }
        QApplication::processEvents();
        benchmark::DoNotOptimize(assistant->grab());
        delete assistant;
    }
}
BENCHMARK(BM_WelcomeWindowOpened)->Unit(benchmark::kMillisecond);

} // namespace
