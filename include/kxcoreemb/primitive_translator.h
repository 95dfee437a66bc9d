// primitive_translator.h - vector paths: lines, curves and arcs, filled and stroked on a surface.
//
//     KxcPrimitiveTranslator* t = KxcCore::getPrimitiveTranslator();   // after kxcUse2DVectorGraphics()
//     t->setRenderTarget(screen);
//     t->setFillColor(0xFFC020);
//     t->beginPath();
//     t->moveToAbsolute(10, 10);
//     t->lineToAbsolute(60, 10);
//     t->quadraticCurveToAbsolute(60, 60, 10, 60);
//     t->closePath();
//     t->endPath();                                                    // draws it
#pragma once

#include <kxcoreemb/primitive_draw.h>

/// What shapes are painted with.
enum KXCPAINT : KxcINT32
{
    KXCPAINT_OFF = 0,      ///< not at all
    KXCPAINT_COLOR = 1,    ///< one colour
    KXCPAINT_GRADIENT = 2, ///< a KxcPrimitiveDrawGradientFiller
    KXCPAINT_IMAGE = 3,    ///< a KxcPrimitiveDrawImageFiller
    KXCPAINT_PATTERN = 4,  ///< a KxcPrimitiveDrawPatternFiller
};
/// What of a path that overlaps itself is inside.
enum KXCFILLRULE : KxcINT32
{
    KXCFILLRULE_EVENODD = 0, ///< where a way out crosses an odd number of edges
    KXCFILLRULE_NONZERO = 1, ///< where the path winds around
};
/// How the ends of strokes and dashes look.
enum KXCLINECAP : KxcINT32
{
    KXCLINECAP_BUTT = 0,   ///< cut off at the end point
    KXCLINECAP_ROUND = 1,  ///< a half disc behind it
    KXCLINECAP_SQUARE = 2, ///< half a square behind it
};
/// How the corners of strokes look.
enum KXCLINEJOIN : KxcINT32
{
    KXCLINEJOIN_MITER = 0, ///< pointed, up to the miter limit
    KXCLINEJOIN_ROUND = 1, ///< a disc as wide as the stroke
    KXCLINEJOIN_BEVEL = 2, ///< cut off
};
/// How an elliptical arc goes from one point to the other.
enum KXCARC : KxcUINT32
{
    KXCARC_LARGE = 1, ///< the longer way
    KXCARC_SWEEP = 2, ///< with growing angles: clockwise where y grows downwards
};

/// What a surface is drawn on with: keeps a path and how it is to be painted, and draws it.
///
/// Use        beginPath(), path commands, endPath(). What is set (paints, stroke, transformation) counts at endPath(),
///            but that curves are divided for the transformation that is set when they are added. endPath() may be
///            called again, after changes, until the next beginPath().
/// Units      user space, which the transformation takes to pixels; points are kept to 1/256 of a unit. The stroke is
///            built in user space. A line less than a quarter of a pixel wide is drawn as one of that width, fainter.
/// Defaults   white fill, black stroke 1 wide with round caps and joins, even-odd rule, smooth.
/// Ownership  surfaces, renderer and fillers stay the caller's, and must live while they are set.
/// Failure    nothing is reported: without a target, a lock, a renderer or memory there is less in the picture.
/// Threads    the frame thread only.
class KXC_API KxcPrimitiveTranslator
{
public:
    /// Makes a translator without renderer or target.
    /// @return null without memory; the caller deletes it
    static KxcPrimitiveTranslator* create();
    virtual ~KxcPrimitiveTranslator();
    KxcPrimitiveTranslator(const KxcPrimitiveTranslator&) = delete;
    KxcPrimitiveTranslator& operator=(const KxcPrimitiveTranslator&) = delete;

    void setRenderTarget(KxcGLSurface* target);                ///< null for none
    KxcGLSurface* getRenderTarget() const { return m_target; } ///< null at first
    void setRenderer(KxcPrimitiveDraw* renderer); ///< what rasterises; null draws nothing, but the core's has one
    /// Limits what is drawn on. @param clip  in pixels of the target; copied. Null for all of it
    void setClipRect(const KxcRectangle* clip);
    void setTransformation(const KxcMatrix3& matrix); ///< from user space to pixels; the identity at first
    /// How finely curves are divided. @param length  pixels that one straight piece should cover; 5 at first
    void setCurveSmoothLength(KxcFixed length);
    void setAntialiasing(KxcINT32 on); ///< 0: pixels are inside or not; smooth at first

    void setFillColor(KxcUINT32 color) { m_fill.setColor(color); } ///< 0x00RRGGBB

    /// @{
    /// Paints with a filler, which stays the caller's and must live while it is set.
    void setFillGradient(KxcPrimitiveDrawGradientFiller* filler)
    {
        m_fill.set(KXCPAINT_GRADIENT, filler, filler, nullptr);
    }
    void setFillImage(KxcPrimitiveDrawImageFiller* filler) { m_fill.set(KXCPAINT_IMAGE, filler, nullptr, nullptr); }
    void setFillPattern(KxcPrimitiveDrawPatternFiller* filler)
    {
        m_fill.set(KXCPAINT_PATTERN, filler, nullptr, filler);
    }
    /// @}
    void setFillOff() { m_fill.set(KXCPAINT_OFF, nullptr, nullptr, nullptr); } ///< draws no fill
    void setFillOpacity(KxcUINT8 opacity); ///< 255, as at first, is opaque; on top of the paint's own
    void setFillRule(KxcINT32 rule);       ///< a KXCFILLRULE_; any other draws no fill

    void setStrokeColor(KxcUINT32 color) { m_stroke.setColor(color); } ///< 0x00RRGGBB

    /// @{
    /// Paints with a filler, which stays the caller's and must live while it is set.
    void setStrokeGradient(KxcPrimitiveDrawGradientFiller* filler)
    {
        m_stroke.set(KXCPAINT_GRADIENT, filler, filler, nullptr);
    }
    void setStrokeImage(KxcPrimitiveDrawImageFiller* filler) { m_stroke.set(KXCPAINT_IMAGE, filler, nullptr, nullptr); }
    void setStrokePattern(KxcPrimitiveDrawPatternFiller* filler)
    {
        m_stroke.set(KXCPAINT_PATTERN, filler, nullptr, filler);
    }
    /// @}
    void setStrokeOff() { m_stroke.set(KXCPAINT_OFF, nullptr, nullptr, nullptr); } ///< draws no stroke
    void setStrokeOpacity(KxcUINT8 opacity); ///< 255, as at first, is opaque; on top of the paint's own
    void setStrokeWidth(KxcFixed width);     ///< in user space
    void setLineCap(KxcINT32 cap);           ///< a KXCLINECAP_
    void setLineJoin(KxcINT32 join);         ///< a KXCLINEJOIN_
    /// How pointed corners may be. @param limit  those whose miter would be longer than this many half widths are
    /// bevelled; 4 at first
    void setMiterLimit(KxcFixed limit);
    /// Cuts strokes into dashes.
    /// @param lengths  of dashes and gaps in turn, from the path's start through all subpaths; entries that are not
    ///                 positive are left out. Null, or a count below 1: no dashes. Copied
    void setDashArray(const KxcFixed* lengths, KxcINT32 count);
    void setDashOffset(KxcFixed offset); ///< where in the dash array the path starts

    // Path commands. Relative ones count from the current point. Between beginPath() and the first moveTo, the others
    // do nothing.

    void beginPath(); ///< forgets the path

    /// @{
    /// Begins a subpath at the point.
    void moveToAbsolute(const KxcVector2& p);
    void moveToAbsolute(KxcFixed x, KxcFixed y) { moveToAbsolute({x, y}); }
    void moveToRelative(const KxcVector2& p) { moveToAbsolute(fromCurrent(p)); }
    void moveToRelative(KxcFixed x, KxcFixed y) { moveToRelative({x, y}); }
    /// @}

    /// @{
    /// A straight line; horizontal and vertical ones keep the other coordinate.
    void lineToAbsolute(const KxcVector2& p);
    void lineToAbsolute(KxcFixed x, KxcFixed y) { lineToAbsolute({x, y}); }
    void lineToRelative(const KxcVector2& p) { lineToAbsolute(fromCurrent(p)); }
    void lineToRelative(KxcFixed x, KxcFixed y) { lineToRelative({x, y}); }
    void horizontalLineToAbsolute(KxcFixed x) { lineToAbsolute({x, m_current.y}); }
    void horizontalLineToRelative(KxcFixed x) { lineToRelative({x, KxcFixed(0)}); }
    void verticalLineToAbsolute(KxcFixed y) { lineToAbsolute({m_current.x, y}); }
    void verticalLineToRelative(KxcFixed y) { lineToRelative({KxcFixed(0), y}); }
    /// @}

    /// @{
    /// A cubic Bezier curve with two control points.
    void curveToAbsolute(const KxcVector2& c1, const KxcVector2& c2, const KxcVector2& p);
    void curveToAbsolute(KxcFixed x1, KxcFixed y1, KxcFixed x2, KxcFixed y2, KxcFixed x, KxcFixed y)
    {
        curveToAbsolute({x1, y1}, {x2, y2}, {x, y});
    }
    void curveToRelative(const KxcVector2& c1, const KxcVector2& c2, const KxcVector2& p)
    {
        curveToAbsolute(fromCurrent(c1), fromCurrent(c2), fromCurrent(p));
    }
    void curveToRelative(KxcFixed x1, KxcFixed y1, KxcFixed x2, KxcFixed y2, KxcFixed x, KxcFixed y)
    {
        curveToRelative({x1, y1}, {x2, y2}, {x, y});
    }
    /// @}

    /// @{
    /// The same, whose first control point mirrors the last one of the curve before.
    void smoothCurveToAbsolute(const KxcVector2& c2, const KxcVector2& p) { curveToAbsolute(mirrored(), c2, p); }
    void smoothCurveToAbsolute(KxcFixed x2, KxcFixed y2, KxcFixed x, KxcFixed y)
    {
        smoothCurveToAbsolute({x2, y2}, {x, y});
    }
    void smoothCurveToRelative(const KxcVector2& c2, const KxcVector2& p)
    {
        smoothCurveToAbsolute(fromCurrent(c2), fromCurrent(p));
    }
    void smoothCurveToRelative(KxcFixed x2, KxcFixed y2, KxcFixed x, KxcFixed y)
    {
        smoothCurveToRelative({x2, y2}, {x, y});
    }
    /// @}

    /// @{
    /// A quadratic Bezier curve with one control point.
    void quadraticCurveToAbsolute(const KxcVector2& c, const KxcVector2& p);
    void quadraticCurveToAbsolute(KxcFixed x1, KxcFixed y1, KxcFixed x, KxcFixed y)
    {
        quadraticCurveToAbsolute({x1, y1}, {x, y});
    }
    void quadraticCurveToRelative(const KxcVector2& c, const KxcVector2& p)
    {
        quadraticCurveToAbsolute(fromCurrent(c), fromCurrent(p));
    }
    void quadraticCurveToRelative(KxcFixed x1, KxcFixed y1, KxcFixed x, KxcFixed y)
    {
        quadraticCurveToRelative({x1, y1}, {x, y});
    }
    /// @}

    /// @{
    /// The same, whose control point mirrors that of the curve before.
    void smoothQuadraticCurveToAbsolute(const KxcVector2& p) { quadraticCurveToAbsolute(mirrored(), p); }
    void smoothQuadraticCurveToAbsolute(KxcFixed x, KxcFixed y) { smoothQuadraticCurveToAbsolute({x, y}); }
    void smoothQuadraticCurveToRelative(const KxcVector2& p) { smoothQuadraticCurveToAbsolute(fromCurrent(p)); }
    void smoothQuadraticCurveToRelative(KxcFixed x, KxcFixed y) { smoothQuadraticCurveToRelative({x, y}); }
    /// @}

    /// @{
    /// An arc of an ellipse; one that is too small to reach the point is enlarged. The radii are along the ellipse's
    /// own axes; with a radius of 0 it is a line.
    /// @param rotation  of the ellipse, in radians
    /// @param flags     KXCARC_ bits
    void ellipticalArcAbsolute(const KxcVector2& radii, KxcFixed rotation, KxcUINT32 flags, const KxcVector2& p);
    void ellipticalArcAbsolute(KxcFixed rx, KxcFixed ry, KxcFixed rotation, KxcUINT32 flags, KxcFixed x, KxcFixed y)
    {
        ellipticalArcAbsolute({rx, ry}, rotation, flags, {x, y});
    }
    void ellipticalArcRelative(const KxcVector2& radii, KxcFixed rotation, KxcUINT32 flags, const KxcVector2& p)
    {
        ellipticalArcAbsolute(radii, rotation, flags, fromCurrent(p));
    }
    void ellipticalArcRelative(KxcFixed rx, KxcFixed ry, KxcFixed rotation, KxcUINT32 flags, KxcFixed x, KxcFixed y)
    {
        ellipticalArcRelative({rx, ry}, rotation, flags, {x, y});
    }
    /// @}

    void closePath(); ///< a line back to where the subpath started; what follows starts there
    void endPath();   ///< fills the path, then strokes it

    /// Where the path is after a part of its length, for things that follow it.
    /// @param t  0 for its start to 1 for its end
    /// @param point, direction  either may be null; the direction is that of the piece of line there, with its length.
    ///                          An empty path leaves both as they are.
    void getEdgeInfo(KxcFixed t, KxcVector2* point, KxcVector2* direction);

private:
    /// What fills or strokes are painted with.
    struct Paint
    {
        KxcINT32 mode; // KXCPAINT_
        KxcUINT32 color;
        KxcPrimitiveDrawFiller* filler;                 // of modes 2 to 4
        KxcPrimitiveDrawGradientFiller* gradientFiller; // the same one, of mode 2
        KxcPrimitiveDrawPatternFiller* patternFiller;   // of mode 4

        void set(KxcINT32 newMode, KxcPrimitiveDrawFiller* any, KxcPrimitiveDrawGradientFiller* gradient,
                 KxcPrimitiveDrawPatternFiller* pattern)
        {
            mode = newMode;
            filler = any;
            gradientFiller = gradient;
            patternFiller = pattern;
        }
        void setColor(KxcUINT32 newColor)
        {
            set(KXCPAINT_COLOR, nullptr, nullptr, nullptr);
            color = newColor & 0xFFFFFF;
        }
    };
    enum EdgeFlag : KxcUINT8
    {
        kOpensSubpath = 1, // the first edge of one that is not closed: it gets a cap
        kEndsSubpath = 2,  // the last edge of one that is not closed
    };
    typedef KxcPrimitiveArray<KxcINT64>
        KxcPrimitiveTranslatorLengths;                               // 16.16, from the path's start to each edge's end
    typedef KxcPrimitiveArray<KxcUINT8> KxcPrimitiveTranslatorFlags; // EdgeFlag bits of each edge
    class Stroker;
    class Dasher;

    KxcPrimitiveTranslator();
    bool init();

    KxcVector2 fromCurrent(const KxcVector2& p) const { return {m_current.x + p.x, m_current.y + p.y}; }
    KxcVector2 mirrored() const
    {
        return {m_current.x + m_current.x - m_lastControl.x, m_current.y + m_current.y - m_lastControl.y};
    }
    bool canDraw() const { return m_movePending || m_points->getCount() > 0; }
    KxcINT64 deviceLength(const KxcVector2& from, const KxcVector2& to) const; // 16.16, in pixels
    KxcINT32 curveSegments(KxcINT64 length, KxcINT32 least, KxcINT32 most) const;
    KxcINT32 gridShift() const { return m_antialiasing ? 3 : 0; }

    bool setClipping(KxcINT32 width, KxcINT32 height);
    bool applyPaint(const Paint& paint, KxcINT32 opacity);
    void calculatePerceivedValues();
    void calculateFilling();
    void render(KxcINT32 rule, KxcUINT8* pixels, KxcINT32 pitch);

    void calculateStroking();
    void calculateEdgeLengths();
    bool createDash(KxcPrimitiveDrawPointSet* points, KxcPrimitiveDrawLineSet* lines,
                    KxcPrimitiveTranslatorLengths* lengths, KxcPrimitiveTranslatorFlags* flags);
    void strokeEdges(const KxcPrimitiveDrawPointSet& points, const KxcPrimitiveDrawLineSet& lines,
                     const KxcPrimitiveTranslatorFlags& flags);
    void createRoundingCircle();
    void addRoundingCircle(const KxcVector2& point);
    void addPolygonCircle(const KxcVector2& point);
    void resetCircleArray(KxcINT32 count);
    void deleteCircleArray();

    KxcRectangle m_clip;
    bool m_hasClip;
    KxcGLSurface* m_target;
    KxcPrimitiveDraw* m_renderer;
    KxcMatrix3 m_transformation;
    KxcINT64 m_rowLength[2]; // of its upper part, 16.16: what a unit becomes
    KxcFixed m_curveSmoothLength;
    Paint m_fill, m_stroke;
    KxcINT32 m_fillOpacity, m_strokeOpacity, m_fillRule;
    KxcFixed m_strokeWidth;
    KxcINT32 m_lineCap, m_lineJoin;
    KxcFixed m_perceivedWidth; // 0: the stroke is too thin to be seen
    KxcINT32 m_perceivedOpacity, m_perceivedJoin, m_perceivedCap;
    KxcFixed m_miterLimit;
    KxcPrimitiveArray<KxcFixed> m_dashes;
    KxcFixed m_dashOffset;

    KxcPrimitiveDrawPointSet* m_points; // owned: the path
    KxcPrimitiveDrawLineSet* m_lines;   // owned
    KxcPrimitiveTranslatorLengths m_lengths;
    KxcPrimitiveTranslatorFlags m_flags;
    KxcPrimitiveDrawPointSet* m_strokePoints;               // owned: the stroke's outline
    KxcPrimitiveDrawLineSet* m_strokeLines;                 // owned
    KxcPrimitiveDrawIndexedPrimitiveSet* m_strokeTriangles; // owned: the discs of round joins and caps

    bool m_movePending;
    KxcVector2 m_current, m_lastControl, m_subpathStart;
    KxcINT32 m_firstPoint, m_firstEdge; // of the subpath

    bool m_circleDirty, m_perceivedDirty;
    KxcPrimitiveDrawIndexedPrimitive *m_leftHalf, *m_rightHalf; // owned: a disc of half the stroke's width, or null
    KxcINT32 m_circleRadius;                                    // of it, in the grid
    bool m_circleIsRound;                                       // on the surface; else it is built like the stroke
    KxcPrimitiveDrawIndexedPrimitive* m_circles;                // owned: the instances that are placed
    KxcINT32 m_circleCapacity, m_circleCount;
    bool m_antialiasing;
};

/// Makes the rasteriser and the translator that KxcCore::getPrimitiveDraw() and getPrimitiveTranslator() answer, anew
/// where there are some. Called from a game's init function.
KXC_API void kxcUse2DVectorGraphics();
