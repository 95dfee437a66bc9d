// filler_reference.h - what each filler has to draw, computed anew for every pixel without a loop that steps.
#pragma once

#include "gl/triangle.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace reference
{

/// One filler, as the list names it.
struct Kind
{
    std::string name, shading, texel, blend;
    bool perspective;
};

/// Texels of one level: 16-bit pixels, palettes looked up.
struct Picture
{
    INT64 width, height;
    std::vector<UINT16> texels;
    UINT16 at(INT64 u, INT64 v) const // texels, 16.16
    {
        return texels[static_cast<size_t>((v >> 16 & (height - 1)) * width + (u >> 16 & (width - 1)))];
    }
};

inline INT64 ceil(INT64 v) { return (v + 0xFFFF) >> 16; }
inline INT64 times(INT64 a, INT64 b) { return static_cast<INT64>(static_cast<UINT64>(a) * static_cast<UINT64>(b)); }
inline INT64 mul(INT64 a, INT64 b) { return times(a, b) >> 16; }
inline INT64 overQ(INT64 q) { return (INT64(1) << 42) / (q ? q : 0x200000); }

inline UINT32 spread(UINT32 p) { return (p & 0x7C0) << 16 | (p & 0xF81F); }
inline UINT16 pack(UINT32 q) { return static_cast<UINT16>((q >> 16 & 0x7C0) | (q & 0xF81F)); }

inline UINT16 blend(const std::string& how, UINT32 d, UINT32 s, UINT32 a)
{
    if (how == "Alpha")
        return pack((((spread(d) * (32 - a)) & 0xF81F03E0u) + ((spread(s) * a) & 0xF81F03FFu)) >> 5);
    if (how == "Add")
    {
        UINT32 q = spread(d) + ((spread(s) * a) >> 5 & 0x7C0F81F);
        const UINT32 carries = q & 0x8010020;
        q |= carries - (carries >> 5);
        return pack(q);
    }
    if (how == "Invmul" && a != 0)
    {
        UINT32 out = 0;
        for (int shift : {11, 6, 0})
            out |= ((d >> shift & 31) * (1024 - a * (s >> shift & 31))) >> 10 << shift;
        return static_cast<UINT16>(out);
    }
    return static_cast<UINT16>(how == "Invmul" ? d : s);
}

/// Draws one triangle into width x height pixels. @param levels  of the texture
inline void draw(const Kind& kind, const KxcGLTriangle& triangle, const KxcVector4* vertices,
                 const std::vector<Picture>& levels, INT64 width, INT64 height, std::vector<UINT16>& pixels)
{
    enum
    {
        kX,
        kR,
        kG,
        kB,
        kA,
        kU,
        kV,
        kQ,
        kValues
    };
    struct Corner
    {
        INT64 y, value[kValues];
    } corner[3];
    const KxcGLTriangle::Corners& record = triangle.corners;
    const bool textured = kind.texel != "None";
    for (int i = 0; i < 3; ++i)
    {
        const KxcVector4& v = vertices[record.vertex[i]];
        const UINT32 c = record.color[i];
        Corner& out = corner[i];
        out.y = v.y.raw();
        out.value[kX] = v.x.raw();
        for (int k = 0; k < 4; ++k)
            out.value[kR + k] = (c >> (k == 3 ? 24 : 16 - 8 * k) & 255) << 16;
        if (kind.shading == "Greyscale")
            out.value[kR] = out.value[kG] = out.value[kB];
        out.value[kU] = textured ? record.u[i].raw() * levels[0].width : 0;
        out.value[kV] = textured ? record.v[i].raw() * levels[0].height : 0;
        const INT64 w = v.w.raw() == 0 ? 655 : v.w.raw();
        out.value[kQ] = (INT64(1) << 42) / (w * 32);
        for (int k : {kU, kV})
            if (kind.perspective)
                out.value[k] = (out.value[k] * 32 * out.value[kQ]) >> 21;
    }
    for (int i : {0, 1, 0})
        if (corner[i].y > corner[i + 1].y)
            std::swap(corner[i], corner[i + 1]);
    const Corner &top = corner[0], &middle = corner[1], &bottom = corner[2];
    if (top.y == bottom.y)
        return;
    const INT64 r = (middle.y - top.y) * 65536 / (bottom.y - top.y);
    const auto across = [&](int k) { return top.value[k] + mul(r, bottom.value[k] - top.value[k]) - middle.value[k]; };
    const INT64 s = across(kX);
    if (s == 0)
        return;
    const INT64 clamped = s > 0 ? std::max<INT64>(s, 65536) : std::min<INT64>(s, -65536);
    const auto gradient = [&](int k) { return across(k) * 65536 / clamped; };
    const auto onEdge = [](const Corner& a, const Corner& b, int k, INT64 y)
    {
        const INT64 inverse = (INT64(1) << 32) / std::max<INT64>(b.y - a.y, 65536);
        const INT64 slope = mul(b.value[k] - a.value[k], inverse);
        return a.value[k] + mul(slope, ceil(a.y) * 65536 - a.y) + slope * (y - ceil(a.y));
    };

    size_t level = 0;
    if (textured && !kind.perspective)
    {
        const INT64 n = ceil(std::max(std::llabs(gradient(kU)), std::llabs(gradient(kV))));
        INT64 log2 = 0;
        while (INT64(1) << log2 < n)
            ++log2;
        level = static_cast<size_t>(std::max<INT64>(0, log2 - 1));
        level = level < levels.size() ? level : 0;
    }
    const UINT32 A = record.color[0] >> 24, t = (A + 4) * 32, flatAlpha = ((t >> 8) + t) >> 8;
    const bool interpolated = kind.shading == "Gouraud" || kind.shading == "Greyscale";

    for (INT64 y = std::max<INT64>(0, ceil(top.y)); y < std::min(height, ceil(bottom.y)); ++y)
    {
        const bool upper = y < ceil(middle.y);
        const auto onLong = [&](int k) { return onEdge(top, bottom, k, y); };
        const auto onShort = [&](int k) { return onEdge(upper ? top : middle, upper ? middle : bottom, k, y); };
        const auto onLeft = [&](int k) { return s > 0 ? onShort(k) : onLong(k); };
        const INT64 left = onLeft(kX), right = s > 0 ? onLong(kX) : onShort(kX);
        const INT64 first = ceil(left), length = ceil(right) - first;
        for (INT64 x = std::max<INT64>(0, first); x < std::min(width, first + length); ++x)
        {
            const auto value = [&](int k, INT64 pixel)
            { return onLeft(k) + mul(gradient(k), first * 65536 - left) + gradient(k) * pixel; };
            const INT64 pixel = x - first;
            INT64 u = 0, v = 0;
            if (textured && kind.perspective)
            {
                INT64 begin = 0, run = length % 16 == 0 ? 16 : length % 16;
                for (; pixel >= begin + run; run = 16)
                    begin += run;
                const auto at = [&](int k)
                {
                    const INT64 from = times(value(k, begin), overQ(value(kQ, begin))) >> 21;
                    const INT64 to = times(value(k, begin + run), overQ(value(kQ, begin + run))) >> 21;
                    return (from >> 5) + (run == 16 ? (to - from) >> 9 : (to - from) / (32 * run)) * (pixel - begin);
                };
                u = at(kU);
                v = at(kV);
            }
            else if (textured)
            {
                u = (value(kU, 0) >> level) + (gradient(kU) >> level) * pixel;
                v = (value(kV, 0) >> level) + (gradient(kV) >> level) * pixel;
            }
            UINT32 texel = textured ? levels[level].at(u, v) : 0;
            UINT16& out = pixels[static_cast<size_t>(y * width + x)];
            if (kind.texel == "5515" && !(texel & 0x20))
                continue;
            if (kind.texel == "5515")
                texel &= 0xFFDF;
            const auto channel = [&](int k)
            { return static_cast<UINT32>(std::clamp<INT64>(value(k, pixel), 0, 255 << 16) >> 19); };
            UINT32 source = texel;
            if (kind.shading != "None")
            {
                source = 0;
                for (int k = 0; k < 3; ++k)
                {
                    const int shift = k == 0 ? 11 : k == 1 ? 6 : 0;
                    const UINT32 t5 = texel >> shift & 31, c8 = record.color[0] >> (16 - 8 * k) & 255;
                    const UINT32 c5 = interpolated ? channel(kR + k) : c8 >> 3;
                    source |= (!textured ? c5 : interpolated ? (t5 * c5) >> 5 : (t5 * c8) >> 8) << shift;
                }
            }
            out = blend(kind.blend, out, source, interpolated ? channel(kA) : flatAlpha);
        }
    }
}

} // namespace reference
