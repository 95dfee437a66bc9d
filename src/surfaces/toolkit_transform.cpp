// toolkit_transform.cpp - pictures mapped through a matrix, turned and skewed.
//
// Samples are mixed from four neighbours, those that lie outside the source counting as 0: edges come out soft, and
// nothing is read that is not there.

#include "surfaces/toolkit.h"

#include <kxcoreemb/fixed_math.h>

#include <memory>

namespace
{

constexpr INT64 kOne = 0x10000; // 16.16

INT64 floorOf(INT64 fixed) { return fixed >> 16; }
INT64 ceilingOf(INT64 fixed) { return (fixed + kOne - 1) >> 16; }
INT64 raw(KxcFixed value) { return value.raw(); }

// Matrices

/// A quarter turn moves pixels and mixes none, though its sines are only near to 0 and 1.
KxcFixed snapped(KxcFixed value)
{
    constexpr INT64 kNear = 16; // their error is 8/65536, and the angle is rounded as well
    const INT64 whole = (raw(value) + kOne / 2) & ~(kOne - 1);
    const INT64 off = raw(value) - whole;
    return off >= -kNear && off <= kNear ? KxcFixed::fromRaw(static_cast<INT32>(whole)) : value;
}

/// How long a step of one source pixel becomes, squared, in 16.16; at most 1.0, for growth is no matter here.
INT32 squaredScale(const KxcFixed (&axis)[3])
{
    const UINT64 square =
        static_cast<UINT64>(raw(axis[0]) * raw(axis[0])) + static_cast<UINT64>(raw(axis[1]) * raw(axis[1]));
    return static_cast<INT32>(square >> 16 < kOne ? square >> 16 : kOne);
}

/// The size that keeps an axis from being undersampled.
INT32 reducedSize(INT32 size, INT32 squared)
{
    constexpr INT32 kNearlyOne = kOne - 0x100; // rotation matrices come that close to 1
    if (squared >= kNearlyOne)
        return size;
    const INT64 reduced = size * raw(KxcMath::sqrt(KxcFixed::fromRaw(squared))) >> 16;
    return reduced > 0 ? static_cast<INT32>(reduced) : 1;
}

/// Lets an axis start from a picture that was reduced along it: reduced pixel i covers the old ones around
/// (i + 1/2) ratio - 1/2.
void startFromReduced(KxcMatrix3& m, INT32 axis, INT32 oldSize, INT32 size)
{
    const KxcFixed ratio = KxcFixed::fromRaw(static_cast<INT32>((INT64{oldSize} << 16) / size));
    const KxcFixed shift = (ratio - KxcFixed(1)) / 2;
    for (INT32 column = 0; column < 2; ++column)
    {
        m.m[2][column] += shift * m.m[axis][column];
        m.m[axis][column] *= ratio;
    }
}

/// Where one coordinate of the source's corners goes, floor to ceiling.
struct Extent
{
    INT64 first, last;

    Extent(const KxcMatrix3& m, INT32 column, INT32 width, INT32 height)
    {
        // A surface's sizes add up to less than 2^31, so that these fit 63 bits.
        const INT64 across = (width - 1) * raw(m.m[0][column]), down = (height - 1) * raw(m.m[1][column]);
        const INT64 base = raw(m.m[2][column]);
        first = floorOf(base + (across < 0 ? across : 0) + (down < 0 ? down : 0));
        last = ceilingOf(base + (across > 0 ? across : 0) + (down > 0 ? down : 0));
    }
    INT64 size() const { return last - first + 1; }
    bool startFitsFixed() const { return first >= INT16_MIN && first <= INT16_MAX; }
};

// Samples

template <class Texel>
class Sampler
{
public:
    explicit Sampler(const KxcSurfaceReader& source)
        : m_source(source),
          m_width(source.width()),
          m_height(source.height())
    {
    }
    /// The picture at a point, 16.16.
    typename Texel::Pixel at(INT64 u, INT64 v) const
    {
        const INT64 x = floorOf(u), y = floorOf(v);
        if (x < -1 || y < -1 || x >= m_width || y >= m_height)
            return 0;
        const UINT32 wx = Texel::weight(static_cast<UINT32>(u & 0xFFFF));
        const UINT32 wy = Texel::weight(static_cast<UINT32>(v & 0xFFFF));
        const UINT32 t00 = texel(x, y), t10 = texel(x + 1, y), t01 = texel(x, y + 1), t11 = texel(x + 1, y + 1);
        const auto mix = [=](UINT32 shift)
        {
            const auto pair = [shift](UINT32 t) { return t >> shift & kPairMask; };
            return mixDown(mixAcross(pair(t00), pair(t10), wx), mixAcross(pair(t01), pair(t11), wx), wy) << shift;
        };
        return Texel::pack(mix(0) | mix(8));
    }

private:
    UINT32 texel(INT64 x, INT64 y) const
    {
        if (x < 0 || y < 0 || x >= m_width || y >= m_height)
            return 0;
        return Texel::unpack(reinterpret_cast<const typename Texel::Pixel*>(m_source.row(static_cast<INT32>(y)))[x]);
    }

    const KxcSurfaceReader& m_source;
    INT64 m_width, m_height;
};

/// Fills the result from a source, through the matrix that leads from the one's coordinates to the other's.
template <class Texel>
void sampleAll(const KxcSurfaceReader& source, const KxcToolkitResult& result, const KxcMatrix3& toSource, INT64 left,
               INT64 top)
{
    const Sampler<Texel> sampler(source);
    const KxcFixed(&m)[3][3] = toSource.m;
    for (INT32 y = 0; y < result.height(); ++y)
    {
        auto* const target = reinterpret_cast<typename Texel::Pixel*>(result.row(y));
        INT64 u = left * raw(m[0][0]) + (top + y) * raw(m[1][0]) + raw(m[2][0]);
        INT64 v = left * raw(m[0][1]) + (top + y) * raw(m[1][1]) + raw(m[2][1]);
        for (INT32 x = 0; x < result.width(); ++x, u += raw(m[0][0]), v += raw(m[0][1]))
            target[x] = sampler.at(u, v);
    }
}

// Skewing

/// A row or a column of pixels.
template <class Pixel>
struct Line
{
    Pixel* first;
    ptrdiff_t step; // in pixels
};

/// Writes a line `offset` pixels (16.16) further on into another, which holds zeros.
template <class Texel, class Pixel = typename Texel::Pixel>
void shiftLine(Line<const Pixel> source, INT32 count, Line<Pixel> target, INT64 offset)
{
    const UINT32 weight = Texel::weight(static_cast<UINT32>(offset & 0xFFFF)); // of the pixel before
    const INT32 written = weight != 0 ? count + 1 : count;                     // beyond that there may be no room
    target.first += floorOf(offset) * target.step;
    UINT32 before = 0;
    for (INT32 i = 0; i < written; ++i)
    {
        const UINT32 here = i < count ? Texel::unpack(source.first[i * source.step]) : 0;
        const auto mix = [=](UINT32 shift)
        {
            const UINT32 pair = mixAcross(here >> shift & kPairMask, before >> shift & kPairMask, weight);
            return ((pair + 0x00800080) >> 8 & kPairMask) << shift;
        };
        target.first[i * target.step] = Texel::pack(mix(0) | mix(8));
        before = here;
    }
}

/// Shifts all lines along one axis, each `skew` further than the one before it.
template <class Texel>
void shiftLines(const KxcSurfaceReader& source, const KxcToolkitResult& result, INT64 skew, bool columns)
{
    using Pixel = typename Texel::Pixel;
    const auto* from = reinterpret_cast<const Pixel*>(source.row(0));
    auto* to = reinterpret_cast<Pixel*>(result.row(0));
    const ptrdiff_t fromPitch = source.width(), toPitch = result.width(); // both are without gaps
    const INT32 lines = columns ? source.width() : source.height();
    INT64 offset = skew < 0 ? -skew * lines : 0;
    for (INT32 i = 0; i < lines; ++i, offset += skew)
        if (columns)
            shiftLine<Texel>({from + i, fromPitch}, source.height(), {to + i, toPitch}, offset);
        else
            shiftLine<Texel>({from + i * fromPitch, 1}, source.width(), {to + i * toPitch, 1}, offset);
}

KxcGLSurface* skewAxis(KxcGLSurface* surface, INT64 skew, bool columns)
{
    const INT32 format = kxcToolkitFormat(surface->getFormat());
    const KxcSurfaceReader source(surface, format);
    const INT64 lines = columns ? surface->getWidth() : surface->getHeight();
    const INT64 added = ceilingOf((skew < 0 ? -skew : skew) * lines);
    KxcToolkitResult result(*surface, surface->getWidth() + (columns ? 0 : added),
                            surface->getHeight() + (columns ? added : 0));
    if (!source || !result)
        return nullptr;
    result.clear();
    (format == KXCSURFACEFORMAT_55X5 ? shiftLines<Texel55X5> : shiftLines<Texel8888>)(source, result, skew, columns);
    return result.take();
}

} // namespace

KxcGLSurface* KxcGLSurfaceToolkit::transformSurface(KxcGLSurface* source, const KxcMatrix3& m, KxcVector2& origin)
{
    if (source == nullptr || raw(m.m[0][0]) * raw(m.m[1][1]) == raw(m.m[0][1]) * raw(m.m[1][0]))
        return nullptr;
    const INT32 scaleX = squaredScale(m.m[0]), scaleY = squaredScale(m.m[1]);
    if (scaleX == 0 || scaleY == 0)
        return nullptr;
    const INT32 width = source->getWidth(), height = source->getHeight();
    const Extent across(m, 0, width, height), down(m, 1, width, height);
    if (!across.startFitsFixed() || !down.startFitsFixed())
        return nullptr;

    KxcMatrix3 toSource = m;
    std::unique_ptr<KxcGLSurface> reduced;
    const INT32 smallWidth = reducedSize(width, scaleX), smallHeight = reducedSize(height, scaleY);
    if (smallWidth != width || smallHeight != height)
    {
        reduced.reset(resampleSurface(source, smallWidth, smallHeight));
        if (!reduced)
            return nullptr;
        startFromReduced(toSource, 0, width, smallWidth);
        startFromReduced(toSource, 1, height, smallHeight);
    }
    KxcMath::matrixInverseAffine2D(toSource);

    const INT32 format = kxcToolkitFormat(source->getFormat());
    const KxcSurfaceReader reader(reduced ? reduced.get() : source, format);
    KxcToolkitResult result(*source, across.size(), down.size());
    if (!reader || !result)
        return nullptr;
    (format == KXCSURFACEFORMAT_55X5 ? sampleAll<Texel55X5> : sampleAll<Texel8888>)(reader, result, toSource,
                                                                                    across.first, down.first);
    origin = {KxcFixed(across.first), KxcFixed(down.first)};
    return result.take();
}

KxcGLSurface* KxcGLSurfaceToolkit::rotateSurface(KxcGLSurface* source, KxcFixed angle)
{
    KxcMatrix3 m;
    KxcVector2 origin;
    KxcMath::matrixRotation2D(m, angle);
    for (KxcFixed(&row)[3] : m.m)
        for (KxcFixed& entry : row)
            entry = snapped(entry);
    return transformSurface(source, m, origin);
}

KxcGLSurface* KxcGLSurfaceToolkit::skewSurface(KxcGLSurface* source, KxcFixed skewX, KxcFixed skewY)
{
    if (source == nullptr)
        return nullptr;
    if (raw(skewX) == 0)
        return skewAxis(source, raw(skewY), true); // which copies where this is 0 as well
    std::unique_ptr<KxcGLSurface> rows(skewAxis(source, raw(skewX), false));
    if (!rows || raw(skewY) == 0)
        return rows.release();
    return skewAxis(rows.get(), raw(skewY), true);
}
