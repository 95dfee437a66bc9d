// golden.h - checksums of what the engine makes of numbers, held against golden_values.inc: the same on every machine
// and with every compiler, and the same tomorrow as today.
//
// Scenes are made of whole numbers alone, so that nothing depends on the machine before the engine does. When a
// picture is meant to change, update.sh writes the values anew.
#pragma once

#include "support/engine.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <type_traits>

/// FNV-1a over the bytes of numbers, the lowest first.
class Checksum
{
public:
    template <class Number, std::enable_if_t<std::is_integral<Number>::value, int> = 0>
    void add(Number number)
    {
        for (size_t i = 0; i < sizeof(Number); ++i)
            m_sum = (m_sum ^ (static_cast<UINT64>(number) >> (8 * i) & 0xFF)) * 0x100000001B3u;
    }
    template <class Number>
    void add(const Number* numbers, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            add(numbers[i]);
    }
    void add(KxcFixed number) { add(number.raw()); }
    /// The pixels, in another format where that is not 0; what cannot be opened counts as its size.
    void add(KxcGLSurface& surface, INT32 format = 0)
    {
        add(surface.getWidth());
        add(surface.getHeight());
        void* pixels = nullptr;
        const INT32 pitch = surface.lock(&pixels, format, KXCLOCK_READONLY);
        const size_t count = static_cast<size_t>(surface.getWidth() * surface.getHeight());
        if (pitch == 4 * surface.getWidth())
            add(static_cast<UINT32*>(pixels), count);
        else if (pitch == 2 * surface.getWidth())
            add(static_cast<UINT16*>(pixels), count);
        surface.unlock();
    }
    UINT64 sum() const { return m_sum; }

private:
    UINT64 m_sum = 0xCBF29CE484222325u;
};

/// Holds a sum against the value of that name; with KXC_PRINT_GOLDEN in the environment prints the sum as a line of
/// golden_values.inc.
inline void expectGolden(const std::string& name, const Checksum& sum)
{
    const auto known = [&]() -> UINT64
    {
#define GOLDEN(text, value) \
    if (name == text)       \
    return value
#include "golden_values.inc"
#undef GOLDEN
        return 0;
    };
    if (getenv("KXC_PRINT_GOLDEN"))
        printf("GOLDEN(\"%s\", 0x%016llX);\n", name.c_str(), static_cast<unsigned long long>(sum.sum()));
    else
        EXPECT_EQ(sum.sum(), known()) << name << ": see tests/golden/update.sh if it was meant to change";
}

/// Numbers that are the same wherever they are drawn. Compilers evaluate arguments in any order, but what stands in
/// braces from left to right: no call takes two of these.
struct Noise
{
    UINT32 next()
    {
        const UINT32 numbers[] = {static_cast<UINT32>(engine()), static_cast<UINT32>(engine())};
        return numbers[0] << 16 ^ numbers[1];
    }
    INT32 below(INT32 limit) { return static_cast<INT32>(next() % static_cast<UINT32>(limit)); }
    INT32 between(INT32 a, INT32 b) { return a + below(b - a); }
    KxcFixed fixed(INT32 a, INT32 b) { return KxcFixed::fromRaw(between(a * 65536, b * 65536)); }

    std::minstd_rand engine{1};
};

/// A surface whose pixels are runs of noise; a third of them opaque, a third transparent, where there is alpha.
inline std::unique_ptr<KxcGLSurface> noisySurface(INT32 width, INT32 height, INT32 format)
{
    Noise noise;
    std::unique_ptr<KxcGLSurface> surface(KxcGLSurface::create(width, height, format));
    const bool paletted = format == KXCSURFACEFORMAT_PALETTE8;
    void* pixels = nullptr;
    surface->lock(&pixels, paletted ? format : INT32{KXCSURFACEFORMAT_8888}, KXCLOCK_DISCARD);
    UINT32 pixel = 0;
    for (INT32 i = 0; i < width * height; ++i)
    {
        if (noise.below(3) != 0)
            pixel = noise.next() & 0x00FFFFFF;
        const UINT32 alpha[] = {0, 255, noise.next() & 255};
        if (paletted)
            static_cast<UINT8*>(pixels)[512 + i] = static_cast<UINT8>(pixel >> 8);
        else
            static_cast<UINT32*>(pixels)[i] = pixel | alpha[i / 7 % 3] << 24;
    }
    for (INT32 i = 0; paletted && i < 256; ++i)
        static_cast<UINT16*>(pixels)[i] = static_cast<UINT16>(noise.next() & 0xFFDF);
    surface->unlock();
    return surface;
}
