// walk.h - from a triangle to the pieces of its rows: what all fillers of one kind of mapping have in common.
//
// Walk goes down the rows, carries the interpolated values along the left edges, and cuts rows into pieces with
// linear texture coordinates: what is left to do for a piece is the same for every pixel. Pieces are collected and
// drawn some dozens at a time, so that the divisions of one row do not wait for the pixels of another.
//
// A pixel belongs to the triangle when its position is not before the left edge and before the right one, rows
// likewise, so neighbours share no pixel and leave none out. Whatever lies outside the render target is skipped
// without a change to the pixels inside: runs of a perspective span begin where they would without the target's edge.
#pragma once

#include "gl/fillers/lanes.h"
#include "gl/fillers/scan.h"

namespace
{

using kxcScan::add;
using kxcScan::multiply;
using kxcScan::scale;

constexpr INT32 kRun = 16;   // pixels from one perspective division to the next
constexpr INT32 kPieces = 8; // that wait to be drawn
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
    INT32 count;
    UINT32 u[kLanes / 2], v[kLanes / 2]; // texels of the level, in 16.16: of the first pixel and the next ones
    UINT32 uStep, vStep;
    UINT32 channel[kMaxChannels];
};

/// What the pieces of a triangle have in common.
struct Paint
{
    kxcScan::Level level;
    Lanes flat[3], flatAlpha; // the triangle's colour, 0..255, and its alpha, 0..32
    ChannelRamp ramp[kMaxChannels];
    const UINT16* lastBatch; // the last place on the target with a whole batch of pixels
};

typedef void (*PieceDrawer)(const Paint& paint, const Piece* pieces, const Piece* end);

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
    Walk(INT32 format, PieceDrawer draw) : m_format(format), m_draw(draw) {}

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
            m_paint.ramp[c].begin(static_cast<UINT32>(m_gradient[c]));
        if constexpr (kColors == 0)
        {
            for (int c = 0; c < 3; ++c)
                m_paint.flat[c] = broadcast(static_cast<UINT16>(color >> (16 - 8 * c) & 255));
            m_paint.flatAlpha = broadcast(blendFactor(color >> 24));
        }
        if constexpr (kMapping == Mapping::kPerspective)
            return m_paint.level.open(0, m_format);
        else if constexpr (kTextured)
        {
            kxcScan::Level& level = m_paint.level;
            if (!level.open(kxcScan::chooseLevel(m_gradient[kU], m_gradient[kV]), m_format))
                return false;
            m_uStep = static_cast<UINT32>(m_gradient[kU] >> level.level);
            m_vStep = static_cast<UINT32>(m_gradient[kV] >> level.level);
        }
        return true;
    }

    void rows(const kxcScan::Target& target)
    {
        const INT64 safeDistance = kxcScan::safeDistance(m_gradient, kChannels);
        if constexpr (kMapping == Mapping::kPerspective)
            if (safeDistance >= kRun && m_scan.isSmall(target.width, kRun))
                return smallRows(target);
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

    /// Rows of less than kRun pixels, none of which can lie beside the target: what most triangles of a scene have.
    void smallRows(const kxcScan::Target& target)
    {
        kxcScan::forEachRow<kValues>(
            m_scan, m_corners, target.height,
            [&](INT64 y, INT64 left, INT64 right, INT64 lead, const kxcScan::Slope* values)
                __attribute__((always_inline)) {
                    Channels channel;
                    for (int c = 0; c < kChannels; ++c)
                        channel.at[c] = atLeft(values, c, lead);
                    perspectiveRow(target.pixels + y * target.width + left, right - left, channel,
                                   atLeft(values, kQ, lead), atLeft(values, kU, lead), atLeft(values, kV, lead));
                    return true;
                });
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
            if (end - begin == right - left && right - left < kRun) // most rows of small triangles
                perspectiveRow(pixels + left, right - left, channel, atLeft(values, kQ, lead), atLeft(values, kU, lead),
                               atLeft(values, kV, lead));
            else
                perspectiveRuns(pixels, left, right, begin, end, channel, atLeft(values, kQ, lead),
                                atLeft(values, kU, lead), atLeft(values, kV, lead));
        }
        else
        {
            UINT32 u = 0, v = 0;
            if constexpr (kTextured)
            {
                // Clipped pixels are stepped over in texels of the level, as the others are.
                const UINT32 skipped = static_cast<UINT32>(begin - left);
                u = static_cast<UINT32>(atLeft(values, kU, lead) >> m_paint.level.level) + skipped * m_uStep;
                v = static_cast<UINT32>(atLeft(values, kV, lead) >> m_paint.level.level) + skipped * m_vStep;
            }
            addPiece(pixels + begin, end - begin, channel, u, v, m_uStep, m_vStep);
        }
    }

    struct Texels
    {
        INT64 u, v; // times 32
    };
    static Texels texels(INT64 q, INT64 uq, INT64 vq)
    {
        const INT64 w = kxcScan::reciprocal(q);
        return {multiply(uq, w) >> kxcScan::kPerspectiveShift, multiply(vq, w) >> kxcScan::kPerspectiveShift};
    }

    /// 1 to kRun - 1 pixels, all of them on the target: what perspectiveRuns makes of them, without its generality.
    void perspectiveRow(UINT16* out, INT64 count, const Channels& channel, INT64 q, INT64 uq, INT64 vq)
    {
        const Texels start = texels(q, uq, vq);
        INT64 u = 0, v = 0; // to the end of the row
        if (count > 1)
        {
            const INT64 endQ = add(q, multiply(m_gradient[kQ], count));
            const Texels end =
                texels(endQ, add(uq, multiply(m_gradient[kU], count)), add(vq, multiply(m_gradient[kV], count)));
            u = kxcScan::subtract(end.u, start.u);
            v = kxcScan::subtract(end.v, start.v);
            kxcScan::divideByRun(u, v, count);
        }
        addPiece(out, count, channel, static_cast<UINT32>(start.u >> 5), static_cast<UINT32>(start.v >> 5),
                 static_cast<UINT32>(u), static_cast<UINT32>(v));
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
        Texels start = texels(q, uq, vq);
        for (;;)
        {
            step(length);
            const Texels stop = texels(q, uq, vq);
            INT64 uWay = kxcScan::subtract(stop.u, start.u), vWay = kxcScan::subtract(stop.v, start.v);
            if (length == kRun)
                uWay >>= 9, vWay >>= 9;
            else
                kxcScan::divideByRun(uWay, vWay, length);
            const UINT32 uStep = static_cast<UINT32>(uWay), vStep = static_cast<UINT32>(vWay);
            INT64 from = x - length;
            UINT32 u = static_cast<UINT32>(start.u >> 5), v = static_cast<UINT32>(start.v >> 5);
            if (from < begin)
            {
                u += static_cast<UINT32>(begin - from) * uStep;
                v += static_cast<UINT32>(begin - from) * vStep;
                from = begin;
            }
            const INT64 count = (x < end ? x : end) - from;
            addPiece(pixels + from, count, channel, u, v, uStep, vStep);
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

    void addPiece(UINT16* out, INT64 count, const Channels& channel, UINT32 u, UINT32 v, UINT32 uStep, UINT32 vStep)
    {
        Piece& piece = *m_next++;
        piece.out = out;
        piece.count = static_cast<INT32>(count);
        if constexpr (kTextured)
        {
            for (int i = 0; i < kLanes / 2; ++i, u += uStep, v += vStep)
                piece.u[i] = u, piece.v[i] = v;
            piece.uStep = uStep;
            piece.vStep = vStep;
        }
        for (int c = 0; c < kChannels; ++c)
            piece.channel[c] = static_cast<UINT32>(channel.at[c]);
        if (m_next == m_pieces + kPieces)
            flush();
    }

    void flush()
    {
        m_draw(m_paint, m_pieces, m_next);
        m_next = m_pieces;
    }

    const INT32 m_format;
    const PieceDrawer m_draw;
    kxcScan::Scan m_scan;
    Paint m_paint;
    INT64 m_corners[kValues + 1][3], m_gradient[kValues + 1];
    UINT32 m_uStep = 0, m_vStep = 0; // of an affine mapping
    Piece m_pieces[kPieces];
    Piece* m_next = m_pieces;
};

} // namespace
