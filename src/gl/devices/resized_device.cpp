// resized_device.cpp - keeps a frame and a buffer of the screen's size, and presents one by way of the other.
#include "gl/devices/resized_device.h"

#include "surfaces/surface_descriptor.h"

#include <utility>

KxcGLResizedDevice::~KxcGLResizedDevice() { KxcGLResizedDevice::deinitialize(); }

INT32 KxcGLResizedDevice::initialize()
{
    if (!KxcGLDevice::initialize())
        return 0;
    KxcGLSurface* screen = m_backBuffer;
    if (!makeBackBuffer(frameLength(m_frameWidth), frameLength(m_frameHeight)))
    {
        KxcGLResizedDevice::deinitialize();
        return 0;
    }
    m_screenBuffer = screen;
    KxcGLSurfaceDescriptor::of(screen)->flags &= ~KXCSURFACEFLAG_DEVICE; // the device draws into the frame instead
    return 1;
}

void KxcGLResizedDevice::deinitialize()
{
    delete m_screenBuffer;
    m_screenBuffer = nullptr;
    KxcGLDevice::deinitialize();
}

void KxcGLResizedDevice::mapPointerPosition(INT32& x, INT32& y)
{
    x = frameLength(x);
    y = frameLength(y);
    KxcGLDevice::mapPointerPosition(x, y);
}

void KxcGLResizedDevice::present()
{
    if (!m_screenBuffer)
        return;
    resize(m_backBuffer, m_screenBuffer);
    std::swap(m_backBuffer, m_screenBuffer);
    KxcGLDevice::present();
    std::swap(m_backBuffer, m_screenBuffer);
}
