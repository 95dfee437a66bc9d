// edge_set.cpp - clips edges to the rows that are drawn, finds where they cross them, and joins them into chains.

#include "vector/edge_set.h"

#include <new>

namespace
{

constexpr INT64 kHalf = 0x8000; // 16 fraction bits
/// Coordinates up to here are near: their differences fit 31 bits, and a step of 32 fraction bits fits 64.
constexpr INT64 kNear = INT64(1) << 30;

bool isNear(const KxcPrimitivePoint& p) { return p.x >= -kNear && p.x < kNear && p.y >= -kNear && p.y < kNear; }

/// The row whose centre is the first at or below y.
INT64 rowOf(INT64 y) { return (y + kHalf) >> 16; }

/// The point between a and b where one coordinate is `value`, by halving: no product of far coordinates overflows.
template <INT64 KxcPrimitivePoint::*kCoordinate>
KxcPrimitivePoint pointAt(KxcPrimitivePoint a, KxcPrimitivePoint b, INT64 value)
{
    if (a.*kCoordinate > b.*kCoordinate)
    {
        const KxcPrimitivePoint swapped = a;
        a = b;
        b = swapped;
    }
    while (b.*kCoordinate - a.*kCoordinate > 1)
    {
        const KxcPrimitivePoint middle = {(a.x + b.x) >> 1, (a.y + b.y) >> 1};
        (middle.*kCoordinate <= value ? a : b) = middle;
    }
    KxcPrimitivePoint found = a.*kCoordinate == value ? a : b;
    found.*kCoordinate = value;
    return found;
}

} // namespace

KxcPrimitiveDrawEdgeSet* KxcPrimitiveDrawEdgeSet::create(INT32 lineEdges, INT32 indexedEdges)
{
    KxcPrimitiveDrawEdgeSet* set = new (std::nothrow) KxcPrimitiveDrawEdgeSet;
    if (set && set->m_edges.reserve(lineEdges) && set->m_chains.reserve(indexedEdges))
        return set;
    delete set;
    return nullptr;
}

void KxcPrimitiveDrawEdgeSet::setClip(INT32 x1, INT32 y1, INT32 x2, INT32 y2)
{
    m_x1 = x1;
    m_y1 = y1;
    m_x2 = x2;
    m_y2 = y2;
}

void KxcPrimitiveDrawEdgeSet::clear()
{
    m_edges.clear();
    m_chains.clear();
    m_minRow = INT32_MAX;
    m_maxRow = INT32_MIN;
}

void KxcPrimitiveDrawEdgeSet::calculateLineInfo(const KxcPrimitivePoint& from, const KxcPrimitivePoint& to)
{
    if (!isNear(from) || !isNear(to))
        return addFarLine(from, to);
    if (from.y < to.y)
        addNearLine(from, to, -1);
    else
        addNearLine(to, from, +1);
}

/// Cuts a line to the rectangle before anything can overflow. Parts beside it stand upright on its border, where they
/// count as they do far away.
void KxcPrimitiveDrawEdgeSet::addFarLine(const KxcPrimitivePoint& from, const KxcPrimitivePoint& to)
{
    const INT32 winding = from.y < to.y ? -1 : +1;
    KxcPrimitivePoint top = winding < 0 ? from : to, bottom = winding < 0 ? to : from;
    const INT64 above = (static_cast<INT64>(m_y1) - 1) * 65536, below = (static_cast<INT64>(m_y2) + 2) * 65536;
    if (bottom.y <= above || top.y >= below)
        return;
    if (top.y < above)
        top = pointAt<&KxcPrimitivePoint::y>(top, bottom, above);
    if (bottom.y > below)
        bottom = pointAt<&KxcPrimitivePoint::y>(top, bottom, below);

    const INT64 left = (static_cast<INT64>(m_x1) - 1) * 65536, right = (static_cast<INT64>(m_x2) + 2) * 65536;
    const INT64 borders[2] = {top.x < bottom.x ? left : right, top.x < bottom.x ? right : left};
    for (const INT64 border : borders)
    {
        if ((top.x < border) == (bottom.x < border))
            continue;
        const KxcPrimitivePoint crossing = pointAt<&KxcPrimitivePoint::x>(top, bottom, border);
        addDownward(top, crossing, winding);
        top = crossing;
    }
    addDownward(top, bottom, winding);
}

void KxcPrimitiveDrawEdgeSet::addDownward(KxcPrimitivePoint top, const KxcPrimitivePoint& bottom, INT32 winding)
{
    const INT64 left = (static_cast<INT64>(m_x1) - 1) * 65536, right = (static_cast<INT64>(m_x2) + 2) * 65536;
    const auto inside = [=](INT64 x) { return x < left ? left : x > right ? right : x; };
    addNearLine({inside(top.x), top.y}, {inside(bottom.x), bottom.y}, winding);
}

void KxcPrimitiveDrawEdgeSet::addNearLine(const KxcPrimitivePoint& top, const KxcPrimitivePoint& bottom, INT32 winding)
{
    INT64 row = rowOf(top.y), endRow = rowOf(bottom.y);
    if (row >= endRow || endRow <= m_y1 || row > m_y2)
        return;
    const INT64 right = (static_cast<INT64>(m_x2) + 1) * 65536;
    if (top.x >= right && bottom.x >= right)
        return; // crosses no column that is drawn, nor any to the left of one

    if (row < m_y1)
        row = m_y1;
    if (endRow > static_cast<INT64>(m_y2) + 1)
        endRow = static_cast<INT64>(m_y2) + 1;
    const INT64 dx = bottom.x - top.x, dy = bottom.y - top.y, offset = row * 65536 + kHalf - top.y;

    // Surfaces wider than near coordinates cost fraction bits of the step, a few of 32.
    INT32 shift = 0;
    while ((dx >> shift) > INT32_MAX || (dx >> shift) < -INT32_MAX || (dy >> shift) > INT32_MAX)
        ++shift;
    // What is truncated below must not take a crossing in the very beginning of a column into the one before.
    constexpr INT64 kNudge = 1 << 16;
    KxcLineEdge edge = {top.x * 65536 + kNudge, 0, static_cast<INT32>(endRow)};
    if (dx != 0 && dy >> shift != 0)
    {
        edge.step = (dx >> shift) * (INT64(1) << 32) / (dy >> shift);
        edge.x += (edge.step >> shift) * offset >> (16 - shift); // at most dx: the offset is at most dy
        if (endRow - row == 1)
            edge.step = 0; // a flat edge's step is too large to be taken
    }
    addEdge(edge, static_cast<INT32>(row), winding);
}

/// Appends the edge to the last chain where it goes on with it, downwards or upwards.
void KxcPrimitiveDrawEdgeSet::addEdge(const KxcLineEdge& edge, INT32 row, INT32 winding)
{
    const INT32 index = m_edges.count();
    if (!m_edges.add(edge))
        return;
    include(row, edge.endRow);
    if (m_chains.count() > 0)
    {
        KxcEdgeChain& last = m_chains.last();
        if (last.indexed == nullptr && last.winding == winding)
        {
            if (last.endRow == row && last.lastEdge >= last.edge && last.lastEdge == index - 1)
            {
                last.endRow = edge.endRow;
                last.lastEdge = index;
                return;
            }
            if (last.row == edge.endRow && last.lastEdge <= last.edge && last.edge == index - 1)
            {
                last.row = row;
                last.edge = index;
                return;
            }
        }
    }
    KxcEdgeChain* const chain = m_chains.extend();
    if (!chain)
        return;
    chain->row = row;
    chain->endRow = edge.endRow;
    chain->winding = winding;
    chain->edge = chain->lastEdge = index;
    chain->indexed = nullptr;
}

void KxcPrimitiveDrawEdgeSet::calculateIndexedEdgeInfo(const KxcPrimitiveDrawIndexedPrimitive& primitive)
{
    const INT32 first = primitive.getFirstRow();
    const INT64 end = static_cast<INT64>(first) + primitive.getRowCount();
    const INT32 row = first < m_y1 ? m_y1 : first;
    const INT32 endRow = static_cast<INT32>(end <= m_y2 ? end : static_cast<INT64>(m_y2) + 1);
    KxcEdgeChain* const chain = row < endRow ? m_chains.extend() : nullptr;
    if (!chain)
        return;
    chain->row = row;
    chain->endRow = endRow;
    chain->skippedRows = row - first;
    chain->winding = primitive.getDirection();
    chain->indexed = &primitive;
    chain->step = 0;
    include(row, endRow);
}

void KxcPrimitiveDrawEdgeSet::include(INT32 row, INT32 endRow)
{
    if (row < m_minRow)
        m_minRow = row;
    if (endRow - 1 > m_maxRow)
        m_maxRow = endRow - 1;
}
