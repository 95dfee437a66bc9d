// toolkit_dither.cpp - reduces a surface's colours, hiding the steps between those that are left.
//
// Rows are dithered as 8888 pixels. What a channel's value becomes stands in a table, so that one loop a method serves
// all levels.

#include "surfaces/toolkit.h"

namespace
{

constexpr UINT32 kChannels = 4; // blue, green, red, alpha, from the lowest byte up

INT32 channelOf(UINT32 pixel, UINT32 channel) { return static_cast<INT32>(pixel >> (channel * 8) & 0xFF); }

class Quantizer
{
public:
    explicit Quantizer(UINT32 levels)
    {
        for (UINT32 channel = 0; channel < kChannels; ++channel)
            for (UINT32 v = 0; v < 256; ++v)
                m_table[channel][v] = static_cast<UINT8>(levelOf(levels, channel, v));
    }
    /// @param value  beyond 0..255 it counts as the end that it passed
    UINT32 operator()(UINT32 channel, INT32 value) const
    {
        return m_table[channel][value < 0 ? 0 : value > 255 ? 255 : value];
    }

private:
    static UINT32 levelOf(UINT32 levels, UINT32 channel, UINT32 v)
    {
        // The two that 16-bit formats need keep the top bits as a conversion does, without rounding.
        const bool fiveBits = levels == 0x011F1F1F, fourBits = levels == 0x010F0F0F;
        if (fiveBits || fourBits)
        {
            if (channel == kChannels - 1)
                return v >= 128 ? 255 : 0;
            return fiveBits ? (v & 0xF8) + (v >> 5) : (v & 0xF0) + (v >> 4);
        }
        const UINT32 highest = levels >> (channel * 8) & 0xFF;
        return highest > 0 ? divide255(v * highest) * 255 / highest : 0;
    }

    UINT8 m_table[kChannels][256];
};

/// Quantizes pixels with the same threshold, 0..255, for all channels: it moves each by at most half a step.
class Threshold
{
public:
    /// @param levels  without a 0 among them
    explicit Threshold(UINT32 levels) : m_quantize(levels)
    {
        for (UINT32 channel = 0; channel < kChannels; ++channel)
            m_amplitude[channel] = 127 / (levels >> (channel * 8) & 0xFF);
    }
    UINT32 operator()(UINT32 pixel, UINT32 threshold) const
    {
        UINT32 result = 0;
        for (UINT32 c = 0; c < kChannels; ++c)
        {
            const UINT32 offset = divide255(m_amplitude[c] * threshold * 2);
            const INT32 value = channelOf(pixel, c) + static_cast<INT32>(offset) - static_cast<INT32>(m_amplitude[c]);
            result |= m_quantize(c, value) << (c * 8);
        }
        return result;
    }

private:
    Quantizer m_quantize;
    UINT32 m_amplitude[kChannels];
};

// The methods: row() dithers row y, rows being called in their order.

class PlainDither
{
public:
    explicit PlainDither(UINT32 levels) : m_quantize(levels) {}
    void row(UINT32* pixels, INT32 width, INT32) const
    {
        for (INT32 x = 0; x < width; ++x)
        {
            UINT32 result = 0;
            for (UINT32 c = 0; c < kChannels; ++c)
                result |= m_quantize(c, channelOf(pixels[x], c)) << (c * 8);
            pixels[x] = result;
        }
    }

private:
    Quantizer m_quantize;
};

class RandomDither
{
public:
    explicit RandomDither(UINT32 levels) : m_threshold(levels) {}
    void row(UINT32* pixels, INT32 width, INT32)
    {
        for (INT32 x = 0; x < width; ++x)
        {
            m_seed = (m_seed * 1103515245 + 12345) & 0x80FFFFFF;
            pixels[x] = m_threshold(pixels[x], m_seed >> 16 & 255);
        }
    }

private:
    Threshold m_threshold;
    UINT32 m_seed = 1243984373;
};

class OrderedDither
{
public:
    explicit OrderedDither(UINT32 levels) : m_threshold(levels) {}
    void row(UINT32* pixels, INT32 width, INT32 y) const
    {
        static constexpr UINT8 kThresholds[4][4] = {
            {0, 136, 34, 170}, {204, 68, 238, 102}, {51, 187, 17, 153}, {255, 119, 221, 85}};
        for (INT32 x = 0; x < width; ++x)
            pixels[x] = m_threshold(pixels[x], kThresholds[x & 3][y & 3]);
    }

private:
    Threshold m_threshold;
};

/// Floyd-Steinberg, every row from left to right.
class DiffusionDither
{
public:
    DiffusionDither(UINT32 levels, INT32 width)
        : m_quantize(levels),
          m_count(static_cast<size_t>(width) + 1),
          m_errors(new (std::nothrow) Errors[2 * m_count]())
    {
    }
    ~DiffusionDither() { delete[] m_errors; }
    DiffusionDither(const DiffusionDither&) = delete;
    DiffusionDither& operator=(const DiffusionDither&) = delete;

    explicit operator bool() const { return m_errors != nullptr; }
    void row(UINT32* pixels, INT32 width, INT32 y)
    {
        Errors* const current = m_errors + (y & 1 ? m_count : 0);
        Errors* const below = m_errors + (y & 1 ? 0 : m_count);
        memset(below, 0, m_count * sizeof(Errors));
        for (INT32 x = 0; x < width; ++x)
        {
            UINT32 result = 0;
            for (UINT32 c = 0; c < kChannels; ++c)
            {
                const INT32 value = channelOf(pixels[x], c) + current[x].of[c];
                const UINT32 level = m_quantize(c, value);
                result |= level << (c * 8);
                const INT32 error = value - static_cast<INT32>(level);
                add(current[x + 1].of[c], 7 * error / 16);
                if (x > 0)
                    add(below[x - 1].of[c], 3 * error / 16);
                add(below[x].of[c], 5 * error / 16);
                add(below[x + 1].of[c], error - 15 * error / 16);
            }
            pixels[x] = result;
        }
    }

private:
    struct Errors
    {
        INT16 of[kChannels];
    };
    static void add(INT16& error, INT32 part) { error = static_cast<INT16>(error + part); }

    Quantizer m_quantize;
    size_t m_count;
    Errors* m_errors; // owned: two rows
};

template <class Method>
void ditherRows(KxcGLSurface* surface, Method& method)
{
    const INT32 width = surface->getWidth(), format = surface->getFormat();
    UINT32* const row = new (std::nothrow) UINT32[static_cast<size_t>(width)];
    void* pixels = nullptr;
    const INT32 pitch = row != nullptr ? surface->lock(&pixels, format, 0) : 0;
    if (pixels != nullptr)
    {
        for (INT32 y = 0; y < surface->getHeight(); ++y)
        {
            UINT8* const stored = static_cast<UINT8*>(pixels) + static_cast<ptrdiff_t>(y) * pitch;
            KxcPixelConverter::convertBuffer(stored, row, width, format, KXCSURFACEFORMAT_8888);
            method.row(row, width, y);
            KxcPixelConverter::convertBuffer(row, stored, width, KXCSURFACEFORMAT_8888, format);
        }
        surface->unlock();
    }
    delete[] row;
}

template <class Method>
void ditherWith(KxcGLSurface* surface, UINT32 levels)
{
    Method method(levels);
    ditherRows(surface, method);
}

bool allAboveZero(UINT32 levels)
{
    return (levels & 0xFF) != 0 && (levels >> 8 & 0xFF) != 0 && (levels >> 16 & 0xFF) != 0 && levels >> 24 != 0;
}

} // namespace

void KxcGLSurfaceToolkit::ditherSurface(KxcGLSurface* surface, UINT32 levels, INT32 method)
{
    if (surface == nullptr || surface->getFormat() == KXCSURFACEFORMAT_PALETTE8)
        return;
    if (method == KXCDITHER_NONE)
        ditherWith<PlainDither>(surface, levels);
    else if (method == KXCDITHER_RANDOM && allAboveZero(levels))
        ditherWith<RandomDither>(surface, levels);
    else if (method == KXCDITHER_ORDERED && allAboveZero(levels))
        ditherWith<OrderedDither>(surface, levels);
    else if (method == KXCDITHER_ERRORDIFFUSION)
    {
        DiffusionDither diffusion(levels, surface->getWidth());
        if (diffusion)
            ditherRows(surface, diffusion);
    }
}
