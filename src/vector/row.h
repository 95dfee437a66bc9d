// row.h - one row of pixels on its way from edges to the surface.
//
// The edges' crossings are bits of hiRes: bit 8 c + k of a pixel's word says that the shape begins or ends at column c
// of eight and row k of eight. Turned into coverage they are loRes, for the pixels that edges touch; spans say which
// these are, and what lies between them.
#pragma once

#include "vector/edge_set.h"

/// Pixels that edges touch, and how the pixels from there to the next span are covered, 0..255.
struct KxcPrimitiveSpan
{
    INT32 start, end, interior;
};

struct KxcPrimitiveRow
{
    ~KxcPrimitiveRow();
    bool reservePixels(INT32 width); ///< @return false without memory
    bool reserveRows(INT32 height);

    UINT64* hiRes = nullptr;        // owned: all 0 between rows; two words more than pixels
    UINT8* loRes = nullptr;         // owned
    UINT32* colors = nullptr;       // owned: what a filler answers
    INT32 width = 0;                // in pixels, of these three
    KxcEdgeChain** heads = nullptr; // owned: the chains that start in a row; all null between pictures
    INT32 height = 0;
    KxcPrimitiveArray<KxcPrimitiveSpan> spans;
    KxcPrimitiveArray<KxcEdgeChain*> active; // the active edge table, in the order of their columns
};
