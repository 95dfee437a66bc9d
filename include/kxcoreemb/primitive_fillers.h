// primitive_fillers.h - what vector shapes are painted with, other than one colour: gradients, images, patterns.
#pragma once

#include <kxcoreemb/fixed.h>
#include <kxcoreemb/surface.h>

struct KxcScaledTransform;

/// Supplies the colour of every pixel of a shape. While a shape is drawn the rasteriser calls initFill(), fill() for
/// each run of pixels, and deinitFill().
///
/// Colours    PREMUL8888.
/// Ownership  fillers belong to who made them; rasteriser and translator only point to them.
class KXC_API KxcPrimitiveDrawFiller
{
public:
    virtual void initFill() = 0;   ///< before the first fill() of a shape
    virtual void deinitFill() = 0; ///< after the last one
    /// Writes the colours of the pixels xStart to xEnd - 1 of row y to buffer[xStart] and on.
    virtual void fill(KxcINT32 xStart, KxcINT32 xEnd, KxcINT32 y, KxcUINT32* buffer) = 0;
    virtual ~KxcPrimitiveDrawFiller();
};

/// How a gradient goes on beyond its first and last stop.
enum KXCSPREAD : KxcINT32
{
    KXCSPREAD_PAD = 0,     ///< the end's colour
    KXCSPREAD_REFLECT = 1, ///< back and forth
    KXCSPREAD_REPEAT = 2,  ///< again from the start
};

/// What linear and radial gradients share: stops, spread, transformations.
///
/// A gradient is placed by its base, in user space; the gradient transformation is applied to that, then the path's
/// transformation, which the translator sets. Colours are taken at the centres of pixels.
///
/// Ownership  the caller deletes what create() of a derived class returned.
/// Threads    the frame thread only.
class KXC_API KxcPrimitiveDrawGradientFiller : public KxcPrimitiveDrawFiller
{
public:
    ~KxcPrimitiveDrawGradientFiller() override;
    void initFill() override;
    void deinitFill() override;

    /// Adds a stop behind all whose offset is not greater. Without memory the stop is left out.
    /// @param offset  clamped to 0..1
    /// @param color   0xAARRGGBB, not premultiplied
    virtual void addGradientStop(KxcFixed offset, KxcUINT32 color);
    virtual void resetGradient();                             ///< removes all stops: what has none is transparent
    virtual void setSpreadMethod(KxcINT32 method);            ///< a KXCSPREAD_; KXCSPREAD_PAD at first
    virtual void setTransformation(const KxcMatrix3& matrix); ///< the path's, which the translator sets
    /// Applied before the path's; the identity at first.
    virtual void setGradientTransformation(const KxcMatrix3& matrix);

    KxcPrimitiveDrawGradientFiller(const KxcPrimitiveDrawGradientFiller&) = delete;
    KxcPrimitiveDrawGradientFiller& operator=(const KxcPrimitiveDrawGradientFiller&) = delete;

protected:
    static constexpr KxcINT32 kColors = 256; ///< entries of the colour table; as many again mirror them

    struct Stop
    {
        Stop* next;
        KxcFixed offset;
        KxcUINT32 color;
    };
    struct StopBlock; ///< ten stops

    KxcPrimitiveDrawGradientFiller();
    virtual void initGradient(); ///< makes anew what has changed
    virtual bool increaseStopNodeStorage();
    virtual void calculateGradientData();
    virtual void calculateGradientTransformation() = 0;
    /// The way from pixels to the gradient's base frame. @return false when there is none
    bool invertTransformation(KxcScaledTransform& inverse) const;
    void setBase(const KxcVector2& origin, const KxcVector2& axis, const KxcVector2& across);
    void lookUp(KxcUINT32* colors, KxcINT32 count) const; ///< turns positions of 24 fraction bits into colours

    Stop *m_stops, *m_freeStops;
    StopBlock* m_stopBlocks; ///< owned: the memory of all stops
    KxcUINT32 m_colors[2 * kColors];
    KxcMatrix3 m_base; ///< rows: the axis from 0 to 1, the axis across it, the origin
    KxcMatrix3 m_transformation, m_gradientTransformation;
    KxcINT32 m_spread;
    bool m_transformationDirty, m_colorsDirty;
};

/// Colours along a line.
class KXC_API KxcPrimitiveDrawLinearGradientFiller : public KxcPrimitiveDrawGradientFiller
{
public:
    /// The first stop's colour at `start`, the last one's at `end`. Where both are the same, all is the last colour.
    /// @return null without memory
    static KxcPrimitiveDrawLinearGradientFiller* create(const KxcVector2& start, const KxcVector2& end);
    void fill(KxcINT32 xStart, KxcINT32 xEnd, KxcINT32 y, KxcUINT32* buffer) override;
    virtual void setGradientBase(const KxcVector2& start, const KxcVector2& end); ///< as in create()

protected:
    KxcPrimitiveDrawLinearGradientFiller() = default;
    void calculateGradientTransformation() override;

private:
    KxcINT64 m_origin = 0, m_stepX = 0,
             m_stepY = 0; // t with 24 fraction bits: in pixel (0, 0), and from pixel to pixel
};

/// Colours from a focus to a circle around it.
class KXC_API KxcPrimitiveDrawRadialGradientFiller : public KxcPrimitiveDrawGradientFiller
{
public:
    /// The first stop's colour at the focus, the last one's on the circle.
    /// @param focus   one outside of the circle is moved onto it
    /// @param radius  at least 0.0001
    /// @return null without memory
    static KxcPrimitiveDrawRadialGradientFiller* create(const KxcVector2& centre, const KxcVector2& focus,
                                                        KxcFixed radius);
    void fill(KxcINT32 xStart, KxcINT32 xEnd, KxcINT32 y, KxcUINT32* buffer) override;
    /// As in create().
    virtual void setGradientBase(const KxcVector2& centre, const KxcVector2& focus, KxcFixed radius);

protected:
    KxcPrimitiveDrawRadialGradientFiller() = default;
    void calculateGradientTransformation() override;

private:
    // Positions in the gradient's unit frame, with 24 fraction bits: of pixel (0, 0), and from pixel to pixel.
    KxcINT64 m_originX = 0, m_originY = 0;
    KxcINT64 m_stepXX = 0, m_stepXY = 0, m_stepYX = 0, m_stepYY = 0; // a pixel to the right adds (XX, XY)
    KxcVector2 m_focus = {0, 0};     // from the centre, in units of the radius: less than 1 away
    KxcINT32 m_outside = 1 << 16;    // 1 - |focus|^2, 16.16
    KxcINT32 m_perOutside = 1 << 16; // its reciprocal
};

/// An image in a fixed place of the surface, neither scaled nor turned; what lies outside of it is transparent.
///
/// Ownership  the caller deletes what create() returned, and keeps the image.
/// Threads    the frame thread only.
class KXC_API KxcPrimitiveDrawImageFiller : public KxcPrimitiveDrawFiller
{
public:
    /// An image whose top left pixel lies at (x, y) of the surface.
    /// @param image  stays the caller's, and must not be the surface that is drawn on; null paints nothing
    /// @return null without memory
    static KxcPrimitiveDrawImageFiller* create(KxcGLSurface* image, KxcINT32 x, KxcINT32 y);
    void initFill() override;
    void deinitFill() override;
    void fill(KxcINT32 xStart, KxcINT32 xEnd, KxcINT32 y, KxcUINT32* buffer) override;
    virtual void setImage(KxcGLSurface* image);         ///< as in create()
    virtual void setFillOffset(KxcINT32 x, KxcINT32 y); ///< where the image's top left pixel lies on the surface

protected:
    KxcPrimitiveDrawImageFiller() = default;

private:
    KxcGLSurface* m_image = nullptr;
    KxcINT32 m_x = 0, m_y = 0;
    KxcUINT8* m_pixels = nullptr; // while it is locked
    KxcINT32 m_width = 0, m_height = 0, m_format = 0, m_pitch = 0;
};

/// A piece of an image that repeats itself in all directions, and can be transformed.
///
/// The pattern transformation is applied to the tile, then the path's transformation, which the translator sets. Pixels
/// between the tile's are interpolated; a tile that shrinks below half its size is averaged beforehand.
///
/// Ownership  the caller deletes what create() returned, and keeps the source.
/// Threads    the frame thread only.
class KXC_API KxcPrimitiveDrawPatternFiller : public KxcPrimitiveDrawFiller
{
public:
    /// A piece of a picture, repeated from the origin of user space.
    /// @param source  stays the caller's, and is read when a shape is drawn after setPattern()
    /// @param tile    the piece of it; parts outside of the source are transparent
    /// @return null without memory
    static KxcPrimitiveDrawPatternFiller* create(KxcGLSurface* source, const KxcRectangle& tile);
    ~KxcPrimitiveDrawPatternFiller() override;
    void initFill() override;
    void deinitFill() override;
    void fill(KxcINT32 xStart, KxcINT32 xEnd, KxcINT32 y, KxcUINT32* buffer) override;
    /// As in create(); also tells that the source has changed.
    virtual void setPattern(KxcGLSurface* source, const KxcRectangle& tile);
    /// Applied before the path's; the identity at first.
    virtual void setPatternTransformation(const KxcMatrix3& matrix);
    virtual void setTransformation(const KxcMatrix3& matrix); ///< the path's, which the translator sets

    KxcPrimitiveDrawPatternFiller(const KxcPrimitiveDrawPatternFiller&) = delete;
    KxcPrimitiveDrawPatternFiller& operator=(const KxcPrimitiveDrawPatternFiller&) = delete;

protected:
    KxcPrimitiveDrawPatternFiller();
    virtual void updateTransformation();
    virtual void updatePatternImage();

private:
    KxcGLSurface* m_source = nullptr;
    KxcRectangle m_tile = {0, 0, 0, 0};
    KxcMatrix3 m_transformation, m_patternTransformation;
    bool m_transformationDirty = true, m_patternDirty = true;
    KxcGLSurface* m_pattern = nullptr;   // owned: the tile, reduced
    KxcINT32 m_width = 0, m_height = 0;  // what the tile is reduced to
    const KxcUINT32* m_pixels = nullptr; // while it is locked
    // Positions in it, with 32 fraction bits: of pixel (0, 0), and what a pixel to the right and a row down add.
    KxcINT64 m_originU = 0, m_originV = 0;
    KxcINT64 m_stepUX = 0, m_stepUY = 0, m_stepVX = 0, m_stepVY = 0;
};
