// texels.h - pixels as the toolkit works on them: four channels in the bytes of a word, in a working format's widths.
//
// Mixing four neighbours takes two steps and is rounded once. The first, across, leaves 8 fraction bits in each
// channel: two pairs of 16 bits, red with blue and alpha with green. The second, down, rounds. Internal linkage, for
// the reason given in pixel_format.h.
#pragma once

#include "surfaces/pixel_format.h"

namespace
{

struct Texel55X5 // 5 bits in each byte
{
    using Pixel = UINT16;
    static constexpr UINT32 kChannels = 3; // blue, green, red
    static constexpr UINT32 unpack(UINT32 p) { return (p & 0xF800) << 5 | (p & 0x7C0) << 2 | (p & 0x1F); }
    static constexpr Pixel pack(UINT32 t)
    {
        return static_cast<Pixel>((t >> 5 & 0xF800) | (t >> 2 & 0x7C0) | (t & 0x1F));
    }
    static constexpr UINT32 get(UINT32 p, UINT32 channel) { return unpack(p) >> (channel * 8) & 0x1F; }
    /// The weight that a fraction of a pixel, 0..65535, gives the next one: 0..32, in 256ths.
    static constexpr UINT32 weight(UINT32 fraction) { return (fraction + 1024) >> 11 << 3; }
};

struct Texel8888 // X888 and PREMUL8888
{
    using Pixel = UINT32;
    static constexpr UINT32 kChannels = 4;
    static constexpr UINT32 unpack(UINT32 p) { return p; }
    static constexpr Pixel pack(UINT32 t) { return t; }
    static constexpr UINT32 get(UINT32 p, UINT32 channel) { return p >> (channel * 8) & 0xFF; }
    static constexpr UINT32 weight(UINT32 fraction) { return (fraction + 128) >> 8; }
};

/// A pair of channels mixed by the weight of the right one, 0..256, with 8 fraction bits each.
constexpr UINT32 mixAcross(UINT32 left, UINT32 right, UINT32 weight) { return left * (256 - weight) + right * weight; }

/// Two of those mixed, and rounded to bytes.
constexpr UINT32 mixDown(UINT32 top, UINT32 bottom, UINT32 weight)
{
    // The differences wrap, and the sums come out right again.
    const UINT32 low = (top & 0xFFFF) * 256 + ((bottom & 0xFFFF) - (top & 0xFFFF)) * weight + 0x8000;
    const UINT32 high = (top >> 16) * 256 + ((bottom >> 16) - (top >> 16)) * weight + 0x8000;
    return low >> 16 | (high & 0xFF0000);
}

} // namespace
