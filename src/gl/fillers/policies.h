// policies.h - what the fillers are composed of: what a pixel is shaded with, what its texels are, how it is blended.
//
// Everything works on single channels of five bits in 16-bit lanes, with no table and no branch, so that the compiler
// does eight pixels at a time. Internal linkage: a filler is one function in one section.
#pragma once

#include <kxcoreemb/pixel_converter.h>

namespace
{

struct Channels
{
    UINT16 r, g, b;
};

constexpr UINT16 narrow(UINT32 value) { return static_cast<UINT16>(value); }
constexpr UINT16 multiplyShift(UINT16 a, UINT16 b, int shift) { return narrow(static_cast<UINT32>(a * b) >> shift); }
constexpr Channels split(UINT16 p) { return {narrow(p >> 11), narrow(p >> 6 & 31), narrow(p & 31)}; }
constexpr UINT16 join(Channels c) { return narrow(static_cast<UINT32>(c.r << 11 | c.g << 6 | c.b)); }

// --- texels ---------------------------------------------------------------------------------------------------------

constexpr UINT16 kOpaque = 0x20; // of 5515

struct TexelNone
{
    static constexpr int kColumn = 0;
    static constexpr bool kTextured = false, kCutOut = false;
    static constexpr INT32 kFormat = 0;
    static UINT16 fetch(const UINT16*, const void*, UINT32) { return 0; }
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
// kChannels values are interpolated, from the bits of the vertex colours that kShifts names. light has the top five
// bits of each; flat is the triangle's colour, all eight.

struct ShadeNone
{
    static constexpr int kSlot = 0, kChannels = 0;
    static constexpr int kShifts[] = {0};
    static Channels shade(Channels texel, const Channels&, const UINT16*) { return texel; }
    static Channels color(const Channels&, const UINT16*) { return {}; }
};

struct ShadeFlat
{
    static constexpr int kSlot = 1, kChannels = 0;
    static constexpr int kShifts[] = {0};
    static Channels shade(Channels texel, const Channels& flat, const UINT16*)
    {
        return {multiplyShift(texel.r, flat.r, 8), multiplyShift(texel.g, flat.g, 8),
                multiplyShift(texel.b, flat.b, 8)};
    }
    static Channels color(const Channels& flat, const UINT16*)
    {
        return {narrow(flat.r >> 3), narrow(flat.g >> 3), narrow(flat.b >> 3)};
    }
};

struct ShadeGouraud
{
    static constexpr int kSlot = 2, kChannels = 3;
    static constexpr int kShifts[] = {16, 8, 0};
    static Channels shade(Channels texel, const Channels&, const UINT16* light)
    {
        return {multiplyShift(texel.r, light[0], 5), multiplyShift(texel.g, light[1], 5),
                multiplyShift(texel.b, light[2], 5)};
    }
    static Channels color(const Channels&, const UINT16* light) { return {light[0], light[1], light[2]}; }
};

struct ShadeGreyscale
{
    static constexpr int kSlot = 3, kChannels = 1;
    static constexpr int kShifts[] = {0};
    static Channels shade(Channels texel, const Channels&, const UINT16* light)
    {
        return {multiplyShift(texel.r, light[0], 5), multiplyShift(texel.g, light[0], 5),
                multiplyShift(texel.b, light[0], 5)};
    }
    static Channels color(const Channels&, const UINT16* light) { return {light[0], light[0], light[0]}; }
};

// --- blending -------------------------------------------------------------------------------------------------------
// channel() takes the target's value, the source's, and a: 0..32, where 32 is all of the source.

struct BlendNone
{
    static constexpr int kRow = 0;
    static constexpr bool kBlends = false, kKeepsAtZero = false;
    static UINT16 channel(UINT16, UINT16 s, UINT16) { return s; }
};

struct BlendAlpha
{
    static constexpr int kRow = 1;
    static constexpr bool kBlends = true, kKeepsAtZero = false;
    static UINT16 channel(UINT16 d, UINT16 s, UINT16 a)
    {
        return narrow(multiplyShift(d, narrow(32u - a), 5) + UINT32(multiplyShift(s, a, 5)));
    }
};

struct BlendAdd
{
    static constexpr int kRow = 2;
    static constexpr bool kBlends = true, kKeepsAtZero = false;
    static UINT16 channel(UINT16 d, UINT16 s, UINT16 a)
    {
        const UINT16 sum = narrow(d + UINT32(multiplyShift(s, a, 5)));
        return sum < 31 ? sum : UINT16(31);
    }
};

struct BlendInvmul
{
    static constexpr int kRow = 3;
    static constexpr bool kBlends = true;
    static constexpr bool kKeepsAtZero = true; // all of the pixel, with its unused bit
    static UINT16 channel(UINT16 d, UINT16 s, UINT16 a) { return multiplyShift(d, narrow(1024u - UINT32(a * s)), 10); }
};

} // namespace
