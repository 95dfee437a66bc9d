// pixel_reference.h - pixel formats, conversions and blends by plain formulas, a channel at a time, to judge the
// library's.
#pragma once

#include <kxcoreemb/pixel_blender.h>
#include <kxcoreemb/pixel_converter.h>

#include <algorithm>
#include <array>
#include <vector>

namespace reference
{

struct Channels
{
    UINT32 red, green, blue, alpha;
};

struct Layout
{
    Channels bits, shifts;
};

inline const Layout& layout(INT32 format)
{
    static const Layout layouts[] = {
        {},
        {{5, 6, 5, 0}, {11, 5, 0, 0}},
        {{8, 8, 8, 0}, {16, 8, 0, 0}},
        {{5, 5, 5, 1}, {10, 5, 0, 15}},
        {{8, 8, 8, 8}, {16, 8, 0, 24}},
        {{5, 6, 5, 0}, {11, 21, 0, 0}},
        {{5, 5, 5, 1}, {10, 21, 0, 31}},
        {},
        {{5, 5, 5, 0}, {11, 6, 0, 0}},
        {{5, 5, 5, 1}, {11, 6, 0, 5}},
        {{8, 8, 8, 8}, {16, 8, 0, 24}},
    };
    return layouts[format];
}

constexpr std::array<INT32, 9> kFormats = {1, 2, 3, 4, 5, 6, 8, 9, 10};
inline bool is16Bit(INT32 format) { return format == 1 || format == 3 || format == 8 || format == 9; }

inline UINT32 divide255(UINT32 c) { return (2 * c + 255) / 510; } // to the nearest

inline Channels unpack(UINT32 pixel, INT32 format)
{
    const Layout& l = layout(format);
    const auto get = [pixel](UINT32 bits, UINT32 shift) { return (pixel >> shift) % (1u << bits); };
    return {get(l.bits.red, l.shifts.red), get(l.bits.green, l.shifts.green), get(l.bits.blue, l.shifts.blue),
            get(l.bits.alpha, l.shifts.alpha)};
}

inline UINT32 pack(const Channels& c, INT32 format)
{
    const Layout& l = layout(format);
    return c.red << l.shifts.red | c.green << l.shifts.green | c.blue << l.shifts.blue | c.alpha << l.shifts.alpha;
}

/// To 8 bits and back to fewer; the widths in use repeat no bit that 8 bits do not hold.
inline UINT32 resize(UINT32 c, UINT32 from, UINT32 to)
{
    if (from >= to)
        return c >> (from - to);
    UINT32 result = 0;
    for (INT32 bit = static_cast<INT32>(to) - 1, i = 0; bit >= 0; --bit, ++i) // repeats the bits from the top down
        result |= (c >> (from - 1 - static_cast<UINT32>(i) % from) & 1) << bit;
    return result;
}

inline UINT32 convert(UINT32 pixel, INT32 source, INT32 target)
{
    if (source == target)
        return pixel;
    const Layout &s = layout(source), &t = layout(target);
    Channels c = unpack(pixel, source);
    if (s.bits.alpha == 0)
        c.alpha = 1;
    UINT32 alpha = s.bits.alpha == 8 ? c.alpha : c.alpha * 255;
    if (source == KXCSURFACEFORMAT_PREMUL8888 && t.bits.alpha != 0)
    {
        const auto straight = [alpha](UINT32 v) { return alpha ? (v * (0xFF0000 / alpha) >> 16) & 0xFF : 255; };
        c = {straight(c.red), straight(c.green), straight(c.blue), alpha};
    }
    const bool zeroFill = source == KXCSURFACEFORMAT_X6X5X5 && target == KXCSURFACEFORMAT_8888;
    const auto size = [zeroFill](UINT32 v, UINT32 from, UINT32 to)
    { return zeroFill ? v << (to - from) : resize(v, from, to); };
    c = {size(c.red, s.bits.red, t.bits.red), size(c.green, s.bits.green, t.bits.green),
         size(c.blue, s.bits.blue, t.bits.blue), alpha};
    if (target == KXCSURFACEFORMAT_PREMUL8888)
        c = {divide255(c.red * alpha), divide255(c.green * alpha), divide255(c.blue * alpha), alpha};
    c.alpha = t.bits.alpha == 8 ? alpha : t.bits.alpha == 1 ? alpha >> 7 : 0;
    return pack(c, target);
}

/// One channel of the 55X5 blends; a is 0..32.
inline UINT32 blendChannel55X5(INT32 type, UINT32 s, UINT32 d, UINT32 a)
{
    const UINT32 product = (s + 1) * d / 32;
    switch (type)
    {
    case KXCBLEND_ALPHA:
        return (d * (32 - a) + s * a) / 32;
    case KXCBLEND_ALPHAFAST:
        return (s + d) / 2;
    case KXCBLEND_MUL:
        return (product * a + d * (32 - a)) / 32;
    case KXCBLEND_MULFAST:
        return product;
    case KXCBLEND_ADD:
        return std::min(31u, s * a / 32 + d);
    case KXCBLEND_ADDFAST:
        return std::min(31u, s + d);
    case KXCBLEND_INVMUL:
        return d * (1024 - s * a) / 1024;
    case KXCBLEND_INVMULFAST:
        return (32 - s) * d / 32;
    default:
        return s;
    }
}

inline UINT32 blend55X5(INT32 type, UINT32 source, UINT32 destination, UINT32 a)
{
    const Channels s = unpack(source, KXCSURFACEFORMAT_55X5), d = unpack(destination, KXCSURFACEFORMAT_55X5);
    return pack({blendChannel55X5(type, s.red, d.red, a), blendChannel55X5(type, s.green, d.green, a),
                 blendChannel55X5(type, s.blue, d.blue, a), 0},
                KXCSURFACEFORMAT_55X5);
}

/// A premultiplied source onto X888 (opaque) or onto PREMUL8888; the even types are the odd ones at full strength.
inline UINT32 blend8888(INT32 type, UINT32 source, UINT32 destination, UINT32 v, bool opaque)
{
    const Channels s = unpack(source, KXCSURFACEFORMAT_PREMUL8888),
                   d = unpack(destination, KXCSURFACEFORMAT_PREMUL8888);
    const auto r = divide255;
    const UINT32 k = 255 - r(s.alpha * v), f = opaque ? v : r(d.alpha * v), limit = opaque ? 255 : d.alpha;
    UINT32 alpha = d.alpha;
    const auto channel = [&](UINT32 sc, UINT32 dc) -> UINT32
    {
        switch ((type + 1) / 2)
        {
        case 0:
            alpha = 255 - r((255 - d.alpha) * (255 - s.alpha));
            return sc + r(dc * (255 - s.alpha));
        case 1:
            alpha = 255 - r((255 - d.alpha) * k);
            return r(sc * v) + r(dc * k);
        case 2:
            alpha = (d.alpha + r(s.alpha * v) - r(d.alpha * r(s.alpha * v))) % 256;
            return opaque ? r((r(sc * v) + k) * dc) : r(r(sc * v) * (dc + 255 - d.alpha)) + r(dc * k);
        case 3:
            return std::min(limit, dc + r(sc * f));
        default:
            return r((255 - r(sc * v)) * dc);
        }
    };
    const UINT32 red = channel(s.red, d.red), green = channel(s.green, d.green), blue = channel(s.blue, d.blue);
    return pack({red % 256, green % 256, blue % 256, opaque ? 255 : alpha}, KXCSURFACEFORMAT_PREMUL8888);
}

/// Repeatable noise, with the extremes among it.
class Noise
{
public:
    UINT32 next()
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        switch (m_state >> 28)
        {
        case 0:
            return 0;
        case 1:
            return 0xFFFFFFFF;
        default:
            return m_state * 2654435761u;
        }
    }
    INT32 between(INT32 low, INT32 high)
    {
        return low + static_cast<INT32>(next() % static_cast<UINT32>(high - low + 1));
    }
    /// A pixel whose colour is not above its alpha, where the format is premultiplied.
    UINT32 pixel(INT32 format)
    {
        const UINT32 p = next();
        return format == KXCSURFACEFORMAT_PREMUL8888 ? convert(p, KXCSURFACEFORMAT_8888, format)
               : is16Bit(format)                     ? p & 0xFFFF
                                                     : p;
    }

private:
    UINT32 m_state = 0x12345678;
};

} // namespace reference
