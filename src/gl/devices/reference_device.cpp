// reference_device.cpp - the variant with all fillers. A game that never names it does not carry them.
#include "gl/devices/variant.h"

#include <kxcoreemb/gl_fillers.h>

namespace
{

class ReferenceDevice : public KxcGLDevice
{
public:
    explicit ReferenceDevice(UINT32 flags) : KxcGLDevice(flags) { kxcGLUseDefaults(); }
};

} // namespace

void kxcUseGLDefault()
{
    if (kxcCore)
        KxcGLVariant<ReferenceDevice>::use("ReferenceARM", kxcCore->screenWidth, kxcCore->screenHeight, 7673, 0);
}
