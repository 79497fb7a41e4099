// Icon loading figures over a real theme: how long the theme index takes to build, and how 500
// entries get their icons (first load to last icon applied, the longest single delivery on the
// GUI thread, peak memory). Prints a small table; run it on an otherwise idle machine.
//
//   icon_bench [THEME [COUNT]]     (defaults: Papirus 500; needs the theme installed)
#include "catalogue/IconLoader.h"
#include "catalogue/TQAppManager.h"
#include "platform/icons/FreedesktopIconSource.h"
#include "platform/icons/IconTheme.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <cstdio>

using namespace kelp;

namespace {

long peakRssKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

double ms(qint64 ns)
{
    return static_cast<double>(ns) / 1e6;
}

// Icon names the theme draws at 128 px (its application icons), as many as asked for.
QStringList applicationIconNames(const QString &theme, int count)
{
    QStringList names;
    for (const char *folder : {"128x128/apps", "scalable/apps", "48x48/apps", "48x48/legacy"}) {
        const QDir dir(QStringLiteral("/usr/share/icons/") + theme + QLatin1Char('/') +
                       QLatin1String(folder));
        for (const QString &file : dir.entryList({QStringLiteral("*.svg"), QStringLiteral("*.png")},
                                                 QDir::Files, QDir::Name)) {
            const QString name = file.section(QLatin1Char('.'), 0, -2);
            if (!name.endsWith(QLatin1String("-symbolic")) && !names.contains(name))
                names.append(name);
            if (names.size() >= count) return names;
        }
    }
    return names;
}

void loadRound(TQAppManager &catalogue, const AppList &apps, const char *label)
{
    IconLoader::shared().resetStatistics();
    QElapsedTimer timer;
    timer.start();
    catalogue.loadIconsForApps(apps);
    const qint64 queuedNs = timer.nsecsElapsed();
    IconLoader::shared().waitUntilAllDelivered();
    const qint64 totalNs = timer.nsecsElapsed();
    const IconLoader::Statistics s = IconLoader::shared().statistics();
    std::printf("%-34s %5llu icons  %8.1f ms total  %6.2f ms queueing  longest delivery %5.2f ms"
                "  mean delivery %5.3f ms  failed %llu  peak RSS %ld MiB\n",
                label, static_cast<unsigned long long>(s.delivered), ms(totalNs), ms(queuedNs),
                ms(s.longestDeliveryNs),
                s.delivered ? ms(s.totalDeliveryNs) / static_cast<double>(s.delivered) : 0.0,
                static_cast<unsigned long long>(s.failed), peakRssKiB() / 1024);
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    const QString theme = args.size() > 1 ? args.at(1) : QStringLiteral("Papirus");
    const int count = args.size() > 2 ? args.at(2).toInt() : 500;
    if (!QFile::exists(QStringLiteral("/usr/share/icons/") + theme + "/index.theme")) {
        std::fprintf(stderr, "The icon theme %s is not installed.\n", qPrintable(theme));
        return 1;
    }

    // The index alone, for the theme and for the others installed here.
    const QStringList bases{QStringLiteral("/usr/share/icons")};
    for (const QString &t : {theme, QStringLiteral("Adwaita"), QStringLiteral("hicolor")}) {
        QElapsedTimer timer;
        timer.start();
        const auto index = IconThemeIndex::build(t, bases, IconThemeIndex::defaultPixmapDirs());
        std::printf("index %-12s %7lld files  %7.1f ms  (%s)\n", qPrintable(t),
                    static_cast<long long>(index->fileCount()), ms(timer.nsecsElapsed()),
                    qPrintable(index->searchOrder().join(QLatin1String(" > "))));
    }
    std::printf("peak RSS after the index builds: %ld MiB\n", peakRssKiB() / 1024);

    // 500 desktop entries naming the theme's application icons, in a private home.
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
    const QStringList names = applicationIconNames(theme, count);
    QDir().mkpath(home.filePath(QStringLiteral("apps")));
    Defaults defaults(home.filePath(QStringLiteral("Kelp.plist")));
    registerAllDefaults(defaults);
    defaults.setValue(Key::MaximumIconSize, qint64(128));
    TQAppManager catalogue(defaults, nullptr);
    AppList apps;
    for (const QString &name : names) {
        const QString path = home.filePath(QStringLiteral("apps/") + name + ".desktop");
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly)) return 1;
        f.write("[Desktop Entry]\nType=Application\nExec=true\nName=" + name.toUtf8() +
                "\nIcon=" + name.toUtf8() + "\n");
        f.close();
        apps.append(catalogue.appForPath(path));
    }

    auto source = std::make_shared<FreedesktopIconSource>(theme, bases);
    IconLoader::shared().setIconSource(source);
    loadRound(catalogue, apps, "first load (index built on the way)");
    loadRound(catalogue, apps, "same parameters again (no fetch)");
    catalogue.clearIconsForAllApps(); // group 6 is empty here: reset by hand
    for (const TQAppPtr &a : apps)
        a->resetIconToDot();
    loadRound(catalogue, apps, "every icon again (index ready)");
    return 0;
}
