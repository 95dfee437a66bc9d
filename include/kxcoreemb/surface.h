// surface.h - pictures in memory: opening their pixels, filling them, lines, and drawing one onto another.
#pragma once

#include <kxcoreemb/base.h>
#include <kxcoreemb/fixed.h>
#include <kxcoreemb/pixel_blender.h>
#include <kxcoreemb/pixel_converter.h>

struct KxcBlit;
struct KxcGLSurfaceDescriptor;

/// What lock() is asked for.
enum KXCLOCK : KxcINT32
{
    KXCLOCK_DISCARD = 0x100, ///< the old pixels are not wanted: all are about to be written
    KXCLOCK_READONLY = 0x200 ///< nothing is written back
};

/// How drawImageTransform() turns the source: mirrors, and one rotation.
enum KXCTRANSFORM : KxcUINT32
{
    KXCTRANSFORM_MIRRORX = 1,    ///< left and right change places
    KXCTRANSFORM_MIRRORY = 2,    ///< top and bottom change places
    KXCTRANSFORM_ROTATE90 = 4,   ///< counter-clockwise: the source's right-hand column becomes the top row
    KXCTRANSFORM_ROTATE180 = 8,  ///< the same as both mirrors
    KXCTRANSFORM_ROTATE270 = 12, ///< three quarter turns counter-clockwise
};

/// A picture in memory: width x height pixels of one format, drawn on in place.
///
/// Units      pixels, origin at the top left, y growing downwards; a pitch is in bytes. Rows follow each other without
///            gaps; a PALETTE8 store begins with its 512-byte palette.
/// Colours    0xAARRGGBB, except that colour keys and anti-aliased lines take 0x00RRGGBB.
/// Ownership  the caller deletes what create() returned; the pixels go with it.
/// Failure    create() returns null when memory runs out; drawing outside, or on a locked surface, changes nothing.
/// Threads    the frame thread only.
class KXC_API KxcGLSurface
{
public:
    /// Makes a surface.
    /// @param width, height  1 or more; a surface of more than 2^31 - 1 bytes is refused
    /// @param format  a KXCSURFACEFORMAT_ value; 0 stands for KXCSURFACEFORMAT_55X5
    /// @return null when an argument is refused or memory runs out; the pixels are undefined until something draws them
    static KxcGLSurface* create(KxcINT32 width, KxcINT32 height, KxcINT32 format);
    virtual ~KxcGLSurface();

    /// Opens the pixels for reading and writing until unlock().
    /// @param pixels  receives the first row, or null when the lock is refused
    /// @param format  0 for the surface's own; any other works on a converted copy that unlock() writes back. A
    ///                paletted surface opens only as what it is, and no other opens as paletted
    /// @param flags   KXCLOCK_ bits
    /// @return bytes from one row to the next; 0 when already locked, refused or out of memory
    virtual KxcINT32 lock(void** pixels, KxcINT32 format, KxcINT32 flags);
    virtual void unlock(); ///< ends what lock() began; harmless without it

    KxcGLSurface(const KxcGLSurface&) = delete;
    KxcGLSurface& operator=(const KxcGLSurface&) = delete;

    KxcINT32 getWidth() const;  ///< in pixels
    KxcINT32 getHeight() const; ///< likewise
    KxcINT32 getFormat() const; ///< a KXCSURFACEFORMAT_ value, never 0

    /// Pixels of this colour are not drawn onto other surfaces while the key is enabled. The key is converted to the
    /// surface's format before it is compared.
    void setColorKey(KxcINT32 color);
    KxcINT32 getColorKey() const;         ///< as it was set; 0 at first
    void enableColorKey(KxcINT32 enable); ///< 1 lets the key count, 0 (as at first) does not

    /// Sets every pixel to the colour, without blending. Paletted surfaces are left as they are, here and below.
    void clear(KxcUINT32 color);
    /// Fills the part of the rectangle that lies on the surface, blended by the colour's alpha.
    void drawFilledRect(KxcINT32 x, KxcINT32 y, KxcINT32 width, KxcINT32 height, KxcUINT32 color);
    /// Draws a line one pixel thick (by Bresenham's method), both ends included, blended by the colour's alpha.
    void drawLine(KxcFixed x1, KxcFixed y1, KxcFixed x2, KxcFixed y2, KxcUINT32 color);
    /// Draws a smooth line; only on 55X5 surfaces. @param color  0x00RRGGBB
    void drawAALine(KxcFixed x1, KxcFixed y1, KxcFixed x2, KxcFixed y2, KxcUINT32 color);

    // --- drawing an image, in four families: as it is, blended, transformed, both ---

    /// @{
    /// Draws an image as it is. Pixels that equal the source's enabled colour key leave the target as it is; what is
    /// translucent by the source's alpha is laid over it.
    ///
    /// - source: another surface; drawn onto itself a surface stays as it is
    /// - x, y: where the top left corner goes; 0, 0 when not given
    /// - rect: the part of the source to draw, clipped to it; all of it when not given
    /// - width, height: the size to scale to, by nearest neighbour; without them the part keeps its size, and with the
    ///   width alone the height keeps the proportions of the whole source surface
    void drawImage(KxcGLSurface* source);
    void drawImage(KxcGLSurface* source, KxcINT32 x, KxcINT32 y);
    void drawImage(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 width);
    void drawImage(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 width, KxcINT32 height);
    void drawImage(KxcGLSurface* source, const KxcRectangle& rect);
    void drawImage(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect);
    void drawImage(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 width);
    void drawImage(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 width,
                   KxcINT32 height);
    /// @}

    /// @{
    /// drawImage() with blending, which takes place in the working formats that KxcPixelBlender::getBlendingFormat()
    /// names.
    ///
    /// - type, value: a KXCBLEND_ and its strength 0..255
    void drawImageBlend(KxcGLSurface* source, KxcINT32 type, KxcINT32 value);
    void drawImageBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 type, KxcINT32 value);
    void drawImageBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 width, KxcINT32 type, KxcINT32 value);
    void drawImageBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 width, KxcINT32 height, KxcINT32 type,
                        KxcINT32 value);
    void drawImageBlend(KxcGLSurface* source, const KxcRectangle& rect, KxcINT32 type, KxcINT32 value);
    void drawImageBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 type,
                        KxcINT32 value);
    void drawImageBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 width,
                        KxcINT32 type, KxcINT32 value);
    void drawImageBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 width,
                        KxcINT32 height, KxcINT32 type, KxcINT32 value);
    /// @}

    /// @{
    /// drawImage() of the source mirrored or turned.
    ///
    /// - flags: KXCTRANSFORM_ bits
    void drawImageTransform(KxcGLSurface* source, KxcUINT32 flags);
    void drawImageTransform(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcUINT32 flags);
    void drawImageTransform(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 width, KxcUINT32 flags);
    void drawImageTransform(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 width, KxcINT32 height,
                            KxcUINT32 flags);
    void drawImageTransform(KxcGLSurface* source, const KxcRectangle& rect, KxcUINT32 flags);
    void drawImageTransform(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcUINT32 flags);
    void drawImageTransform(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 width,
                            KxcUINT32 flags);
    void drawImageTransform(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 width,
                            KxcINT32 height, KxcUINT32 flags);
    /// @}

    /// @{
    /// drawImage() of the source mirrored or turned, with blending: both as above.
    void drawImageTransformBlend(KxcGLSurface* source, KxcINT32 type, KxcINT32 value, KxcUINT32 flags);
    void drawImageTransformBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 type, KxcINT32 value,
                                 KxcUINT32 flags);
    void drawImageTransformBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 width, KxcINT32 type,
                                 KxcINT32 value, KxcUINT32 flags);
    void drawImageTransformBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, KxcINT32 width, KxcINT32 height,
                                 KxcINT32 type, KxcINT32 value, KxcUINT32 flags);
    void drawImageTransformBlend(KxcGLSurface* source, const KxcRectangle& rect, KxcINT32 type, KxcINT32 value,
                                 KxcUINT32 flags);
    void drawImageTransformBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 type,
                                 KxcINT32 value, KxcUINT32 flags);
    void drawImageTransformBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 width,
                                 KxcINT32 type, KxcINT32 value, KxcUINT32 flags);
    void drawImageTransformBlend(KxcGLSurface* source, KxcINT32 x, KxcINT32 y, const KxcRectangle& rect, KxcINT32 width,
                                 KxcINT32 height, KxcINT32 type, KxcINT32 value, KxcUINT32 flags);
    /// @}

protected:
    KxcGLSurface(); ///< create() is the only way in; derived classes fill m_surface in theirs
    KxcINT32 init(KxcINT32 width, KxcINT32 height, KxcINT32 format);

    // What brackets the drawing operations. Locks are in the surfaces' own formats; both answer 0 when a surface is
    // already locked or refuses.
    KxcINT32 lockForDraw();
    void unlockForDraw();
    KxcINT32 lockForBlit(KxcGLSurface* source); ///< this surface, then the source
    void unlockForBlit(KxcGLSurface* source);

    KxcGLSurfaceDescriptor* m_surface; ///< owned

private:
    friend struct KxcGLSurfaceDescriptor;
    void blit(KxcGLSurface* source, const KxcBlit& blit); ///< all of the drawImage family
};
