// Small owned bitmaps for the colour tests.
#pragma once

#include "colour/Bitmap.h"

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace kelp::colour::test {

struct Rgba
{
    std::uint8_t r, g, b, a;
};

// An 8-bit meshed RGBA bitmap (alpha last, not premultiplied unless asked), filled with one
// colour; pixels can then be set one by one.
class RgbaImage
{
public:
    RgbaImage(int width, int height, Rgba fill = {0, 0, 0, 0}, bool premultiplied = false)
        : m_width(width), m_height(height), m_bytes(static_cast<std::size_t>(width * height * 4))
    {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                set(x, y, fill);
        m_premultiplied = premultiplied;
    }

    void set(int x, int y, Rgba c)
    {
        std::uint8_t *p = m_bytes.data() + (static_cast<std::size_t>(y * m_width + x) * 4);
        p[0] = c.r;
        p[1] = c.g;
        p[2] = c.b;
        p[3] = c.a;
    }

    Bitmap bitmap() const
    {
        Bitmap b;
        b.pixelsWide = m_width;
        b.pixelsHigh = m_height;
        b.bitsPerSample = 8;
        b.samplesPerPixel = 4;
        b.bitsPerPixel = 32;
        b.bytesPerRow = m_width * 4;
        b.hasAlpha = true;
        b.bitmapFormat = m_premultiplied ? 0u : AlphaNonpremultiplied;
        b.colourModel = ColourModel::RGB;
        b.data = m_bytes.data();
        return b;
    }

private:
    int m_width;
    int m_height;
    std::vector<std::uint8_t> m_bytes;
    bool m_premultiplied = false;
};

// An opaque 3-sample RGB bitmap of one colour, no alpha.
class RgbImage
{
public:
    RgbImage(int width, int height, std::uint8_t r, std::uint8_t g, std::uint8_t b)
        : m_width(width), m_height(height)
    {
        for (int i = 0; i < width * height; ++i)
            m_bytes.insert(m_bytes.end(), {r, g, b});
    }

    Bitmap bitmap() const
    {
        Bitmap b;
        b.pixelsWide = m_width;
        b.pixelsHigh = m_height;
        b.samplesPerPixel = 3;
        b.bitsPerPixel = 24;
        b.bytesPerRow = m_width * 3;
        b.hasAlpha = false;
        b.isOpaque = true;
        b.colourModel = ColourModel::RGB;
        b.data = m_bytes.data();
        return b;
    }

private:
    int m_width;
    int m_height;
    std::vector<std::uint8_t> m_bytes;
};

} // namespace kelp::colour::test
