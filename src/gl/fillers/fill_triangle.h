// fill_triangle.h - the one loop over a triangle's spans, from which all fillers are made.
//
// fillTriangle walks the rows and carries the interpolated values down the left edges; Span walks the pixels of one
// row. A pixel belongs to the triangle when its position is not before the left edge and before the right one, rows
// likewise, so neighbours share no pixel and leave none out. Whatever lies outside the render target is skipped
// without a change to the pixels inside: runs of a perspective span begin where they would without the target's edge.
#pragma once

#include "core/core_state.h"
#include "gl/fillers/policies.h"
#include "gl/fillers/scan.h"

namespace
{

using kxcScan::add;
using kxcScan::multiply;
using kxcScan::scale;

constexpr INT32 kRun = 16; // pixels from one perspective division to the next

/// 0..255 as a blend factor 0..32.
constexpr UINT16 blendFactor(UINT32 alpha)
{
    const UINT32 t = (alpha + 4) * 32;
    return static_cast<UINT16>(((t >> 8) + t) >> 8);
}

/// What one triangle's rows have in common, and the current position in a row.
template <class Shade, class Texel, class Blend, bool kPerspective>
struct Span
{
    static constexpr bool kGouraudAlpha = Blend::kBlends && Shade::kChannels > 0;
    static constexpr int kChannels = Shade::kChannels + kGouraudAlpha;
    static constexpr int kU = kChannels, kV = kChannels + 1, kQ = kChannels + 2; // texture values follow the channels
    static constexpr int kValues = kChannels + (Texel::kTextured ? kPerspective ? 3 : 2 : 0);
    static constexpr bool kReadsTarget = Blend::kBlends || Texel::kCutOut;
    static constexpr INT64 kChannelEnd = 256 << 16;

    // Of the triangle
    kxcScan::Level level = {};
    Lanes flat[3], flatAlpha;
    INT64 gradient[kValues + 1];
    ChannelRamp ramp[kChannels + 1];
    const UINT16* lastBatch; // the last place on the target with a whole batch of pixels

    // At the current pixel
    INT64 channel[kChannels + 1];
    bool steady; // the channels stay in range up to the end of the row
    UINT32 u = 0, v = 0, uStep = 0, vStep = 0;

    Lanes pixels(Lanes texels, const Lanes* light, Lanes old) const
    {
        Lanes out;
        if constexpr (Texel::kTextured && !Blend::kBlends && Shade::kSlot == ShadeNone::kSlot)
            out = Texel::kCutOut ? texels & kColors : texels;
        else
        {
            const Channels s = [&]
            {
                if constexpr (Texel::kTextured)
                    return Shade::shade(split(texels), flat, light);
                else
                    return Shade::color(flat, light);
            }();
            const Lanes a = kGouraudAlpha ? light[Shade::kChannels] : flatAlpha;
            const Channels d = split(old);
            out = join({Blend::channel(d.r, s.r, a), Blend::channel(d.g, s.g, a), Blend::channel(d.b, s.b, a)});
            if constexpr (Blend::kKeepsAtZero)
                out = select(a == 0, old, out);
        }
        if constexpr (Texel::kCutOut)
            out = select((texels & kOpaque) != 0, out, old);
        return out;
    }

    /// Fetches a batch of texels. A piece has its own, so that the compiler can keep all of it in registers.
    struct Sampler
    {
        kxcScan::Level level;
        WideLanes u[2], v[2], uBatch, vBatch; // the first four pixels, the others

        Sampler(const Span& span) : level(span.level)
        {
            begin(span.u, span.uStep, u, uBatch);
            begin(span.v, span.vStep, v, vBatch);
        }
        static void begin(UINT32 start, UINT32 step, WideLanes* first, WideLanes& batch)
        {
            const WideLanes steps = broadcastWide(step);
            first[0] =
                (steps & WideLanes{0, ~0u, 0, ~0u}) + (steps << 1 & WideLanes{0, 0, ~0u, ~0u}) + broadcastWide(start);
            first[1] = first[0] + (steps << 2);
            batch = steps << 3;
        }
        __attribute__((always_inline)) Lanes next()
        {
            WideLanes index[2];
            for (int half = 0; half < 2; ++half)
            {
                index[half] = ((v[half] & level.vMask) >> level.vShift) + (u[half] >> 16 & level.uMask);
                u[half] += uBatch;
                v[half] += vBatch;
            }
            const auto texel = [&](int i) __attribute__((always_inline))
            {
                return Texel::fetch(level.palette, level.texels, index[i / 4][i % 4]);
            };
            return Lanes{texel(0), texel(1), texel(2), texel(3), texel(4), texel(5), texel(6), texel(7)};
        }
    };

    /// Pixels whose channels all stay in range; start is what they begin with. Works on whole batches, and at the end
    /// writes back what was there behind the last pixel.
    void piece(UINT16* out, INT32 count, const UINT32* start)
    {
        const UINT32 steps = static_cast<UINT32>(count);
        Sampler sampler(*this);
        WideLanes even[kChannels + 1], odd[kChannels + 1];
        for (int c = 0; c < kChannels; ++c)
        {
            even[c] = ramp[c].even + start[c];
            odd[c] = ramp[c].odd + start[c];
        }
        UINT16 spare[kLanes] = {};
        for (; count > 0; count -= kLanes, out += kLanes)
        {
            const bool partial = count < kLanes;
            UINT16* place = out;
            if (partial && out > lastBatch)
            {
                place = spare;
                for (INT32 i = 0; i < count; ++i)
                    spare[i] = out[i];
            }
            Lanes texels = {}, light[kChannels + 1], old = {};
            if (kReadsTarget || partial)
                old = load(place);
            if constexpr (Texel::kTextured)
                texels = sampler.next();
            for (int c = 0; c < kChannels; ++c)
            {
                light[c] = topFiveBits(even[c], odd[c]);
                even[c] += ramp[c].batch;
                odd[c] += ramp[c].batch;
            }
            Lanes result = pixels(texels, light, old);
            if (partial)
                result = select(load(kLaneMasks + kLanes - count) != 0, result, old);
            store(place, result);
            for (INT32 i = 0; place == spare && i < count; ++i)
                out[i] = spare[i];
        }
        u += steps * uStep;
        v += steps * vStep;
    }

    /// Draws from the current pixel on. Rounding can carry a channel out of range at either end of a span: there
    /// pieces shrink to single pixels, which are clamped.
    void draw(UINT16* out, INT32 count)
    {
        UINT32 start[kChannels + 1];
        if constexpr (kChannels == 0)
            piece(out, count, start);
        else
            while (count > 0)
            {
                INT32 length = count;
                while (!steady && length > 1 && !staysInRange(length))
                    length /= 2;
                for (int c = 0; c < kChannels; ++c)
                {
                    const INT64 value = channel[c];
                    start[c] = static_cast<UINT32>(value < 0 ? 0 : value < kChannelEnd ? value : kChannelEnd - 1);
                    channel[c] = add(value, multiply(gradient[c], length));
                }
                piece(out, length, start);
                out += length;
                count -= length;
            }
    }

    bool staysInRange(INT32 count) const
    {
        INT64 all = 0;
        for (int c = 0; c < kChannels; ++c)
            all |= channel[c] | add(channel[c], multiply(gradient[c], count - 1));
        return all >= 0 && all < kChannelEnd;
    }

    /// One row. @param left, right   the span's pixels, of which begin to end - 1 lie on the target
    ///          @param row, values   the row's first pixel; what the left edge carries
    ///          @param lead          from the left edge to the first pixel of the span, 0..0xFFFF
    void row(UINT16* row, INT64 left, INT64 right, INT64 begin, INT64 end, INT64 lead, const kxcScan::Slope* values)
    {
        const auto atLeft = [&](int i) { return add(values[i].value, scale(gradient[i], lead)); };

        for (int c = 0; c < kChannels; ++c)
            channel[c] = atLeft(c);
        for (int c = 0; begin > left && c < kChannels; ++c)
            channel[c] = add(channel[c], multiply(gradient[c], begin - left));
        steady = staysInRange(static_cast<INT32>(end - begin));
        if constexpr (Texel::kTextured && kPerspective)
            perspectiveRuns(row, left, right, begin, end, atLeft(kQ), atLeft(kU), atLeft(kV));
        else
        {
            if constexpr (Texel::kTextured)
            {
                // Clipped pixels are stepped over in texels of the level, as the others are.
                const UINT32 skipped = static_cast<UINT32>(begin - left);
                u = static_cast<UINT32>(atLeft(kU) >> level.level) + skipped * uStep;
                v = static_cast<UINT32>(atLeft(kV) >> level.level) + skipped * vStep;
            }
            draw(row + begin, static_cast<INT32>(end - begin));
        }
    }

    void perspectiveRuns(UINT16* row, INT64 left, INT64 right, INT64 begin, INT64 end, INT64 q, INT64 uq, INT64 vq)
    {
        INT64 x = left, length = (right - left) & (kRun - 1);
        length = length ? length : kRun;
        const auto step = [&](INT64 pixels)
        {
            x += pixels;
            q = add(q, multiply(gradient[kQ], pixels));
            uq = add(uq, multiply(gradient[kU], pixels));
            vq = add(vq, multiply(gradient[kV], pixels));
        };
        if (begin - x >= length) // leave out the runs before the target
        {
            step(length + (begin - x - length) / kRun * kRun);
            length = kRun;
        }
        INT64 w = kxcScan::reciprocal(q);
        INT64 uStart = multiply(uq, w) >> kxcScan::kPerspectiveShift,
              vStart = multiply(vq, w) >> kxcScan::kPerspectiveShift;
        while (x < end)
        {
            step(length);
            w = kxcScan::reciprocal(q);
            const INT64 uEnd = multiply(uq, w) >> kxcScan::kPerspectiveShift,
                        vEnd = multiply(vq, w) >> kxcScan::kPerspectiveShift;
            const INT64 uWay = kxcScan::subtract(uEnd, uStart), vWay = kxcScan::subtract(vEnd, vStart);
            uStep = static_cast<UINT32>(length == kRun ? uWay >> 9 : kxcScan::divideByRun(uWay, length));
            vStep = static_cast<UINT32>(length == kRun ? vWay >> 9 : kxcScan::divideByRun(vWay, length));
            u = static_cast<UINT32>(uStart >> 5);
            v = static_cast<UINT32>(vStart >> 5);
            const INT64 first = x - length;
            const INT64 skipped = first < begin ? begin - first : 0;
            u += static_cast<UINT32>(skipped) * uStep;
            v += static_cast<UINT32>(skipped) * vStep;
            draw(row + first + skipped, static_cast<INT32>((x < end ? x : end) - first - skipped));
            uStart = uEnd;
            vStart = vEnd;
            length = kRun;
        }
    }

    /// The channels of the corners, from top to bottom.
    static void gatherChannels(const UINT32* colors, const INT32* order, INT64 (*values)[3])
    {
        for (int i = 0; i < 3; ++i)
        {
            const UINT32 color = colors[order[i]];
            for (int c = 0; c < Shade::kChannels; ++c)
                values[c][i] = (color >> Shade::kShifts[c] & 255) << 16;
            if constexpr (kGouraudAlpha)
                values[Shade::kChannels][i] = (color >> 24) << 16;
        }
    }
};

template <class Shade, class Texel, class Blend, bool kPerspective>
void fillTriangle(const KxcGLTriangle* triangle, const KxcVector4* vertices)
{
    using kxcScan::Edge;
    using kxcScan::Slope;

    kxcScan::Scan scan;
    if (!scan.begin(*triangle, vertices) || (Texel::kTextured && !kxcScan::hasTexture()))
        return;

    Span<Shade, Texel, Blend, kPerspective> span;
    constexpr int kValues = span.kValues;
    const UINT32 color = triangle->corners.color[0];
    for (int c = 0; c < 3; ++c)
        span.flat[c] = broadcast(static_cast<UINT16>(color >> (16 - 8 * c) & 255));
    span.flatAlpha = broadcast(blendFactor(color >> 24));
    INT64 corners[kValues + 1][3];
    span.gatherChannels(triangle->corners.color, scan.order, corners);
    if constexpr (Texel::kTextured)
    {
        scan.textureCorners(triangle->corners, corners[span.kU], corners[span.kV]);
        if constexpr (kPerspective)
            scan.divideByW(triangle->corners, vertices, corners[span.kU], corners[span.kV], corners[span.kQ]);
    }
    scan.gradients(corners, kValues, span.gradient);
    for (int c = 0; c < span.kChannels; ++c)
        span.ramp[c].begin(static_cast<UINT32>(span.gradient[c]));
    if constexpr (Texel::kTextured)
    {
        const INT32 wanted = kPerspective ? 0 : kxcScan::chooseLevel(span.gradient[span.kU], span.gradient[span.kV]);
        if (!span.level.open(wanted, Texel::kFormat))
            return;
        if constexpr (!kPerspective)
        {
            span.uStep = static_cast<UINT32>(span.gradient[span.kU] >> span.level.level);
            span.vStep = static_cast<UINT32>(span.gradient[span.kV] >> span.level.level);
        }
    }

    const kxcScan::Target target;
    span.lastBatch = target.lastBatch(kLanes);
    Slope left = {}, right = {}, values[kValues + 1] = {};
    const Edge *leftEdge = nullptr, *rightEdge = nullptr;
    for (int part = 1; part <= 2; ++part) // above the middle corner, below it
    {
        const Edge& side = scan.edges[part];
        const INT64 begin = side.first > 0 ? side.first : 0, end = side.end < target.height ? side.end : target.height;
        if (begin >= end)
            continue;
        const Edge* now = scan.longOnRight ? &side : &scan.edges[0];
        if (now != leftEdge)
        {
            left.begin(*now, scan.x, begin);
            kxcScan::beginAll(values, *now, corners, kValues, begin);
            leftEdge = now;
        }
        now = scan.longOnRight ? &scan.edges[0] : &side;
        if (now != rightEdge)
        {
            right.begin(*now, scan.x, begin);
            rightEdge = now;
        }
        UINT16* row = target.pixels + begin * target.width;
        for (INT64 y = begin; y < end; ++y, row += target.width)
        {
            const INT64 first = kxcScan::ceil(left.value), last = kxcScan::ceil(right.value);
            const INT64 from = first > 0 ? first : 0, to = last < target.width ? last : target.width;
            if (from < to)
                span.row(row, first, last, from, to, first * kxcScan::kOne - left.value, values);
            left.next();
            right.next();
            for (int i = 0; i < kValues; ++i)
                values[i].next();
        }
    }
}

/// Puts a filler in its slots of the tables. Without a texture, perspective and what a texture alone would show make
/// no difference.
template <class Shade, class Texel, class Blend, bool kPerspective>
void useFiller()
{
    if (!kxcCore)
        return;
    KxcGLFiller* slots = kxcCore->fillers[Blend::kRow][Texel::kColumn];
    const KxcGLFiller filler = fillTriangle<Shade, Texel, Blend, kPerspective>;
    if (Texel::kTextured)
        slots[Shade::kSlot + (kPerspective ? 4 : 0)] = filler;
    else
    {
        slots[Shade::kSlot] = slots[Shade::kSlot + 4] = filler;
        if (Shade::kSlot == ShadeFlat::kSlot)
            slots[ShadeNone::kSlot] = slots[ShadeNone::kSlot + 4] = filler;
    }
}

} // namespace

#define KXC_GL_DEFINE_FILLER(name, shading, texel, blend, perspective) \
    void kxcGLUseFiller##name() { useFiller<Shade##shading, Texel##texel, Blend##blend, perspective>(); }
