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

/// Fetches texels. A piece has its own, so that the compiler can keep all of it in registers.
template <class Texel>
struct Sampler
{
    kxcScan::Level level;
    WideLanes u, v, uStep, vStep; // half a batch

    Sampler(const kxcScan::Level& of, const Piece& piece)
        : level(of),
          uStep(broadcastWide(piece.uStep)),
          vStep(broadcastWide(piece.vStep))
    {
        std::memcpy(&u, piece.u, sizeof(u));
        std::memcpy(&v, piece.v, sizeof(v));
    }
    /// @param count  how many of the batch matter: small triangles have few
    __attribute__((always_inline)) Lanes fetch(INT32 count) const
    {
        const auto indices = [&](WideLanes uHalf, WideLanes vHalf) __attribute__((always_inline))
        {
            return ((vHalf & level.vMask) >> level.vShift) + (uHalf >> 16 & level.uMask);
        };
        const auto texel = [&](UINT32 i) __attribute__((always_inline))
        {
            return Texel::fetch(level.palette, level.texels, i);
        };
        const WideLanes i = indices(u, v);
        Lanes texels = {texel(i[0]), texel(i[1]), texel(i[2]), texel(i[3])};
        if (count > kLanes / 2)
        {
            const WideLanes j = indices(u + (uStep << 2), v + (vStep << 2));
            for (int k = 0; k < kLanes / 2; ++k)
                texels[kLanes / 2 + k] = texel(j[k]);
        }
        return texels;
    }
    void advance()
    {
        u += uStep << 3;
        v += vStep << 3;
    }
};

template <>
struct Sampler<TexelNone>
{
    Sampler(const kxcScan::Level&, const Piece&) {}
    Lanes fetch(INT32) const { return Lanes{}; }
    void advance() {}
};

/// Works on whole batches, and writes back what was there behind the last pixel of a piece.
template <class Shade, class Texel, class Blend>
void drawPieces(const Paint& given, const Piece* pieces, const Piece* end)
{
    const Paint paint = given; // for the compiler, which has to expect that stores to the target change the given one
    constexpr int kChannels = Shade::kChannels + kGouraudAlpha<Shade, Blend>;
    constexpr bool kReadsTarget = Blend::kBlends || Texel::kCutOut;
    for (; pieces < end; ++pieces)
    {
        Sampler<Texel> sampler(paint.level, *pieces);
        WideLanes even[kChannels + 1], odd[kChannels + 1];
        for (int c = 0; c < kChannels; ++c)
        {
            even[c] = paint.ramp[c].even + pieces->channel[c];
            odd[c] = paint.ramp[c].odd + pieces->channel[c];
        }
        const auto batch = [&](INT32 size, Lanes old) __attribute__((always_inline))
        {
            Lanes light[kChannels + 1];
            for (int c = 0; c < kChannels; ++c)
                light[c] = topFiveBits(even[c], odd[c]);
            return blendPixels<Shade, Texel, Blend>(paint, sampler.fetch(size), light, old);
        };
        UINT16* out = pieces->out;
        INT32 left = pieces->count;
        for (; left >= kLanes; left -= kLanes, out += kLanes)
        {
            store(out, batch(kLanes, kReadsTarget ? load(out) : Lanes{}));
            sampler.advance();
            for (int c = 0; c < kChannels; ++c)
            {
                even[c] += paint.ramp[c].batch;
                odd[c] += paint.ramp[c].batch;
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
