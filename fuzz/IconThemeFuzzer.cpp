// A theme's index.theme: its folders, sizes, thresholds, scales and parents, then lookups at
// sizes from one pixel to the largest icon Kelp draws.
#include "FuzzSupport.h"
#include "platform/icons/IconTheme.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    kelp::fuzz::quietLogging();
    // A few icon folders the input may name.
    for (const char *file :
         {"icons/fuzz/16x16/apps/app.png", "icons/fuzz/48/app.png",
          "icons/fuzz/scalable/apps/app.svg", "icons/hicolor/32x32/apps/app.png"})
        kelp::fuzz::writeInput(QString::fromLatin1(file), nullptr, 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    kelp::fuzz::writeInput(QStringLiteral("icons/fuzz/index.theme"), data, size);
    const auto index = kelp::IconThemeIndex::build(
        QStringLiteral("fuzz"), {kelp::fuzz::scratchFolder() + QStringLiteral("/icons")}, {});
    for (int pixels : {1, 16, 48, 4096})
        (void)index->lookup(QStringLiteral("app"), pixels);
    return 0;
}
