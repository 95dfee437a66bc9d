// rle_sprite.cpp - draws sprites: laid over 55X5 by a kernel, blended and onto other formats run by run.

#include <kxcoreemb/rle_sprite.h>

#include "surfaces/picture_kernels.h"
#include "surfaces/pixel_format.h"
#include "surfaces/pixel_kernels.h"
#include "surfaces/rle_runs.h"
#include "surfaces/surface_descriptor.h"

namespace
{

using Kernels = KxcPixelKernels;

/// Which function of a pair's table draws a type; those with a strength of their own draw as the others at that.
struct Blend
{
    INT32 type;
    UINT32 value;

    Blend(INT32 anyType, INT32 anyValue, INT32 workSource, INT32 workTarget)
        : type(anyType < 0 || anyType >= KXCBLEND_COUNT ? INT32{KXCBLEND_NONE} : anyType),
          value(KxcPixelBlender::getBlendValue(workSource, workTarget, type, anyValue))
    {
    }
};

/// Blends runs onto 55X5 pixels.
class Painter55X5
{
public:
    Painter55X5(INT32 type, INT32 value) : m_blend(type, value, KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_55X5)
    {
        static constexpr Kernels::ExtraRun kRuns[] = {Kernels::kAlphaRun, Kernels::kMulRun, Kernels::kAddRun,
                                                      Kernels::kInvmulRun};
        const Kernels& k = kxcPixelKernels();
        const INT32 kind = m_blend.type == KXCBLEND_NONE ? 0 : (m_blend.type - 1) / 2;
        // What is always the same: half for KXCBLEND_ALPHAFAST, all for NONE and the other fast types.
        if (m_blend.type % 2 == 0)
            m_blend.value = m_blend.type == KXCBLEND_ALPHAFAST ? 16 : 32;
        m_opaque = k.blend55X5[m_blend.type];
        m_translucent = k.blendRunXA55X5[kRuns[kind]];
        m_repeat = k.blendColorRun55X5[kRuns[kind]];
    }

    void opaque(void* target, const UINT16* colors, INT32 count) const
    {
        m_opaque(kxcPixelRow(target, colors, count, m_blend.value));
    }
    void translucent(void* target, const UINT16* pairs, INT32 count) const
    {
        m_translucent(const_cast<UINT16*>(pairs), target, m_blend.value, count);
    }
    void repeat(void* target, UINT32 color, UINT32 alpha, INT32 count) const
    {
        m_repeat(color, target, (alpha * m_blend.value) >> 5, count);
    }

private:
    Blend m_blend;
    Kernels::Kernel m_opaque;
    KxcPixelBlender::BufferBlendingFunction m_translucent;
    Kernels::ColorRun m_repeat;
};

constexpr INT32 kChunk = 128; // pixels that go through a buffer at once

/// Blends runs onto pixels of a format that blends with premultiplied sources.
class Painter8888
{
public:
    Painter8888(INT32 type, INT32 value, INT32 workTarget)
        : m_blend(type, value, KXCSURFACEFORMAT_PREMUL8888, workTarget),
          m_convert(kxcPixelKernels().convert[KXCSURFACEFORMAT_55X5][KXCSURFACEFORMAT_PREMUL8888]),
          m_run(KxcPixelBlender::getBufferBlendingFunction(KXCSURFACEFORMAT_PREMUL8888, workTarget, m_blend.type))
    {
    }

    // Not more than kChunk pixels at once.
    void opaque(void* target, const UINT16* colors, INT32 count) const
    {
        UINT32 source[kChunk];
        m_convert(kxcPixelRow(source, colors, count));
        m_run(source, target, m_blend.value, count);
    }
    void translucent(void* target, const UINT16* pairs, INT32 count) const
    {
        UINT32 source[kChunk];
        for (INT32 i = 0; i < count; ++i)
            source[i] = premultiplied(pairs[2 * i + 1], pairs[2 * i]);
        m_run(source, target, m_blend.value, count);
    }
    void repeat(void* target, UINT32 color, UINT32 alpha, INT32 count) const
    {
        UINT32 source[kChunk];
        for (INT32 i = 0; i < count; ++i)
            source[i] = premultiplied(color, alpha);
        m_run(source, target, m_blend.value, count);
    }

private:
    static UINT32 premultiplied(UINT32 color, UINT32 alpha)
    {
        const UINT32 alpha8 = (alpha * 255 + 16) >> 5; // 0..32 as 0..255, to the nearest
        return premultiply((convertPixel<KXCSURFACEFORMAT_55X5, KXCSURFACEFORMAT_X888>(color)) | alpha8 << 24);
    }

    Blend m_blend;
    Kernels::Kernel m_convert;
    KxcPixelBlender::BufferBlendingFunction m_run;
};

/// Cuts runs into chunks, and lets a painter work on them where they are or in a buffer of its own format.
template <class Painter>
class RowPainter
{
public:
    RowPainter(const Painter& painter, INT32 targetFormat, INT32 workFormat)
        : m_painter(painter),
          m_bytes(static_cast<ptrdiff_t>(kxcSurfaceFormats[targetFormat].bytesPerPixel))
    {
        if (targetFormat == workFormat)
            return;
        m_toWork = kxcPixelKernels().convert[targetFormat][workFormat];
        m_toTarget = kxcPixelKernels().convert[workFormat][targetFormat];
    }
    void setRow(UINT8* pixels) { m_row = pixels; }

    void opaque(INT32 x, const UINT16* colors, INT32 count)
    {
        inChunks(x, count, [=](void* target, INT32 from, INT32 n) { m_painter.opaque(target, colors + from, n); });
    }
    void translucent(INT32 x, const UINT16* pairs, INT32 count)
    {
        inChunks(x, count,
                 [=](void* target, INT32 from, INT32 n) { m_painter.translucent(target, pairs + 2 * from, n); });
    }
    void repeat(INT32 x, UINT32 color, UINT32 alpha, INT32 count)
    {
        inChunks(x, count, [=](void* target, INT32, INT32 n) { m_painter.repeat(target, color, alpha, n); });
    }

private:
    template <class Paint>
    void inChunks(INT32 x, INT32 count, Paint paint)
    {
        for (INT32 from = 0; from < count; from += kChunk)
        {
            void* const target = m_row + (x + from) * m_bytes;
            const INT32 n = count - from < kChunk ? count - from : kChunk;
            if (m_toWork == nullptr)
            {
                paint(target, from, n);
                continue;
            }
            UINT32 work[kChunk];
            m_toWork(kxcPixelRow(work, target, n));
            paint(work, from, n);
            m_toTarget(kxcPixelRow(target, work, n));
        }
    }

    const Painter& m_painter;
    ptrdiff_t m_bytes;
    Kernels::Kernel m_toWork = nullptr, m_toTarget = nullptr;
    UINT8* m_row = nullptr;
};

/// A locked target, and what of the sprite is visible on it.
class Canvas
{
public:
    Canvas(const KxcRLESprite& sprite, KxcGLSurface* target, const KxcRectangle* clip, INT32 x, INT32 y)
        : m_sprite(sprite),
          m_target(target)
    {
        if (target == nullptr || target->getFormat() == KXCSURFACEFORMAT_PALETTE8)
            return;
        const INT64 width = target->getWidth(), height = target->getHeight();
        KxcRectangle part = {0, 0, target->getWidth(), target->getHeight()};
        if (clip != nullptr)
        {
            const INT64 left = clip->x > 0 ? clip->x : 0, top = clip->y > 0 ? clip->y : 0;
            const INT64 right = INT64{clip->x} + clip->width, bottom = INT64{clip->y} + clip->height;
            part = {static_cast<INT32>(left), static_cast<INT32>(top),
                    static_cast<INT32>((right < width ? right : width) - left),
                    static_cast<INT32>((bottom < height ? bottom : height) - top)};
        }
        if (!sprite.initBlit(&part, y, x, firstColumn, endColumn, m_left, firstRow, endRow, m_top))
            return;
        void* pixels = nullptr;
        m_pitch = target->lock(&pixels, target->getFormat(), 0);
        m_pixels = static_cast<UINT8*>(pixels);
    }
    ~Canvas()
    {
        if (m_pixels != nullptr)
            m_target->unlock();
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    explicit operator bool() const { return m_pixels != nullptr; }
    INT32 format() const { return m_target->getFormat(); }

    /// Lays the sprite over 55X5 pixels.
    void lay(const UINT16* data, const INT32* lines) const
    {
        kxcPictureKernels().layRuns({row(firstRow), m_pitch, m_pixels + m_target->getHeight() * ptrdiff_t{m_pitch},
                                     data, lines + firstRow, firstColumn, endColumn, endRow - firstRow,
                                     firstColumn > 0 || endColumn < m_sprite.getWidth()});
    }
    template <class Painter>
    void paint(const Painter& painter, INT32 workFormat) const
    {
        RowPainter<Painter> rows(painter, format(), workFormat);
        for (INT32 y = firstRow; y < endRow; ++y)
        {
            rows.setRow(row(y));
            walkRuns<true>(m_sprite.getData() + m_sprite.getLineTable()[y], firstColumn, endColumn, rows);
        }
    }

private:
    /// The first visible pixel of a row.
    UINT8* row(INT32 y) const
    {
        return m_pixels + static_cast<ptrdiff_t>(m_top + y) * m_pitch +
               static_cast<ptrdiff_t>(m_left + firstColumn) * kxcSurfaceFormats[format()].bytesPerPixel;
    }

    const KxcRLESprite& m_sprite;
    KxcGLSurface* m_target;
    UINT8* m_pixels = nullptr;
    INT32 m_pitch = 0, m_left = 0, m_top = 0;
    INT32 firstColumn = 0, endColumn = 0, firstRow = 0, endRow = 0;
};

/// One axis: what of the sprite lies between the edges of the clip rectangle.
bool clipAxis(INT64 position, INT32 size, INT64 clipStart, INT64 clipEnd, INT32& first, INT32& end, INT32& origin)
{
    const INT64 from = clipStart > position ? clipStart - position : 0;
    const INT64 to = clipEnd < position + size ? clipEnd - position : size;
    if (from >= to || position < INT32_MIN || position > INT32_MAX)
        return false;
    first = static_cast<INT32>(from);
    end = static_cast<INT32>(to);
    origin = static_cast<INT32>(position);
    return true;
}

/// A weight of 0..32 as a blend value.
INT32 valueOf(INT32 weight) { return (weight < 0 ? 0 : weight > 32 ? 32 : weight) * 255 >> 5; }

} // namespace

INT32 KxcRLESprite::initBlit(const KxcRectangle* clip, INT32 y, INT32 x, INT32& firstColumn, INT32& endColumn,
                             INT32& left, INT32& firstRow, INT32& endRow, INT32& top) const
{
    const INT64 atX = INT64{x} + m_xOffset, atY = INT64{y} + m_yOffset;
    const KxcRectangle c = clip != nullptr ? *clip : KxcRectangle{0, 0, 0, 0};
    const INT64 right = clip != nullptr ? INT64{c.x} + c.width : INT64_MAX;
    const INT64 bottom = clip != nullptr ? INT64{c.y} + c.height : INT64_MAX;
    return clipAxis(atX, m_width, clip ? c.x : INT64_MIN / 2, right, firstColumn, endColumn, left) &&
           clipAxis(atY, m_height, clip ? c.y : INT64_MIN / 2, bottom, firstRow, endRow, top);
}

void KxcRLESprite::blit(KxcGLSurface* target, const KxcRectangle* clip, INT32 x, INT32 y, INT32 type, INT32 value) const
{
    const bool laid = type <= KXCBLEND_NONE || type >= KXCBLEND_COUNT || (type == KXCBLEND_ALPHA && value >= 255);
    if (laid && target != nullptr && target->getFormat() == KXCSURFACEFORMAT_55X5)
        blitFast55X5(target, clip, x, y);
    else
        blitGeneric(target, clip, x, y, type, static_cast<UINT32>(value < 0 ? 0 : value));
}

void KxcRLESprite::blitFast55X5(KxcGLSurface* target, const KxcRectangle* clip, INT32 x, INT32 y) const
{
    if (target == nullptr || target->getFormat() != KXCSURFACEFORMAT_55X5)
        return;
    const Canvas canvas(*this, target, clip, x, y);
    if (canvas)
        canvas.lay(m_laidData, m_laidLines);
}

void KxcRLESprite::blitGeneric(KxcGLSurface* target, const KxcRectangle* clip, INT32 x, INT32 y, INT32 type,
                               UINT32 value) const
{
    const Canvas canvas(*this, target, clip, x, y);
    if (!canvas)
        return;
    const INT32 strength = static_cast<INT32>(value < 255 ? value : 255);
    INT32 workSource, workTarget;
    KxcPixelBlender::getBlendingFormat(KXCSURFACEFORMAT_55X5, canvas.format(), workSource, workTarget);
    if (workTarget == KXCSURFACEFORMAT_55X5)
        canvas.paint(Painter55X5(type, strength), workTarget);
    else
        canvas.paint(Painter8888(type, strength, workTarget), workTarget);
}

void KxcRLESprite::blitAdditive(KxcGLSurface* target, const KxcRectangle* clip, INT32 x, INT32 y, INT32 weight) const
{
    blit(target, clip, x, y, KXCBLEND_ADD, valueOf(weight));
}

void KxcRLESprite::blitMultiplicative(KxcGLSurface* target, const KxcRectangle* clip, INT32 x, INT32 y,
                                      INT32 weight) const
{
    blit(target, clip, x, y, KXCBLEND_MUL, valueOf(weight));
}

void KxcRLESprite::blitInverseMultiplicative(KxcGLSurface* target, const KxcRectangle* clip, INT32 x, INT32 y,
                                             INT32 weight) const
{
    blit(target, clip, x, y, KXCBLEND_INVMUL, valueOf(weight));
}
