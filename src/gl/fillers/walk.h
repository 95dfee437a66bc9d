// walk.h - from a triangle to the pieces of its rows: what all fillers of one kind of mapping have in common.
//
// Walk goes down the rows, carries the interpolated values along the left edges, and cuts rows into pieces with
// linear texture coordinates: what is left to do for a piece is the same for every pixel. Pieces are collected and
// drawn some at a time, so that the divisions of one row do not wait for the pixels of another. A small triangle is
// collected as a whole, in pieces of half a batch at most, which are drawn two at a time: there is little to see of
// it, so what is not pixels has to be short.
//
// A pixel belongs to the triangle when its position is not before the left edge and before the right one, rows
// likewise, so neighbours share no pixel and leave none out. Whatever lies outside the render target is skipped
// without a change to the pixels inside: runs of a perspective span begin where they would without the target's edge.
#pragma once

#include "gl/fillers/lanes.h"
#include "gl/fillers/scan.h"
#include "gl/texture_cache.h"

namespace
{

using kxcScan::add;
using kxcScan::multiply;
using kxcScan::scale;

constexpr INT32 kRun = 16;                             // pixels from one perspective division to the next
constexpr INT32 kPieces = 8;                           // that wait to be drawn
constexpr INT32 kSmallWidth = kRun, kSmallHeight = 16; // a small triangle has less pixels in a row, and no more rows
constexpr INT32 kShort = kLanes / 2;                   // pixels of its pieces, at most
constexpr int kMaxChannels = 4;

enum class Mapping
{
    kNone,
    kAffine,
    kPerspective
};

/// Neighbours in a row, none of them outside the target. Each value is that of the first pixel.
struct Piece
{
    UINT16* out;
    INT64 count;
    UINT32 u[kLanes / 2], v[kLanes / 2]; // texels of the level, in 16.16: of the first pixel and the next ones
    UINT32 uStep, vStep;
    UINT32 channel[kMaxChannels];
};

/// What the pieces of a triangle have in common.
struct Paint
{
    const KxcGLTexels* texels = nullptr;
    Lanes flat[3], flatAlpha;      // the triangle's colour, 0..255, and its alpha, 0..32
    UINT32 gradient[kMaxChannels]; // of the channels
    const UINT16* lastBatch;       // the last place on the target with a whole batch of pixels
};

/// What a filler draws its pieces with. Short ones have up to kShort pixels, and half a batch from the first on lies in
/// their row of the target, so that they may be drawn in any order.
struct Drawer
{
    typedef void (*Draw)(const Paint& paint, const Piece* first, const Piece* end);
    Draw pieces, shortPieces;
};

/// 0..255 as a blend factor 0..32.
constexpr UINT16 blendFactor(UINT32 alpha)
{
    const UINT32 t = (alpha + 4) * 32;
    return static_cast<UINT16>(((t >> 8) + t) >> 8);
}

/// @tparam kColors  how many of red, green and blue are interpolated: all, blue for a grey, or none
/// @tparam kAlpha   whether alpha is, too
template <int kColors, bool kAlpha, Mapping kMapping>
class Walk
{
    static constexpr bool kTextured = kMapping != Mapping::kNone;
    static constexpr int kChannels = kColors + kAlpha;
    static constexpr int kU = kChannels, kV = kChannels + 1, kQ = kChannels + 2; // texture values follow the channels
    static constexpr int kValues = kChannels + (kMapping == Mapping::kPerspective ? 3 : kTextured ? 2 : 0);

public:
    /// @param format  of a texture that this filler can show
    Walk(INT32 format, const Drawer& draw) : m_format(format), m_draw(draw) {}

    __attribute__((noinline)) void triangle(const KxcGLTriangle::Corners& record, const KxcVector4* vertices)
    {
        if (!m_scan.begin(record, vertices) || (kTextured && !kxcScan::hasTexture()))
            return;
        gatherCorners(record, vertices);
        for (int i = 0; i < kValues; ++i)
            m_gradient[i] = m_scan.gradient(m_corners[i]);
        if (!beginPaint(record.color[0]))
            return;
        const kxcScan::Target target;
        if (m_scan.isSmall(target.width, kSmallWidth, kSmallHeight))
            return smallRows(target);
        m_paint.lastBatch = target.lastBatch(kLanes);
        rows(target);
        flush();
    }

private:
    /// The interpolated values at the corners, from top to bottom.
    void gatherCorners(const KxcGLTriangle::Corners& record, const KxcVector4* vertices)
    {
        for (int i = 0; i < 3 && kChannels > 0; ++i)
        {
            const UINT32 color = record.color[m_scan.order[i]];
            for (int c = 0; c < kColors; ++c)
                m_corners[c][i] = (color >> 8 * (kColors - 1 - c) & 255) << 16;
            if constexpr (kAlpha)
                m_corners[kColors][i] = (color >> 24) << 16;
        }
        if constexpr (kTextured)
            m_scan.textureCorners(record, m_corners[kU], m_corners[kV]);
        if constexpr (kMapping == Mapping::kPerspective)
            m_scan.divideByW(record, vertices, m_corners[kU], m_corners[kV], m_corners[kQ]);
    }

    /// @return false where the texture cannot be had
    bool beginPaint(UINT32 color)
    {
        for (int c = 0; c < kChannels; ++c)
            m_paint.gradient[c] = static_cast<UINT32>(m_gradient[c]);
        if constexpr (kColors == 0)
        {
            for (int c = 0; c < 3; ++c)
                m_paint.flat[c] = broadcast(static_cast<UINT16>(color >> (16 - 8 * c) & 255));
            m_paint.flatAlpha = broadcast(blendFactor(color >> 24));
        }
        if constexpr (kMapping == Mapping::kPerspective)
            m_paint.texels = kxcScan::findTexels(0, m_format);
        else if constexpr (kTextured)
        {
            m_paint.texels = kxcScan::findTexels(kxcScan::chooseLevel(m_gradient[kU], m_gradient[kV]), m_format);
            m_level = m_paint.texels ? m_paint.texels->level : 0;
            m_uStep = static_cast<UINT32>(m_gradient[kU] >> m_level);
            m_vStep = static_cast<UINT32>(m_gradient[kV] >> m_level);
        }
        return !kTextured || m_paint.texels;
    }

    void rows(const kxcScan::Target& target)
    {
        const INT64 safeDistance = kxcScan::safeDistance(m_gradient, kChannels);
        INT64 skip = 0; // pixels at the row's left that are not on the target, or done
        kxcScan::forEachRow<kValues>(
            m_scan, m_corners, target.height,
            [&](INT64 y, INT64 left, INT64 right, INT64 lead, const kxcScan::Slope* values)
                __attribute__((always_inline)) {
                    const INT64 from = left > skip ? left : skip, end = right < target.width ? right : target.width;
                    const bool last = end - from <= safeDistance;
                    skip = last ? 0 : from + safeDistance;
                    if (from < end)
                        row(target.pixels + y * target.width, left, right, from, last ? end : skip, lead, values);
                    return last;
                });
    }

    /// Where a run of pixels begins in the level and how it goes on, in 16.16 texels.
    struct Texels
    {
        UINT32 u, v, uStep, vStep;

        void skip(INT64 pixels)
        {
            u += static_cast<UINT32>(pixels) * uStep;
            v += static_cast<UINT32>(pixels) * vStep;
        }
        void store(Piece& piece) const
        {
            UINT32 uHere = u, vHere = v;
            for (int i = 0; i < kLanes / 2; ++i, uHere += uStep, vHere += vStep)
                piece.u[i] = uHere, piece.v[i] = vHere;
            piece.uStep = uStep;
            piece.vStep = vStep;
        }
    };

    struct Point
    {
        INT64 u, v; // texels times 32
    };
    /// What perspective needs of a row, at its first pixel.
    struct RowStart
    {
        INT64 q, uq, vq;
        Point point;
    };

    /// Collects a piece for every row, then finds how their texels go on, then splits those that are too wide. Whether
    /// a row has a single pixel or many cannot be foreseen: a wrong guess costs less where little else is under way.
    /// A channel changes by 2^24 a pixel at most, so in so few pixels it stays within 32 bits.
    void smallRows(const kxcScan::Target& target)
    {
        Piece pieces[kSmallHeight * kSmallWidth / kShort], *next = pieces;
        RowStart starts[kSmallHeight], *start = starts; // only with perspective
        kxcScan::forEachRow<kValues>(
            m_scan, m_corners, target.height,
            [&](INT64 y, INT64 left, INT64 right, INT64 lead, const kxcScan::Slope* values)
                __attribute__((always_inline)) {
                    if (kMapping == Mapping::kPerspective && left >= right)
                        return true; // else, writing a piece that is overwritten costs less than a jump
                    // In an order that has few values at a time: the compiler is short of registers here.
                    Piece& piece = *next;
                    piece.out = target.pixels + y * target.width + left;
                    for (int c = 0; c < kChannels; ++c)
                        piece.channel[c] = static_cast<UINT32>(atLeft(values, c, lead));
                    piece.count = right - left;
                    if constexpr (kMapping == Mapping::kPerspective)
                    {
                        start->q = atLeft(values, kQ, lead);
                        start->uq = atLeft(values, kU, lead);
                        start->vq = atLeft(values, kV, lead);
                        start->point = divided(start->q, start->uq, start->vq);
                        ++start;
                    }
                    else if constexpr (kTextured)
                        affineTexels(values, lead).store(piece);
                    next += left < right;
                    return true;
                });
        Piece* const rows = next;
        if constexpr (kMapping == Mapping::kPerspective)
        {
            start = starts;
            for (Piece* piece = pieces; piece < rows; ++piece, ++start)
                perspectiveTexels(*start, piece->count).store(*piece);
        }
        for (Piece* piece = pieces; piece < rows; ++piece)
            if (piece->count > kShort)
                next = split(piece, next);
        m_draw.shortPieces(m_paint, pieces, next);
    }

    /// Splits a piece of too many pixels. @param next  where the others go @return behind them
    Piece* split(Piece* piece, Piece* next) const
    {
        for (INT64 count = piece->count; count > kShort; piece = next++)
        {
            piece->count = kShort;
            count -= kShort;
            next->out = piece->out + kShort;
            next->count = count;
            if constexpr (kTextured)
            {
                storeWide(next->u, loadWide(piece->u) + kShort * piece->uStep);
                storeWide(next->v, loadWide(piece->v) + kShort * piece->vStep);
                next->uStep = piece->uStep;
                next->vStep = piece->vStep;
            }
            for (int c = 0; c < kChannels; ++c)
                next->channel[c] = piece->channel[c] + kShort * m_paint.gradient[c];
        }
        return next;
    }

    /// A value at the first pixel of a row.
    INT64 atLeft(const kxcScan::Slope* values, int i, INT64 lead) const
    {
        return add(values[i].value, scale(m_gradient[i], lead));
    }

    /// At a pixel. Passed by value to what is not inlined, so that a row can keep it in registers.
    struct Channels
    {
        INT64 at[kChannels + 1];
    };

    /// @param left, right   the span's pixels, of which begin to end - 1 lie on the target
    /// @param lead          from the left edge to the first pixel of the span, 0..0xFFFF
    __attribute__((always_inline)) void row(UINT16* pixels, INT64 left, INT64 right, INT64 begin, INT64 end, INT64 lead,
                                            const kxcScan::Slope* values)
    {
        Channels channel;
        for (int c = 0; c < kChannels; ++c)
            channel.at[c] = atLeft(values, c, lead);
        if (begin > left)
        {
            advance(channel, begin - left);
            for (int c = 0; c < kChannels; ++c)
                channel.at[c] = kxcScan::limitChannel(channel.at[c]);
        }
        if constexpr (kMapping == Mapping::kPerspective)
        {
            perspectiveRuns(pixels, left, right, begin, end, channel, atLeft(values, kQ, lead),
                            atLeft(values, kU, lead), atLeft(values, kV, lead));
        }
        else
        {
            Texels at = {};
            if constexpr (kTextured)
            {
                at = affineTexels(values, lead);
                at.skip(begin - left);
            }
            addPiece(pixels + begin, end - begin, channel, at);
        }
    }

    /// At the first pixel of a row. Clipped pixels are stepped over in texels of the level, as the others are.
    Texels affineTexels(const kxcScan::Slope* values, INT64 lead) const
    {
        return {static_cast<UINT32>(atLeft(values, kU, lead) >> m_level),
                static_cast<UINT32>(atLeft(values, kV, lead) >> m_level), m_uStep, m_vStep};
    }

    static Point divided(INT64 q, INT64 uq, INT64 vq)
    {
        const INT64 w = kxcScan::reciprocal(q);
        return {multiply(uq, w) >> kxcScan::kPerspectiveShift, multiply(vq, w) >> kxcScan::kPerspectiveShift};
    }
    static Texels between(const Point& start, INT64 uStep, INT64 vStep)
    {
        return {static_cast<UINT32>(start.u >> 5), static_cast<UINT32>(start.v >> 5), static_cast<UINT32>(uStep),
                static_cast<UINT32>(vStep)};
    }

    /// 1 to kRun - 1 pixels, all of them on the target: what perspectiveRuns makes of them, without its generality.
    Texels perspectiveTexels(const RowStart& start, INT64 count) const
    {
        if (count == 1)
            return between(start.point, 0, 0);
        const Point end =
            divided(add(start.q, multiply(m_gradient[kQ], count)), add(start.uq, multiply(m_gradient[kU], count)),
                    add(start.vq, multiply(m_gradient[kV], count)));
        INT64 u = kxcScan::subtract(end.u, start.point.u), v = kxcScan::subtract(end.v, start.point.v);
        kxcScan::divideByRun(u, v, count);
        return between(start.point, u, v);
    }

    __attribute__((noinline)) void perspectiveRuns(UINT16* pixels, INT64 left, INT64 right, INT64 begin, INT64 end,
                                                   Channels channel, INT64 q, INT64 uq, INT64 vq)
    {
        INT64 x = left, length = (right - left) & (kRun - 1);
        length = length ? length : kRun;
        const auto step = [&](INT64 way)
        {
            x += way;
            q = add(q, multiply(m_gradient[kQ], way));
            uq = add(uq, multiply(m_gradient[kU], way));
            vq = add(vq, multiply(m_gradient[kV], way));
        };
        if (begin - x >= length) // leave out the runs before the target
        {
            step(length + (begin - x - length) / kRun * kRun);
            length = kRun;
        }
        Point start = divided(q, uq, vq);
        for (;;)
        {
            step(length);
            const Point stop = divided(q, uq, vq);
            INT64 uWay = kxcScan::subtract(stop.u, start.u), vWay = kxcScan::subtract(stop.v, start.v);
            if (length == kRun)
                uWay >>= 9, vWay >>= 9;
            else
                kxcScan::divideByRun(uWay, vWay, length);
            Texels at = between(start, uWay, vWay);
            INT64 from = x - length;
            if (from < begin)
            {
                at.skip(begin - from);
                from = begin;
            }
            const INT64 count = (x < end ? x : end) - from;
            addPiece(pixels + from, count, channel, at);
            if (x >= end)
                return;
            advance(channel, count);
            start = stop;
            length = kRun;
        }
    }

    void advance(Channels& channel, INT64 pixels) const
    {
        for (int c = 0; c < kChannels; ++c)
            channel.at[c] = add(channel.at[c], multiply(m_gradient[c], pixels));
    }

    void addPiece(UINT16* out, INT64 count, const Channels& channel, const Texels& at)
    {
        Piece& piece = *m_next++;
        piece.out = out;
        piece.count = count;
        if constexpr (kTextured)
            at.store(piece);
        for (int c = 0; c < kChannels; ++c)
            piece.channel[c] = static_cast<UINT32>(channel.at[c]);
        if (m_next == m_pieces + kPieces)
            flush();
    }

    void flush()
    {
        m_draw.pieces(m_paint, m_pieces, m_next);
        m_next = m_pieces;
    }

    const INT32 m_format;
    const Drawer m_draw;
    kxcScan::Scan m_scan;
    Paint m_paint;
    INT64 m_corners[kValues + 1][3], m_gradient[kValues + 1];
    UINT32 m_uStep = 0, m_vStep = 0; // of an affine mapping
    INT32 m_level = 0;               // likewise, of the texture
    Piece m_pieces[kPieces];
    Piece* m_next = m_pieces;
};

} // namespace
