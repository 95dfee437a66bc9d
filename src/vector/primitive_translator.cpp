// primitive_translator.cpp - the translator's state, the straight commands of paths, and drawing them.

#include <kxcoreemb/primitive_translator.h>

#include <kxcoreemb/fixed_math.h>

#include "core/core_state.h"
#include "vector/square_root.h"

#include <algorithm>
#include <new>

namespace
{

constexpr KxcVector2 kOrigin = {KxcFixed(0), KxcFixed(0)};

bool operator==(const KxcVector2& a, const KxcVector2& b) { return a.x == b.x && a.y == b.y; }

/// To the grid that paths are kept on: 1/256.
KxcVector2 snapped(const KxcVector2& p)
{
    return {KxcFixed::fromRaw(p.x.raw() & ~0xFF), KxcFixed::fromRaw(p.y.raw() & ~0xFF)};
}

/// t / 255 to the nearest.
INT32 divide255(INT32 t) { return (t + 128 + ((t + 128) >> 8)) >> 8; }

} // namespace

KxcPrimitiveTranslator::KxcPrimitiveTranslator()
    : m_clip{0, 0, 0, 0},
      m_hasClip(false),
      m_target(nullptr),
      m_renderer(nullptr),
      m_curveSmoothLength(5),
      m_fill{KXCPAINT_COLOR, 0xFFFFFF, nullptr, nullptr, nullptr},
      m_stroke{KXCPAINT_COLOR, 0x000000, nullptr, nullptr, nullptr},
      m_fillOpacity(255),
      m_strokeOpacity(255),
      m_fillRule(KXCFILLRULE_EVENODD),
      m_strokeWidth(1),
      m_lineCap(KXCLINECAP_ROUND),
      m_lineJoin(KXCLINEJOIN_ROUND),
      m_perceivedWidth(1),
      m_perceivedOpacity(255),
      m_perceivedJoin(KXCLINEJOIN_ROUND),
      m_perceivedCap(KXCLINECAP_ROUND),
      m_miterLimit(4),
      m_dashOffset(0),
      m_points(nullptr),
      m_lines(nullptr),
      m_strokePoints(nullptr),
      m_strokeLines(nullptr),
      m_strokeTriangles(nullptr),
      m_movePending(false),
      m_current(kOrigin),
      m_lastControl(kOrigin),
      m_subpathStart(kOrigin),
      m_firstPoint(0),
      m_firstEdge(0),
      m_circleDirty(true),
      m_perceivedDirty(true),
      m_leftHalf(nullptr),
      m_rightHalf(nullptr),
      m_circleRadius(0),
      m_circleIsRound(true),
      m_circles(nullptr),
      m_circleCapacity(0),
      m_circleCount(0),
      m_antialiasing(true)
{
    KxcMatrix3 identity;
    setTransformation(KxcMath::matrixIdentity(identity));
}

KxcPrimitiveTranslator::~KxcPrimitiveTranslator()
{
    delete m_points;
    delete m_lines;
    delete m_strokePoints;
    delete m_strokeLines;
    delete m_strokeTriangles;
    delete m_leftHalf;
    delete m_rightHalf;
    deleteCircleArray();
}

bool KxcPrimitiveTranslator::init()
{
    m_points = KxcPrimitiveDrawPointSet::create(100);
    m_lines = KxcPrimitiveDrawLineSet::create(100);
    m_strokePoints = KxcPrimitiveDrawPointSet::create(400);
    m_strokeLines = KxcPrimitiveDrawLineSet::create(400);
    m_strokeTriangles = KxcPrimitiveDrawIndexedPrimitiveSet::create(200);
    resetCircleArray(100);
    return m_points && m_lines && m_strokePoints && m_strokeLines && m_strokeTriangles && m_circles &&
           m_lengths.reserve(100) && m_flags.reserve(100);
}

KxcPrimitiveTranslator* KxcPrimitiveTranslator::create()
{
    KxcPrimitiveTranslator* translator = new (std::nothrow) KxcPrimitiveTranslator;
    if (translator && translator->init())
        return translator;
    delete translator;
    return nullptr;
}

void KxcPrimitiveTranslator::setRenderTarget(KxcGLSurface* target) { m_target = target; }
void KxcPrimitiveTranslator::setRenderer(KxcPrimitiveDraw* renderer) { m_renderer = renderer; }

void KxcPrimitiveTranslator::setClipRect(const KxcRectangle* clip)
{
    m_hasClip = clip != nullptr;
    if (clip)
        m_clip = *clip;
}

void KxcPrimitiveTranslator::setTransformation(const KxcMatrix3& matrix)
{
    m_transformation = matrix;
    for (INT32 row = 0; row < 2; ++row)
        m_rowLength[row] = kxcLength(matrix.m[row][0].raw(), matrix.m[row][1].raw());
    m_circleDirty = m_perceivedDirty = true;
}

void KxcPrimitiveTranslator::setCurveSmoothLength(KxcFixed length) { m_curveSmoothLength = length; }

void KxcPrimitiveTranslator::setAntialiasing(INT32 on)
{
    m_circleDirty |= m_antialiasing != (on != 0);
    m_antialiasing = on != 0;
}

void KxcPrimitiveTranslator::setFillOpacity(UINT8 opacity) { m_fillOpacity = opacity; }
void KxcPrimitiveTranslator::setFillRule(INT32 rule) { m_fillRule = rule; }

void KxcPrimitiveTranslator::setStrokeOpacity(UINT8 opacity)
{
    m_perceivedDirty |= m_strokeOpacity != opacity;
    m_strokeOpacity = opacity;
}

void KxcPrimitiveTranslator::setStrokeWidth(KxcFixed width)
{
    if (m_strokeWidth != width)
        m_circleDirty = m_perceivedDirty = true;
    m_strokeWidth = width;
}

void KxcPrimitiveTranslator::setLineCap(INT32 cap)
{
    if (m_lineCap == cap)
        return;
    m_lineCap = cap;
    m_perceivedDirty = true;
    m_circleDirty |= cap == KXCLINECAP_ROUND;
}

void KxcPrimitiveTranslator::setLineJoin(INT32 join)
{
    if (m_lineJoin == join)
        return;
    m_lineJoin = join;
    m_perceivedDirty = true;
    m_circleDirty |= join == KXCLINEJOIN_ROUND;
}

void KxcPrimitiveTranslator::setMiterLimit(KxcFixed limit) { m_miterLimit = limit; }

void KxcPrimitiveTranslator::setDashArray(const KxcFixed* lengths, INT32 count)
{
    m_dashes.clear();
    for (INT32 i = 0; lengths && i < count; ++i)
        if (lengths[i] > KxcFixed(0))
            m_dashes.add(lengths[i]);
}

void KxcPrimitiveTranslator::setDashOffset(KxcFixed offset) { m_dashOffset = offset; }

void KxcPrimitiveTranslator::beginPath()
{
    m_points->clear();
    m_lines->clear();
    m_strokePoints->clear();
    m_strokeLines->clear();
    m_strokeTriangles->clear();
    m_lengths.clear();
    m_flags.clear();
    m_current = m_lastControl = m_subpathStart = kOrigin;
    m_firstPoint = m_firstEdge = 0;
    m_movePending = false;
}

void KxcPrimitiveTranslator::moveToAbsolute(const KxcVector2& p)
{
    m_current = m_lastControl = m_subpathStart = p;
    m_movePending = true;
}

void KxcPrimitiveTranslator::lineToAbsolute(const KxcVector2& p)
{
    if (!canDraw())
        return;
    bool opens = m_movePending || m_lines->getCount() == m_firstEdge; // the subpath has no edge yet
    if (m_movePending)
    {
        const INT32 first = m_points->addPoint(snapped(m_subpathStart));
        if (first < 0)
            return;
        m_firstPoint = first;
        m_firstEdge = m_lines->getCount();
        m_movePending = false;
        opens = true;
    }
    const KxcVector2 target = snapped(p);
    const INT32 last = m_points->getCount() - 1;
    if (!(target == m_points->getPoint(last)))
    {
        const INT32 added = m_points->addPoint(target);
        if (added < 0)
            return;
        if (m_flags.add(opens ? kOpensSubpath | kEndsSubpath : kEndsSubpath))
        {
            if (!m_lines->addLine(last, added))
                m_flags.truncate(m_flags.count() - 1);
            else if (!opens)
                m_flags[m_flags.count() - 2] &= static_cast<UINT8>(~kEndsSubpath);
        }
    }
    m_current = m_lastControl = p;
}

void KxcPrimitiveTranslator::closePath()
{
    if (m_movePending || m_points->getCount() == 0)
        return;
    const INT32 last = m_points->getCount() - 1, edges = m_lines->getCount();
    if (edges > m_firstEdge)
    {
        m_flags.last() &= static_cast<UINT8>(~kEndsSubpath);
        if (m_points->getPoint(last) == m_points->getPoint(m_firstPoint))
            m_lines->setLineEnd(edges - 1, m_firstPoint);
        else if (m_flags.add(0) && !m_lines->addLine(last, m_firstPoint))
            m_flags.truncate(m_flags.count() - 1);
        m_flags[m_firstEdge] &= static_cast<UINT8>(~kOpensSubpath);
    }
    moveToAbsolute(m_subpathStart);
}

/// Lines thinner than the grid can show become fainter instead.
void KxcPrimitiveTranslator::calculatePerceivedValues()
{
    constexpr INT64 kHairline = 0x4000, kInvisible = 3277; // 0.25 and 0.05 pixels
    if (!m_perceivedDirty)
        return;
    m_perceivedDirty = false;
    m_perceivedWidth = m_strokeWidth;
    m_perceivedOpacity = m_strokeOpacity;
    m_perceivedJoin = m_lineJoin;
    m_perceivedCap = m_lineCap;
    const INT64 width = std::min(m_rowLength[0], m_rowLength[1]) * m_strokeWidth.raw() >> 16;
    if (width > kHairline)
        return;
    const INT64 widened = width > 0 ? kHairline * m_strokeWidth.raw() / width : 0;
    m_perceivedWidth =
        KxcFixed::fromRaw(width < kInvisible ? 0 : static_cast<INT32>(std::min<INT64>(widened, INT32_MAX)));
    m_perceivedCap = KXCLINECAP_BUTT;
    m_perceivedJoin = KXCLINEJOIN_BEVEL;
    m_perceivedOpacity = divide255(static_cast<INT32>(std::max<INT64>(width, 0) * 1020 >> 16) * m_strokeOpacity);
}

/// Closes open subpaths; the caller takes the edges away again.
void KxcPrimitiveTranslator::calculateFilling()
{
    const INT32 edges = m_lines->getCount();
    for (INT32 i = 0, first = 0; i < edges; ++i)
    {
        const INT32 start = m_lines->getLine(first).from, end = m_lines->getLine(i).to;
        if (i + 1 < edges && m_lines->getLine(i + 1).from == end)
            continue;
        if (end != start)
            m_lines->addLine(end, start);
        first = i + 1;
    }
}

/// @return false when nothing of the target is left
bool KxcPrimitiveTranslator::setClipping(INT32 width, INT32 height)
{
    INT64 x1 = 0, y1 = 0, x2 = width, y2 = height;
    if (m_hasClip)
    {
        x1 = std::max<INT64>(x1, m_clip.x);
        y1 = std::max<INT64>(y1, m_clip.y);
        x2 = std::min<INT64>(x2, static_cast<INT64>(m_clip.x) + m_clip.width);
        y2 = std::min<INT64>(y2, static_cast<INT64>(m_clip.y) + m_clip.height);
    }
    const INT32 grid = 1 << gridShift();
    if (x1 >= x2 || y1 >= y2 || x2 > INT32_MAX / grid || y2 > INT32_MAX / grid || width > INT32_MAX / grid ||
        height > INT32_MAX / grid || !m_renderer->resize(width * grid, height * grid))
        return false;
    m_renderer->setClippingRect(static_cast<INT32>(x1) * grid, static_cast<INT32>(y1) * grid,
                                static_cast<INT32>(x2) * grid - 1, static_cast<INT32>(y2) * grid - 1);
    return true;
}

/// @return false when there is nothing to paint with
bool KxcPrimitiveTranslator::applyPaint(const Paint& paint, INT32 opacity)
{
    m_renderer->setColor(paint.color);
    m_renderer->setOpacity(static_cast<UINT8>(opacity));
    if (paint.mode == KXCPAINT_COLOR)
        return true;
    if (paint.gradientFiller)
        paint.gradientFiller->setTransformation(m_transformation);
    if (paint.patternFiller)
        paint.patternFiller->setTransformation(m_transformation);
    m_renderer->setFiller(paint.filler);
    return paint.filler != nullptr;
}

void KxcPrimitiveTranslator::render(INT32 rule, UINT8* pixels, INT32 pitch)
{
    const INT32 width = m_target->getWidth(), height = m_target->getHeight(), format = m_target->getFormat();
    if (rule == KXCFILLRULE_EVENODD && m_antialiasing)
        m_renderer->renderEvenOddAA(pixels, width, height, pitch, format);
    else if (rule == KXCFILLRULE_EVENODD)
        m_renderer->renderEvenOdd(pixels, width, height, pitch, format);
    else if (m_antialiasing)
        m_renderer->renderNonZeroAA(pixels, width, height, pitch, format);
    else
        m_renderer->renderNonZero(pixels, width, height, pitch, format);
    m_renderer->setFiller(nullptr); // which is the caller's, and may not outlive this
}

void KxcPrimitiveTranslator::endPath()
{
    if (!m_target)
        return;
    void* locked = nullptr;
    const INT32 pitch = m_target->lock(&locked, m_target->getFormat(), KXCLOCK_DISCARD);
    if (!locked)
        return;
    UINT8* const pixels = static_cast<UINT8*>(locked);
    if (m_renderer && setClipping(m_target->getWidth(), m_target->getHeight()))
    {
        const bool fills = m_fillRule == KXCFILLRULE_EVENODD || m_fillRule == KXCFILLRULE_NONZERO;
        if (fills && m_fill.mode != KXCPAINT_OFF && m_fillOpacity != 0 && applyPaint(m_fill, m_fillOpacity))
        {
            const INT32 edges = m_lines->getCount();
            calculateFilling();
            m_points->calculateScaledValues(m_transformation, gridShift());
            m_renderer->addPolygon(m_points, m_lines);
            m_lines->truncate(edges);
            render(m_fillRule, pixels, pitch);
        }
        calculatePerceivedValues();
        if (m_stroke.mode != KXCPAINT_OFF && m_perceivedWidth > KxcFixed(0) && m_perceivedOpacity != 0 &&
            applyPaint(m_stroke, m_perceivedOpacity))
        {
            if (m_circleDirty)
                createRoundingCircle();
            calculateStroking();
            m_strokePoints->calculateScaledValues(m_transformation, gridShift());
            m_renderer->addPolygon(m_strokePoints, m_strokeLines);
            m_renderer->addIndexedSet(m_strokeTriangles);
            render(KXCFILLRULE_NONZERO, pixels, pitch);
        }
    }
    m_target->unlock();
}

void kxcUse2DVectorGraphics()
{
    if (!kxcCore)
        return;
    delete kxcCore->primitiveDraw;
    delete kxcCore->primitiveTranslator;
    kxcCore->primitiveDraw = KxcPrimitiveDraw::create(std::max(kxcCore->screenWidth, 256) * 8,
                                                      std::max(kxcCore->screenHeight, 256) * 8, 100, 100);
    kxcCore->primitiveTranslator = KxcPrimitiveTranslator::create();
    if (kxcCore->primitiveTranslator)
        kxcCore->primitiveTranslator->setRenderer(kxcCore->primitiveDraw);
}
