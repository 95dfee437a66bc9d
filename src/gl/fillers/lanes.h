// lanes.h - eight pixels next to each other, and the channels that run along them.
//
// Everything per pixel happens in vectors of eight 16-bit lanes, which the compiler maps to whatever the machine has,
// down to plain registers.
#pragma once

#include <kxcoreemb/base.h>

#include <cstring>

namespace
{

constexpr int kLanes = 8;

/// Eight 16-bit values, or pixels, next to each other. Comparisons answer all ones or zero.
typedef UINT16 Lanes __attribute__((vector_size(kLanes * sizeof(UINT16))));

inline Lanes broadcast(UINT16 v) { return Lanes{v, v, v, v, v, v, v, v}; }

inline Lanes load(const UINT16* pixels)
{
    Lanes result;
    std::memcpy(&result, pixels, sizeof(result));
    return result;
}

inline void store(UINT16* pixels, Lanes value) { std::memcpy(pixels, &value, sizeof(value)); }

template <class Mask>
Lanes select(Mask mask, Lanes yes, Lanes no)
{
    const Lanes bits = reinterpret_cast<Lanes>(mask);
    return (yes & bits) | (no & ~bits);
}

/// At index kLanes - n: n lanes of ones, zeros behind them.
constexpr UINT16 kLaneMasks[2 * kLanes] = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};

typedef UINT32 WideLanes __attribute__((vector_size(kLanes / 2 * sizeof(UINT32))));

inline WideLanes broadcastWide(UINT32 v) { return WideLanes{v, v, v, v}; }

/// An 8.16 channel along a span: the even pixels of a batch beside the odd ones, so that their top five bits fall into
/// the low and the high halves of the same words, which are the lanes of the batch.
struct ChannelRamp
{
    WideLanes even, odd, batch; // from the first pixel to the others, from batch to batch

    void begin(UINT32 step)
    {
        const WideLanes steps = broadcastWide(step);
        even = steps * WideLanes{0, 2, 4, 6};
        odd = even + steps;
        batch = steps * kLanes;
    }
};
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "elsewhere the even pixels belong in the high halves");

/// The top five of the eight bits before the point; 0 and 31 for what rounding carried out of their range.
inline Lanes topFiveBits(WideLanes even, WideLanes odd)
{
    typedef INT32 Wide __attribute__((vector_size(sizeof(WideLanes))));
    typedef INT16 Signed __attribute__((vector_size(sizeof(Lanes))));
    const Wide low = reinterpret_cast<Wide>(even) >> 19 & 0xFFFF, high = reinterpret_cast<Wide>(odd) >> 3 & ~0xFFFF;
    Signed bits = reinterpret_cast<Signed>(low | high);
    bits = bits > 0 ? bits : Signed{};
    bits = bits > 31 ? Signed{} + 31 : bits;
    return reinterpret_cast<Lanes>(bits);
}

} // namespace
