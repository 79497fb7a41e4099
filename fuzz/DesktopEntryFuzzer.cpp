// Desktop entries: classified, named, matched and searched for an icon exactly as a walk, the
// name check, the running-application layer and the icon source read them.
#include "FuzzSupport.h"
#include "extras/DesktopEntryKeys.h"
#include "platform/gio/GioAppsOnDisk.h"
#include "platform/gio/GioDesktopEntry.h"
#include "platform/icons/FreedesktopIconSource.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const kelp::GioAppsOnDisk apps(
        {QStringLiteral("ubuntu"), QStringLiteral("GNOME"), QStringLiteral("KDE")});
    const QString path =
        kelp::fuzz::writeInput(QStringLiteral("applications/sub/entry.desktop"), data, size);
    (void)apps.inspect(path);
    (void)apps.applicationName(path);
    (void)kelp::readEntryFacts(path);
    (void)kelp::desktopEntryKeys(path);
    (void)kelp::FreedesktopIconSource::iconKeyOfDesktopEntry(path);
    return 0;
}
