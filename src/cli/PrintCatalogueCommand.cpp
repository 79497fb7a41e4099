#include "cli/PrintCatalogueCommand.h"

#include "catalogue/CatalogueReport.h"
#include "catalogue/IconLoader.h"
#include "catalogue/TQAppManager.h"
#include "desktop/Desktop.h"
#include "desktop/RunningApplications.h"
#include "platform/DesktopFactory.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

#include <QGuiApplication>
#include <QJsonDocument>

#include <cstdio>

namespace kelp {

int runPrintCatalogue(bool rescan, bool icons)
{
    Defaults &defaults = Defaults::standard();
    registerAllDefaults(defaults);

    // Running applications when there is a display. Icons only when asked for: then each entry's
    // colour key comes from its real icon.
    DesktopOptions options;
    if (icons) options.iconTheme = defaults.value(Key::IconThemeName);
    setDesktop(makeDesktop(QGuiApplication::platformName(), options));
    TQAppManager catalogue(defaults, desktop().appsOnDisk);
    const auto print = [&catalogue, icons]() {
        if (icons) IconLoader::shared().waitUntilAllDelivered();
        const QByteArray json =
            QJsonDocument(catalogueReport(catalogue)).toJson(QJsonDocument::Indented);
        std::fwrite(json.constData(), 1, static_cast<size_t>(json.size()), stdout);
        std::fflush(stdout);
        QCoreApplication::quit();
    };
    QObject::connect(&catalogue, &TQAppManager::rescanFinished, &catalogue, [&catalogue, print]() {
        // Running programs are matched to the catalogue's entries once those have been read.
        const auto running = desktop().running;
        if (running && running->isMatchingPending())
            QObject::connect(running.get(), &RunningApplications::matchingChanged, &catalogue,
                             print, Qt::SingleShotConnection);
        else
            print();
    });
    catalogue.rescanAllAppsPrioritizingGroup(Group::All, rescan);
    const int status = QCoreApplication::exec();
    defaults.synchronize();
    return status;
}

} // namespace kelp
