// upsample_device.cpp - the variant that draws a quarter of the screen's pixels and enlarges them.
#include "gl/devices/resized_device.h"
#include "gl/devices/variant.h"

#include <kxcoreemb/gl_fillers.h>

namespace
{

class UpsampleDevice final : public KxcGLResizedDevice
{
public:
    using KxcGLResizedDevice::KxcGLResizedDevice;

    INT32 initialize() override
    {
        if (!KxcGLResizedDevice::initialize())
            return 0;
        kxcGLUseDefaults();
        return 1;
    }

protected:
    INT32 frameLength(INT32 screenLength) const override { return screenLength / 2; }
    void resize(KxcGLSurface* frame, KxcGLSurface* screen) override
    {
        screen->drawImage(frame, 0, 0, screen->getWidth(), screen->getHeight());
    }
};

} // namespace

void kxcUseGLDefaultUpsample()
{
    if (kxcCore)
        KxcGLVariant<UpsampleDevice>::use("DefaultUpsample", kxcCore->screenWidth / 2, kxcCore->screenHeight / 2, 7677,
                                          -1);
}
