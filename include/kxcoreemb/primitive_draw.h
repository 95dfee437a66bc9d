// primitive_draw.h - the scanline rasteriser: fills polygons, smooth or not, on surfaces of every format but PALETTE8.
#pragma once

#include <kxcoreemb/primitive_fillers.h>
#include <kxcoreemb/primitive_sets.h>

class KxcPrimitiveDrawEdgeSet;
struct KxcPrimitiveRow;

/// Fills polygons made of point and edge sets into a locked surface.
///
/// Use        addPolygon() and addIndexedSet(), any number of them, then one of the render calls, which fills
///            everything that was added together and forgets it. KxcPrimitiveTranslator does that for paths.
/// Grid       pixels for renderEvenOdd() and renderNonZero(), which test the centres of rows; eighths of pixels in both
///            directions for renderEvenOddAA() and renderNonZeroAA(), which count 8 x 8 samples for each pixel.
/// Clipping   the clipping rectangle is in grid units and inclusive. Nothing is ever written outside of the surface.
/// Failure    edges that find no memory are left out; a surface that needs more memory than there is stays as it is.
/// Threads    the frame thread only.
class KXC_API KxcPrimitiveDraw
{
public:
    /// Makes a rasteriser without edges.
    /// @param width, height              of the grid to begin with; it grows with the surfaces
    /// @param lineEdges, indexedEdges    how many edges to have room for; there will be room for more
    /// @return null without memory; the caller deletes it
    static KxcPrimitiveDraw* create(KxcINT32 width, KxcINT32 height, KxcINT32 lineEdges, KxcINT32 indexedEdges);
    virtual ~KxcPrimitiveDraw();
    KxcPrimitiveDraw(const KxcPrimitiveDraw&) = delete;
    KxcPrimitiveDraw& operator=(const KxcPrimitiveDraw&) = delete;

    /// Makes room for a grid of this size; it never shrinks. A far edge of the clipping rectangle that lay on the old
    /// border moves to the new one.
    /// @return 0 without memory: that dimension is 0 then, and nothing can be drawn before a resize succeeds
    KxcINT32 resize(KxcINT32 width, KxcINT32 height);
    /// The rectangle from (x1, y1) to (x2, y2), both included; it is clamped to the grid.
    void setClippingRect(KxcINT32 x1, KxcINT32 y1, KxcINT32 x2, KxcINT32 y2);

    void setColor(KxcUINT32 color);                 ///< 0x00RRGGBB; replaces a filler
    void setOpacity(KxcUINT8 opacity);              ///< 255 at first
    void setFiller(KxcPrimitiveDrawFiller* filler); ///< stays the caller's; null goes back to the colour

    /// @{
    /// Adds edges, clipped to the rectangle that is set now. The points must have been scaled.
    void addPolygon(const KxcPrimitiveDrawPointSet* points, const KxcPrimitiveDrawLineSet* lines);
    void addIndexedSet(const KxcPrimitiveDrawIndexedPrimitiveSet* primitives);
    /// @}

    /// @{
    /// Fills what was added, by the even-odd or the non-zero rule, smooth (AA) or not.
    /// @param pixels, width, height, pitch  a surface's: the size in pixels, the pitch in bytes
    /// @param format                        a KXCSURFACEFORMAT_
    void renderEvenOdd(KxcUINT8* pixels, KxcINT32 width, KxcINT32 height, KxcINT32 pitch, KxcINT32 format);
    void renderNonZero(KxcUINT8* pixels, KxcINT32 width, KxcINT32 height, KxcINT32 pitch, KxcINT32 format);
    void renderEvenOddAA(KxcUINT8* pixels, KxcINT32 width, KxcINT32 height, KxcINT32 pitch, KxcINT32 format);
    void renderNonZeroAA(KxcUINT8* pixels, KxcINT32 width, KxcINT32 height, KxcINT32 pitch, KxcINT32 format);
    /// @}

    /// Writes the spans of the current row into a row of pixels.
    typedef void (KxcPrimitiveDraw::*BlitFunction)(KxcUINT8* row, KxcINT32 y);
    /// What the render calls use for a format, with the colour, opacity and filler that are set.
    /// @return null when nothing would be drawn
    BlitFunction getBlitFunction(KxcINT32 format) const;

private:
    friend struct KxcPrimitiveRaster;

    KxcPrimitiveDraw();
    template <class Blit>
    void blitSpans(const Blit& blit);

    void blitSpan16(KxcUINT8* row, KxcINT32 y);
    void blitSpan16Alpha(KxcUINT8* row, KxcINT32 y);
    void blitSpan16Filled(KxcUINT8* row, KxcINT32 y);
    void blitSpan32Alpha(KxcUINT8* row, KxcINT32 y);
    void blitSpan32Filled(KxcUINT8* row, KxcINT32 y);
    void blitSpan32ARGBAlpha(KxcUINT8* row, KxcINT32 y);
    void blitSpan32ARGBFilled(KxcUINT8* row, KxcINT32 y);
    void blitSpanGenericAlpha(KxcUINT8* row, KxcINT32 y);
    void blitSpanGenericFilled(KxcUINT8* row, KxcINT32 y);

    KxcPrimitiveRow* m_row;           // owned: coverage of the row in work
    KxcPrimitiveDrawEdgeSet* m_edges; // owned
    KxcINT32 m_width, m_height;       // of the grid
    KxcINT32 m_clipX1, m_clipY1, m_clipX2, m_clipY2;
    KxcPrimitiveDrawFiller* m_filler;
    KxcUINT32 m_color;               // 0xFFRRGGBB
    KxcUINT32 m_color16;             // 55X5
    KxcUINT32 m_opacity, m_opacity5; // 0..255, 0..32
    KxcINT32 m_format, m_pitch;      // of the surface in work
    KxcINT32 m_rows;                 // how many rows the blitters write alike
};
