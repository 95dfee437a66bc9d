// policies.h - what the fillers are composed of: what a pixel is shaded with, what its texels are, how it is blended.
//
// Everything works on channels of five bits; no product needs more than 16 bits.
#pragma once

#include "gl/fillers/lanes.h"

#include <kxcoreemb/pixel_converter.h>

namespace
{

struct Channels
{
    Lanes r, g, b;
};

inline Channels split(Lanes p) { return {p >> 11, p >> 6 & 31, p & 31}; }
inline Lanes join(const Channels& c) { return c.r << 11 | c.g << 6 | c.b; }

// --- texels ---------------------------------------------------------------------------------------------------------

constexpr UINT16 kOpaque = 0x20, kColors = 0xFFDF; // bits of 5515

struct TexelNone
{
    static constexpr int kColumn = 0;
    static constexpr bool kTextured = false, kCutOut = false;
    static constexpr INT32 kFormat = 0;
};

struct Texel55X5
{
    static constexpr int kColumn = 1;
    static constexpr bool kTextured = true, kCutOut = false;
    static constexpr INT32 kFormat = KXCSURFACEFORMAT_55X5;
    static UINT16 fetch(const UINT16*, const void* texels, UINT32 i) { return static_cast<const UINT16*>(texels)[i]; }
};

struct Texel5515 : Texel55X5
{
    static constexpr int kColumn = 2;
    static constexpr bool kCutOut = true; // texels that are not opaque leave the pixel alone
    static constexpr INT32 kFormat = KXCSURFACEFORMAT_5515;
};

struct TexelPal55X5
{
    static constexpr int kColumn = 3;
    static constexpr bool kTextured = true, kCutOut = false;
    static constexpr INT32 kFormat = KXCSURFACEFORMAT_PALETTE8;
    static UINT16 fetch(const UINT16* palette, const void* texels, UINT32 i)
    {
        return palette[static_cast<const UINT8*>(texels)[i]];
    }
};

// --- shading --------------------------------------------------------------------------------------------------------
// kChannels values are interpolated, from the bits of the vertex colours that kShifts names; light has the top five
// bits of each. flat is the triangle's colour, all eight bits of red, green and blue.

struct ShadeNone
{
    static constexpr int kSlot = 0, kChannels = 0;
    static constexpr int kShifts[] = {0};
    static Channels shade(const Channels& texel, const Lanes*, const Lanes*) { return texel; }
};

struct ShadeFlat
{
    static constexpr int kSlot = 1, kChannels = 0;
    static constexpr int kShifts[] = {0};
    static Channels shade(const Channels& texel, const Lanes* flat, const Lanes*)
    {
        return {texel.r * flat[0] >> 8, texel.g * flat[1] >> 8, texel.b * flat[2] >> 8};
    }
    static Channels color(const Lanes* flat, const Lanes*) { return {flat[0] >> 3, flat[1] >> 3, flat[2] >> 3}; }
};

struct ShadeGouraud
{
    static constexpr int kSlot = 2, kChannels = 3;
    static constexpr int kShifts[] = {16, 8, 0};
    static Channels shade(const Channels& texel, const Lanes*, const Lanes* light)
    {
        return {texel.r * light[0] >> 5, texel.g * light[1] >> 5, texel.b * light[2] >> 5};
    }
    static Channels color(const Lanes*, const Lanes* light) { return {light[0], light[1], light[2]}; }
};

struct ShadeGreyscale
{
    static constexpr int kSlot = 3, kChannels = 1;
    static constexpr int kShifts[] = {0};
    static Channels shade(const Channels& texel, const Lanes*, const Lanes* light)
    {
        return {texel.r * light[0] >> 5, texel.g * light[0] >> 5, texel.b * light[0] >> 5};
    }
    static Channels color(const Lanes*, const Lanes* light) { return {light[0], light[0], light[0]}; }
};

// --- blending -------------------------------------------------------------------------------------------------------
// channel() takes the target's value, the source's, and a: 0..32, where 32 is all of the source.

struct BlendNone
{
    static constexpr int kRow = 0;
    static constexpr bool kBlends = false, kKeepsAtZero = false;
    static Lanes channel(Lanes, Lanes s, Lanes) { return s; }
};

struct BlendAlpha
{
    static constexpr int kRow = 1;
    static constexpr bool kBlends = true, kKeepsAtZero = false;
    static Lanes channel(Lanes d, Lanes s, Lanes a) { return (d * (32 - a) >> 5) + (s * a >> 5); }
};

struct BlendAdd
{
    static constexpr int kRow = 2;
    static constexpr bool kBlends = true, kKeepsAtZero = false;
    static Lanes channel(Lanes d, Lanes s, Lanes a)
    {
        const Lanes sum = d + (s * a >> 5);
        return (sum | (0 - (sum >> 5))) & 31; // all ones where it carries
    }
};

struct BlendInvmul
{
    static constexpr int kRow = 3;
    static constexpr bool kBlends = true;
    static constexpr bool kKeepsAtZero = true; // all of the pixel, with its unused bit
    static Lanes channel(Lanes d, Lanes s, Lanes a) { return d * (1024 - a * s) >> 10; }
};

} // namespace
