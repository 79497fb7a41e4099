// AppNames.cache: Kelp's own binary file, which anything may have replaced.
#include "FuzzSupport.h"
#include "catalogue/NameCache.h"

#include <QFileInfo>

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    qputenv("XDG_CACHE_HOME",
            QFile::encodeName(kelp::fuzz::scratchFolder() + QStringLiteral("/cache")));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QString relative = QFileInfo(kelp::NameCache::filePath())
                                        .absoluteFilePath()
                                        .mid(kelp::fuzz::scratchFolder().size() + 1);
    kelp::fuzz::writeInput(relative, data, size);
    kelp::NameCache cache;
    (void)cache.name(QStringLiteral("/usr/share/applications/a.desktop"));
    cache.remember(QStringLiteral("/x.desktop"), QStringLiteral("X"), 1);
    return 0;
}
