// toolkit_resample.cpp - pictures in another size: averages where they shrink, mixed neighbours where they grow.
//
// An axis that shrinks is dealt with first, and one that grows on what is left. Both go row by row: the kernels of
// pixel_kernels.h work down the picture on whole rows, and across it on tables of columns.

#include "surfaces/toolkit.h"

#include <initializer_list>

namespace
{

using Kernels = KxcPixelKernels;

Kernels::Size sizeOf(INT32 workFormat) { return workFormat == KXCSURFACEFORMAT_55X5 ? Kernels::k16 : Kernels::k32; }

// Growing

/// An axis whose first and last pixels stay where they are.
class Growth
{
public:
    Growth(INT32 from, INT32 to)
        : m_last(from - 1),
          m_count(to),
          m_step(to > 1 ? (INT64{from - 1} << 16) / (to - 1) : 0)
    {
    }
    INT64 position(INT32 i) const // 16.16
    {
        return i == m_count - 1 && i > 0 ? INT64{m_last} << 16 : i * m_step;
    }
    INT32 left(INT32 i) const { return static_cast<INT32>(position(i) >> 16); }
    INT32 right(INT32 i) const { return left(i) < m_last ? left(i) + 1 : m_last; }
    UINT32 weight(INT32 i, Kernels::Size size) const ///< of the right one
    {
        const UINT32 fraction = static_cast<UINT32>(position(i) & 0xFFFF);
        return size == Kernels::k16 ? Texel55X5::weight(fraction) : Texel8888::weight(fraction);
    }

private:
    INT32 m_last, m_count;
    INT64 m_step;
};

void growStrip(const KxcSurfaceReader& source, const KxcToolkitResult& result, Kernels::Size size,
               const KxcPixelMix& columns, INT32 x, UINT32* const widened[2])
{
    const KxcPictureKernels& kernels = kxcPictureKernels();
    const Growth down(source.height(), result.height());
    INT32 held[2] = {-1, -1}; // the source's rows that were widened last: the even and the odd one
    for (INT32 y = 0; y < result.height(); ++y)
    {
        const UINT32 weight = down.weight(y, size);
        const INT32 top = down.left(y), bottom = weight != 0 ? down.right(y) : top;
        for (INT32 row : {top, bottom})
            if (held[row & 1] != row)
            {
                kernels.widenRow[size](source.row(row), columns, widened[row & 1]);
                held[row & 1] = row;
            }
        kernels.mixRows[size](widened[top & 1], widened[bottom & 1], weight,
                              result.row(y) + x * (size == Kernels::k16 ? 2 : 4), columns.count);
    }
}

KxcGLSurface* grow(KxcGLSurface* surface, INT32 width, INT32 height)
{
    constexpr INT32 kStrip = 256;
    const INT32 format = kxcToolkitFormat(surface->getFormat());
    const KxcSurfaceReader source(surface, format);
    KxcToolkitResult result(*surface, width, height);
    if (!source || !result)
        return nullptr;

    const Kernels::Size size = sizeOf(format);
    const Growth across(source.width(), width);
    INT32 left[kStrip], right[kStrip];
    UINT32 weights[kStrip], even[2 * kStrip], odd[2 * kStrip];
    UINT32* const widened[2] = {even, odd};
    for (INT32 x = 0; x < width; x += kStrip)
    {
        const INT32 count = width - x < kStrip ? width - x : kStrip;
        for (INT32 i = 0; i < count; ++i)
        {
            left[i] = across.left(x + i);
            right[i] = across.right(x + i);
            weights[i] = across.weight(x + i, size);
        }
        growStrip(source, result, size, {left, right, weights, count}, x, widened);
    }
    return result.take();
}

// Shrinking. A pixel of the result covers a rectangle of the source, whose edges are in 256ths of its pixels. Its rows
// are summed column by column; the sums of its columns, and their area, make the average. Nothing is rounded before.

constexpr INT64 kLargestRatio = 0x10000; // what 32 bits can sum of one column

INT64 edge(INT32 i, INT32 from, INT32 to) { return (INT64{i} * from << 8) / to; } // 24.8

/// f(index, weight) for the source pixels between two edges, which all weigh 256 but the first and the last.
template <class F>
inline void forEachCovered(INT64 start, INT64 end, F f)
{
    const INT64 first = start >> 8, last = (end - 1) >> 8;
    if (first == last)
        return f(first, static_cast<UINT32>(end - start));
    f(first, 256 - static_cast<UINT32>(start & 255));
    for (INT64 i = first + 1; i < last; ++i)
        f(i, 256);
    f(last, static_cast<UINT32>((end - 1) & 255) + 1);
}

template <class Texel>
void averageRow(const UINT32* sums, INT32 sumCount, const INT64* edges, INT64 height, void* target, INT32 width)
{
    // Widths differ by 1/256 at most. Divisions are products with 2^56 / area, rounded up, so that halves stay halves.
    const INT64 narrowest = (INT64{sumCount} << 8) / width;
    UINT64 reciprocals[2];
    for (INT32 i = 0; i < 2; ++i)
    {
        const UINT64 area = static_cast<UINT64>((narrowest + i) * height);
        reciprocals[i] = ((UINT64{1} << 56) + area - 1) / area;
    }
    auto* pixels = static_cast<typename Texel::Pixel*>(target);
    for (INT32 x = 0; x < width; ++x)
    {
        const UINT64 reciprocal = reciprocals[edges[x + 1] - edges[x] - narrowest];
        UINT64 totals[Texel::kChannels] = {};
        forEachCovered(edges[x], edges[x + 1],
                       [&](INT64 column, UINT32 weight)
                       {
                           for (UINT32 c = 0; c < Texel::kChannels; ++c)
                               totals[c] += UINT64{sums[static_cast<INT64>(c) * sumCount + column]} * weight;
                       });
        UINT32 texel = 0;
        for (UINT32 c = 0; c < Texel::kChannels; ++c)
            texel |= static_cast<UINT32>((totals[c] * reciprocal + (UINT64{1} << 55)) >> 56) << (c * 8);
        pixels[x] = Texel::pack(texel);
    }
}

KxcGLSurface* shrink(KxcGLSurface* surface, INT32 width, INT32 height)
{
    const INT32 format = kxcToolkitFormat(surface->getFormat());
    const KxcSurfaceReader source(surface, format);
    KxcToolkitResult result(*surface, width, height);
    if (!source || !result)
        return nullptr;
    const INT32 count = source.width();
    const size_t sumCount = static_cast<size_t>(count) * Texel8888::kChannels;
    UINT32* const sums = new (std::nothrow) UINT32[sumCount];
    INT64* const edges = new (std::nothrow) INT64[static_cast<size_t>(width) + 1];
    const bool good = sums != nullptr && edges != nullptr;
    for (INT32 x = 0; good && x <= width; ++x)
        edges[x] = edge(x, count, width);

    const Kernels::Size size = sizeOf(format);
    const auto sumRow = kxcPictureKernels().sumRow[size];
    for (INT32 y = 0; good && y < height; ++y)
    {
        const INT64 top = edge(y, source.height(), height), bottom = edge(y + 1, source.height(), height);
        memset(sums, 0, sumCount * sizeof(UINT32));
        forEachCovered(top, bottom,
                       [&](INT64 row, UINT32 weight)
                       { sumRow(source.row(static_cast<INT32>(row)), weight, sums, count); });
        (size == Kernels::k16 ? averageRow<Texel55X5> : averageRow<Texel8888>)(sums, count, edges, bottom - top,
                                                                               result.row(y), width);
    }
    delete[] sums;
    delete[] edges;
    return good ? result.take() : nullptr;
}

} // namespace

KxcGLSurface* KxcGLSurfaceToolkit::resampleSurface(KxcGLSurface* source, INT32 width, INT32 height)
{
    if (source == nullptr || width < 1 || height < 1)
        return nullptr;
    const INT32 oldWidth = source->getWidth(), oldHeight = source->getHeight();
    if (oldWidth / width > kLargestRatio || oldHeight / height > kLargestRatio)
        return nullptr;
    const INT32 smallWidth = width < oldWidth ? width : oldWidth, smallHeight = height < oldHeight ? height : oldHeight;
    if (smallWidth == oldWidth && smallHeight == oldHeight)
        return grow(source, width, height);
    KxcGLSurface* const small = shrink(source, smallWidth, smallHeight);
    if (small == nullptr || (smallWidth == width && smallHeight == height))
        return small;
    KxcGLSurface* const result = grow(small, width, height);
    delete small;
    return result;
}

KxcGLSurface* KxcGLSurfaceToolkit::resampleSurface(KxcGLSurface* source, KxcFixed scaleX, KxcFixed scaleY)
{
    if (source == nullptr)
        return nullptr;
    const INT64 width = (INT64{source->getWidth()} * scaleX.raw()) >> 16;
    const INT64 height = (INT64{source->getHeight()} * scaleY.raw()) >> 16;
    if (width > INT32_MAX || height > INT32_MAX || width < 1 || height < 1)
        return nullptr;
    return resampleSurface(source, static_cast<INT32>(width), static_cast<INT32>(height));
}
