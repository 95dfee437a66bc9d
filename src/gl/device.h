// device.h - what the core and the surfaces ask of the active graphics device.
#pragma once

#include <kxcoreemb/fixed.h>

/// A rendering device: it draws frames of its own size and orientation and presents them on the screen.
class KxcGLDevice
{
public:
    virtual ~KxcGLDevice() = default;
    /// Clears the render target. @param color  0x00RRGGBB
    virtual INT32 clear(INT32 color, KxcFixed depth, INT32 flags) = 0;
    virtual void mapPointerPosition(INT32& x, INT32& y) = 0; ///< screen to frame coordinates
    virtual void mapControlCode(INT32& control) = 0;         ///< turns directions with the frame; -1 drops the control
    virtual INT32 getFrameWidth() = 0;
    virtual INT32 getFrameHeight() = 0;
    virtual void present() = 0; ///< copies the back buffer into the core's frame buffer
    /// Fills a rectangle of the render target, blended by the colour's alpha. @param color  0xAARRGGBB
    virtual void fillRect(INT32 x, INT32 y, INT32 width, INT32 height, UINT32 color) = 0;
    virtual void onSurfaceLock() = 0; ///< a surface is about to be read or written: finish what draws into it
};
