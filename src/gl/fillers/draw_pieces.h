// draw_pieces.h - the one loop over pixels, from which all fillers are made.
#pragma once

#include "gl/fillers/policies.h"
#include "gl/fillers/walk.h"

namespace
{

template <class Shade, class Blend>
constexpr bool kGouraudAlpha = Blend::kBlends && (Shade::kChannels > 0);

/// @param light  the top five bits of the channels; where alpha is one, the last has it as a factor 0..31
template <class Shade, class Texel, class Blend>
__attribute__((always_inline)) inline Lanes blendPixels(const Paint& paint, Lanes texels, const Lanes* light, Lanes old)
{
    Lanes out;
    if constexpr (Texel::kTextured && !Blend::kBlends && Shade::kSlot == ShadeNone::kSlot)
        out = Texel::kCutOut ? texels & kColors : texels;
    else
    {
        const Channels s = [&]
        {
            if constexpr (Texel::kTextured)
                return Shade::shade(split(texels), paint.flat, light);
            else
                return Shade::color(paint.flat, light);
        }();
        const Lanes a = kGouraudAlpha<Shade, Blend> ? light[Shade::kChannels] : paint.flatAlpha;
        const Channels d = split(old);
        out = join({Blend::channel(d.r, s.r, a), Blend::channel(d.g, s.g, a), Blend::channel(d.b, s.b, a)});
        if constexpr (Blend::kKeepsAtZero)
            out = select(a == 0, old, out);
    }
    if constexpr (Texel::kCutOut)
        out = select((texels & kOpaque) != 0, out, old);
    return out;
}

/// Reads texels of a level. Every drawer has its own copy of all it needs, so that the compiler can keep it in
/// registers.
template <class Texel>
class Sampler
{
public:
    explicit Sampler(const KxcGLTexels* of)
        : m_palette(of->palette),
          m_texels(of->texels),
          m_uMask(broadcastWide(of->uMask)),
          m_vMask(broadcastWide(of->vMask)),
          m_vShift(of->vShift)
    {
    }
    WideLanes indices(WideLanes u, WideLanes v) const { return ((v & m_vMask) >> m_vShift) + (u >> 16 & m_uMask); }
    WideLanes firstIndices(const Piece& piece) const { return indices(loadWide(piece.u), loadWide(piece.v)); }
    Lanes fetch(WideLanes i) const { return reinterpret_cast<Lanes>(Halves{four(i), 0}); }
    /// Half of them go by way of a word, half straight into the vector, which keeps more of the processor busy.
    Lanes fetch(WideLanes i, WideLanes j) const
    {
        const Halves words = reinterpret_cast<Halves>(j);
        Lanes texels = fetch(i);
        for (int k = 0; k < kLanes / 2; ++k)
            texels[kLanes / 2 + k] = static_cast<UINT16>(at(words[k / 2] >> 32 * (k % 2)));
        return texels;
    }

private:
    UINT64 four(WideLanes indices) const
    {
        const Halves i = reinterpret_cast<Halves>(indices);
        return at(i[0]) | at(i[0] >> 32) << 16 | at(i[1]) << 32 | at(i[1] >> 32) << 48;
    }
    UINT64 at(UINT64 index) const { return Texel::fetch(m_palette, m_texels, static_cast<UINT32>(index)); }

    const UINT16* const m_palette;
    const void* const m_texels;
    const WideLanes m_uMask, m_vMask;
    const UINT32 m_vShift;
};

template <>
class Sampler<TexelNone>
{
public:
    explicit Sampler(const KxcGLTexels*) {}
    WideLanes indices(WideLanes, WideLanes) const { return WideLanes{}; }
    WideLanes firstIndices(const Piece&) const { return WideLanes{}; }
    Lanes fetch(WideLanes) const { return Lanes{}; }
    Lanes fetch(WideLanes, WideLanes) const { return Lanes{}; }
};

/// What a filler does for the pixels of small triangles: half a batch from one row, half from another.
template <class Shade, class Texel, class Blend>
void drawShortPieces(const Paint& paint, const Piece* piece, const Piece* end)
{
    constexpr int kChannels = Shade::kChannels + kGouraudAlpha<Shade, Blend>;
    const Sampler<Texel> sampler(paint.texels);
    ChannelRamp ramp[kChannels + 1];
    for (int c = 0; c < kChannels; ++c)
        ramp[c] = ChannelRamp::halves(paint.gradient[c]);
    for (; piece < end; piece += 2)
    {
        const Piece &a = piece[0], &b = piece + 1 < end ? piece[1] : a; // drawing one twice changes nothing
        Lanes light[kChannels + 1];
        for (int c = 0; c < kChannels; ++c)
        {
            const WideLanes first = {a.channel[c], a.channel[c], b.channel[c], b.channel[c]};
            light[c] = topFiveBits(ramp[c].even + first, ramp[c].odd + first);
        }
        const Lanes texels = sampler.fetch(sampler.firstIndices(a), sampler.firstIndices(b));
        const Lanes old = loadHalves(a.out, b.out);
        const Lanes mask = loadHalves(kLaneMasks + kLanes - a.count, kLaneMasks + kLanes - b.count);
        storeHalves(a.out, b.out, select(mask, blendPixels<Shade, Texel, Blend>(paint, texels, light, old), old));
    }
}

/// What it does for others: works on whole batches, and writes back what was there behind the last pixel of a piece.
template <class Shade, class Texel, class Blend>
void drawPieces(const Paint& given, const Piece* pieces, const Piece* end)
{
    const Paint paint = given; // for the compiler, which has to expect that stores to the target change the given one
    constexpr int kChannels = Shade::kChannels + kGouraudAlpha<Shade, Blend>;
    constexpr bool kReadsTarget = Blend::kBlends || Texel::kCutOut;
    const Sampler<Texel> sampler(paint.texels);
    ChannelRamp ramp[kChannels + 1];
    WideLanes batchSteps[kChannels + 1];
    for (int c = 0; c < kChannels; ++c)
    {
        ramp[c] = ChannelRamp::whole(paint.gradient[c]);
        batchSteps[c] = broadcastWide(kLanes * paint.gradient[c]);
    }
    for (; pieces < end; ++pieces)
    {
        const WideLanes uStep = broadcastWide(pieces->uStep), vStep = broadcastWide(pieces->vStep);
        WideLanes u = loadWide(pieces->u), v = loadWide(pieces->v), even[kChannels + 1], odd[kChannels + 1];
        for (int c = 0; c < kChannels; ++c)
        {
            even[c] = ramp[c].even + pieces->channel[c];
            odd[c] = ramp[c].odd + pieces->channel[c];
        }
        const auto batch = [&](INT32 size, Lanes old) __attribute__((always_inline))
        {
            Lanes light[kChannels + 1];
            for (int c = 0; c < kChannels; ++c)
                light[c] = topFiveBits(even[c], odd[c]);
            const WideLanes first = sampler.indices(u, v);
            const Lanes texels = size > kLanes / 2
                                     ? sampler.fetch(first, sampler.indices(u + (uStep << 2), v + (vStep << 2)))
                                     : sampler.fetch(first);
            return blendPixels<Shade, Texel, Blend>(paint, texels, light, old);
        };
        UINT16* out = pieces->out;
        INT32 left = static_cast<INT32>(pieces->count);
        for (; left >= kLanes; left -= kLanes, out += kLanes)
        {
            store(out, batch(kLanes, kReadsTarget ? load(out) : Lanes{}));
            u += uStep << 3;
            v += vStep << 3;
            for (int c = 0; c < kChannels; ++c)
            {
                even[c] += batchSteps[c];
                odd[c] += batchSteps[c];
            }
        }
        if (left == 0)
            continue;
        UINT16 spare[kLanes];
        UINT16* place = out;
        if (out > paint.lastBatch)
        {
            place = spare;
            store(spare, Lanes{});
            for (INT32 i = 0; i < left; ++i)
                spare[i] = out[i];
        }
        const Lanes old = load(place);
        store(place, select(load(kLaneMasks + kLanes - left), batch(left, old), old));
        for (INT32 i = 0; place == spare && i < left; ++i)
            out[i] = spare[i];
    }
}

} // namespace
