// An icon theme's icon-theme.cache, as Kelp reads it: its folders, then lookups by name.
#include "FuzzSupport.h"
#include "platform/icons/GtkIconCache.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto cache = kelp::GtkIconCache::fromBytes(kelp::fuzz::bytesOf(data, size));
    if (!cache) return 0;
    quint32 images = 0;
    for (const char *name : {"utilities-terminal", "a", "", "firefox", "application-x-executable"})
        cache->forEachImage(name, [&](quint16, quint16) { ++images; });
    (void)images;
    return 0;
}
