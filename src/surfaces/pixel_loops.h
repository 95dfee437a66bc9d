// pixel_loops.h - how the tables of kernels go over rows and blocks of pixels.
//
// For the .inc files only, which are compiled once per machine: everything has internal linkage.
#pragma once

#include "surfaces/pixel_blend.h"
#include "surfaces/pixel_kernels.h"

// Pixels are read before the pixel in the same place is written, and no other is: the loops may run many at a time.
#if defined(__clang__)
#define KXC_PIXEL_LOOP _Pragma("clang loop vectorize(assume_safety)")
#define KXC_ONE_COPY __attribute__((noinline))
#else
#define KXC_PIXEL_LOOP _Pragma("GCC ivdep")
#define KXC_ONE_COPY __attribute__((noinline, noclone)) // -O3 likes to copy whole loops into each caller
#endif

namespace
{

template <class Pixel>
Pixel* rowOf(void* base, ptrdiff_t pitch, INT32 y)
{
    return reinterpret_cast<Pixel*>(static_cast<UINT8*>(base) + y * pitch);
}
template <class Pixel>
const Pixel* rowOf(const void* base, ptrdiff_t pitch, INT32 y)
{
    return reinterpret_cast<const Pixel*>(static_cast<const UINT8*>(base) + y * pitch);
}

template <class T, class F>
inline void mapRow(T* target, INT32 count, F f)
{
    KXC_PIXEL_LOOP
    for (INT32 x = 0; x < count; ++x)
        target[x] = static_cast<T>(f(target[x]));
}

template <class T, class S, class F>
inline void mapRow(T* target, const S* source, INT32 count, F f)
{
    KXC_PIXEL_LOOP
    for (INT32 x = 0; x < count; ++x)
        target[x] = static_cast<T>(f(source[x], target[x]));
}

/// target = f(source, target) over a block.
template <class T, class S, class F>
inline void mapBlock(const KxcPixelBlock& b, F f)
{
    for (INT32 y = 0; y < b.height; ++y)
        mapRow(rowOf<T>(b.target, b.targetPitch, y), rowOf<S>(b.source, b.sourcePitch, y), b.width, f);
}

template <class T, class F>
inline void mapBlock(const KxcPixelBlock& b, F f)
{
    for (INT32 y = 0; y < b.height; ++y)
        mapRow(rowOf<T>(b.target, b.targetPitch, y), b.width, f);
}

/// Long rows go on from a boundary of the widest store: one that crosses cache lines takes twice as long.
template <class Pixel>
inline void fillRow(Pixel* target, INT32 count, Pixel color)
{
    constexpr INT32 kStore = 32 / sizeof(Pixel);
    if (count > 4 * kStore)
    {
        for (INT32 x = 0; x < kStore; ++x)
            target[x] = color;
        const INT32 next = kStore - static_cast<INT32>(reinterpret_cast<uintptr_t>(target) % 32 / sizeof(Pixel));
        target += next;
        count -= next;
    }
#pragma GCC unroll 4 // stores are so cheap that the loop around them counts
    for (INT32 x = 0; x < count; ++x)
        target[x] = color;
}

template <class Blend>
KXC_ONE_COPY void blendColorRun(UINT32 color, void* destination, UINT32 value, INT32 count)
{
    if (value == 0)
        return; // not even a spare bit changes
    const UINT16 s = static_cast<UINT16>(color), a = static_cast<UINT16>(value);
    mapRow(static_cast<UINT16*>(destination), count, [=](UINT16 d) { return blendChannels55X5<Blend>(s, d, a); });
}

} // namespace
