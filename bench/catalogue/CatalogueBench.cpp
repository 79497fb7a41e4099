// Catalogue figures for 5,000 desktop entries in nested folders: the full walk, a start from the
// cached "all" file, and writing and reading each catalogue file.
//
//   build/bench/catalogue/catalogue_bench [--benchmark_filter=...]
#include "catalogue/TQAppManager.h"
#include "platform/gio/GioAppsOnDisk.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

using namespace kelp;

namespace {

constexpr int kEntries = 5000;

struct Tree
{
    QTemporaryDir home;
    std::unique_ptr<Defaults> defaults;

    Tree()
    {
        qputenv("HOME", home.path().toUtf8());
        qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
        qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
        qputenv("XDG_DATA_DIRS", home.filePath(QStringLiteral("machine")).toUtf8());
        // 5 scan folders, each with 10 subfolders of 10 subfolders holding 10 entries.
        QVariantList folders;
        int n = 0;
        for (int s = 0; s < 5; ++s) {
            const QString scan = home.filePath(QStringLiteral("apps%1/applications").arg(s));
            folders.append(QVariantMap{{QStringLiteral("path"), scan}});
            for (int a = 0; a < 10; ++a)
                for (int b = 0; b < 10; ++b) {
                    const QString dir = scan + QStringLiteral("/group%1/sub%2").arg(a).arg(b);
                    QDir().mkpath(dir);
                    for (int e = 0; e < 10; ++e, ++n) {
                        QFile f(dir + QStringLiteral("/app%1.desktop").arg(n));
                        f.open(QIODevice::WriteOnly);
                        f.write(QStringLiteral(
                                    "[Desktop Entry]\nType=Application\nName=Application %1\n"
                                    "Name[de]=Anwendung %1\nComment=A generated entry\n"
                                    "Exec=true %%U\nIcon=app%1\nCategories=Utility;\n")
                                    .arg(n)
                                    .toUtf8());
                    }
                }
        }
        defaults = std::make_unique<Defaults>(home.filePath(QStringLiteral("config/Kelp.plist")));
        registerAllDefaults(*defaults);
        defaults->setValue(QStringLiteral("searchDirectories"), folders);
    }

    std::unique_ptr<TQAppManager> catalogue()
    {
        auto c = std::make_unique<TQAppManager>(*defaults,
                                                std::make_shared<GioAppsOnDisk>(QStringList{}));
        c->setWalksInBackground(false);
        return c;
    }
};

Tree &tree()
{
    static Tree t;
    return t;
}

void BM_FullWalk(benchmark::State &state)
{
    for (auto _ : state) {
        auto c = tree().catalogue();
        c->scanSearchFoldersForAllApps();
        benchmark::DoNotOptimize(c->allApps1D().size());
        if (c->allApps1D().size() != kEntries) state.SkipWithError("wrong count");
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}
BENCHMARK(BM_FullWalk)->Unit(benchmark::kMillisecond);

void BM_StartFromCachedFile(benchmark::State &state)
{
    tree().catalogue()->rescanAllAppsPrioritizingGroup(Group::All,
                                                       true); // writes the caches
    for (auto _ : state) {
        auto c = tree().catalogue();
        c->rescanAllAppsPrioritizingGroup(Group::All);
        if (c->allApps1D().size() != kEntries) state.SkipWithError("wrong count");
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}
BENCHMARK(BM_StartFromCachedFile)->Unit(benchmark::kMillisecond);

void BM_WriteAndReadFiles(benchmark::State &state)
{
    auto c = tree().catalogue();
    c->rescanAllAppsPrioritizingGroup(Group::All, true);
    const AppList flat = c->allApps1D();
    const QString file = state.range(0) == 0   ? CatalogueFiles::kAllApplicationsFile
                         : state.range(0) == 1 ? CatalogueFiles::kExcludedApplicationsFile
                         : state.range(0) == 2 ? CatalogueFiles::kUserApplicationsFile
                                               : CatalogueFiles::kUserApplications1DFile;
    const bool twoLevel = state.range(0) == 0 || state.range(0) == 2;
    state.SetLabel(file.toStdString());
    for (auto _ : state) {
        if (twoLevel)
            c->files().write(TQAppManager::pathArraysFromAppArrays(c->allApps()), file);
        else
            c->files().write(TQAppManager::pathsFromApps(flat), file);
        const QVariant back = c->files().read(file, CatalogueFiles::UserDomain);
        benchmark::DoNotOptimize(back);
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}
BENCHMARK(BM_WriteAndReadFiles)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

void BM_ReadSettingsFile(benchmark::State &state)
{
    // The tree's settings and, under a key Kelp does not know, 600 paths (kept and written back).
    QVariantList paths;
    for (int i = 0; i < 600; ++i)
        paths.append(QStringLiteral("/usr/share/applications/app%1.desktop").arg(i));
    tree().defaults->setValue(QStringLiteral("somebodyElsesList"), paths);
    tree().defaults->synchronize();
    const QString file = tree().defaults->filePath();
    for (auto _ : state) {
        Defaults read(file);
        if (read.value(Key::SearchDirectories).size() != 5) state.SkipWithError("not read");
    }
}
BENCHMARK(BM_ReadSettingsFile)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    tree(); // generate the entries before anything is timed
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
