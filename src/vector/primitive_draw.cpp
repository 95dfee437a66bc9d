// primitive_draw.cpp - the rasteriser's state: its grid, what it draws with, and the edges it is given.

#include <kxcoreemb/primitive_draw.h>

#include <kxcoreemb/pixel_converter.h>

#include "vector/row.h"

#include <new>

namespace
{

/// Replaces an array by a larger one of zeros. @return false, with the old one in place, without memory
template <class T>
bool renew(T*& items, INT32 count)
{
    T* larger = new (std::nothrow) T[static_cast<size_t>(count)]();
    if (!larger)
        return false;
    delete[] items;
    items = larger;
    return true;
}

INT32 clamped(INT32 value, INT32 size) { return value < 0 || size < 1 ? 0 : value < size ? value : size - 1; }

} // namespace

KxcPrimitiveRow::~KxcPrimitiveRow()
{
    delete[] hiRes;
    delete[] loRes;
    delete[] colors;
    delete[] heads;
}

bool KxcPrimitiveRow::reservePixels(INT32 pixels)
{
    if (pixels <= width)
        return true;
    // Crossings behind the last column fall into the word behind the last pixel's.
    if (!renew(hiRes, pixels + 2) || !renew(loRes, pixels + 2) || !renew(colors, pixels + 2))
        return false;
    width = pixels;
    return true;
}

bool KxcPrimitiveRow::reserveRows(INT32 rows)
{
    if (rows <= height)
        return true;
    if (!renew(heads, rows))
        return false;
    height = rows;
    return true;
}

KxcPrimitiveDraw::KxcPrimitiveDraw()
    : m_row(nullptr),
      m_edges(nullptr),
      m_width(0),
      m_height(0),
      m_clipX1(0),
      m_clipY1(0),
      m_clipX2(0),
      m_clipY2(0),
      m_filler(nullptr),
      m_color(0),
      m_color16(0),
      m_opacity(0),
      m_opacity5(0),
      m_format(0),
      m_pitch(0),
      m_rows(1)
{
    setColor(0);
    setOpacity(255);
}

KxcPrimitiveDraw::~KxcPrimitiveDraw()
{
    delete m_row;
    delete m_edges;
}

KxcPrimitiveDraw* KxcPrimitiveDraw::create(INT32 width, INT32 height, INT32 lineEdges, INT32 indexedEdges)
{
    KxcPrimitiveDraw* draw = new (std::nothrow) KxcPrimitiveDraw;
    if (draw == nullptr)
        return nullptr;
    draw->m_row = new (std::nothrow) KxcPrimitiveRow;
    draw->m_edges = KxcPrimitiveDrawEdgeSet::create(lineEdges, indexedEdges);
    if (width > 0 && height > 0 && draw->m_row && draw->m_edges && draw->resize(width, height))
    {
        draw->setClippingRect(0, 0, width - 1, height - 1);
        return draw;
    }
    delete draw;
    return nullptr;
}

INT32 KxcPrimitiveDraw::resize(INT32 width, INT32 height)
{
    if (width > m_width)
    {
        if (!m_row->reservePixels((width + 7) / 8))
            return m_width = 0;
        if (m_clipX2 == m_width - 1)
            m_clipX2 = width - 1;
        m_width = width;
    }
    if (height > m_height)
    {
        if (!m_row->reserveRows(height))
            return m_height = 0;
        if (m_clipY2 == m_height - 1)
            m_clipY2 = height - 1;
        m_height = height;
    }
    return 1;
}

void KxcPrimitiveDraw::setClippingRect(INT32 x1, INT32 y1, INT32 x2, INT32 y2)
{
    m_clipX1 = clamped(x1, m_width);
    m_clipY1 = clamped(y1, m_height);
    m_clipX2 = clamped(x2, m_width);
    m_clipY2 = clamped(y2, m_height);
    if (m_clipX2 < m_clipX1)
        m_clipX2 = m_clipX1;
    if (m_clipY2 < m_clipY1)
        m_clipY2 = m_clipY1;
}

void KxcPrimitiveDraw::setColor(UINT32 color)
{
    m_color = color | 0xFF000000;
    m_color16 = KxcPixelConverter::convertX888To55X5(color);
    m_filler = nullptr;
}

void KxcPrimitiveDraw::setOpacity(UINT8 opacity)
{
    m_opacity = opacity;
    m_opacity5 = ((m_opacity + 4) * 32 + ((m_opacity + 4) >> 3)) >> 8;
}

void KxcPrimitiveDraw::setFiller(KxcPrimitiveDrawFiller* filler) { m_filler = filler; }

void KxcPrimitiveDraw::addPolygon(const KxcPrimitiveDrawPointSet* points, const KxcPrimitiveDrawLineSet* lines)
{
    m_edges->setClip(m_clipX1, m_clipY1, m_clipX2, m_clipY2);
    const UINT32 count = static_cast<UINT32>(points->getScaledCount());
    for (INT32 i = 0; i < lines->getCount(); ++i)
    {
        const KxcPrimitiveDrawLine& line = lines->getLine(i);
        if (static_cast<UINT32>(line.from) < count && static_cast<UINT32>(line.to) < count)
            m_edges->calculateLineInfo(points->getScaledPoint(line.from), points->getScaledPoint(line.to));
    }
}

void KxcPrimitiveDraw::addIndexedSet(const KxcPrimitiveDrawIndexedPrimitiveSet* primitives)
{
    m_edges->setClip(m_clipX1, m_clipY1, m_clipX2, m_clipY2);
    for (INT32 i = 0; i < primitives->getCount(); ++i)
        m_edges->calculateIndexedEdgeInfo(*primitives->getPrimitive(i));
}
