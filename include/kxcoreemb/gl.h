// gl.h - the graphics device: chosen from the variants that were registered, it owns the picture that a game draws and
// presents it on the screen.
//
// A game that draws in two dimensions makes a device once (KxcGL::create(0, 0)), draws into the surface that
// getSecondary() answers, and the core presents it after every KxcRenderer::render.
#pragma once

#include <kxcoreemb/fixed.h>
#include <kxcoreemb/surface.h>

class KxcGLDevice;

/// Creation flags of KxcGL::create.
enum KXCGLCREATE : UINT32
{
    KXCGLCREATE_PORTRAIT = 0x1000000,    ///< turn the frame by 90 degrees where the screen is wider than high
    KXCGLCREATE_LANDSCAPE = 0x2000000,   ///< turn the frame by 90 degrees where the screen is not wider than high
    KXCGLCREATE_UPSIDEDOWN = 0x8000000,  ///< turn the frame by 180 degrees
    KXCGLCREATE_RAWPOINTER = 0x20000000, ///< leave pointer coordinates as the screen has them
};

/// A device variant that was registered; the records live as long as the core.
struct KxcGLDeviceInfo
{
    const KxcGLDeviceInfo* next; ///< registered before this one; null at the end
    UINT32 deviceId;             ///< for KxcGL::create
    INT32 width, height;         ///< of the frame that the device renders, in pixels
    INT32 infoFlags1;            ///< 1
    UINT32 capabilityMask, capabilityMask2;
    INT32 infoFlags2; ///< 1
    INT32 infoValue;  ///< 0
    INT32 priority;   ///< the highest is chosen for device id 0
    const char* name;
};

/// The graphics device that a game made; there is at most one.
///
/// Ownership  the caller deletes what create() returned, before the run ends or not at all.
/// Failure    operations answer 0 for success, -2 for what the device does not support, -3 for an id out of range and
///            -4 when memory runs out, unless they say otherwise. After a failed recreate() only recreate() may follow.
/// Threads    the frame thread only.
class KXC_API KxcGL
{
public:
    /// @param deviceId  0: the variant of the highest priority; 1: the newest of priority 0; else KxcGLDeviceInfo's
    /// @param flags     KXCGLCREATE_ bits
    /// @return null when there is a device already or none could be made
    static KxcGL* create(UINT32 deviceId, UINT32 flags);
    ~KxcGL();
    /// Replaces the device by another. @return 1, or 0, where the old one is gone all the same
    INT32 recreate(UINT32 deviceId, UINT32 flags);

    static const KxcGLDeviceInfo* getDeviceInfo();        ///< the newest variant; the others follow it
    static const KxcGLDeviceInfo* getCurrentDeviceInfo(); ///< of the device made last; null when that failed

    INT32 clear(INT32 color, KxcFixed depth, INT32 flags); ///< the whole render target. @param color  0x00RRGGBB
    /// Draws into another surface from now on; null for the device's own picture.
    /// @return 0, and nothing changes, unless it is a 55X5 surface of even width
    INT32 setRenderTarget(KxcGLSurface* surface);
    KxcGLSurface* getSecondary(); ///< the render target
    /// Two pointers kept for the application.
    INT32 setPalette(unsigned char* first, unsigned char* second);
    INT32 getPalette(unsigned char** first, unsigned char** second); ///< -2 when one that is asked for was never set

    KxcGL(const KxcGL&) = delete;
    KxcGL& operator=(const KxcGL&) = delete;

private:
    KxcGL() = default;

    KxcGLDevice* m_device = nullptr; // the core's current device
};
