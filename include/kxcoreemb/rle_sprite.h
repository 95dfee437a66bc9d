// rle_sprite.h - pictures with transparent areas and soft edges, kept as runs so that they draw fast.
#pragma once

#include <kxcoreemb/pixel_blender.h>
#include <kxcoreemb/surface.h>

/// A run-length-encoded copy of a part of a surface: what is transparent is skipped without a look, what is opaque is
/// copied in blocks, what repeats is stored once, and only translucent pixels are blended one by one.
///
/// Encoding   a row is a sequence of 16-bit words. A code word has a kind in its top two bits and a count of 0..16383
///            in the others, and the words that the list below tells follow it.
/// Memory     the encoding, and where it has short repetitions, as noise makes them, a second one without those, which
///            is drawn faster.
/// Masks      pixels are transparent where (pixel & mask) == (key & mask). The pixel and the key, 0xAARRGGBB, are
///            reduced to what a sprite keeps before: alpha to 0..32, the lowest three bits of colours to 0. The mask
///            0xFF000000 with key 0 makes transparent what has no alpha; 0x00FFFFFF with 0xFF00FF what is magenta.
/// Units      pixels. A sprite covers the smallest rectangle around what is not transparent; its offset tells where in
///            the surface that rectangle lay, so that a sprite drawn at (x, y) falls where the surface would.
/// Targets    55X5 surfaces are drawn on directly, others in the working formats of KxcPixelBlender. PALETTE8 surfaces
///            stay as they are.
/// Ownership  the caller deletes what create() returned.
/// Failure    create() returns null; a blit onto null, a locked surface, or one that refuses its lock draws nothing.
/// Threads    the frame thread only.
///
///   0x0000 + n   n transparent pixels: none. 0x0000 itself ends the row; what is left of it is transparent
///   0x4000 + n   n more pixels like the last one: none
///   0x8000 + n   n opaque pixels: n colours, 55X5 with bit 5 zero
///   0xC000 + n   n translucent pixels: n pairs of an alpha, 0..32, and a colour
class KXC_API KxcRLESprite
{
public:
    /// Encodes what a surface shows. Paletted surfaces are read through their palette.
    /// @return a sprite of size 0 when all is transparent; null when memory runs out or the surface cannot be locked
    static KxcRLESprite* create(KxcGLSurface* surface, KxcUINT32 mask, KxcUINT32 key);
    /// Takes over an encoding, for example from a file; everything is copied.
    /// @param lineTable   where each row starts: `height` indices into the data
    /// @param dataLength  in words
    /// @return null when memory runs out, or the encoding is none: a row that starts or ends outside the data, is wider
    ///         than the sprite, repeats before there is a pixel, or has an alpha above 32
    static KxcRLESprite* create(KxcINT32 width, KxcINT32 height, KxcINT32 xOffset, KxcINT32 yOffset,
                                const KxcINT32* lineTable, const KxcUINT16* data, KxcINT32 dataLength);
    ~KxcRLESprite();

    KxcRLESprite(const KxcRLESprite&) = delete;
    KxcRLESprite& operator=(const KxcRLESprite&) = delete;

    /// The smallest rectangle that holds all pixels that are not transparent; of size 0 when there are none. When the
    /// surface cannot be locked, all of it.
    static void getExtents(KxcGLSurface* surface, KxcRectangle* result, KxcUINT32 mask, KxcUINT32 key);
    /// Encodes one row of pixels.
    /// @param out     receives at most 3 x width + 1 words
    /// @param format  a KXCSURFACEFORMAT_ but PALETTE8, with its bytesPerPixel; the row need not be aligned
    /// @return the words written, with the one that ends the row
    static KxcINT32 compressLine(const KxcUINT8* row, KxcUINT16* out, KxcUINT32 mask, KxcUINT32 key, KxcUINT32 width,
                                 KxcINT32 format, KxcINT32 bytesPerPixel);
    /// Reads a pixel as a sprite keeps it: alpha 0..32 in bits 31..24, colours & 0xF8F8F8 below.
    static KxcUINT32 getSourceColor(const KxcUINT8* pixel, KxcINT32 format, KxcINT32 bytesPerPixel);

    KxcINT32 getWidth() const { return m_width; }              ///< of what is visible, in pixels
    KxcINT32 getHeight() const { return m_height; }            ///< likewise
    KxcINT32 getXOffset() const { return m_xOffset; }          ///< added to x where the sprite is drawn
    KxcINT32 getYOffset() const { return m_yOffset; }          ///< likewise, to y
    void setXOffset(KxcINT32 xOffset) { m_xOffset = xOffset; } ///< moves the sprite from where it is drawn
    void setYOffset(KxcINT32 yOffset) { m_yOffset = yOffset; } ///< likewise
    // The encoding was checked when the sprite was made, and is only read from then on.
    const KxcINT32* getLineTable() const { return m_lineTable; } ///< getHeight() indices into getData(), the sprite's
    const KxcUINT16* getData() const { return m_data; }          ///< the encoding, the sprite's
    KxcINT32 getDataLength() const { return m_dataLength; }      ///< in words

    /// Finds what a clip rectangle leaves of the sprite at (x, y).
    /// @param clip  in the target's pixels; null leaves everything
    /// @param firstColumn, endColumn, firstRow, endRow  receive the visible part of the sprite, without the ends
    /// @param left, top  receive where on the target the sprite's column and row 0 lie
    /// @return 0 when nothing is visible
    KxcINT32 initBlit(const KxcRectangle* clip, KxcINT32 y, KxcINT32 x, KxcINT32& firstColumn, KxcINT32& endColumn,
                      KxcINT32& left, KxcINT32& firstRow, KxcINT32& endRow, KxcINT32& top) const;

    // Drawing, within the clip rectangle and the target; a null clip is all of the target.

    /// Draws the sprite with its offset from (x, y).
    /// @param type, value  a KXCBLEND_ and its strength 0..255. Translucent pixels count by their alpha; KXCBLEND_NONE
    ///                     lays the sprite over the target, and so does KXCBLEND_ALPHA with 255
    void blit(KxcGLSurface* target, const KxcRectangle* clip, KxcINT32 x, KxcINT32 y, KxcINT32 type,
              KxcINT32 value) const;
    /// Lays the sprite over a 55X5 surface; other formats are left as they are.
    void blitFast55X5(KxcGLSurface* target, const KxcRectangle* clip, KxcINT32 x, KxcINT32 y) const;

    /// @{
    /// blit() with KXCBLEND_ADD, _MUL and _INVMUL. @param weight  0..32
    void blitAdditive(KxcGLSurface* target, const KxcRectangle* clip, KxcINT32 x, KxcINT32 y, KxcINT32 weight) const;
    void blitMultiplicative(KxcGLSurface* target, const KxcRectangle* clip, KxcINT32 x, KxcINT32 y,
                            KxcINT32 weight) const;
    void blitInverseMultiplicative(KxcGLSurface* target, const KxcRectangle* clip, KxcINT32 x, KxcINT32 y,
                                   KxcINT32 weight) const;
    /// @}

    /// blit() onto any format but PALETTE8; on 55X5 surfaces it gives the same by a longer way.
    void blitGeneric(KxcGLSurface* target, const KxcRectangle* clip, KxcINT32 x, KxcINT32 y, KxcINT32 type,
                     KxcUINT32 value) const;

private:
    KxcRLESprite();
    KxcINT32 init(KxcINT32 width, KxcINT32 height, KxcINT32 xOffset, KxcINT32 yOffset, KxcINT32 dataLength);
    void unfold();

    KxcINT32 m_width, m_height, m_xOffset, m_yOffset;
    KxcINT32* m_lineTable; // owned, as is the data
    KxcUINT16* m_data;
    KxcINT32 m_dataLength;
    KxcINT32* m_laidLines; // owned where they are not the two above: the encoding that blitFast55X5() draws
    KxcUINT16* m_laidData;
};
