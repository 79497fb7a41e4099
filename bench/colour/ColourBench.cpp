// Throughput of the icon colour analysis on 128 x 128 icons: real icons of an installed icon theme
// (rendered with the same Qt code Kelp uses) and synthetic worst cases.
//
// Environment:
//   KELP_BENCH_ICON_DIR    folder of SVG/PNG icons (default: Papirus 128x128/apps)
//   KELP_BENCH_ICON_COUNT  how many icons to use, by file name order (default 1000)
//   KELP_BENCH_PNG_DIR     when set, the rendered icons are also written there as PNG files
//                          (for comparisons with other analysers on the very same pixels)
#include "colour/ColourAnalysis.h"
#include "colour/ColourSort.h"
#include "extras/ColourImage.h"

#include <benchmark/benchmark.h>

#include <QCollator>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <vector>

using namespace kelp;

namespace {

constexpr int kIconSize = 128;

struct Icon
{
    QImage image;
    colour::Bitmap bitmap;
};

std::vector<Icon> &realIcons()
{
    static std::vector<Icon> icons;
    return icons;
}

QString envOr(const char *name, const QString &fallback)
{
    const QByteArray value = qgetenv(name);
    return value.isEmpty() ? fallback : QString::fromLocal8Bit(value);
}

void loadRealIcons()
{
    const QString dir = envOr("KELP_BENCH_ICON_DIR", "/usr/share/icons/Papirus/128x128/apps");
    const int wanted = envOr("KELP_BENCH_ICON_COUNT", "1000").toInt();
    const QString pngDir = envOr("KELP_BENCH_PNG_DIR", QString());

    // Real files only (themes alias many names to one file), in a stable order.
    QStringList files;
    std::set<QString> seen;
    QDirIterator it(dir, {"*.svg", "*.png"}, QDir::Files | QDir::NoSymLinks);
    while (it.hasNext()) {
        const QString path = it.next();
        if (seen.insert(QFileInfo(path).canonicalFilePath()).second) files << path;
    }
    files.sort();
    if (!pngDir.isEmpty()) QDir().mkpath(pngDir);

    auto &icons = realIcons();
    for (const QString &path : files) {
        if (static_cast<int>(icons.size()) >= wanted) break;
        QImage image = renderIconFile(path, kIconSize);
        if (image.isNull()) continue;
        if (!pngDir.isEmpty())
            image.save(QDir(pngDir).filePath(QFileInfo(path).completeBaseName() + ".png"));
        Icon icon{image, {}};
        icon.bitmap = describeImage(icon.image);
        icons.push_back(std::move(icon));
    }
    std::fprintf(stderr, "colour bench: %zu icons of %d px from %s\n", icons.size(), kIconSize,
                 qPrintable(dir));
}

void setRate(benchmark::State &state)
{
    state.counters["icons/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

// The whole analysis an entry asks for: dominant colours, then its sort key.
void BM_RealIcons_ColourSortKey(benchmark::State &state)
{
    const auto &icons = realIcons();
    if (icons.empty()) {
        state.SkipWithError("no icons (install papirus-icon-theme or set KELP_BENCH_ICON_DIR)");
        return;
    }
    colour::ColorSortParams params;
    params.colorSortGrayThreshold = 0.05f;
    params.colorSortMinSaturation = 0.14f;
    params.colorSortMinLuminosity = 0.02f;
    std::size_t i = 0;
    for (auto _ : state) {
        const Icon &icon = icons[i++ % icons.size()];
        auto colours = colour::dominantColours(icon.bitmap, colour::kDominantColourCount,
                                               params.colorSortMinSaturation,
                                               params.colorSortMinLuminosity, colour::kMergeDeltaE);
        auto result = colour::pickAndSortColours(colours, params);
        benchmark::DoNotOptimize(result.key);
    }
    setRate(state);
}
BENCHMARK(BM_RealIcons_ColourSortKey);

void BM_RealIcons_Histogram(benchmark::State &state)
{
    const auto &icons = realIcons();
    if (icons.empty()) {
        state.SkipWithError("no icons");
        return;
    }
    std::size_t i = 0;
    std::size_t distinct = 0;
    for (auto _ : state) {
        auto histogram = colour::colourHistogram(icons[i++ % icons.size()].bitmap);
        distinct += histogram.size();
        benchmark::DoNotOptimize(histogram.data());
    }
    setRate(state);
    state.counters["distinct colours/icon"] =
        static_cast<double>(distinct) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_RealIcons_Histogram);

void BM_RealIcons_Spectrum(benchmark::State &state)
{
    const auto &icons = realIcons();
    if (icons.empty()) {
        state.SkipWithError("no icons");
        return;
    }
    std::size_t i = 0;
    for (auto _ : state) {
        auto spectrum = colour::colourSpectrum(icons[i++ % icons.size()].bitmap);
        benchmark::DoNotOptimize(spectrum.data());
    }
    setRate(state);
}
BENCHMARK(BM_RealIcons_Spectrum);

// Rendering is not part of the analysis; shown to put the analysis cost in proportion.
void BM_RealIcons_RenderSvg(benchmark::State &state)
{
    const QString dir = envOr("KELP_BENCH_ICON_DIR", "/usr/share/icons/Papirus/128x128/apps");
    QStringList files = QDir(dir).entryList({"*.svg"}, QDir::Files | QDir::NoSymLinks, QDir::Name);
    if (files.isEmpty()) {
        state.SkipWithError("no SVG icons");
        return;
    }
    files = files.mid(0, 200);
    std::size_t i = 0;
    for (auto _ : state) {
        QImage image = renderIconFile(
            QDir(dir).filePath(files[static_cast<int>(i++ % 200u) % files.size()]), kIconSize);
        benchmark::DoNotOptimize(image.constBits());
    }
    setRate(state);
}
BENCHMARK(BM_RealIcons_RenderSvg)->Unit(benchmark::kMicrosecond);

// Synthetic icons: every pixel a different colour, the worst case for the hash table and for
// the per-colour conversions.
QImage distinctColourIcon(bool shuffled)
{
    QImage image(kIconSize, kIconSize, QImage::Format_RGBA8888_Premultiplied);
    std::vector<std::uint32_t> colours;
    if (shuffled) {
        // Random distinct colours spread over the whole cube.
        std::mt19937 random(12345);
        std::set<std::uint32_t> used;
        while (colours.size() < kIconSize * kIconSize) {
            const std::uint32_t c = random() & 0xFFFFFFu;
            if (used.insert(c).second) colours.push_back(c);
        }
    } else {
        // A smooth ramp: red by column, green and blue by row.
        for (int y = 0; y < kIconSize; ++y)
            for (int x = 0; x < kIconSize; ++x)
                colours.push_back(static_cast<std::uint32_t>(x * 2) |
                                  static_cast<std::uint32_t>(y * 2) << 8 |
                                  static_cast<std::uint32_t>((x + y) & 1) << 16);
    }
    for (int y = 0; y < kIconSize; ++y) {
        uchar *row = image.scanLine(y);
        for (int x = 0; x < kIconSize; ++x) {
            const std::uint32_t c = colours[static_cast<std::size_t>(y * kIconSize + x)];
            row[x * 4 + 0] = static_cast<uchar>(c);
            row[x * 4 + 1] = static_cast<uchar>(c >> 8);
            row[x * 4 + 2] = static_cast<uchar>(c >> 16);
            row[x * 4 + 3] = 255;
        }
    }
    return image;
}

void runSynthetic(benchmark::State &state, const QImage &image)
{
    const colour::Bitmap bitmap = describeImage(image);
    for (auto _ : state) {
        auto colours = colour::dominantColours(bitmap, colour::kDominantColourCount, 0.14, 0.02,
                                               colour::kMergeDeltaE);
        benchmark::DoNotOptimize(colours.data());
    }
    setRate(state);
}

void BM_Synthetic_DistinctRamp(benchmark::State &state)
{
    runSynthetic(state, distinctColourIcon(false));
}
BENCHMARK(BM_Synthetic_DistinctRamp);

void BM_Synthetic_DistinctRandom(benchmark::State &state)
{
    runSynthetic(state, distinctColourIcon(true));
}
BENCHMARK(BM_Synthetic_DistinctRandom);

void BM_Synthetic_OneColour(benchmark::State &state)
{
    QImage image(kIconSize, kIconSize, QImage::Format_RGBA8888_Premultiplied);
    image.fill(QColor(40, 120, 220));
    runSynthetic(state, image);
}
BENCHMARK(BM_Synthetic_OneColour);

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    loadRealIcons();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
