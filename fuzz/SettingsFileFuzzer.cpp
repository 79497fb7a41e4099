// The settings file: read at start, typed settings taken from it, written back.
#include "FuzzSupport.h"
#include "settings/Defaults.h"
#include "settings/RegisteredDefaults.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = kelp::fuzz::writeInput(QStringLiteral("config/Kelp.plist"), data, size);
    kelp::Defaults defaults(path);
    kelp::registerAllDefaults(defaults);
    (void)defaults.value(kelp::Key::MaximumIconSize);
    (void)defaults.value(kelp::Key::WindowAlpha);
    (void)defaults.value(kelp::Key::SearchDirectories);
    defaults.setValue(kelp::Key::MaximumIconSize, 64);
    defaults.synchronize();
    // Files kept aside pile up otherwise.
    for (const QString &aside : QDir(kelp::fuzz::scratchFolder() + QStringLiteral("/config"))
                                    .entryList({QStringLiteral("*.corrupt-*")}))
        QFile::remove(kelp::fuzz::scratchFolder() + QStringLiteral("/config/") + aside);
    return 0;
}
