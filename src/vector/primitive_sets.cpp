// primitive_sets.cpp - points, lines and the halves of discs that the rasteriser is fed.

#include <kxcoreemb/primitive_sets.h>

#include <new>

namespace
{

template <class T>
T* withRoom(T* set, bool hasRoom)
{
    if (set && hasRoom)
        return set;
    delete set;
    return nullptr;
}

} // namespace

KxcPrimitiveDrawPointSet* KxcPrimitiveDrawPointSet::create(INT32 capacity)
{
    KxcPrimitiveDrawPointSet* set = new (std::nothrow) KxcPrimitiveDrawPointSet;
    return withRoom(set, set && set->m_points.reserve(capacity) && set->m_scaled.reserve(capacity));
}

void KxcPrimitiveDrawPointSet::calculateScaledValues(const KxcMatrix3& matrix, INT32 gridShift)
{
    m_scaled.clear();
    const INT32 count = m_points.count();
    if (!m_scaled.resize(count))
        return;
    const INT32 shift = 16 - gridShift;
    const INT64 xx = matrix.m[0][0].raw(), xy = matrix.m[0][1].raw(), yx = matrix.m[1][0].raw(),
                yy = matrix.m[1][1].raw(), tx = matrix.m[2][0].raw() * (INT64(1) << gridShift),
                ty = matrix.m[2][1].raw() * (INT64(1) << gridShift);
    for (INT32 i = 0; i < count; ++i)
    {
        // Each product fits 63 bits, and so does the sum of their halves.
        const INT64 x = m_points[i].x.raw(), y = m_points[i].y.raw();
        m_scaled[i] = {(((x * xx >> 1) + (y * yx >> 1)) >> (shift - 1)) + tx,
                       (((x * xy >> 1) + (y * yy >> 1)) >> (shift - 1)) + ty};
    }
}

void KxcPrimitiveDrawPointSet::calculateScaledValues(KxcFixed factor)
{
    const KxcFixed zero = 0;
    calculateScaledValues({{{factor, zero, zero}, {zero, factor, zero}, {zero, zero, KxcFixed(1)}}});
}

KxcPrimitiveDrawLineSet* KxcPrimitiveDrawLineSet::create(INT32 capacity)
{
    KxcPrimitiveDrawLineSet* set = new (std::nothrow) KxcPrimitiveDrawLineSet;
    return withRoom(set, set && set->m_lines.reserve(capacity));
}

KxcPrimitiveDrawIndexedPrimitiveSet* KxcPrimitiveDrawIndexedPrimitiveSet::create(INT32 capacity)
{
    KxcPrimitiveDrawIndexedPrimitiveSet* set = new (std::nothrow) KxcPrimitiveDrawIndexedPrimitiveSet;
    return withRoom(set, set && set->m_primitives.reserve(capacity));
}

KxcPrimitiveDrawIndexedPrimitive* KxcPrimitiveDrawIndexedPrimitive::createHalfCircle(INT32 x, INT32 y, INT32 radius,
                                                                                     KxcFixed slope, KxcFixed shear,
                                                                                     INT32 direction, INT32 minRow,
                                                                                     INT32 maxRow)
{
    constexpr INT32 kLargestRadius = 1 << 20; // far beyond any surface
    if (radius < 1 || radius > kLargestRadius)
        return nullptr;
    const INT64 top = static_cast<INT64>(y) - radius, bottom = static_cast<INT64>(y) + radius;
    const INT64 first = top > minRow ? top : minRow, last = bottom < maxRow ? bottom : maxRow;
    if (first > last)
        return nullptr;

    KxcPrimitiveDrawIndexedPrimitive* half = new (std::nothrow) KxcPrimitiveDrawIndexedPrimitive;
    INT32* table = half ? new (std::nothrow) INT32[static_cast<size_t>(last - first + 1)] : nullptr;
    if (!table)
    {
        delete half;
        return nullptr;
    }
    half->m_table = table;
    half->m_ownsTable = true;
    half->m_x = x;
    half->m_y = static_cast<INT32>(first);
    half->m_rows = static_cast<INT32>(last - first + 1);
    half->m_slope = slope.raw();
    half->m_direction = direction < 0 ? -1 : 1;

    const INT64 sloped = static_cast<INT64>(slope.raw()) * (first - top); // by the rows that were left out
    const auto setRow = [&](INT32 distance, INT32 halfWidth)
    {
        const INT64 row = static_cast<INT64>(y) + distance;
        if (row < first || row > last)
            return;
        // The pixels from -halfWidth to halfWidth: the right boundary is the one behind the last.
        const INT32 side = direction < 0 ? halfWidth + 1 : -halfWidth;
        table[row - first] =
            static_cast<INT32>(static_cast<INT64>(side) * 65536 + static_cast<INT64>(shear.raw()) * distance + sloped);
    };
    // The midpoint circle: one octant gives the half width of the row `minor` above and below the middle, and, where
    // `major` is about to change, that of the rows `major` above and below.
    for (INT32 minor = 0, major = radius, error = 1 - radius; minor <= major; ++minor)
    {
        setRow(minor, major);
        setRow(-minor, major);
        const bool inner = error >= 0;
        if (inner || minor == major)
        {
            setRow(major, minor);
            setRow(-major, minor);
        }
        error += inner ? 2 * (minor - major) + 5 : 2 * minor + 3;
        major -= inner;
    }
    return half;
}

KxcPrimitiveDrawIndexedPrimitive::~KxcPrimitiveDrawIndexedPrimitive()
{
    if (m_ownsTable)
        delete[] m_table;
}

void KxcPrimitiveDrawIndexedPrimitive::setInstance(const KxcPrimitiveDrawIndexedPrimitive& prototype, INT32 x, INT32 y)
{
    if (m_ownsTable)
        delete[] m_table;
    m_ownsTable = false;
    m_table = prototype.m_table;
    m_x = x;
    m_y = y;
    m_rows = prototype.m_rows;
    m_slope = prototype.m_slope;
    m_direction = prototype.m_direction;
}
