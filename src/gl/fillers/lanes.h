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
inline WideLanes loadWide(const UINT32* values)
{
    WideLanes result;
    std::memcpy(&result, values, sizeof(result));
    return result;
}
inline void storeWide(UINT32* values, WideLanes lanes) { std::memcpy(values, &lanes, sizeof(lanes)); }

typedef UINT64 Halves __attribute__((vector_size(sizeof(Lanes)))); // of a batch

/// Half a batch from one place, half from another.
inline Lanes loadHalves(const UINT16* first, const UINT16* second)
{
    UINT64 a, b;
    std::memcpy(&a, first, sizeof(a));
    std::memcpy(&b, second, sizeof(b));
    return reinterpret_cast<Lanes>(Halves{a, b});
}
inline void storeHalves(UINT16* first, UINT16* second, Lanes value)
{
    const Halves halves = reinterpret_cast<Halves>(value);
    const UINT64 a = halves[0], b = halves[1];
    std::memcpy(first, &a, sizeof(a));
    std::memcpy(second, &b, sizeof(b));
}

/// An 8.16 channel along a span: the even pixels of a batch beside the odd ones, so that their top five bits fall into
/// the low and the high halves of the same words, which are the lanes of the batch.
struct ChannelRamp
{
    WideLanes even, odd; // from the first pixel to the others

    /// For a batch, or for two halves that begin anew.
    static ChannelRamp whole(UINT32 step) { return from(WideLanes{0, 2 * step, 4 * step, 6 * step}, step); }
    static ChannelRamp halves(UINT32 step) { return from(WideLanes{0, 2 * step, 0, 2 * step}, step); }

private:
    static ChannelRamp from(WideLanes even, UINT32 step) { return {even, even + broadcastWide(step)}; }
};
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "elsewhere the even pixels belong in the high halves");

/// The top five of the eight bits before the point; 0 and 31 for what rounding carried out of their range.
inline Lanes topFiveBits(WideLanes even, WideLanes odd)
{
    typedef INT16 Signed __attribute__((vector_size(sizeof(Lanes))));
    Signed bits =
        reinterpret_cast<Signed>(even >> 16 | (odd & 0xFFFF0000)) >> 3; // 16 bits hold what is before the point
    bits = bits > 0 ? bits : Signed{};
    bits = bits > 31 ? Signed{} + 31 : bits;
    return reinterpret_cast<Lanes>(bits);
}

} // namespace
