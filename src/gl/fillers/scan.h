// scan.h - what all fillers share: a triangle's edges, the gradients across it, and the surfaces it goes between.
//
// Differences and products are 64 bits wide, so that no coordinate of a vertex overflows; what a caller's values can
// overflow all the same wraps. Values are carried along the left edges only.
#pragma once

#include "gl/fillers/lanes.h"
#include "gl/triangle.h"

struct KxcGLSurfaceDescriptor;
struct KxcGLTexels;

namespace kxcScan
{

constexpr INT64 kOne = 0x10000; // 1.0

inline INT64 add(INT64 a, INT64 b) { return static_cast<INT64>(static_cast<UINT64>(a) + static_cast<UINT64>(b)); }
inline INT64 subtract(INT64 a, INT64 b) { return static_cast<INT64>(static_cast<UINT64>(a) - static_cast<UINT64>(b)); }
inline INT64 multiply(INT64 a, INT64 b) { return static_cast<INT64>(static_cast<UINT64>(a) * static_cast<UINT64>(b)); }
/// The product with a 16.16 factor, floored.
inline INT64 scale(INT64 a, INT64 factor) { return multiply(a, factor) >> 16; }
/// The first pixel whose position is not before a 16.16 coordinate.
inline INT64 ceil(INT64 coordinate) { return add(coordinate, 0xFFFF) >> 16; }

constexpr int kPerspectiveShift = 21;
constexpr INT64 kOneOverW = INT64(1) << 42; // q is this divided by 32 w

/// From q back to 32 w.
inline INT64 reciprocal(INT64 q) { return kOneOverW / (q ? q : 0x200000); }

/// Divides two ways by 32 * pixels, truncated, for 1 to 16 pixels: without divisions where neither way is extreme.
inline void divideByRun(INT64& u, INT64& v, INT64 pixels)
{
    // Above 2^38 / (32 * pixels), by so little that what is within the limit gives floored quotients, but one less than
    // that for the exact ones that are negative: one more for all negative ones is what truncating gives.
    static constexpr INT64 kLimit = 1 << 29;
    static constexpr INT64 kReciprocals[] = {0,          8589934593, 4294967297, 2863311531, 2147483649, 1717986919,
                                             1431655766, 1227133514, 1073741825, 954437177,  858993460,  780903145,
                                             715827883,  660764200,  613566757,  572662307,  536870913};
    if (static_cast<UINT64>(add(u, kLimit) | add(v, kLimit)) >= 2 * kLimit)
    {
        u /= 32 * pixels;
        v /= 32 * pixels;
        return;
    }
    u = (u * kReciprocals[pixels] >> 38) - (u >> 63);
    v = (v * kReciprocals[pixels] >> 38) - (v >> 63);
}

/// For so many pixels, a channel with one of these gradients changes by less than half of what limitChannel leaves.
inline INT64 safeDistance(const INT64* gradients, int count)
{
    INT64 bits = 1;
    for (int i = 0; i < count; ++i)
        bits |= gradients[i] ^ gradients[i] >> 63;
    return INT64(1) << 29 >> (64 - __builtin_clzll(static_cast<UINT64>(bits)));
}
/// An 8.16 channel, which rounding may have carried far out of 0..255, in 32 bits.
inline INT64 limitChannel(INT64 value)
{
    constexpr INT64 kLimit = 1 << 30;
    return value < -kLimit ? -kLimit : value < kLimit ? value : kLimit;
}

/// A side of the triangle, from a corner down to another; covers rows first to end - 1.
struct Edge
{
    INT32 from, to;   // 0 the top corner, 1 the middle one, 2 the bottom one
    INT64 first, end; // rows
    INT64 inverse;    // 1 / height, at most 1.0
    INT64 lead;       // from the corner down to the first row, in 0..0xFFFF
};

/// A value that changes linearly down an edge.
struct Slope
{
    INT64 value, step; // at the current row; from row to row

    /// At the edge's first row. @param corners  the value at the corners from top to bottom, here and below
    void begin(const Edge& edge, const INT64* corners)
    {
        step = scale(subtract(corners[edge.to], corners[edge.from]), edge.inverse);
        value = add(corners[edge.from], scale(step, edge.lead));
    }
    void skip(INT64 rows) { value = add(value, multiply(step, rows)); }
    void next() { value = add(value, step); }
};

/// The geometry of one triangle.
struct Scan
{
    INT32 order[3]; // the record's corners from top to bottom
    INT64 x[3], y[3];
    INT64 ratio;   // of the long edge, down to the middle corner's row
    INT64 width;   // signed: from the middle corner to the long edge; at least 1.0 in magnitude
    Edge edges[3]; // the long one, the upper short one, the lower short one
    bool longOnRight;

    /// @return false where there is nothing to draw
    bool begin(const KxcGLTriangle::Corners& record, const KxcVector4* vertices);
    /// Texture coordinates of the corners, in texels of level 0. There is a current texture.
    void textureCorners(const KxcGLTriangle::Corners& record, INT64* u, INT64* v) const;
    /// Makes of them what is linear on the screen: q, which stands for 1 / w, and u and v times q.
    void divideByW(const KxcGLTriangle::Corners& record, const KxcVector4* vertices, INT64* u, INT64* v,
                   INT64* q) const;
    /// Whether there are at most so many rows, each of less than so many pixels, of which none lies beside a target of
    /// this width, nor less than half a batch before its right: edges stay between their corners, but for less than a
    /// pixel.
    bool isSmall(INT32 targetWidth, INT32 pixels, INT32 rows) const
    {
        const INT64 left = x[0] < x[1] ? x[0] : x[1], right = x[0] < x[1] ? x[1] : x[0];
        const INT64 first = left < x[2] ? left : x[2], last = right < x[2] ? x[2] : right;
        return first >= kOne && last <= (targetWidth - 1 - kLanes / 2) * kOne && last - first < (pixels - 2) * kOne &&
               edges[0].end - edges[0].first <= rows;
    }
    /// By how much a value changes from one pixel to the next.
    INT64 gradient(const INT64* corners) const
    {
        const INT64 across = add(corners[0], scale(subtract(corners[2], corners[0]), ratio));
        return multiply(subtract(across, corners[1]), kOne) / width;
    }
};

/// Calls row(y, left, right, lead, values) for the rows that lie on a target of this height, and for the same row again
/// until it answers true. The span is from left to right - 1, be it on the target or not; there may be no pixel in it.
/// lead: from the left edge to the first pixel, 0..0xFFFF; values: what the left edge carries.
template <int kValues, class Row>
inline void forEachRow(const Scan& scan, const INT64 (*corners)[3], INT32 height, Row row)
{
    for (int part = 1; part <= 2; ++part) // above the middle corner, below it
    {
        const Edge& side = scan.edges[part];
        const INT64 begin = side.first > 0 ? side.first : 0, end = side.end < height ? side.end : height;
        if (begin >= end)
            continue;
        const Edge &leftEdge = scan.edges[part * scan.longOnRight], &rightEdge = scan.edges[part * !scan.longOnRight];
        Slope left, right, values[kValues + 1];
        left.begin(leftEdge, scan.x);
        right.begin(rightEdge, scan.x);
        for (int i = 0; i < kValues; ++i)
            values[i].begin(leftEdge, corners[i]);
        if (begin > leftEdge.first)
        {
            left.skip(begin - leftEdge.first);
            for (int i = 0; i < kValues; ++i)
                values[i].skip(begin - leftEdge.first);
        }
        if (begin > rightEdge.first)
            right.skip(begin - rightEdge.first);
        for (INT64 y = begin; y < end;)
        {
            const INT64 first = ceil(left.value), last = ceil(right.value);
            if (!row(y, first, last, first * kOne - left.value, values))
                continue;
            ++y;
            left.next();
            right.next();
            for (int i = 0; i < kValues; ++i)
                values[i].next();
        }
    }
}

/// The render target, locked for as long as this lives; width is 0 where there is none.
struct Target
{
    Target();
    ~Target();
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    /// The last place that has so many pixels from there on; null where the target is smaller.
    const UINT16* lastBatch(INT64 count) const
    {
        const INT64 all = INT64(width) * height;
        return all >= count ? pixels + (all - count) : nullptr;
    }

    KxcGLSurfaceDescriptor* surface;
    UINT16* pixels;
    INT32 width, height;
};

/// A level of the current texture, or level 0 where there is no such level. @return null where neither can be had in
/// the format
const KxcGLTexels* findTexels(INT32 level, INT32 format);
bool hasTexture(); ///< whether there is a current texture
/// The level for an affine triangle, one sharper than its texel rate. @param du, dv  texels of level 0 a pixel
INT32 chooseLevel(INT64 du, INT64 dv);

} // namespace kxcScan
