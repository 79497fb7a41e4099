// Small owned bitmaps for the colour tests.
#pragma once

#include "colour/Bitmap.h"

#include <cstdint>
#include <vector>

namespace kelp::colour::test {

struct Rgba
{
    std::uint8_t r, g, b, a;
};

// An 8-bit meshed RGBA bitmap (alpha last, not premultiplied) filled with one colour; pixels can
// then be set one by one.
class RgbaImage
{
public:
    RgbaImage(int width, int height, Rgba fill = {0, 0, 0, 0}) : m_width(width), m_height(height)
    {
        for (int i = 0; i < width * height; ++i)
            m_bytes.insert(m_bytes.end(), {fill.r, fill.g, fill.b, fill.a});
    }

    void set(int x, int y, Rgba c)
    {
        std::uint8_t *p = m_bytes.data() + static_cast<std::size_t>(y * m_width + x) * 4;
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
        b.bytesPerRow = m_width * 4;
        b.bitmapFormat = AlphaNonpremultiplied;
        b.data = m_bytes.data();
        return b;
    }

private:
    int m_width;
    int m_height;
    std::vector<std::uint8_t> m_bytes;
};

} // namespace kelp::colour::test
