// edge_set.h - the edges that the rasteriser fills between, clipped and joined into chains.
//
// A chain is what the active edge table holds: consecutive edges that run the same way, each beginning in the row where
// the one before ends. An outline of many short edges becomes a few chains, so that the rasteriser sorts and inserts
// little. Its crossing moves from row to row, and exists in every row from the first to the last.
#pragma once

#include <kxcoreemb/primitive_sets.h>

/// A straight edge; columns have 32 fraction bits, so that a column is the upper word and no edge drifts.
struct KxcLineEdge
{
    INT64 x;      ///< in the middle of its first row
    INT64 step;   ///< from row to row
    INT32 endRow; ///< the row behind its last
};

struct KxcEdgeChain
{
    static constexpr INT32 kRows = 8; ///< rows of the grid in a row of pixels

    // What the edge set knows.
    INT32 row, endRow;                               ///< first, and behind the last
    INT32 winding;                                   ///< +1 for edges that run upwards, -1 downwards
    INT32 edge, lastEdge;                            ///< of the edge set; down the picture, indices grow or fall
    const KxcPrimitiveDrawIndexedPrimitive* indexed; ///< instead of edges, or null
    INT32 skippedRows;                               ///< of it, above the clipping rectangle

    KxcEdgeChain* next; ///< in the bucket

    // The active edge's state, and its crossings of the current row of pixels (of the grid without anti-aliasing).
    INT64 x, step;
    INT32 edgeEnd;
    INT32 min, max;       ///< columns
    UINT64 rows;          ///< byte k is 0xFF when it crosses row k, else 0
    INT32 columns[kRows]; ///< of each row; before the first and behind the last crossing, those go on
};

class KxcPrimitiveDrawEdgeSet
{
public:
    /// @return null without memory
    static KxcPrimitiveDrawEdgeSet* create(INT32 lineEdges, INT32 indexedEdges);

    /// What follows is clipped to these rows and columns, all included.
    void setClip(INT32 x1, INT32 y1, INT32 x2, INT32 y2);
    void calculateLineInfo(const KxcPrimitivePoint& from, const KxcPrimitivePoint& to);
    void calculateIndexedEdgeInfo(const KxcPrimitiveDrawIndexedPrimitive& primitive);
    void clear();

    INT32 getMinRow() const { return m_minRow; } ///< above getMaxRow() when there is no edge
    INT32 getMaxRow() const { return m_maxRow; }
    KxcPrimitiveArray<KxcEdgeChain>& chains() { return m_chains; }
    const KxcLineEdge& edge(INT32 index) const { return m_edges[index]; }

private:
    KxcPrimitiveDrawEdgeSet() = default;
    void addFarLine(const KxcPrimitivePoint& from, const KxcPrimitivePoint& to);
    void addDownward(KxcPrimitivePoint top, const KxcPrimitivePoint& bottom, INT32 winding);
    void addNearLine(const KxcPrimitivePoint& top, const KxcPrimitivePoint& bottom, INT32 winding);
    void addEdge(const KxcLineEdge& edge, INT32 row, INT32 winding);
    void include(INT32 row, INT32 endRow);

    KxcPrimitiveArray<KxcLineEdge> m_edges;
    KxcPrimitiveArray<KxcEdgeChain> m_chains;
    INT32 m_x1 = 0, m_y1 = 0, m_x2 = 0, m_y2 = 0;
    INT32 m_minRow = INT32_MAX, m_maxRow = INT32_MIN;
};
