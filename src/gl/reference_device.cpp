// reference_device.cpp - the variant with all fillers. A game that never names it does not carry them.
#include "core/core_state.h"
#include "gl/device.h"

#include <kxcoreemb/gl_fillers.h>

#include <new>

namespace
{

class ReferenceFactory : public KxcGLDeviceFactory
{
public:
    KxcGLDevice* createDevice(UINT32 flags) override
    {
        KxcGLDevice* device = new (std::nothrow) KxcGLDevice(flags);
        if (device)
            kxcGLUseDefaults();
        return device;
    }
    INT32 fillDeviceInfo(KxcGLDeviceInfo* info) override
    {
        info->width = kxcCore->screenWidth;
        info->height = kxcCore->screenHeight;
        info->infoFlags1 = info->infoFlags2 = 1;
        info->capabilityMask = 7673;
        info->capabilityMask2 = 27;
        info->name = "ReferenceARM";
        return 1;
    }
};

} // namespace

void kxcUseGLDefault()
{
    if (kxcCore)
        KxcGLDeviceFactory::registerFactory(new (std::nothrow) ReferenceFactory());
}
