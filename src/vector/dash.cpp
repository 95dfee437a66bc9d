// dash.cpp - how long a path is, where it is after a part of that, and cutting it into dashes.

#include <kxcoreemb/primitive_translator.h>

#include "vector/square_root.h"

#include <algorithm>

namespace
{

KxcVector2 pointBetween(const KxcVector2& a, const KxcVector2& b, INT64 part, INT64 whole)
{
    const auto between = [=](KxcFixed from, KxcFixed to)
    {
        const INT64 way = static_cast<INT64>(to.raw()) - from.raw();
        // A fraction of 30 bits: the way has up to 33.
        return KxcFixed::fromRaw(static_cast<INT32>(from.raw() + (way * (part * (INT64(1) << 24) / whole) >> 24)));
    };
    return {between(a.x, b.x), between(a.y, b.y)};
}

} // namespace

void KxcPrimitiveTranslator::calculateEdgeLengths()
{
    if (m_lengths.count() == m_lines->getCount())
        return;
    m_lengths.clear();
    INT64 total = 0;
    for (INT32 i = 0; i < m_lines->getCount(); ++i)
    {
        const KxcVector2 &from = m_points->getPoint(m_lines->getLine(i).from),
                         &to = m_points->getPoint(m_lines->getLine(i).to);
        total +=
            kxcLength(static_cast<INT64>(to.x.raw()) - from.x.raw(), static_cast<INT64>(to.y.raw()) - from.y.raw());
        m_lengths.add(total);
    }
}

void KxcPrimitiveTranslator::getEdgeInfo(KxcFixed t, KxcVector2* point, KxcVector2* direction)
{
    calculateEdgeLengths();
    const INT32 count = m_lengths.count();
    if (count == 0 || count != m_lines->getCount())
        return;
    const INT64 fraction = std::clamp<INT64>(t.raw(), 0, 0x10000), total = m_lengths[count - 1];
    const INT64 target = (total >> 16) * fraction + ((total & 0xFFFF) * fraction >> 16);
    INT32 edge = 0;
    if (fraction == 0x10000)
        edge = count - 1;
    else
    {
        // The first edge that ends beyond the target; those of equal length make it likely to be here.
        INT32 low = 0, high = count - 1;
        for (edge = static_cast<INT32>((count - 1) * fraction >> 16); low < high; edge = (low + high) / 2)
        {
            if (m_lengths[edge] > target)
                high = edge;
            else
                low = edge + 1;
        }
        edge = low;
    }
    const KxcVector2 &from = m_points->getPoint(m_lines->getLine(edge).from),
                     &to = m_points->getPoint(m_lines->getLine(edge).to);
    const INT64 before = edge > 0 ? m_lengths[edge - 1] : 0, length = m_lengths[edge] - before;
    if (point)
        *point = fraction == 0x10000 ? to : length > 0 ? pointBetween(from, to, target - before, length) : from;
    if (direction)
        *direction = {to.x - from.x, to.y - from.y};
}

/// Writes the dashes as open subpaths.
class KxcPrimitiveTranslator::Dasher
{
public:
    Dasher(const KxcPrimitiveArray<KxcFixed>& pattern, INT64 offset, KxcPrimitiveDrawPointSet& points,
           KxcPrimitiveDrawLineSet& lines, KxcPrimitiveTranslatorLengths& lengths, KxcPrimitiveTranslatorFlags& flags)
        : m_pattern(pattern),
          m_points(points),
          m_lines(lines),
          m_lengths(lengths),
          m_flags(flags)
    {
        if (offset > 0)
            offset %= 2 * total(); // twice: an odd number of entries changes places with its gaps
        m_left = m_pattern[0].raw();
        while (offset > m_left)
        {
            offset -= m_left;
            nextEntry();
        }
        m_left -= offset;
    }
    INT64 total() const
    {
        INT64 sum = 0;
        for (INT32 i = 0; i < m_pattern.count(); ++i)
            sum += m_pattern[i].raw();
        return sum;
    }
    void startSubpath(const KxcVector2& p)
    {
        if (m_on)
            open(p);
    }
    void addEdge(const KxcVector2& from, const KxcVector2& to, INT64 length)
    {
        INT64 at = 0;
        for (; m_left <= length - at; nextEntry())
        {
            at += m_left;
            const KxcVector2 p = pointBetween(from, to, at, length);
            if (m_on)
            {
                lineTo(p, m_left);
                m_opened = false;
            }
            else
                open(p);
        }
        if (m_on)
            lineTo(to, length - at);
        m_left -= length - at;
    }

private:
    void nextEntry()
    {
        m_entry = m_entry + 1 < m_pattern.count() ? m_entry + 1 : 0;
        m_left = m_pattern[m_entry].raw();
        m_on = !m_on;
    }
    void open(const KxcVector2& p)
    {
        m_opened = m_points.addPoint(p) >= 0;
        m_first = true;
    }
    void lineTo(const KxcVector2& p, INT64 length)
    {
        const INT32 last = m_points.getCount() - 1;
        m_length += length;
        if (!m_opened || (m_points.getPoint(last).x == p.x && m_points.getPoint(last).y == p.y))
            return;
        if (m_points.addPoint(p) < 0 || !m_flags.add(m_first ? kOpensSubpath | kEndsSubpath : kEndsSubpath))
            return;
        if (!m_lines.addLine(last, last + 1))
            return m_flags.truncate(m_flags.count() - 1); // each line has its flags
        if (!m_first)
            m_flags[m_flags.count() - 2] &= static_cast<UINT8>(~kEndsSubpath);
        m_lengths.add(m_length);
        m_first = false;
    }

    const KxcPrimitiveArray<KxcFixed>& m_pattern;
    KxcPrimitiveDrawPointSet& m_points;
    KxcPrimitiveDrawLineSet& m_lines;
    KxcPrimitiveTranslatorLengths& m_lengths;
    KxcPrimitiveTranslatorFlags& m_flags;
    INT32 m_entry = 0;
    INT64 m_left;          // of the entry, 16.16
    bool m_on = true;      // the entry is a dash
    bool m_opened = false; // its first point is there
    bool m_first = true;   // and none but that
    INT64 m_length = 0;    // of all dashes
};

/// @return false when there are too many to be told apart: the path stays whole then
bool KxcPrimitiveTranslator::createDash(KxcPrimitiveDrawPointSet* points, KxcPrimitiveDrawLineSet* lines,
                                        KxcPrimitiveTranslatorLengths* lengths, KxcPrimitiveTranslatorFlags* flags)
{
    constexpr INT64 kMostEntries = 1 << 17;
    calculateEdgeLengths();
    const INT32 count = m_lengths.count();
    if (count == 0 || count != m_lines->getCount())
        return false;
    Dasher dasher(m_dashes, m_dashOffset.raw(), *points, *lines, *lengths, *flags);
    if (m_lengths[count - 1] / dasher.total() * m_dashes.count() > kMostEntries)
        return false;
    for (INT32 i = 0; i < count; ++i)
    {
        const KxcPrimitiveDrawLine& line = m_lines->getLine(i);
        const KxcVector2 &from = m_points->getPoint(line.from), &to = m_points->getPoint(line.to);
        if (i == 0 || m_lines->getLine(i - 1).to != line.from)
            dasher.startSubpath(from);
        const INT64 length = m_lengths[i] - (i > 0 ? m_lengths[i - 1] : 0);
        if (length > 0)
            dasher.addEdge(from, to, length);
    }
    return true;
}
