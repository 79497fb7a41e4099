// An application bundle's Contents/Info.plist, as the walk and the icon source read it.
#include "FuzzSupport.h"
#include "platform/gio/GioAppsOnDisk.h"
#include "platform/icons/FreedesktopIconSource.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const kelp::GioAppsOnDisk apps(QStringList{});
    kelp::fuzz::writeInput(QStringLiteral("Fuzz.app/Contents/Info.plist"), data, size);
    const QString bundle = kelp::fuzz::scratchFolder() + QStringLiteral("/Fuzz.app");
    (void)apps.inspect(bundle);
    (void)kelp::FreedesktopIconSource::iconFileOfBundle(bundle);
    return 0;
}
