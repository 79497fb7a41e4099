#include "colour/ColourAnalysis.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstring>
#include <new>
#include <utility>

namespace kelp::colour {

namespace {

void writeMessage(const char *message)
{
    std::fwrite(message, 1, std::strlen(message), stderr);
}

constexpr std::uint32_t kNoNode = 0xFFFFFFFFu;

std::uint32_t packColour(std::uint8_t r, std::uint8_t g, std::uint8_t b)
{
    return std::uint32_t{r} | std::uint32_t{g} << 8 | std::uint32_t{b} << 16 | 0xFF000000u;
}

std::uint32_t colourKey(std::uint8_t r, std::uint8_t g, std::uint8_t b)
{
    return (std::uint32_t{b} * 27011u + std::uint32_t{g} * 30013u + std::uint32_t{r} * 33023u) %
           65536u;
}

// The colour hash table: 65536 chain heads and a pool of nodes. One table lives per thread and is
// reused from icon to icon; only the buckets an icon used are cleared afterwards, tracked in a
// bit set, which also yields them in bucket order for the histogram.
//
// The histogram lists a bucket's colours most recently found first, in a scan that goes column
// by column. Scanning that way is slow (each step jumps a whole row, and power-of-two row lengths
// make the jumps fight over the same cache sets), so the pixels are read row by row instead and
// each node remembers the earliest column-by-column position of its colour; the chains are put
// in that order when the histogram is made.
struct ColourTable
{
    struct Node
    {
        std::uint32_t colour; // red, green, blue, 255 (low byte first)
        std::uint32_t next;
        std::uint64_t weight;
        std::uint64_t firstSeen; // x * pixelsHigh + y of its first pixel, column by column
    };

    std::vector<std::uint32_t> heads;
    std::vector<std::uint64_t> used;
    std::vector<Node> nodes;
    std::vector<std::uint32_t> chain; // scratch for ordering one chain

    void allocate()
    {
        heads.assign(kHashBuckets, kNoNode);
        used.assign(kHashBuckets / 64, 0);
        nodes.reserve(4096);
        chain.reserve(64);
    }

    std::uint32_t push(std::uint32_t key, std::uint32_t colour, std::uint64_t weight,
                       std::uint64_t firstSeen)
    {
        const auto index = static_cast<std::uint32_t>(nodes.size());
        nodes.push_back({colour, heads[key], weight, firstSeen});
        if (heads[key] == kNoNode) used[key / 64] |= std::uint64_t{1} << (key % 64);
        heads[key] = index;
        return index;
    }

    // The node of a colour in its bucket, made when the colour is new; either way the node keeps
    // the earliest column-by-column position the colour was seen at. Inlined by force: left to
    // itself, the compiler lays out the pixel loops around it with an extra jump per pixel.
    [[gnu::always_inline]] std::uint32_t findOrAdd(std::uint32_t key, std::uint32_t colour,
                                                   std::uint64_t position)
    {
        std::uint32_t node = heads[key];
        while (node != kNoNode && nodes[node].colour != colour)
            node = nodes[node].next;
        if (node != kNoNode) {
            Node &n = nodes[node];
            n.firstSeen = std::min(n.firstSeen, position);
        } else {
            node = push(key, colour, 0, position);
        }
        return node;
    }

    template <typename Visit> void forEachUsedBucket(Visit visit)
    {
        for (std::size_t word = 0; word < used.size(); ++word) {
            std::uint64_t bits = used[word];
            while (bits) {
                const auto bit = static_cast<std::size_t>(std::countr_zero(bits));
                bits &= bits - 1;
                visit(word * 64 + bit);
            }
        }
    }

    // The nodes of one bucket, most recently found (column by column) first.
    const std::vector<std::uint32_t> &orderedChain(std::size_t key)
    {
        chain.clear();
        for (auto node = heads[key]; node != kNoNode; node = nodes[node].next)
            chain.push_back(node);
        if (chain.size() > 1)
            std::sort(chain.begin(), chain.end(), [this](std::uint32_t a, std::uint32_t b) {
                return nodes[a].firstSeen > nodes[b].firstSeen;
            });
        return chain;
    }

    void clear()
    {
        forEachUsedBucket([this](std::size_t key) { heads[key] = kNoNode; });
        std::fill(used.begin(), used.end(), 0);
        nodes.clear();
    }
};

ColourTable *threadTable()
{
    thread_local ColourTable table;
    if (table.heads.empty()) {
        try {
            table.allocate();
        } catch (const std::bad_alloc &) {
            table = ColourTable{};
            return nullptr;
        }
    }
    return &table;
}

template <bool HasAlpha, bool Grey> void countPixels(ColourTable &table, const PixelDescription &d)
{
    const auto base = reinterpret_cast<std::uintptr_t>(d.data);
    const auto channel = [base](std::int64_t offset) {
        return reinterpret_cast<const std::uint8_t *>(base + static_cast<std::uintptr_t>(offset));
    };
    const std::uint8_t *red = channel(Grey ? d.gray : d.red);
    const std::uint8_t *green = channel(Grey ? d.gray : d.green);
    const std::uint8_t *blue = channel(Grey ? d.gray : d.blue);
    const std::uint8_t *alpha = channel(d.alpha);
    const std::ptrdiff_t bytesPerPixel = d.bytesPerPixel;
    const std::ptrdiff_t bytesPerRow = d.bytesPerRow;
    const auto high = static_cast<std::uint64_t>(d.pixelsHigh);

    for (std::int64_t y = 0; y < d.pixelsHigh; ++y) {
        std::ptrdiff_t at = y * bytesPerRow;
        // Icons are mostly runs of one colour: the weight of a run is summed in a register and
        // added to its node when the run ends. Within a run the first pixel is also the earliest
        // column by column, so the rest need no lookup.
        std::uint32_t runColour = 0;
        std::uint32_t runNode = kNoNode;
        std::uint64_t runWeight = 0;
        for (std::int64_t x = 0; x < d.pixelsWide; ++x, at += bytesPerPixel) {
            std::uint64_t weight = 1;
            if constexpr (HasAlpha) {
                weight = alpha[at];
                if (weight == 0) continue;
            }
            const std::uint8_t r = red[at], g = green[at], b = blue[at];
            const std::uint32_t colour = packColour(r, g, b);
            if (colour == runColour && runNode != kNoNode) {
                runWeight += weight;
                continue;
            }
            if (runNode != kNoNode) table.nodes[runNode].weight += runWeight;
            runWeight = weight;
            runColour = colour;

            const std::uint64_t position =
                static_cast<std::uint64_t>(x) * high + static_cast<std::uint64_t>(y);
            const std::uint32_t key = Grey ? std::uint32_t{r} : colourKey(r, g, b);
            runNode = table.findOrAdd(key, colour, position);
        }
        if (runNode != kNoNode) table.nodes[runNode].weight += runWeight;
    }
}

// The same count for meshed 8-bit pixels of exactly four bytes (the icon format): each pixel is
// read as one 32-bit word, and a pixel equal to the one before it in the row costs a comparison
// and an addition.
// Its run bookkeeping repeats countPixels' on purpose: this is the loop every icon goes through,
// and it stays one flat loop the compiler can keep in registers.
template <bool HasAlpha> void countPixelWords(ColourTable &table, const PixelDescription &d)
{
    const auto shiftOf = [](std::int64_t offset) {
        return static_cast<unsigned>(std::endian::native == std::endian::little ? offset * 8
                                                                                : (3 - offset) * 8);
    };
    const unsigned redShift = shiftOf(d.red), greenShift = shiftOf(d.green),
                   blueShift = shiftOf(d.blue), alphaShift = shiftOf(d.alpha);
    const auto high = static_cast<std::uint64_t>(d.pixelsHigh);

    for (std::int64_t y = 0; y < d.pixelsHigh; ++y) {
        const std::uint8_t *row = d.data + y * d.bytesPerRow;
        std::uint32_t runWord = 0;
        std::uint32_t runColour = 0;
        std::uint32_t runNode = kNoNode;
        std::uint64_t runWeight = 0;
        for (std::int64_t x = 0; x < d.pixelsWide; ++x) {
            std::uint32_t word;
            std::memcpy(&word, row + x * 4, sizeof word);
            const std::uint64_t weight = HasAlpha ? (word >> alphaShift) & 0xFFu : 1u;
            if (word == runWord && runNode != kNoNode) {
                runWeight += weight;
                continue;
            }
            if (HasAlpha && weight == 0) continue;
            const auto r = static_cast<std::uint8_t>(word >> redShift);
            const auto g = static_cast<std::uint8_t>(word >> greenShift);
            const auto b = static_cast<std::uint8_t>(word >> blueShift);
            const std::uint32_t colour = packColour(r, g, b);
            runWord = word;
            if (colour == runColour && runNode != kNoNode) {
                runWeight += weight;
                continue;
            }
            if (runNode != kNoNode) table.nodes[runNode].weight += runWeight;
            runWeight = weight;
            runColour = colour;

            const std::uint64_t position =
                static_cast<std::uint64_t>(x) * high + static_cast<std::uint64_t>(y);
            const std::uint32_t key = colourKey(r, g, b);
            runNode = table.findOrAdd(key, colour, position);
        }
        if (runNode != kNoNode) table.nodes[runNode].weight += runWeight;
    }
}

bool isWordLayout(const PixelDescription &d)
{
    const auto inWord = [](std::int64_t offset) { return offset >= 0 && offset < 4; };
    return !d.isPlanar && d.bitsPerSample == 8 && d.bytesPerPixel == 4 &&
           (d.samplesPerPixel == 3 || d.samplesPerPixel == 4) && inWord(d.red) && inWord(d.green) &&
           inWord(d.blue) && (!d.hasAlpha || inWord(d.alpha));
}

// Truncation of a double to a 32-bit integer as the hardware does it: values outside the range
// (and NaN) give INT_MIN.
std::int32_t truncateToInt32(double x)
{
    if (!(x > -2147483649.0 && x < 2147483648.0)) return INT_MIN;
    return static_cast<std::int32_t>(x);
}

int compareImportance(const HclColor &a, const HclColor &b)
{
    const std::int32_t order = truncateToInt32(importance(b) - importance(a));
    if (order != 0) return order;
    return static_cast<int>(a.empty()) - static_cast<int>(b.empty());
}

// Top-down merge sort: stable, and with this comparator (which is not transitive for near ties)
// still the same answer everywhere.
void mergeSort(HclColor *records, HclColor *scratch, std::size_t count)
{
    if (count < 2) return;
    const std::size_t half = count / 2;
    mergeSort(records, scratch, half);
    mergeSort(records + half, scratch, count - half);
    std::size_t left = 0, right = half, out = 0;
    while (left < half && right < count) {
        if (compareImportance(records[right], records[left]) < 0)
            scratch[out++] = records[right++];
        else
            scratch[out++] = records[left++];
    }
    while (left < half)
        scratch[out++] = records[left++];
    while (right < count)
        scratch[out++] = records[right++];
    std::copy(scratch, scratch + count, records);
}

void finishLch(HclColor &c)
{
    if (c.L == 0.0 && c.u == 0.0 && c.v == 0.0) {
        // What the conversion gives for zero (atan2(0, 0) is 0), without the arithmetic.
        c.hue = 0.0;
        c.chroma = 0.0;
        c.lightness = 0.0;
        return;
    }
    const Colour lch = luvToLch({c.L, c.u, c.v, c.alpha});
    c.hue = hueDegrees(lch[2]);
    c.chroma = lch[1] / 100.0;
    c.lightness = lch[0] / 100.0;
}

} // namespace

std::vector<HistogramEntry> colourHistogram(const Bitmap &bitmap)
{
    ColourTable *table = threadTable();
    if (!table) {
        writeMessage(messages::kOutOfMemoryHashTable);
        return {};
    }
    PixelDescription d;
    if (!describePixels(bitmap, kDescriptionGamma, d)) return {};
    if (d.data == nullptr && d.pixelsWide > 0 && d.pixelsHigh > 0) return {};

    const bool colourKeys = d.samplesPerPixel == 3 || d.samplesPerPixel == 4;
    try {
        if (colourKeys && isWordLayout(d))
            d.hasAlpha ? countPixelWords<true>(*table, d) : countPixelWords<false>(*table, d);
        else if (d.hasAlpha)
            colourKeys ? countPixels<true, false>(*table, d) : countPixels<true, true>(*table, d);
        else
            colourKeys ? countPixels<false, false>(*table, d) : countPixels<false, true>(*table, d);
    } catch (const std::bad_alloc &) {
        table->clear();
        writeMessage(messages::kOutOfMemoryComputingHashTable);
        return {};
    }

    if (d.hasAlpha)
        for (auto &node : table->nodes)
            node.weight /= 255;

    if (table->nodes.empty()) {
        table->clear();
        writeMessage(messages::kZeroColours);
        return {};
    }
    std::vector<HistogramEntry> histogram;
    try {
        histogram.reserve(table->nodes.size());
        table->forEachUsedBucket([&](std::size_t key) {
            for (const std::uint32_t node : table->orderedChain(key)) {
                const auto &n = table->nodes[node];
                histogram.push_back({static_cast<std::uint8_t>(n.colour),
                                     static_cast<std::uint8_t>(n.colour >> 8),
                                     static_cast<std::uint8_t>(n.colour >> 16), 255, n.weight});
            }
        });
    } catch (const std::bad_alloc &) {
        table->clear();
        writeMessage(messages::kOutOfMemoryHistogram);
        return {};
    }
    table->clear();
    return histogram;
}

std::vector<HclColor> colourSpectrum(std::span<const HistogramEntry> histogram)
{
    const auto &gamma = gammaTable();
    if (histogram.empty()) {
        writeMessage(messages::kBadSpectrumParameter);
        return {};
    }
    std::vector<HclColor> spectrum;
    try {
        spectrum.resize(kSpectrumSize);
    } catch (const std::bad_alloc &) {
        writeMessage(messages::kOutOfMemorySpectrum);
        return {};
    }

    for (const HistogramEntry &entry : histogram) {
        const std::uint64_t q = entry.weight;
        if (q == 0) continue;
        const Colour rgb{gamma[entry.red], gamma[entry.green], gamma[entry.blue],
                         entry.alpha / 255.0};
        const Colour luv = xyzToLuv(rgbToXyz(rgb));
        const Colour lch = luvToLch(luv);
        const double Lp = lch[0] / 100.0;
        const double Cp = lch[1] / 100.0;
        const double t = Lp < 0.0 ? 1.0 : 0.01 / (Lp + 0.01) - 0.01;
        const bool grey = t > Cp;

        std::size_t bin = kGreyBin;
        if (!grey) {
            const double H = hueDegrees(lch[2]);
            const auto b = static_cast<std::int64_t>(std::floor(H + 0.5));
            bin = b > 359 ? 0 : static_cast<std::size_t>(b);
        }
        HclColor &rec = spectrum[bin];
        const std::uint64_t o = rec.quantity;
        const std::uint64_t n = o + q;
        const float wNew = static_cast<float>(q) / static_cast<float>(n);
        const float wOld = static_cast<float>(o) / static_cast<float>(n);
        rec.L = wOld * rec.L + wNew * luv[0];
        if (grey) {
            rec.u = 0.0;
            rec.v = 0.0;
        } else {
            rec.u = wOld * rec.u + wNew * luv[1];
            rec.v = wOld * rec.v + wNew * luv[2];
        }
        rec.alpha = 1.0;
        rec.quantity = n;
    }
    for (HclColor &rec : spectrum)
        finishLch(rec);
    return spectrum;
}

std::vector<HclColor> colourSpectrum(const Bitmap &bitmap)
{
    gammaTable();
    const std::vector<HistogramEntry> histogram = colourHistogram(bitmap);
    if (histogram.empty()) return {};
    return colourSpectrum(histogram);
}

void sortByImportance(std::span<HclColor> records)
{
    // Importance is never negative, so every non-empty record sorts before every empty one: move
    // them to the front, keeping their order, and sort only those.
    std::vector<HclColor> scratch;
    scratch.reserve(records.size());
    std::size_t filled = 0;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (records[i].empty())
            scratch.push_back(records[i]);
        else if (filled++ != i)
            records[filled - 1] = records[i];
    }
    std::copy(scratch.begin(), scratch.end(),
              records.begin() + static_cast<std::ptrdiff_t>(filled));
    scratch.resize(filled);
    mergeSort(records.data(), scratch.data(), filled);
}

std::vector<HclColor> dominantColours(std::vector<HclColor> spectrum, std::int64_t count,
                                      double minSaturation, double /*minLuminosity*/, double deltaE)
{
    if (spectrum.empty()) return {};
    sortByImportance(spectrum);

    const double s = minSaturation;
    std::uint32_t total = 0;
    // The last record has nothing after it to merge and never enters the total. Sorting put the
    // empty records last, so nothing past the non-empty ones needs a look.
    const std::size_t size = spectrum.size();
    std::size_t filled = 0;
    while (filled < size && !spectrum[filled].empty())
        ++filled;
    for (std::size_t i = 0; i + 1 < size && i < filled; ++i) {
        HclColor &a = spectrum[i];
        if (a.quantity == 0) continue;
        // The grey test of i keeps the chroma i had before this pass, however much it absorbs.
        const double ci = a.chroma;
        for (std::size_t j = i + 1; j < filled; ++j) {
            HclColor &b = spectrum[j];
            if (b.quantity == 0) continue;
            const bool aGrey = s > ci;
            const bool bGrey = s > b.chroma;
            if (aGrey && bGrey) {
                const std::uint64_t q = a.quantity + b.quantity;
                const double wb = static_cast<double>(b.quantity) / static_cast<double>(q);
                const double wa = static_cast<double>(a.quantity) / static_cast<double>(q);
                a.L = wb * b.L + wa * a.L;
                a.u = 0.0;
                a.v = 0.0;
                a.alpha = 1.0;
                a.quantity = q;
                a.hue = 0.0;
                a.chroma = 0.0;
                a.lightness = a.L / 100.0;
                b = HclColor{};
            } else if (!aGrey && !bGrey) {
                if (!(deltaE > planeDistance({a.L, a.u, a.v, a.alpha}, {b.L, b.u, b.v, b.alpha})))
                    continue;
                const std::uint64_t q = a.quantity + b.quantity;
                const double wb = static_cast<double>(b.quantity) / static_cast<double>(q);
                const double wa = static_cast<double>(a.quantity) / static_cast<double>(q);
                a.L = wb * b.L + wa * a.L;
                a.u = wb * b.u + wa * a.u;
                a.v = wb * b.v + wa * a.v;
                a.alpha = 1.0;
                a.quantity = q;
                finishLch(a);
                b = HclColor{};
            }
        }
        total += static_cast<std::uint32_t>(a.quantity);
    }

    // The total is a 32-bit running sum read back as signed, and the share is taken in float.
    // A zero total makes every share infinite or undefined, which prunes nothing.
    const auto floatTotal = static_cast<float>(static_cast<std::int32_t>(total));
    if (floatTotal != 0.0f)
        for (HclColor &rec : spectrum)
            if (static_cast<float>(rec.quantity) / floatTotal < 0.005) rec = HclColor{};

    sortByImportance(spectrum);

    const auto n = static_cast<std::size_t>(std::clamp<std::int64_t>(count, 0, kSpectrumSize));
    std::vector<HclColor> result;
    result.reserve(n);
    for (std::size_t i = 0; i < n && i < spectrum.size() && !spectrum[i].empty(); ++i) {
        HclColor c = spectrum[i];
        c.spare = {};
        result.push_back(c);
    }
    return result;
}

std::vector<HclColor> dominantColours(const Bitmap &bitmap, std::int64_t count,
                                      double minSaturation, double minLuminosity, double deltaE)
{
    return dominantColours(colourSpectrum(bitmap), count, minSaturation, minLuminosity, deltaE);
}

void dumpSpectrum(std::span<const HclColor> spectrum, std::FILE *stream)
{
    for (std::size_t i = 0; i < spectrum.size(); ++i) {
        const HclColor &c = spectrum[i];
        if (c.quantity == 0) continue;
        std::fprintf(stream, "\nspectrum[%ld] luv:%f,%f,%f H,C,L: %f,%f,%f qty:%lu",
                     static_cast<long>(i), c.L, c.u, c.v, c.hue, c.chroma, c.lightness,
                     static_cast<unsigned long>(c.quantity));
    }
}

} // namespace kelp::colour
