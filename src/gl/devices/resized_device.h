// resized_device.h - a device whose frame has another size than the screen, and is brought to it by presenting.
#pragma once

#include "gl/device.h"

/// The frame is the back buffer; beside it there is a buffer of the screen's size, turned as the frame is.
class KxcGLResizedDevice : public KxcGLDevice
{
public:
    using KxcGLDevice::KxcGLDevice;
    ~KxcGLResizedDevice() override;

    void mapPointerPosition(INT32& x, INT32& y) override;
    INT32 initialize() override;
    void deinitialize() override;
    void present() override;

protected:
    virtual INT32 frameLength(INT32 screenLength) const = 0; ///< a length or position on the screen, in frame pixels
    virtual void resize(KxcGLSurface* frame, KxcGLSurface* screen) = 0; ///< draws the frame as large as the screen

private:
    KxcGLSurface* m_screenBuffer = nullptr; // owned
};
