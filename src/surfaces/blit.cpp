// blit.cpp - the one blit engine, for every pair of formats.
//
// A blit is geometry, and then the row kernels of pixel_kernels.h on blocks of pixels. Where source and target are in
// the working formats of the blend and nothing is scaled or turned, one kernel runs over the whole rectangle. All else
// goes through blocks of 1024 pixels in buffers on the stack, each step a kernel: sample the source, convert it,
// convert the target, blend, convert back, leave out the key. Steps that a pair of formats does not need are null.

#include "surfaces/blit.h"

#include <kxcoreemb/pixel_blender.h>

#include "core/core_state.h"
#include "gl/device.h"
#include "surfaces/pixel_kernels.h"
#include "surfaces/surface_descriptor.h"

namespace
{

constexpr INT32 kBlockPixels = 1024, kStripWidth = 256;

/// Target pixel (x + i, y + j) takes source pixel base + ((u + i du) >> 16) columnStep + ((v + j dv) >> 16) rowStep.
struct Placement
{
    INT32 x, y, width, height;
    INT32 base, columnStep, rowStep; // in pixels from the source's first
    INT64 u, v, du, dv;              // 16.16
};

/// One axis of the target: where it starts, how far it goes, and how the source is stepped along it.
struct Axis
{
    INT64 start, extent, offset, step;

    /// @param samples  how many source pixels stretch over the extent
    /// @return false when nothing of it lies on 0..limit - 1
    bool clip(INT32 samples, INT32 limit)
    {
        if (extent < 1 || start >= limit || start + extent <= 0)
            return false;
        step = extent == samples ? 0x10000 : samples * INT64{0x10000} / extent;
        offset = 0;
        if (start < 0)
        {
            offset = -start * step; // stays below samples << 16
            extent += start;
            start = 0;
        }
        if (extent > limit - start)
            extent = limit - start;
        return true;
    }
};

/// Clips the rectangle to 0..limit - 1 on one axis. @return false when nothing is left
bool clipSource(INT32& start, INT32& extent, INT32 limit)
{
    const INT64 end = static_cast<INT64>(start) + extent;
    if (extent < 1 || end <= 0 || start >= limit)
        return false;
    start = start > 0 ? start : 0;
    extent = static_cast<INT32>(end < limit ? end - start : limit - start);
    return true;
}

bool place(const KxcGLSurfaceDescriptor& target, const KxcGLSurfaceDescriptor& source, const KxcBlit& blit,
           Placement& p)
{
    KxcRectangle part = blit.rect ? *blit.rect : KxcRectangle{0, 0, source.width, source.height};
    if (!clipSource(part.x, part.width, source.width) || !clipSource(part.y, part.height, source.height))
        return false;

    p.base = part.y * source.width + part.x;
    p.columnStep = 1;
    p.rowStep = source.width;
    INT32 columns = part.width, rows = part.height;
    UINT32 flags = blit.transform;
    if (flags & KXCTRANSFORM_ROTATE90) // a quarter or three: rows run down the source, from its right-hand column on
    {
        p.base += part.width - 1;
        p.columnStep = source.width;
        p.rowStep = -1;
        columns = part.height;
        rows = part.width;
    }
    if (flags & KXCTRANSFORM_ROTATE180)
        flags ^= KXCTRANSFORM_MIRRORX | KXCTRANSFORM_MIRRORY;
    if (flags & KXCTRANSFORM_MIRRORX)
    {
        p.base += (columns - 1) * p.columnStep;
        p.columnStep = -p.columnStep;
    }
    if (flags & KXCTRANSFORM_MIRRORY)
    {
        p.base += (rows - 1) * p.rowStep;
        p.rowStep = -p.rowStep;
    }

    Axis across{blit.targetX, columns, 0, 0}, down{blit.targetY, rows, 0, 0};
    if (blit.scale != KxcBlit::kUnscaled)
    {
        across.extent = blit.width;
        down.extent = blit.scale == KxcBlit::kBySize ? blit.height
                                                     : static_cast<INT64>(source.height) * blit.width / source.width;
    }
    if (!across.clip(columns, target.width) || !down.clip(rows, target.height))
        return false;
    p.x = static_cast<INT32>(across.start);
    p.y = static_cast<INT32>(down.start);
    p.width = static_cast<INT32>(across.extent);
    p.height = static_cast<INT32>(down.extent);
    p.u = across.offset;
    p.v = down.offset;
    p.du = across.step;
    p.dv = down.step;
    return true;
}

KxcPixelKernels::Size sizeOf(INT32 format)
{
    return kxcSurfaceFormats[format].bytesPerPixel == 2 ? KxcPixelKernels::k16 : KxcPixelKernels::k32;
}

ptrdiff_t bytesOf(INT32 format) { return static_cast<ptrdiff_t>(kxcSurfaceFormats[format].bytesPerPixel); }

/// The steps between a source and a target pixel.
struct Pipeline
{
    using Kernel = KxcPixelKernels::Kernel;

    const KxcPixelKernels& kernels;
    INT32 sourceFormat, targetFormat; // paletted sources count as their palette's 55X5
    INT32 workSource, workTarget;
    bool keyed;
    UINT32 key, value;
    Kernel convertSource = nullptr; // source format to working format
    Kernel convertTarget;           // a copy where the formats are the same
    Kernel convertResult = nullptr; // working format to target format
    Kernel blend;                   // null: the result is the source
    Kernel select = nullptr;        // leaves out the keyed pixels, as the last step
    bool inPlace;                   // `blend` works on the target's own pixels, and takes care of the key

    Pipeline(const KxcGLSurfaceDescriptor& target, const KxcGLSurfaceDescriptor& source, INT32 type, INT32 typeValue)
        : kernels(kxcPixelKernels()),
          sourceFormat(source.format == KXCSURFACEFORMAT_PALETTE8 ? KXCSURFACEFORMAT_55X5 : source.format),
          targetFormat(target.format),
          keyed(source.colorKeyEnabled != 0),
          key(0)
    {
        if (type < 0 || type >= KXCBLEND_COUNT)
            type = KXCBLEND_NONE;
        KxcPixelBlender::getBlendingFormat(sourceFormat, targetFormat, workSource, workTarget);
        value = KxcPixelBlender::getBlendValue(workSource, workTarget, type, typeValue);
        if (sourceFormat != workSource)
            convertSource = kernels.convert[sourceFormat][workSource];
        if (targetFormat != workTarget)
            convertResult = kernels.convert[workTarget][targetFormat];
        convertTarget = kernels.convert[targetFormat][workTarget];

        const bool by55X5 = workTarget == KXCSURFACEFORMAT_55X5;
        const bool keyedBy55X5 = by55X5 && convertSource == nullptr;
        inPlace = convertResult == nullptr && (!keyed || keyedBy55X5);
        const Kernel* to8888 = workTarget == KXCSURFACEFORMAT_X888 ? kernels.blendX888 : kernels.blendPremul8888;
        const Kernel* to55X5 = inPlace && keyed ? kernels.blendKeyed55X5 : kernels.blend55X5;
        blend = by55X5 ? to55X5[type] : to8888[(type + 1) / 2];
        // What covers the target completely is not blended: an opaque source comes out of the 8888 families as it is.
        const bool opaque = by55X5 || kxcSurfaceFormats[sourceFormat].alphaMask == 0;
        if (type == KXCBLEND_NONE && opaque && (convertSource || convertResult))
        {
            blend = nullptr;
            inPlace = false;
        }
        if (keyed)
        {
            key = KxcPixelConverter::convert(source.colorKey, KXCSURFACEFORMAT_X888, sourceFormat);
            const KxcPixelKernels::Size size = sizeOf(targetFormat);
            select = sourceFormat == KXCSURFACEFORMAT_X888 ? kernels.selectX888[size]
                                                           : kernels.select[size][sizeOf(sourceFormat)];
        }
    }
};

struct Pixels
{
    const void* first;
    ptrdiff_t pitch;
};

class Blitter
{
public:
    Blitter(const KxcGLSurfaceDescriptor& target, const KxcGLSurfaceDescriptor& source, const Placement& placement,
            const Pipeline& pipeline)
        : m_p(placement),
          m_steps(pipeline),
          m_targetPitch(target.pitch()),
          m_target(static_cast<UINT8*>(target.pixels) + placement.y * m_targetPitch +
                   placement.x * target.bytesPerPixel()),
          m_sourceBytes(source.bytesPerPixel()),
          m_palette(source.format == KXCSURFACEFORMAT_PALETTE8 ? static_cast<const UINT16*>(source.pixels) : nullptr),
          m_source(static_cast<const UINT8*>(source.pixels) + (m_palette ? 256 * sizeof(UINT16) : 0) +
                   placement.base * m_sourceBytes),
          m_direct(m_palette == nullptr && placement.du == 0x10000 && placement.dv == 0x10000 &&
                   placement.columnStep == 1)
    {
    }

    void run()
    {
        const bool oneStep = m_steps.inPlace && m_steps.convertSource == nullptr;
        if (oneStep && m_direct)
        {
            apply(m_steps.blend, directPixels(0, 0), m_target, m_targetPitch, m_p.width, m_p.height);
            return;
        }
        // Sampling is all that a plain copy of 55X5 needs, and it can write where the pixels belong.
        const bool sampleOnly = oneStep && m_steps.blend == m_steps.kernels.blend55X5[KXCBLEND_NONE];
        for (INT32 x = 0; x < m_p.width; x += kStripWidth)
        {
            const INT32 width = m_p.width - x < kStripWidth ? m_p.width - x : kStripWidth;
            if (!m_direct)
                fillColumns(x, width);
            UINT8* target = m_target + x * bytesOf(m_steps.targetFormat);
            if (sampleOnly)
            {
                sample(target, m_targetPitch, 0, width, m_p.height);
                continue;
            }
            const INT32 rows = kBlockPixels / width;
            for (INT32 y = 0; y < m_p.height; y += rows)
                drawBlock(target + y * m_targetPitch, x, y, width, m_p.height - y < rows ? m_p.height - y : rows);
        }
    }

private:
    void fillColumns(INT32 x, INT32 width)
    {
        INT64 u = m_p.u + x * m_p.du;
        for (INT32 i = 0; i < width; ++i, u += m_p.du)
            m_columns[i] = static_cast<INT32>(u >> 16) * m_p.columnStep;
    }

    Pixels directPixels(INT32 x, INT32 y) const
    {
        const ptrdiff_t pitch = m_p.rowStep * m_sourceBytes;
        return {m_source + static_cast<ptrdiff_t>((m_p.u >> 16) + x) * m_sourceBytes +
                    static_cast<ptrdiff_t>((m_p.v >> 16) + y) * pitch,
                pitch};
    }

    void sample(void* target, ptrdiff_t pitch, INT32 y, INT32 width, INT32 height) const
    {
        const KxcPixelSamples samples = {target, pitch, m_source, m_palette, m_columns, m_p.rowStep, m_p.v + y * m_p.dv,
                                         m_p.dv, width, height};
        const KxcPixelKernels& kernels = m_steps.kernels;
        (m_palette ? kernels.samplePalette : kernels.sample[sizeOf(m_steps.sourceFormat)])(samples);
    }

    void apply(Pipeline::Kernel kernel, const Pixels& pixels, void* target, ptrdiff_t pitch, INT32 width, INT32 height,
               const Pixels& keyed = {nullptr, 0}) const
    {
        kernel({target, pitch, pixels.first, pixels.pitch, width, height, m_steps.value, m_steps.key, keyed.first,
                keyed.pitch});
    }

    void drawBlock(UINT8* target, INT32 x, INT32 y, INT32 width, INT32 height)
    {
        const Pipeline& s = m_steps;
        const auto toBuffer = [&](INT32 buffer, Pipeline::Kernel kernel, const Pixels& from, INT32 format)
        {
            const Pixels to = {m_buffers[buffer], width * bytesOf(format)};
            apply(kernel, from, m_buffers[buffer], to.pitch, width, height);
            return to;
        };

        Pixels raw = {m_buffers[0], width * bytesOf(s.sourceFormat)};
        if (m_direct)
            raw = directPixels(x, y);
        else
            sample(m_buffers[0], raw.pitch, y, width, height);
        Pixels pixels = raw;
        const bool convertsLast = s.convertResult != nullptr;
        if (s.convertSource && (s.blend || convertsLast || s.keyed))
            pixels = toBuffer(1, s.convertSource, pixels, s.workSource);
        if (s.inPlace)
            return apply(s.blend, pixels, target, m_targetPitch, width, height);
        if (s.blend)
        {
            const Pixels result = toBuffer(2, s.convertTarget, {target, m_targetPitch}, s.workTarget);
            apply(s.blend, pixels, m_buffers[2], result.pitch, width, height);
            pixels = result;
        }
        if (!s.keyed)
            return apply(convertsLast ? s.convertResult : s.convertSource, pixels, target, m_targetPitch, width,
                         height);
        if (convertsLast)
            pixels = toBuffer(3, s.convertResult, pixels, s.targetFormat);
        apply(s.select, pixels, target, m_targetPitch, width, height, raw);
    }

    const Placement& m_p;
    const Pipeline& m_steps;
    ptrdiff_t m_targetPitch;
    UINT8* m_target; // its first pixel
    ptrdiff_t m_sourceBytes;
    const UINT16* m_palette;
    const UINT8* m_source; // the pixel that Placement::base stands for
    bool m_direct;         // rows of the source are rows of the target: no sampling
    INT32 m_columns[kStripWidth];
    alignas(32) UINT8 m_buffers[4][kBlockPixels * sizeof(UINT32)]; // sampled, source, target, result
};

} // namespace

void kxcBlit(const KxcGLSurfaceDescriptor& target, const KxcGLSurfaceDescriptor& source, const KxcBlit& blit)
{
    Placement placement;
    if (target.format == KXCSURFACEFORMAT_PALETTE8 || !place(target, source, blit, placement))
        return;
    if ((source.flags & KXCSURFACEFLAG_DEVICESOURCE) && kxcCore != nullptr && kxcCore->device != nullptr)
        kxcCore->device->onSurfaceLock();
    const Pipeline pipeline(target, source, blit.blendType, blit.blendValue);
    Blitter(target, source, placement, pipeline).run();
}
