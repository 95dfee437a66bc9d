// rasterise.cpp - from chains of edges to the spans of each row.
//
// For every row of pixels: the chains that start there enter the active edge table; each finds its columns in the row's
// eight sample rows (stepChain); the table is sorted; by the fill rule, crossings become bits (toggle); runs of touched
// pixels become spans (spansFromAET), their bits coverage (convertSpan); a blitter writes them. Rows that only upright
// edges cross look all alike, and are written again without looking at the edges.
//
// Non-zero winding is counted once for all eight rows as long as the chains neither cross nor end among them, which is
// the rule; only where they do each row is counted for itself (sweepRows).

#include <kxcoreemb/primitive_draw.h>

#include "vector/row.h"

#include <algorithm>
#include <array>

/// What the rasteriser's insides see of it.
struct KxcPrimitiveRaster
{
    class RowWriter;
    template <INT32 kSampleRows, bool kNonZero>
    static void render(KxcPrimitiveDraw& draw, UINT8* pixels, INT32 width, INT32 height, INT32 pitch, INT32 format);
};

/// Writes rows to the surface.
class KxcPrimitiveRaster::RowWriter
{
public:
    RowWriter(KxcPrimitiveDraw& draw, KxcPrimitiveDraw::BlitFunction blit, UINT8* pixels, ptrdiff_t pitch)
        : m_draw(draw),
          m_blit(blit),
          m_pixels(pixels),
          m_pitch(pitch)
    {
    }
    /// Rows that look alike, all at once where one colour fills them.
    void write(INT32 y, INT32 count)
    {
        m_draw.m_rows = m_draw.m_filler ? 1 : count;
        for (const INT32 end = y + count; y < end; y += m_draw.m_rows)
        {
            if (m_draw.m_filler)
                fillSpan(y);
            (m_draw.*m_blit)(m_pixels + y * m_pitch, y);
        }
    }

private:
    /// Asks the filler for the colours of the spans, and of what is covered between them.
    void fillSpan(INT32 y)
    {
        const KxcPrimitiveRow& row = *m_draw.m_row;
        for (INT32 i = 0; i < row.spans.count(); ++i)
        {
            const KxcPrimitiveSpan& span = row.spans[i];
            if (span.start < span.end)
                m_draw.m_filler->fill(span.start, span.end, y, row.colors);
            if (span.interior != 0 && i + 1 < row.spans.count() && span.end < row.spans[i + 1].start)
                m_draw.m_filler->fill(span.end, row.spans[i + 1].start, y, row.colors);
        }
    }

    KxcPrimitiveDraw& m_draw;
    const KxcPrimitiveDraw::BlitFunction m_blit;
    UINT8* const m_pixels;
    const ptrdiff_t m_pitch;
};

namespace
{

constexpr INT32 kRows = KxcEdgeChain::kRows;

// A byte for each of the eight rows: 0xFF for rows that something holds for, or a winding number.
constexpr UINT64 kAllRows = ~UINT64(0), kOnes = 0x0101010101010101, kTops = kOnes << 7;
constexpr INT32 kMostChains = 127; // whose windings a byte holds

constexpr UINT64 addBytes(UINT64 a, UINT64 b) { return ((a & ~kTops) + (b & ~kTops)) ^ ((a ^ b) & kTops); }
/// The top bit of every byte that is not 0.
constexpr UINT64 topsOfNonZero(UINT64 bytes) { return (((bytes & ~kTops) + ~kTops) | bytes) & kTops; }

/// How much each of the eight samples of a column counts: table j for column j and column 7 - j.
constexpr UINT8 kWeights[4][8] = {
    {0, 0, 1, 3, 3, 1, 0, 0}, {0, 3, 4, 6, 6, 4, 3, 0}, {1, 4, 7, 8, 8, 7, 4, 1}, {3, 6, 8, 9, 9, 8, 6, 3}};

/// The weights of the set bits of a column, for all 256 of its patterns; together 252 for a full pixel.
struct BitCounter
{
    std::array<UINT8, 256> sum[4];
    std::array<UINT8, 256> columns; // the pattern in all eight columns, 255 when full
};
constexpr BitCounter initBitCounter()
{
    BitCounter counter = {};
    for (UINT32 bits = 0; bits < 256; ++bits)
    {
        UINT32 all = 0;
        for (UINT32 j = 0; j < 4; ++j)
        {
            UINT32 sum = 0;
            for (UINT32 k = 0; k < 8; ++k)
                sum += bits >> k & 1 ? kWeights[j][k] : 0;
            counter.sum[j][bits] = static_cast<UINT8>(sum);
            all += 2 * sum;
        }
        counter.columns[bits] = bits == 255 ? 255 : static_cast<UINT8>(all);
    }
    return counter;
}
constexpr BitCounter kBitCounter = initBitCounter();

/// The order of the active edge table. Chains that do not cross are in it from left to right.
bool isBefore(const KxcEdgeChain* a, const KxcEdgeChain* b)
{
    return a->min != b->min ? a->min < b->min : a->max < b->max;
}

/// One picture in work.
template <INT32 kSampleRows> // of the grid in a row of pixels: 8 with anti-aliasing, or 1
class Picture
{
public:
    Picture(KxcPrimitiveRow& row, KxcPrimitiveDrawEdgeSet& edges, INT32 x1, INT32 x2)
        : m_row(row),
          m_edges(edges),
          m_left(x1),
          m_right(x2 + 1),
          m_pixels(x2 / kSampleRows + 1)
    {
    }

    void addScanlines(INT32 height);
    void insertToAET(INT32 y);
    bool empty() const { return m_row.active.count() == 0; }
    /// Finds the row's crossings, and sorts the table by them.
    void stepEdges(INT32 y);
    template <bool kNonZero>
    void spansFromAET();
    /// The row behind the last that looks like this one.
    INT32 endOfLikeRows(INT32 y) const;
    void removeEnded(INT32 y);

private:
    void startEdge(KxcEdgeChain& chain, INT32 index) const
    {
        const KxcLineEdge& edge = m_edges.edge(index);
        chain.edge = index;
        chain.x = edge.x;
        chain.step = edge.step;
        chain.edgeEnd = edge.endRow;
    }
    void startNextEdge(KxcEdgeChain& chain) const
    {
        startEdge(chain, chain.edge < chain.lastEdge ? chain.edge + 1 : chain.edge - 1);
    }
    void stepChain(KxcEdgeChain& chain, INT32 firstRow) const;
    void sortAET();
    void toggle(const KxcEdgeChain& chain, UINT64 rows);
    void windingToToggles();
    void sweepRows(KxcEdgeChain** first, KxcEdgeChain** end, UINT64& winding);
    template <bool kNonZero>
    void runsFromAET();
    void convertSpan(KxcPrimitiveSpan& span, UINT32& inside);

    KxcPrimitiveRow& m_row;
    KxcPrimitiveDrawEdgeSet& m_edges;
    const INT32 m_left, m_right; // columns that crossings are clamped to
    const INT32 m_pixels;        // behind the last that is drawn
};

/// Sorts the chains into the buckets of the rows that they start in.
template <INT32 kSampleRows>
void Picture<kSampleRows>::addScanlines(INT32 height)
{
    KxcPrimitiveArray<KxcEdgeChain>& chains = m_edges.chains();
    for (INT32 i = chains.count() - 1; i >= 0; --i)
    {
        KxcEdgeChain& chain = chains[i];
        const INT32 y = chain.row / kSampleRows;
        if (y >= height)
            continue;
        chain.next = m_row.heads[y];
        m_row.heads[y] = &chain;
    }
}

template <INT32 kSampleRows>
void Picture<kSampleRows>::insertToAET(INT32 y)
{
    for (KxcEdgeChain* chain = m_row.heads[y]; chain; chain = chain->next)
        if (m_row.active.add(chain))
        {
            if (!chain->indexed)
                startEdge(*chain, chain->edge);
        }
    m_row.heads[y] = nullptr;
}

template <INT32 kSampleRows>
void Picture<kSampleRows>::stepChain(KxcEdgeChain& chain, INT32 firstRow) const
{
    const INT32 begin = chain.row > firstRow ? chain.row - firstRow : 0;
    const INT32 end = chain.endRow - firstRow < kSampleRows ? chain.endRow - firstRow : kSampleRows;
    INT32* const columns = chain.columns;
    chain.rows = kAllRows;
    if (begin == 0 && !chain.indexed && chain.edgeEnd - firstRow >= kSampleRows)
    {
        // One edge crosses all rows, as most do: its first and last column are its extremes.
        for (INT32 k = 0; k < kSampleRows; ++k, chain.x += chain.step)
            columns[k] = static_cast<INT32>(chain.x >> 32);
        chain.min = std::min(columns[0], columns[kSampleRows - 1]);
        chain.max = std::max(columns[0], columns[kSampleRows - 1]);
    }
    else
    {
        for (INT32 k = begin; k < end;)
        {
            if (chain.indexed)
            {
                const INT64 column = chain.indexed->getColumn(firstRow + k - chain.row + chain.skippedRows) >> 16;
                columns[k++] = static_cast<INT32>(column);
                continue;
            }
            if (firstRow + k >= chain.edgeEnd)
                startNextEdge(chain);
            for (const INT32 stop = std::min(end, chain.edgeEnd - firstRow); k < stop; ++k, chain.x += chain.step)
                columns[k] = static_cast<INT32>(chain.x >> 32);
        }
        for (INT32 k = 0; k < begin; ++k)
            columns[k] = columns[begin];
        for (INT32 k = end; k < kSampleRows; ++k)
            columns[k] = columns[end - 1];
        INT32 least = columns[0], most = columns[0];
        for (INT32 k = 1; k < kSampleRows; ++k)
        {
            least = std::min(least, columns[k]);
            most = std::max(most, columns[k]);
        }
        chain.min = least;
        chain.max = most;
        chain.rows = kAllRows << (8 * begin);
        if (end < kRows)
            chain.rows &= ~(kAllRows << (8 * end));
    }
    if (chain.min < m_left || chain.max > m_right)
    {
        for (INT32 k = 0; k < kSampleRows; ++k)
            columns[k] = std::clamp(columns[k], m_left, m_right);
        chain.min = std::clamp(chain.min, m_left, m_right);
        chain.max = std::clamp(chain.max, m_left, m_right);
    }
    if (!chain.indexed && chain.edgeEnd <= firstRow + kSampleRows && chain.edge != chain.lastEdge)
        startNextEdge(chain);
}

template <INT32 kSampleRows>
void Picture<kSampleRows>::stepEdges(INT32 y)
{
    for (INT32 i = 0; i < m_row.active.count(); ++i)
        stepChain(*m_row.active[i], y * kSampleRows);
    sortAET();
}

/// Chains change places seldom: each moves to where it belongs among those before it. Where there is much to move, a
/// sort that does not mind takes over.
template <INT32 kSampleRows>
void Picture<kSampleRows>::sortAET()
{
    KxcEdgeChain** const active = m_row.active.items();
    const INT32 count = m_row.active.count();
    INT32 moves = 0;
    for (INT32 i = 1; i < count; ++i)
    {
        KxcEdgeChain* const chain = active[i];
        INT32 place = i;
        for (; place > 0 && isBefore(chain, active[place - 1]); --place)
            active[place] = active[place - 1];
        active[place] = chain;
        moves += i - place;
        if (moves > 64 + 8 * count)
        {
            std::sort(active, active + count, isBefore);
            return;
        }
    }
}

/// Toggles the bits of the rows whose byte is not 0.
template <INT32 kSampleRows>
void Picture<kSampleRows>::toggle(const KxcEdgeChain& chain, UINT64 rows)
{
    const auto bit = [&](INT32 k) { return UINT64(1) << ((chain.columns[k] & 7) * 8 + k); };
    const INT32 first = chain.min >> 3;
    if (rows == kAllRows && (chain.max >> 3) - first <= 1)
    {
        // Within two pixels, as most are: the same words eight times would wait for themselves.
        UINT64 bits = 0, bitsOfSecond = 0;
        for (INT32 k = 0; k < kRows; ++k)
        {
            const UINT64 isSecond = 0 - static_cast<UINT64>((chain.columns[k] >> 3) - first);
            bits ^= bit(k);
            bitsOfSecond ^= bit(k) & isSecond;
        }
        m_row.hiRes[first] ^= bits ^ bitsOfSecond;
        m_row.hiRes[first + 1] ^= bitsOfSecond;
        return;
    }
    for (INT32 k = 0; k < kRows; ++k)
        if (rows >> (8 * k) & 0xFF)
            m_row.hiRes[chain.columns[k] >> 3] ^= bit(k);
}

/// Toggles crossings where the winding changes between 0 and another number.
template <INT32 kSampleRows>
void Picture<kSampleRows>::windingToToggles()
{
    KxcEdgeChain** const active = m_row.active.items();
    KxcEdgeChain** const activeEnd = active + m_row.active.count();
    UINT64 winding = 0; // of each row
    for (KxcEdgeChain** chain = active; chain < activeEnd;)
    {
        // Chains whose columns overlap may cross each other. Where each is to the right of the one before in all rows,
        // they do not.
        KxcEdgeChain** end = chain + 1;
        bool cross = m_row.active.count() > kMostChains;
        for (INT32 reach = (*chain)->max; end < activeEnd && ((*end)->min <= reach || cross); ++end)
        {
            reach = std::max(reach, (*end)->max);
            for (INT32 k = 0; k < kRows; ++k)
                cross |= end[-1]->columns[k] > end[0]->columns[k];
        }
        if (cross)
        {
            sweepRows(chain, end, winding);
            chain = end;
            continue;
        }
        for (; chain < end; ++chain)
        {
            const UINT64 added = (*chain)->winding > 0 ? kOnes : kAllRows; // +1 or -1 in each byte
            const UINT64 next = addBytes(winding, added & (*chain)->rows);
            const UINT64 changed = topsOfNonZero(winding) ^ topsOfNonZero(next);
            if (changed != 0)
                toggle(**chain, changed == kTops ? kAllRows : changed);
            winding = next;
        }
    }
}

/// The same row by row, for chains that cross each other.
template <INT32 kSampleRows>
void Picture<kSampleRows>::sweepRows(KxcEdgeChain** first, KxcEdgeChain** end, UINT64& winding)
{
    UINT64 windingBehind = 0;
    for (INT32 k = 0; k < kRows; ++k)
    {
        const auto before = [k](const KxcEdgeChain* a, const KxcEdgeChain* b) { return a->columns[k] < b->columns[k]; };
        // Those that cross this row, in its order. The next row's is much the same.
        KxcEdgeChain** const last =
            std::partition(first, end, [k](const KxcEdgeChain* chain) { return (chain->rows >> (8 * k) & 0xFF) != 0; });
        if (last - first > 16)
            std::sort(first, last, before);
        else
            for (KxcEdgeChain** i = first; i < last; ++i)
                for (KxcEdgeChain** place = i; place > first && before(place[0], place[-1]); --place)
                    std::swap(place[0], place[-1]);
        INT32 sum = static_cast<INT8>(winding >> (8 * k));
        for (KxcEdgeChain** chain = first; chain < last; ++chain)
        {
            const INT32 next = sum + (*chain)->winding, column = (*chain)->columns[k];
            if ((sum == 0) != (next == 0))
                m_row.hiRes[column >> 3] ^= UINT64(1) << ((column & 7) * 8 + k);
            sum = next;
        }
        windingBehind |= static_cast<UINT64>(static_cast<UINT8>(sum)) << (8 * k);
    }
    winding = windingBehind;
}

/// Without samples: runs of covered pixels, as spans of no pixels with covered ones between them.
template <INT32 kSampleRows>
template <bool kNonZero>
void Picture<kSampleRows>::runsFromAET()
{
    INT32 winding = 0;
    const INT32 count = m_row.active.count();
    for (INT32 i = 0; i < count; ++i)
    {
        const KxcEdgeChain& chain = *m_row.active[i];
        winding = kNonZero ? winding + chain.winding : !winding;
        const INT32 end = i + 1 < count ? std::min(m_row.active[i + 1]->min, m_pixels) : m_pixels;
        if (winding == 0 || chain.min >= end)
            continue;
        m_row.spans.add({chain.min, chain.min, 255});
        m_row.spans.add({end, end, 0});
    }
}

template <INT32 kSampleRows>
template <bool kNonZero>
void Picture<kSampleRows>::spansFromAET()
{
    KxcPrimitiveArray<KxcPrimitiveSpan>& spans = m_row.spans;
    spans.clear();
    if constexpr (kSampleRows == 1)
        return runsFromAET<kNonZero>();

    // The pixels that edges touch; spans that overlap or touch are one.
    for (INT32 i = 0; i < m_row.active.count(); ++i)
    {
        const INT32 start = m_row.active[i]->min >> 3, end = (m_row.active[i]->max >> 3) + 1;
        if (spans.count() > 0 && start <= spans.last().end)
            spans.last().end = std::max(spans.last().end, end);
        else if (!spans.add({start, end, 0}))
            return spans.clear(); // without memory the row stays out: crossings outside of spans would stay set
    }
    if constexpr (kNonZero)
        windingToToggles();
    else
        for (INT32 i = 0; i < m_row.active.count(); ++i)
            toggle(*m_row.active[i], m_row.active[i]->rows);
    UINT32 inside = 0;
    for (INT32 i = 0; i < spans.count(); ++i)
        convertSpan(spans[i], inside);
    if (inside != 0) // what ends it lies to the right of all that is drawn
        spans.add({m_pixels, m_pixels, 0});
}

/// Turns the bits into coverage. `inside` tells for each of the eight rows whether the shape covers the column before.
template <INT32 kSampleRows>
void Picture<kSampleRows>::convertSpan(KxcPrimitiveSpan& span, UINT32& inside)
{
    for (INT32 x = span.start; x < span.end; ++x)
    {
        UINT64 bits = m_row.hiRes[x];
        m_row.hiRes[x] = 0;
        // Column by column, what lies between a crossing and the next: all eight at once.
        bits ^= bits << 8;
        bits ^= bits << 16;
        bits ^= bits << 32;
        bits ^= inside * 0x0101010101010101ull;
        inside = static_cast<UINT32>(bits >> 56);
        const auto outer = [bits](INT32 j) // columns j and 7 - j
        {
            const auto& sum = kBitCounter.sum[j];
            return static_cast<UINT32>(sum[bits >> (8 * j) & 0xFF]) + sum[bits >> (56 - 8 * j) & 0xFF];
        };
        m_row.loRes[x] = static_cast<UINT8>((outer(0) + outer(1)) + (outer(2) + outer(3)));
    }
    span.interior = kBitCounter.columns[inside];
    // Crossings behind the last column have closed the shape there.
    span.start = std::min(span.start, m_pixels);
    span.end = std::min(span.end, m_pixels);
}

template <INT32 kSampleRows>
INT32 Picture<kSampleRows>::endOfLikeRows(INT32 y) const
{
    INT32 end = INT32_MAX;
    for (INT32 i = 0; i < m_row.active.count(); ++i)
    {
        const KxcEdgeChain& chain = *m_row.active[i];
        const INT64 next = std::clamp<INT64>(chain.x >> 32, m_left, m_right);
        if (chain.step != 0 || chain.indexed || chain.rows != kAllRows || chain.min != chain.max || chain.min != next)
            return y + 1;
        end = std::min(end, chain.edgeEnd / kSampleRows);
    }
    return std::max(end, y + 1);
}

template <INT32 kSampleRows>
void Picture<kSampleRows>::removeEnded(INT32 y)
{
    KxcPrimitiveArray<KxcEdgeChain*>& active = m_row.active;
    INT32 kept = 0;
    for (INT32 i = 0; i < active.count(); ++i)
        if (active[i]->endRow > y * kSampleRows)
            active[kept++] = active[i];
    active.truncate(kept);
}

/// Draws what was added.
template <INT32 kSampleRows, bool kNonZero>
void drawRows(KxcPrimitiveRow& row, KxcPrimitiveDrawEdgeSet& edges, INT32 x1, INT32 x2, INT32 height,
              KxcPrimitiveRaster::RowWriter& writer)
{
    Picture<kSampleRows> picture(row, edges, x1, x2);
    picture.addScanlines(height);
    const INT32 end = std::min(edges.getMaxRow() / kSampleRows + 1, height);
    row.active.clear();
    for (INT32 y = edges.getMinRow() / kSampleRows; y < end;)
    {
        picture.insertToAET(y);
        if (picture.empty())
        {
            ++y;
            continue;
        }
        picture.stepEdges(y);
        picture.template spansFromAET<kNonZero>();
        const INT32 alike = std::min(picture.endOfLikeRows(y), end), first = y;
        do
            ++y;
        while (y < alike && row.heads[y] == nullptr);
        writer.write(first, y - first);
        picture.removeEnded(y);
    }
}

} // namespace

template <INT32 kSampleRows, bool kNonZero>
void KxcPrimitiveRaster::render(KxcPrimitiveDraw& draw, UINT8* pixels, INT32 width, INT32 height, INT32 pitch,
                                INT32 format)
{
    constexpr INT32 kLargest = 1 << 26; // columns of the grid fit 31 bits
    const KxcPrimitiveDraw::BlitFunction blit = draw.getBlitFunction(format);
    if (blit && pixels && width > 0 && height > 0 && width <= kLargest && height <= kLargest &&
        draw.resize(width * kSampleRows, height * kSampleRows) && draw.m_row->reservePixels(width))
    {
        draw.m_format = format;
        draw.m_pitch = pitch;
        RowWriter writer(draw, blit, pixels, pitch);
        const INT32 x2 = std::min(draw.m_clipX2, width * kSampleRows - 1);
        if (draw.m_edges->getMinRow() <= draw.m_edges->getMaxRow() && draw.m_clipX1 <= x2)
        {
            if (draw.m_filler)
                draw.m_filler->initFill();
            drawRows<kSampleRows, kNonZero>(*draw.m_row, *draw.m_edges, draw.m_clipX1, x2, height, writer);
            if (draw.m_filler)
                draw.m_filler->deinitFill();
        }
    }
    draw.m_edges->clear();
}

void KxcPrimitiveDraw::renderEvenOdd(UINT8* pixels, INT32 width, INT32 height, INT32 pitch, INT32 format)
{
    KxcPrimitiveRaster::render<1, false>(*this, pixels, width, height, pitch, format);
}
void KxcPrimitiveDraw::renderNonZero(UINT8* pixels, INT32 width, INT32 height, INT32 pitch, INT32 format)
{
    KxcPrimitiveRaster::render<1, true>(*this, pixels, width, height, pitch, format);
}
void KxcPrimitiveDraw::renderEvenOddAA(UINT8* pixels, INT32 width, INT32 height, INT32 pitch, INT32 format)
{
    KxcPrimitiveRaster::render<8, false>(*this, pixels, width, height, pitch, format);
}
void KxcPrimitiveDraw::renderNonZeroAA(UINT8* pixels, INT32 width, INT32 height, INT32 pitch, INT32 format)
{
    KxcPrimitiveRaster::render<8, true>(*this, pixels, width, height, pitch, format);
}
