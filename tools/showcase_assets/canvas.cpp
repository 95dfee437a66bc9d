// canvas.cpp - painting, and the TGA and PCX writers.
#include "canvas.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

namespace
{

constexpr int kSamples = 4; // in each direction

float lattice(int x, int y, int period, uint32_t seed)
{
    const uint32_t wrappedX = uint32_t((x % period + period) % period),
                   wrappedY = uint32_t((y % period + period) % period);
    uint32_t h = seed * 0x9E3779B9u + wrappedX * 0x85EBCA6Bu + wrappedY * 0xC2B2AE35u;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    h *= 0x297A2D39u;
    return float((h ^ h >> 15) & 0xFFFF) / 65535.0f;
}

float smooth(float t) { return t * t * (3 - 2 * t); }

uint32_t channel(float value) { return uint32_t(std::lround(clamp01(value) * 255)); }

bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    const bool written = file && std::fwrite(bytes.data(), bytes.size(), 1, file) == 1;
    if (!(file && std::fclose(file) == 0 && written))
        std::fprintf(stderr, "%s: cannot write\n", path.c_str());
    return written;
}

void append16(std::vector<uint8_t>& bytes, int value)
{
    bytes.push_back(uint8_t(value));
    bytes.push_back(uint8_t(value >> 8));
}

} // namespace

float noise(float x, float y, int period, uint32_t seed)
{
    const int x0 = int(std::floor(x)), y0 = int(std::floor(y));
    const float tx = smooth(x - float(x0)), ty = smooth(y - float(y0));
    const float top = lattice(x0, y0, period, seed) * (1 - tx) + lattice(x0 + 1, y0, period, seed) * tx;
    const float bottom = lattice(x0, y0 + 1, period, seed) * (1 - tx) + lattice(x0 + 1, y0 + 1, period, seed) * tx;
    return top * (1 - ty) + bottom * ty;
}

void Canvas::paint(int left, int top, int width, int height, const std::function<Color(float x, float y)>& shade)
{
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            Color sum = {0, 0, 0, 0}; // premultiplied
            for (int sample = 0; sample < kSamples * kSamples; ++sample)
            {
                const float sx = (float(x) + (float(sample % kSamples) + 0.5f) / kSamples) / float(width) * 2 - 1;
                const float sy = (float(y) + (float(sample / kSamples) + 0.5f) / kSamples) / float(height) * 2 - 1;
                const Color c = shade(sx, sy);
                const float a = clamp01(c.a);
                sum = {sum.r + c.r * a, sum.g + c.g * a, sum.b + c.b * a, sum.a + a};
            }
            const float a = sum.a > 0 ? sum.a : 1;
            m_pixels[size_t(top + y) * size_t(m_width) + size_t(left + x)] = {sum.r / a, sum.g / a, sum.b / a,
                                                                              sum.a / (kSamples * kSamples)};
        }
}

uint32_t Canvas::at(int x, int y) const
{
    const Color& c = m_pixels[size_t(y) * size_t(m_width) + size_t(x)];
    return channel(c.a) << 24 | channel(c.r) << 16 | channel(c.g) << 8 | channel(c.b);
}

bool Canvas::writeTga(const std::string& path, bool withAlpha) const
{
    std::vector<uint8_t> bytes = {0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    append16(bytes, m_width);
    append16(bytes, m_height);
    bytes.push_back(withAlpha ? 32 : 24);
    bytes.push_back(withAlpha ? 8 : 0);
    for (int y = m_height - 1; y >= 0; --y)
        for (int x = 0; x < m_width;)
        {
            int run = 1;
            while (x + run < m_width && run < 128 && at(x + run, y) == at(x, y))
                ++run;
            bytes.push_back(uint8_t(0x80 | (run - 1)));
            for (int i = 0; i < (withAlpha ? 4 : 3); ++i)
                bytes.push_back(uint8_t(at(x, y) >> 8 * i));
            x += run;
        }
    return writeFile(path, bytes);
}

bool Canvas::writePcx(const std::string& path) const
{
    // Colours in steps of 8, the most frequent 255 of them; the others take the nearest of those.
    std::map<uint32_t, int> count;
    const auto reduced = [this](int x, int y) { return at(x, y) & 0xF8F8F8; };
    const auto opaque = [this](int x, int y) { return at(x, y) >> 31 != 0; };
    for (int i = 0; i < m_width * m_height; ++i)
        if (opaque(i % m_width, i / m_width))
            ++count[reduced(i % m_width, i / m_width)];
    std::vector<std::pair<int, uint32_t>> order;
    for (const auto& entry : count)
        order.emplace_back(-entry.second, entry.first);
    std::sort(order.begin(), order.end());
    order.resize(std::min<size_t>(order.size(), 255));
    std::vector<uint32_t> palette = {0xFF00FF};
    for (const auto& entry : order)
        palette.push_back(entry.second);
    const auto nearest = [&](uint32_t color)
    {
        const auto distance = [&](uint32_t other)
        {
            int sum = 0;
            for (int shift : {0, 8, 16})
            {
                const int d = int(color >> shift & 255) - int(other >> shift & 255);
                sum += d * d;
            }
            return sum;
        };
        return uint8_t(std::min_element(palette.begin() + 1, palette.end(),
                                        [&](uint32_t a, uint32_t b) { return distance(a) < distance(b); }) -
                       palette.begin());
    };

    std::vector<uint8_t> bytes = {10, 5, 1, 8};
    for (int value : {0, 0, m_width - 1, m_height - 1, 72, 72})
        append16(bytes, value);
    bytes.resize(65);
    bytes.push_back(1);
    append16(bytes, m_width);
    append16(bytes, 1);
    bytes.resize(128);
    for (int y = 0; y < m_height; ++y)
        for (int x = 0; x < m_width;)
        {
            const auto index = [&](int column) { return opaque(column, y) ? nearest(reduced(column, y)) : uint8_t(0); };
            const uint8_t value = index(x);
            int run = 1;
            while (x + run < m_width && run < 63 && index(x + run) == value)
                ++run;
            if (run > 1 || value >= 0xC0)
                bytes.push_back(uint8_t(0xC0 | run));
            bytes.push_back(value);
            x += run;
        }
    bytes.push_back(12);
    palette.resize(256);
    for (uint32_t color : palette)
        for (int shift : {16, 8, 0})
            bytes.push_back(uint8_t(color >> shift));
    return writeFile(path, bytes);
}
