// primitive_sets.h - what the vector rasteriser is fed: points, the edges between them, and edges made of tables.
#pragma once

#include <kxcoreemb/fixed.h>

#include <cstring>
#include <new>

/// An array that grows, when it is full, to 125 % of its size. Elements are plain records, moved as bytes.
///
/// Failure    an element that finds no memory is left out: add() answers false and nothing else changes.
template <class T>
class KxcPrimitiveArray
{
public:
    static_assert(std::is_trivially_copyable<T>::value, "elements are moved as bytes");

    KxcPrimitiveArray() = default;
    ~KxcPrimitiveArray() { delete[] m_items; }
    KxcPrimitiveArray(const KxcPrimitiveArray&) = delete;
    KxcPrimitiveArray& operator=(const KxcPrimitiveArray&) = delete;

    KxcINT32 count() const { return m_count; } ///< how many elements there are

    /// @{
    /// The first element; they move when the array grows.
    T* items() { return m_items; }
    const T* items() const { return m_items; }
    /// @}

    /// @{
    /// An element; the index is not checked.
    T& operator[](KxcINT32 index) { return m_items[index]; }
    const T& operator[](KxcINT32 index) const { return m_items[index]; }
    /// @}
    T& last() { return m_items[m_count - 1]; } ///< the last element of an array that is not empty

    /// Makes room for `capacity` elements in all. @return false without memory
    bool reserve(KxcINT32 capacity)
    {
        if (capacity <= m_capacity)
            return true;
        if (static_cast<KxcUINT32>(capacity) > INT32_MAX / sizeof(T))
            return false;
        T* items = new (std::nothrow) T[static_cast<size_t>(capacity)];
        if (!items)
            return false;
        if (m_count > 0)
            std::memcpy(static_cast<void*>(items), m_items, static_cast<size_t>(m_count) * sizeof(T));
        delete[] m_items;
        m_items = items;
        m_capacity = capacity;
        return true;
    }
    /// Adds a copy of an element. @return false without memory
    bool add(const T& item)
    {
        const T copy = item; // which may lie in here
        T* const added = extend();
        return added && (*added = copy, true);
    }
    /// Adds an element without a value. @return it, or null without memory
    T* extend() { return m_count < m_capacity || grow() ? m_items + m_count++ : nullptr; }
    /// Makes it this many elements long, new ones without a value. @return false without memory
    bool resize(KxcINT32 count) { return reserve(count) && (m_count = count, true); }
    /// Forgets the elements from this one on; keeps the memory.
    void truncate(KxcINT32 count) { m_count = count; }
    void clear() { m_count = 0; } ///< forgets all elements; keeps the memory
    /// Exchanges the contents of two arrays.
    void swap(KxcPrimitiveArray& other)
    {
        T* const items = m_items;
        const KxcINT32 itemCount = m_count, capacity = m_capacity;
        m_items = other.m_items, m_count = other.m_count, m_capacity = other.m_capacity;
        other.m_items = items, other.m_count = itemCount, other.m_capacity = capacity;
    }

private:
    bool grow()
    {
        const KxcINT64 larger = static_cast<KxcINT64>(m_capacity) * 125 / 100;
        return larger <= INT32_MAX && reserve(static_cast<KxcINT32>(larger > m_capacity ? larger : m_capacity + 1));
    }

    T* m_items = nullptr; // owned
    KxcINT32 m_count = 0, m_capacity = 0;
};

/// A place in the rasteriser's grid, with 16 fraction bits. 64 bits hold whatever a matrix makes of a KxcFixed.
struct KxcPrimitivePoint
{
    KxcINT64 x; ///< a column
    KxcINT64 y; ///< a row
};

/// Points: where they are for the user, and where a matrix put them in the rasteriser's grid.
///
/// Ownership  the caller deletes what create() returned.
/// Threads    one at a time.
class KXC_API KxcPrimitiveDrawPointSet
{
public:
    /// An empty set. @param capacity  how many points to have room for; it grows
    /// @return null without memory; the caller deletes it
    static KxcPrimitiveDrawPointSet* create(KxcINT32 capacity);

    /// Adds a point.
    /// @return the point's index, or -1 without memory
    KxcINT32 addPoint(const KxcVector2& point) { return m_points.add(point) ? m_points.count() - 1 : -1; }
    void clear() { m_points.clear(), m_scaled.clear(); }                         ///< removes all points
    KxcINT32 getCount() const { return m_points.count(); }                       ///< points
    const KxcVector2& getPoint(KxcINT32 index) const { return m_points[index]; } ///< as it was added

    /// Sets the grid coordinates of all points: those of the user times a matrix, or times a factor.
    /// @param gridShift  0..15: multiplies the result by 2^gridShift, 3 for eighths of pixels
    void calculateScaledValues(const KxcMatrix3& matrix, KxcINT32 gridShift = 0);
    void calculateScaledValues(KxcFixed factor); ///< the same by a factor
    /// Of the points that the last calculateScaledValues() found; how many these are tells getScaledCount().
    const KxcPrimitivePoint& getScaledPoint(KxcINT32 index) const { return m_scaled[index]; }
    KxcINT32 getScaledCount() const { return m_scaled.count(); } ///< grid coordinates that there are

private:
    KxcPrimitiveDrawPointSet() = default;

    KxcPrimitiveArray<KxcVector2> m_points;
    KxcPrimitiveArray<KxcPrimitivePoint> m_scaled;
};

/// An edge between two points, by their indices. Its direction counts for the non-zero rule.
struct KxcPrimitiveDrawLine
{
    KxcINT32 from; ///< the point where it starts
    KxcINT32 to;   ///< the point where it ends
};

/// Edges between the points of a set.
///
/// Ownership  the caller deletes what create() returned.
/// Threads    one at a time.
class KXC_API KxcPrimitiveDrawLineSet
{
public:
    /// An empty set. @param capacity  how many edges to have room for; it grows
    /// @return null without memory; the caller deletes it
    static KxcPrimitiveDrawLineSet* create(KxcINT32 capacity);

    /// Adds an edge. @return 0 without memory
    KxcINT32 addLine(KxcINT32 from, KxcINT32 to) { return m_lines.add({from, to}); }
    void clear() { m_lines.clear(); }                          ///< removes all edges
    void truncate(KxcINT32 count) { m_lines.truncate(count); } ///< keeps the first `count` edges
    KxcINT32 getCount() const { return m_lines.count(); }      ///< edges
    /// An edge, by the order of adding.
    const KxcPrimitiveDrawLine& getLine(KxcINT32 index) const { return m_lines[index]; }
    void setLineEnd(KxcINT32 index, KxcINT32 to) { m_lines[index].to = to; } ///< moves where an edge ends

private:
    KxcPrimitiveDrawLineSet() = default;

    KxcPrimitiveArray<KxcPrimitiveDrawLine> m_lines;
};

/// An edge that reads its columns from a table, a row after the other: half of a disc.
///
/// Units      those of the rasteriser's grid: pixels, or eighths of pixels with anti-aliasing.
/// Ownership  the table belongs to what createHalfCircle() returned; instances share it and must not outlive it.
class KXC_API KxcPrimitiveDrawIndexedPrimitive
{
public:
    /// One side of a disc that is 2 x radius + 1 rows high: its left boundary for a direction of +1, its right one for
    /// -1. Both together enclose the disc.
    /// @param x, y            the middle, a row and column of the grid
    /// @param slope           moves each row by this much more than the one above it
    /// @param shear           the same, counted from the middle row and kept in the table
    /// @param minRow, maxRow  rows outside are left out
    /// @return null for a radius below 1, when no row is left, or without memory; the caller deletes it
    static KxcPrimitiveDrawIndexedPrimitive* createHalfCircle(KxcINT32 x, KxcINT32 y, KxcINT32 radius, KxcFixed slope,
                                                              KxcFixed shear, KxcINT32 direction, KxcINT32 minRow,
                                                              KxcINT32 maxRow);
    KxcPrimitiveDrawIndexedPrimitive() = default;
    ~KxcPrimitiveDrawIndexedPrimitive();
    KxcPrimitiveDrawIndexedPrimitive(const KxcPrimitiveDrawIndexedPrimitive&) = delete;
    KxcPrimitiveDrawIndexedPrimitive& operator=(const KxcPrimitiveDrawIndexedPrimitive&) = delete;

    /// Becomes another one in another place: its column 0 at x, its first row at y.
    void setInstance(const KxcPrimitiveDrawIndexedPrimitive& prototype, KxcINT32 x, KxcINT32 y);

    KxcINT32 getX() const { return m_x; }                 ///< the column that its table counts from
    KxcINT32 getFirstRow() const { return m_y; }          ///< of the grid
    KxcINT32 getRowCount() const { return m_rows; }       ///< rows that it reaches over
    KxcINT32 getDirection() const { return m_direction; } ///< +1 or -1, for the non-zero rule
    /// Where the edge is in a row.
    /// @param row  0 for the first. @return the column in that row, with 16 fraction bits
    KxcINT64 getColumn(KxcINT32 row) const
    {
        return static_cast<KxcINT64>(m_x) * 65536 + m_table[row] + static_cast<KxcINT64>(m_slope) * row;
    }

private:
    const KxcINT32* m_table = nullptr; // 16.16 from m_x, one for each row
    bool m_ownsTable = false;
    KxcINT32 m_x = 0, m_y = 0, m_rows = 0;
    KxcINT32 m_slope = 0; // 16.16
    KxcINT32 m_direction = 1;
};

/// Pointers to such edges, which belong to somebody else.
///
/// Ownership  the caller deletes what create() returned, not what it points to.
/// Threads    one at a time.
class KXC_API KxcPrimitiveDrawIndexedPrimitiveSet
{
public:
    /// An empty set. @param capacity  how many pointers to have room for; it grows
    /// @return null without memory; the caller deletes it
    static KxcPrimitiveDrawIndexedPrimitiveSet* create(KxcINT32 capacity);

    /// Adds an edge, which stays the caller's. @return 0 without memory
    KxcINT32 addPrimitive(const KxcPrimitiveDrawIndexedPrimitive* primitive) { return m_primitives.add(primitive); }
    void clear() { m_primitives.clear(); }                     ///< removes all of them
    KxcINT32 getCount() const { return m_primitives.count(); } ///< edges
    /// An edge, by the order of adding.
    const KxcPrimitiveDrawIndexedPrimitive* getPrimitive(KxcINT32 index) const { return m_primitives[index]; }

private:
    KxcPrimitiveDrawIndexedPrimitiveSet() = default;

    KxcPrimitiveArray<const KxcPrimitiveDrawIndexedPrimitive*> m_primitives;
};
