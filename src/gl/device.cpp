// device.cpp - the base device: its back buffer, the screen's orientation, and presenting one on the other.
#include "gl/device.h"

#include "core/core_state.h"
#include "surfaces/pixel_kernels.h"
#include "surfaces/surface_descriptor.h"

#include <kxcoreemb/gl_texture.h>

#include <cstring>

namespace
{

/// The colour as clear() stores it: six bits of green, unlike a 55X5 pixel.
UINT16 clearPixel(UINT32 color)
{
    return static_cast<UINT16>((color >> 19 & 31) << 11 | (color >> 10 & 63) << 5 | (color >> 3 & 31));
}

/// Counts a coordinate from the other edge; wraps where a host sends nonsense.
INT32 mirror(INT32 extent, INT32 coordinate)
{
    return static_cast<INT32>(static_cast<UINT32>(extent) - static_cast<UINT32>(coordinate));
}

} // namespace

KxcGLDevice::KxcGLDevice(UINT32 flags) : pipeline(*this), m_flags(flags) { kxcGLResetFillers(); }

KxcGLDevice::~KxcGLDevice()
{
    KxcGLDevice::deinitialize();
    for (KxcGLTexture* texture = kxcCore ? kxcCore->textures : nullptr; texture; texture = texture->getNext())
        texture->setGLData(0); // it meant something to this device only
}

INT32 KxcGLDevice::initialize()
{
    const INT32 screenWidth = kxcCore->screenWidth, screenHeight = kxcCore->screenHeight;
    const bool wide = screenWidth > screenHeight;
    m_orientation = 0;
    if (m_flags & (wide ? KXCGLCREATE_PORTRAIT : KXCGLCREATE_LANDSCAPE))
        m_orientation |= kQuarterTurn;
    if (m_flags & KXCGLCREATE_UPSIDEDOWN)
        m_orientation |= kHalfTurn;
    m_directPresent = m_orientation == 0;
    const bool turned = m_orientation & kQuarterTurn;
    return makeBackBuffer(turned ? screenHeight : screenWidth, turned ? screenWidth : screenHeight) && pipeline.init();
}

bool KxcGLDevice::makeBackBuffer(INT32 width, INT32 height)
{
    KxcGLSurface* made = KxcGLSurface::create(width, height, KXCSURFACEFORMAT_55X5);
    if (!made)
        return false;
    KxcGLSurfaceDescriptor* surface = KxcGLSurfaceDescriptor::of(made);
    std::memset(surface->pixels, 0, static_cast<size_t>(surface->pitch()) * static_cast<size_t>(surface->height));
    surface->flags |= KXCSURFACEFLAG_DEVICE;
    m_backBuffer = m_renderTarget = made;
    m_frameWidth = width;
    m_frameHeight = height;
    return true;
}

void KxcGLDevice::deinitialize()
{
    delete m_backBuffer;
    m_backBuffer = m_renderTarget = nullptr;
}

KxcGLSurface* KxcGLDevice::getSecondary() { return m_renderTarget; }

INT32 KxcGLDevice::setRenderTarget(KxcGLSurface* surface)
{
    KxcGLSurface* target = surface ? surface : m_backBuffer;
    if (!target)
        return 0;
    const INT32 width = target->getWidth(), height = target->getHeight();
    if (surface && (surface->getFormat() != KXCSURFACEFORMAT_55X5 || width < 1 || width % 2 != 0 || height < 1))
        return 0;
    // Clearing and filling the back buffer are the device's while it draws there.
    KxcGLSurfaceDescriptor* own = KxcGLSurfaceDescriptor::of(m_backBuffer);
    own->flags = target == m_backBuffer ? own->flags | KXCSURFACEFLAG_DEVICE : own->flags & ~KXCSURFACEFLAG_DEVICE;
    m_renderTarget = target;
    m_frameWidth = width;
    m_frameHeight = height;
    return 1;
}

INT32 KxcGLDevice::setPalette(unsigned char* first, unsigned char* second)
{
    m_firstPalette = first;
    m_secondPalette = second;
    return 0;
}

INT32 KxcGLDevice::getPalette(unsigned char** first, unsigned char** second)
{
    if (first)
        *first = m_firstPalette;
    if (second)
        *second = m_secondPalette;
    return (first && !m_firstPalette) || (second && !m_secondPalette) ? -2 : 0;
}

INT32 KxcGLDevice::clear(INT32 color, KxcFixed, INT32)
{
    void* pixels = nullptr;
    const INT32 pitch = m_renderTarget ? m_renderTarget->lock(&pixels, 0, KXCLOCK_DISCARD) : 0;
    if (!pitch)
        return 0;
    KxcPixelBlock all = {};
    all.target = pixels;
    all.width = m_renderTarget->getWidth() * m_renderTarget->getHeight(); // the rows touch: one run
    all.height = 1;
    all.value = clearPixel(static_cast<UINT32>(color));
    kxcPixelKernels().fill[KxcPixelKernels::k16](all);
    m_renderTarget->unlock();
    return 0;
}

void KxcGLDevice::fillRect(INT32 x, INT32 y, INT32 width, INT32 height, UINT32 color)
{
    if (!m_renderTarget)
        return;
    KxcGLSurfaceDescriptor* target = KxcGLSurfaceDescriptor::of(m_renderTarget);
    const UINT32 deviceFlag = target->flags & KXCSURFACEFLAG_DEVICE;
    target->flags &= ~deviceFlag; // so that the surface fills itself instead of asking the device again
    m_renderTarget->drawFilledRect(x, y, width, height, color);
    target->flags |= deviceFlag;
}

void KxcGLDevice::mapPointerPosition(INT32& x, INT32& y)
{
    if (m_flags & KXCGLCREATE_RAWPOINTER)
        return;
    const INT32 screenX = x, screenY = y;
    switch (m_orientation)
    {
    case kQuarterTurn:
        x = mirror(m_frameWidth, screenY), y = screenX;
        break;
    case kHalfTurn:
        x = mirror(m_frameWidth, screenX), y = mirror(m_frameHeight, screenY);
        break;
    case kQuarterTurn | kHalfTurn:
        x = screenY, y = mirror(m_frameHeight, screenX);
        break;
    default:
        break;
    }
}

void KxcGLDevice::mapControlCode(INT32& control)
{
    if (control < KXCCTRL_LEFT || control > KXCCTRL_DOWN)
        return;
    static constexpr INT32 kHalf[] = {KXCCTRL_RIGHT, KXCCTRL_LEFT, KXCCTRL_DOWN, KXCCTRL_UP};
    static constexpr INT32 kQuarter[] = {KXCCTRL_UP, KXCCTRL_DOWN, KXCCTRL_RIGHT, KXCCTRL_LEFT};
    if (m_orientation & kHalfTurn)
        control = kHalf[control - KXCCTRL_LEFT];
    if (m_orientation & kQuarterTurn)
        control = kQuarter[control - KXCCTRL_LEFT];
}

INT32 KxcGLDevice::getFrameWidth() { return m_frameWidth; }

INT32 KxcGLDevice::getFrameHeight() { return m_frameHeight; }

void KxcGLDevice::present()
{
    void* pixels;
    if (!kxcCore->frameBuffer || !m_backBuffer || !m_backBuffer->lock(&pixels, 0, KXCLOCK_READONLY))
        return;
    const UINT16* source = static_cast<const UINT16*>(pixels);
    UINT16* screen = kxcCore->frameBuffer;
    const ptrdiff_t width = m_backBuffer->getWidth(), height = m_backBuffer->getHeight();
    if (m_directPresent)
        std::memcpy(screen, source, static_cast<size_t>(width * height) * sizeof(UINT16));
    else
    {
        // Where the first pixel goes, and how far the next column and the next row are from it.
        ptrdiff_t start, column, row;
        switch (m_orientation)
        {
        case kQuarterTurn:
            start = (width - 1) * height, column = -height, row = 1;
            break;
        case kHalfTurn:
            start = width * height - 1, column = -1, row = -width;
            break;
        default:
            start = height - 1, column = height, row = -1;
            break;
        }
        for (ptrdiff_t y = 0; y < height; ++y, start += row)
            for (ptrdiff_t x = 0, index = start; x < width; ++x, index += column)
                screen[index] = *source++;
    }
    m_backBuffer->unlock();
}

void KxcGLDevice::onSurfaceLock() {}

void KxcGLDevice::onTextureCreated(KxcGLTexture*) {}

void KxcGLDevice::onTextureDestroyed(KxcGLTexture*) {}

void KxcGLDevice::onTextureSelected(KxcGLTexture*) {}

void KxcGLDevice::onSetStateF(INT32 id, KxcFixed value) { onSetStateI(id, static_cast<INT32>(value)); }

void KxcGLDevice::onSetStateI(INT32, INT32) {}

KxcGLFiller KxcGLDevice::fillerOf(const KxcGLFiller& entry) { return entry; }
