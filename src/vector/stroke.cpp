// stroke.cpp - the outline of a stroked path, in user space.
//
// A subpath that is open becomes one outline: along its left side, round the end, back along the right side, round the
// start. One that is closed becomes two. Where edges meet, the outer side has the join; the inner side goes through the
// corner itself, so that what is outlined is, wound alike, the rectangles of both edges and the join's wedge. The
// non-zero rule makes one shape of them. Round joins and caps add discs.

#include <kxcoreemb/primitive_translator.h>

#include <kxcoreemb/fixed_math.h>

#include "vector/square_root.h"

#include <algorithm>
#include <memory>
#include <new>

namespace
{

constexpr INT32 kUnitBits = 24;

/// An edge of the path on its way to be stroked.
struct Piece
{
    KxcVector2 start, end;
    INT32 unitX, unitY;     // its direction, 24 fraction bits
    INT32 offsetX, offsetY; // from it to its left side, 16.16

    Piece reversed() const { return {end, start, -unitX, -unitY, -offsetX, -offsetY}; }
};

INT32 saturated(INT64 value) { return static_cast<INT32>(std::clamp<INT64>(value, -INT32_MAX, INT32_MAX)); }

KxcVector2 moved(const KxcVector2& p, INT64 x, INT64 y)
{
    return {KxcFixed::fromRaw(saturated(p.x.raw() + x)), KxcFixed::fromRaw(saturated(p.y.raw() + y))};
}

} // namespace

class KxcPrimitiveTranslator::Stroker
{
public:
    explicit Stroker(KxcPrimitiveTranslator& translator) : m_translator(translator)
    {
        const INT64 width = translator.m_perceivedWidth.raw();
        m_half = static_cast<INT32>(width / 2);
        // Corners whose offsets' product is below 0.1, in user space and on the surface, are not seen.
        const INT64 scale = std::max(translator.m_rowLength[0], translator.m_rowLength[1]);
        const INT64 onSurface = m_half * std::min<INT64>(scale, INT32_MAX) >> 16;
        const INT64 widest = std::min<INT64>(std::max<INT64>(m_half, onSurface), INT32_MAX);
        const INT64 square = std::max<INT64>(1, widest * widest >> 16);
        m_straight = std::min<INT64>(kOne, (INT64(6554) << kUnitBits) / square);
        const INT64 limit = std::clamp<INT64>(translator.m_miterLimit.raw(), 0, 1024 << 16);
        m_miterSquare = limit * limit >> 16;
    }
    void add(const KxcVector2& start, const KxcVector2& end)
    {
        const KxcDirection d = kxcDirection(static_cast<INT64>(end.x.raw()) - start.x.raw(),
                                            static_cast<INT64>(end.y.raw()) - start.y.raw());
        if (d.x == 0 && d.y == 0)
            return;
        const INT64 half = m_half;
        m_pieces.add({start, end, d.x, d.y, static_cast<INT32>(d.y * half >> kUnitBits),
                      static_cast<INT32>(-d.x * half >> kUnitBits)});
    }
    /// Outlines the edges that were added, and forgets them.
    void stroke(bool closed)
    {
        const INT32 count = m_pieces.count();
        if (count == 0)
            return;
        m_closed = closed;
        addSide(false);
        if (closed)
            closeOutline();
        addSide(true);
        closeOutline();
        if (!closed && m_translator.m_perceivedCap == KXCLINECAP_ROUND)
        {
            m_translator.addRoundingCircle(m_pieces[0].start);
            m_translator.addRoundingCircle(m_pieces[count - 1].end);
        }
        m_pieces.clear();
    }

private:
    static constexpr INT64 kOne = INT64(1) << kUnitBits;

    /// The left side of all pieces, or of the way back.
    void addSide(bool back)
    {
        const INT32 count = m_pieces.count();
        const auto piece = [&](INT32 i) { return back ? m_pieces[count - 1 - i].reversed() : m_pieces[i]; };
        const INT64 cap = !m_closed && m_translator.m_perceivedCap == KXCLINECAP_SQUARE ? m_half : 0;
        const Piece first = piece(0);
        for (INT32 i = 0; i < count; ++i)
        {
            const Piece p = piece(i);
            const bool last = i + 1 == count;
            const INT64 before = i == 0 ? cap : 0, after = last ? cap : 0;
            addPoint(moved(p.start, p.offsetX - (p.unitX * before >> kUnitBits),
                           p.offsetY - (p.unitY * before >> kUnitBits)));
            addPoint(
                moved(p.end, p.offsetX + (p.unitX * after >> kUnitBits), p.offsetY + (p.unitY * after >> kUnitBits)));
            if (!last)
                addJoin(p, piece(i + 1), m_straight, back);
            else if (m_closed)
                addJoin(p, first, m_straight / 10, back);
        }
    }

    void addJoin(const Piece& from, const Piece& to, INT64 straight, bool back)
    {
        const INT64 cross =
            (static_cast<INT64>(from.unitX) * to.unitY - static_cast<INT64>(from.unitY) * to.unitX) >> kUnitBits;
        const INT64 dot =
            (static_cast<INT64>(from.unitX) * to.unitX + static_cast<INT64>(from.unitY) * to.unitY) >> kUnitBits;
        if (cross < straight && cross > -straight && dot > 0)
            return;
        if (m_translator.m_perceivedJoin == KXCLINEJOIN_ROUND && !back)
            m_translator.addRoundingCircle(from.end);
        if (cross < 0)
            return addPoint(from.end); // the inner side
        // The miter's length in half widths, squared, is 2 / (1 + cos).
        const INT64 spread = kOne + dot;
        if (m_translator.m_perceivedJoin != KXCLINEJOIN_MITER || spread <= 0 ||
            (m_miterSquare >> 8) * spread < (INT64(2) << (8 + kUnitBits)))
            return;
        const auto tip = [spread](INT64 a, INT64 b) { return (a + b) * kOne / spread; };
        addPoint(moved(from.end, tip(from.offsetX, to.offsetX), tip(from.offsetY, to.offsetY)));
    }

    void addPoint(const KxcVector2& p)
    {
        const INT32 added = m_translator.m_strokePoints->addPoint(p);
        if (added < 0)
            return;
        if (m_first < 0)
            m_first = added;
        else
            m_translator.m_strokeLines->addLine(added - 1, added);
    }
    void closeOutline()
    {
        if (m_first >= 0)
            m_translator.m_strokeLines->addLine(m_translator.m_strokePoints->getCount() - 1, m_first);
        m_first = -1;
    }

    KxcPrimitiveTranslator& m_translator;
    KxcPrimitiveArray<Piece> m_pieces;
    bool m_closed = false;
    INT32 m_half;        // of the width, 16.16
    INT64 m_straight;    // sines up to here are no corner, 24 fraction bits
    INT64 m_miterSquare; // the miter limit's square, 16 fraction bits
    INT32 m_first = -1;  // point of the outline
};

void KxcPrimitiveTranslator::calculateStroking()
{
    m_strokePoints->clear();
    m_strokeLines->clear();
    m_strokeTriangles->clear();
    if (m_dashes.count() > 0)
    {
        const std::unique_ptr<KxcPrimitiveDrawPointSet> points(KxcPrimitiveDrawPointSet::create(100));
        const std::unique_ptr<KxcPrimitiveDrawLineSet> lines(KxcPrimitiveDrawLineSet::create(100));
        KxcPrimitiveTranslatorLengths lengths;
        KxcPrimitiveTranslatorFlags flags;
        if (points && lines && createDash(points.get(), lines.get(), &lengths, &flags))
            return strokeEdges(*points, *lines, flags);
    }
    strokeEdges(*m_points, *m_lines, m_flags);
}

void KxcPrimitiveTranslator::strokeEdges(const KxcPrimitiveDrawPointSet& points, const KxcPrimitiveDrawLineSet& lines,
                                         const KxcPrimitiveTranslatorFlags& flags)
{
    const INT32 count = std::min(lines.getCount(), flags.count());
    INT32 discs = m_perceivedJoin == KXCLINEJOIN_ROUND ? count : 0;
    for (INT32 i = 0; m_perceivedCap == KXCLINECAP_ROUND && i < count; ++i)
        discs += (flags[i] & kOpensSubpath ? 1 : 0) + (flags[i] & kEndsSubpath ? 1 : 0);
    resetCircleArray(2 * discs);

    Stroker stroker(*this);
    for (INT32 i = 0, first = 0; i < count; ++i)
    {
        const KxcPrimitiveDrawLine& line = lines.getLine(i);
        stroker.add(points.getPoint(line.from), points.getPoint(line.to));
        if (i + 1 < count && lines.getLine(i + 1).from == line.to)
            continue;
        stroker.stroke((flags[first] & kOpensSubpath) == 0);
        first = i + 1;
    }
}

/// Both halves of a disc as wide as the stroke on the surface. Where the transformation makes an ellipse of it, discs
/// are built like the rest of the stroke.
void KxcPrimitiveTranslator::createRoundingCircle()
{
    delete m_leftHalf;
    delete m_rightHalf;
    m_leftHalf = m_rightHalf = nullptr;
    m_circleDirty = false;
    if (m_perceivedJoin != KXCLINEJOIN_ROUND && m_perceivedCap != KXCLINECAP_ROUND)
    {
        m_circleDirty = true; // for when one of them is
        return;
    }
    const auto& m = m_transformation.m;
    const INT64 longer = std::max(m_rowLength[0], m_rowLength[1]), shorter = std::min(m_rowLength[0], m_rowLength[1]);
    const INT64 skew = (static_cast<INT64>(m[0][0].raw()) * m[1][0].raw() >> 1) +
                       (static_cast<INT64>(m[0][1].raw()) * m[1][1].raw() >> 1);
    m_circleIsRound =
        longer - shorter <= longer >> 6 && (skew < 0 ? -skew : skew) >> 15 <= (longer * shorter >> 16) >> 6;
    if (!m_circleIsRound)
        return;
    const INT64 diameter = (shorter * m_perceivedWidth.raw() >> 16) << gridShift();
    m_circleRadius = static_cast<INT32>(std::min<INT64>(diameter >> 17, 1 << 20));
    m_leftHalf = KxcPrimitiveDrawIndexedPrimitive::createHalfCircle(0, m_circleRadius, m_circleRadius, 0, 0, +1, 0,
                                                                    2 * m_circleRadius);
    m_rightHalf = KxcPrimitiveDrawIndexedPrimitive::createHalfCircle(0, m_circleRadius, m_circleRadius, 0, 0, -1, 0,
                                                                     2 * m_circleRadius);
    m_circleDirty = !m_leftHalf || !m_rightHalf; // without memory: once more for the next path
}

void KxcPrimitiveTranslator::addRoundingCircle(const KxcVector2& point)
{
    if (!m_circleIsRound)
        return addPolygonCircle(point);
    if (!m_leftHalf || !m_rightHalf || m_circleCount + 2 > m_circleCapacity)
        return;
    const auto& m = m_transformation.m;
    const auto coordinate = [&](INT32 column)
    {
        const INT64 halved = (static_cast<INT64>(point.x.raw()) * m[0][column].raw() >> 1) +
                             (static_cast<INT64>(point.y.raw()) * m[1][column].raw() >> 1);
        return ((halved >> 15) + m[2][column].raw()) >> (16 - gridShift());
    };
    constexpr INT64 kFarthest = 1 << 28;
    const INT64 x = coordinate(0), y = coordinate(1);
    if (x < -kFarthest || x > kFarthest || y < -kFarthest || y > kFarthest)
        return;
    for (const KxcPrimitiveDrawIndexedPrimitive* half : {m_leftHalf, m_rightHalf})
    {
        KxcPrimitiveDrawIndexedPrimitive& placed = m_circles[m_circleCount++];
        placed.setInstance(*half, static_cast<INT32>(x), static_cast<INT32>(y) - m_circleRadius);
        m_strokeTriangles->addPrimitive(&placed);
    }
}

/// A disc in user space, wound as the outline is.
void KxcPrimitiveTranslator::addPolygonCircle(const KxcVector2& point)
{
    constexpr INT32 kTurn = 411775; // 16.16
    const INT64 radius = m_perceivedWidth.raw() / 2;
    const INT64 onSurface = radius * std::min<INT64>(std::max(m_rowLength[0], m_rowLength[1]), INT32_MAX) >> 16;
    const INT32 count = curveSegments(6 * onSurface, 12, 120);
    INT32 first = -1, last = -1;
    for (INT32 i = 0; i < count; ++i)
    {
        const KxcFixed angle = KxcFixed::fromRaw(static_cast<INT32>(static_cast<INT64>(kTurn) * i / count));
        const INT32 added = m_strokePoints->addPoint(
            moved(point, radius * KxcMath::cos(angle).raw() >> 16, radius * KxcMath::sin(angle).raw() >> 16));
        if (added < 0)
            break;
        if (first < 0)
            first = added;
        else
            m_strokeLines->addLine(last, added);
        last = added;
    }
    if (first >= 0)
        m_strokeLines->addLine(last, first);
}

void KxcPrimitiveTranslator::resetCircleArray(INT32 count)
{
    m_circleCount = 0;
    if (count <= m_circleCapacity)
        return;
    deleteCircleArray();
    m_circles = new (std::nothrow) KxcPrimitiveDrawIndexedPrimitive[static_cast<size_t>(count)];
    m_circleCapacity = m_circles ? count : 0;
}

void KxcPrimitiveTranslator::deleteCircleArray()
{
    delete[] m_circles;
    m_circles = nullptr;
    m_circleCapacity = m_circleCount = 0;
}
