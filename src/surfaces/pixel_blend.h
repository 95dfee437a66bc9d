// pixel_blend.h - the blend formulas, as policies for templates: each once for a pixel, and for 55X5 once for a
// channel.
//
// A 55X5 policy has channel(), on which vector units work fastest: three 16-bit lanes per pixel. Where one multiply
// can serve all channels of a single pixel, it also has pixel(), in the spread form, with the same result.
// Internal linkage throughout, for the reason given in pixel_format.h.
#pragma once

#include "surfaces/pixel_format.h"

namespace
{

/// 55X5 with its green moved up to bits 26..22: every channel has zeros above it, enough for a multiply by 32.
constexpr UINT32 spread55X5(UINT32 p) { return ((p & 0x7C0) << 16) | (p & 0xF81F); }
constexpr UINT32 packSpread55X5(UINT32 p) { return ((p >> 16) & 0x7C0) | (p & 0xF81F); }

/// Blends the three channels of 55X5 pixels one by one. 16 bits hold all that the policies compute.
template <class Blend>
constexpr UINT16 blendChannels55X5(UINT16 s, UINT16 d, UINT16 a)
{
    const UINT16 red = Blend::channel(s >> 11, d >> 11, a);
    const UINT16 green = Blend::channel((s >> 6) & 31, (d >> 6) & 31, a);
    const UINT16 blue = Blend::channel(s & 31, d & 31, a);
    return static_cast<UINT16>(red << 11 | green << 6 | blue);
}

template <class Blend>
struct BlendByChannel55X5
{
    static constexpr UINT32 pixel(UINT32 s, UINT32 d, UINT32 a)
    {
        return blendChannels55X5<Blend>(static_cast<UINT16>(s), static_cast<UINT16>(d), static_cast<UINT16>(a));
    }
};

// Channels are 0..31 and a is 0..32.

struct BlendNone55X5
{
    static constexpr UINT16 channel(UINT16 s, UINT16, UINT16) { return s; }
    static constexpr UINT32 pixel(UINT32 s, UINT32, UINT32) { return s; }
};

struct BlendAlpha55X5
{
    static constexpr UINT16 channel(UINT16 s, UINT16 d, UINT16 a)
    {
        return static_cast<UINT16>(d * (32 - a) + s * a) >> 5;
    }
    static constexpr UINT32 pixel(UINT32 s, UINT32 d, UINT32 a)
    {
        return packSpread55X5((spread55X5(d) * (32 - a) + spread55X5(s) * a) >> 5);
    }
};

struct BlendAlphaFast55X5
{
    static constexpr UINT16 channel(UINT16 s, UINT16 d, UINT16) { return static_cast<UINT16>(s + d) >> 1; }
    static constexpr UINT32 pixel(UINT32 s, UINT32 d, UINT32)
    {
        return packSpread55X5((spread55X5(s) + spread55X5(d)) >> 1);
    }
};

struct BlendMul55X5 : BlendByChannel55X5<BlendMul55X5>
{
    static constexpr UINT16 channel(UINT16 s, UINT16 d, UINT16 a)
    {
        const UINT16 product = static_cast<UINT16>((s + 1) * d) >> 5;
        return static_cast<UINT16>(product * a + d * (32 - a)) >> 5;
    }
};

struct BlendMulFast55X5 : BlendByChannel55X5<BlendMulFast55X5>
{
    static constexpr UINT16 channel(UINT16 s, UINT16 d, UINT16) { return static_cast<UINT16>((s + 1) * d) >> 5; }
};

/// Fills every channel of a spread sum that overflowed: its carry bit minus the bit 5 lower is five ones.
constexpr UINT32 saturateSpread55X5(UINT32 sum)
{
    const UINT32 carries = sum & 0x08010020;
    return packSpread55X5(sum | (carries - (carries >> 5)));
}

struct BlendAdd55X5
{
    static constexpr UINT16 channel(UINT16 s, UINT16 d, UINT16 a)
    {
        const UINT16 sum = static_cast<UINT16>((static_cast<UINT16>(s * a) >> 5) + d);
        return sum > 31 ? 31 : sum;
    }
    static constexpr UINT32 pixel(UINT32 s, UINT32 d, UINT32 a)
    {
        return saturateSpread55X5(((spread55X5(s) * a) >> 5 & 0x07C0F81F) + spread55X5(d));
    }
};

struct BlendAddFast55X5
{
    static constexpr UINT16 channel(UINT16 s, UINT16 d, UINT16)
    {
        const UINT16 sum = static_cast<UINT16>(s + d);
        return sum > 31 ? 31 : sum;
    }
    static constexpr UINT32 pixel(UINT32 s, UINT32 d, UINT32)
    {
        return saturateSpread55X5(spread55X5(s) + spread55X5(d));
    }
};

struct BlendInvmul55X5 : BlendByChannel55X5<BlendInvmul55X5>
{
    static constexpr UINT16 channel(UINT16 s, UINT16 d, UINT16 a)
    {
        return static_cast<UINT16>(d * static_cast<UINT16>(1024 - s * a)) >> 10;
    }
};

struct BlendInvmulFast55X5 : BlendByChannel55X5<BlendInvmulFast55X5>
{
    static constexpr UINT16 channel(UINT16 s, UINT16 d, UINT16) { return static_cast<UINT16>((32 - s) * d) >> 5; }
};

// The 8888 families: s is premultiplied, v is 0..255. kOpaque tells X888 destinations from premultiplied ones; what is
// blended onto X888 comes out with alpha 0xFF.

/// f(source channel, destination channel) for red, green and blue; a result beyond 255 wraps.
template <class F>
constexpr UINT32 forEachColor(UINT32 s, UINT32 d, F f)
{
    return (f(s >> 16 & 0xFF, d >> 16 & 0xFF) & 0xFF) << 16 | (f(s >> 8 & 0xFF, d >> 8 & 0xFF) & 0xFF) << 8 |
           (f(s & 0xFF, d & 0xFF) & 0xFF);
}

// The two that sprites with soft edges lean on work on a pixel and on a vector of them alike. They treat the alpha as a
// fourth channel: s + d (255 - s) / 255 is 255 - (255 - d) (255 - s) / 255, rounded alike.

template <bool kOpaque>
struct BlendNone8888
{
    template <class P>
    static constexpr P pixel(P s, P d, P)
    {
        return addChannels(s, scaleChannels(d, 255 - (s >> 24))) | (kOpaque ? 0xFF000000 : 0);
    }
};

template <bool kOpaque>
struct BlendAlpha8888
{
    template <class P>
    static constexpr P pixel(P s, P d, P v)
    {
        const P scaled = scaleChannels(s, v);
        return addChannels(scaled, scaleChannels(d, 255 - (scaled >> 24))) | (kOpaque ? 0xFF000000 : 0);
    }
};

template <bool kOpaque>
struct BlendMul8888
{
    static constexpr UINT32 pixel(UINT32 s, UINT32 d, UINT32 v)
    {
        const UINT32 alpha = divide255((s >> 24) * v);
        const UINT32 k = 255 - alpha;
        if constexpr (kOpaque)
            return 0xFF000000 |
                   forEachColor(s, d, [=](UINT32 sc, UINT32 dc) { return divide255((divide255(sc * v) + k) * dc); });
        else
        {
            const UINT32 under = d >> 24;
            const UINT32 color =
                forEachColor(s, d,
                             [=](UINT32 sc, UINT32 dc)
                             { return divide255(divide255(sc * v) * (dc + 255 - under)) + divide255(dc * k); });
            return (under + alpha - divide255(under * alpha)) << 24 | color;
        }
    }
};

template <bool kOpaque>
struct BlendAdd8888
{
    static constexpr UINT32 pixel(UINT32 s, UINT32 d, UINT32 v)
    {
        const UINT32 limit = kOpaque ? 255 : d >> 24; // what is added is covered as the destination is
        const UINT32 f = kOpaque ? v : divide255(limit * v);
        const UINT32 color = forEachColor(s, d,
                                          [=](UINT32 sc, UINT32 dc)
                                          {
                                              const UINT32 sum = dc + divide255(sc * f);
                                              return sum < limit ? sum : limit;
                                          });
        return limit << 24 | color;
    }
};

template <bool kOpaque>
struct BlendInvmul8888
{
    static constexpr UINT32 pixel(UINT32 s, UINT32 d, UINT32 v)
    {
        const UINT32 color =
            forEachColor(s, d, [=](UINT32 sc, UINT32 dc) { return divide255((255 - divide255(sc * v)) * dc); });
        return (kOpaque ? 0xFF000000 : d & 0xFF000000) | color;
    }
};

} // namespace
