// fsaa_device.cpp - the variant that draws four pixels for each one of the screen and averages them.
#include "gl/devices/resized_device.h"
#include "gl/devices/variant.h"

namespace
{

class FSAADevice final : public KxcGLResizedDevice
{
public:
    using KxcGLResizedDevice::KxcGLResizedDevice;

protected:
    INT32 frameLength(INT32 screenLength) const override
    {
        return static_cast<INT32>(static_cast<UINT32>(screenLength) * 2);
    }
    void resize(KxcGLSurface* frame, KxcGLSurface* screen) override;
};

/// Red, green (with all six bits, which clearing writes) and blue with room between them for the sum of four pixels.
inline UINT32 spread(UINT32 pixel) { return (pixel & 0x7E0) << 16 | (pixel & 0xF81F); }

void FSAADevice::resize(KxcGLSurface* frame, KxcGLSurface* screen)
{
    void *framePixels = nullptr, *screenPixels = nullptr;
    if (!frame->lock(&framePixels, 0, KXCLOCK_READONLY))
        return;
    if (screen->lock(&screenPixels, 0, KXCLOCK_DISCARD))
    {
        const ptrdiff_t width = screen->getWidth(), height = screen->getHeight();
        const UINT16* upper = static_cast<const UINT16*>(framePixels);
        UINT16* out = static_cast<UINT16*>(screenPixels);
        for (ptrdiff_t y = 0; y < height; ++y, upper += 4 * width, out += width)
        {
            const UINT16* lower = upper + 2 * width;
            for (ptrdiff_t x = 0; x < width; ++x)
            {
                const UINT32 sum =
                    spread(upper[2 * x]) + spread(upper[2 * x + 1]) + spread(lower[2 * x]) + spread(lower[2 * x + 1]);
                out[x] = static_cast<UINT16>((sum >> 18 & 0x7E0) | (sum >> 2 & 0xF81F));
            }
        }
        screen->unlock();
    }
    frame->unlock();
}

} // namespace

void kxcUseGLDefaultFSAA()
{
    if (kxcCore)
        KxcGLVariant<FSAADevice>::use("DefaultFSAA", 2 * kxcCore->screenWidth, 2 * kxcCore->screenHeight, 7677, -1);
}
