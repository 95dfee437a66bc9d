// device.h - a rendering device, and the registry that variants of it are chosen from.
#pragma once

#include "gl/pipeline.h"

#include <kxcoreemb/gl.h>

/// The base device: a frame of the screen's size, turned as its creation flags ask, presented straight or rotated.
///
/// Variants derive from it. The order of the virtual operations is theirs to keep.
class KxcGLDevice
{
public:
    explicit KxcGLDevice(UINT32 flags = 0); ///< forgets all registered fillers
    virtual ~KxcGLDevice();
    KxcGLDevice(const KxcGLDevice&) = delete;
    KxcGLDevice& operator=(const KxcGLDevice&) = delete;

    virtual KxcGLSurface* getSecondary(); ///< the render target
    virtual INT32 setRenderTarget(KxcGLSurface* surface);
    virtual INT32 getPalette(unsigned char** first, unsigned char** second);
    virtual INT32 setPalette(unsigned char* first, unsigned char* second);
    virtual INT32 clear(INT32 color, KxcFixed depth, INT32 flags);
    virtual void mapPointerPosition(INT32& x, INT32& y); ///< screen to frame coordinates
    virtual void mapControlCode(INT32& control);         ///< turns directions with the frame; -1 drops the control
    virtual INT32 getFrameWidth();
    virtual INT32 getFrameHeight();
    virtual INT32 initialize(); ///< creates the back buffer; 0 when memory runs out
    virtual void deinitialize();
    virtual void present(); ///< copies the back buffer into the core's frame buffer
    /// Fills a rectangle of the render target, blended by the colour's alpha. @param color  0xAARRGGBB
    virtual void fillRect(INT32 x, INT32 y, INT32 width, INT32 height, UINT32 color);
    virtual void onSurfaceLock(); ///< a surface is about to be read or written: finish what draws into it
    virtual void onTextureCreated(KxcGLTexture* texture);
    virtual void onTextureDestroyed(KxcGLTexture* texture); ///< the last of those that share their levels
    virtual void onTextureSelected(KxcGLTexture* texture);  ///< the next triangle that is filled shows it
    virtual void onSetStateF(INT32 id, KxcFixed value);     ///< a state is about to be set, or refused
    virtual void onSetStateI(INT32 id, INT32 value);
    /// What draws the triangles of a batch for which an entry of the filler tables was chosen; the entry itself here.
    virtual KxcGLFiller fillerOf(const KxcGLFiller& entry);

    KxcGLPipeline pipeline;

protected:
    enum : INT32
    {
        kQuarterTurn = 4,
        kHalfTurn = 8
    };

    /// Makes a black back buffer, which becomes the render target and gives the frame its size.
    /// @return false, and nothing changes, when memory runs out
    bool makeBackBuffer(INT32 width, INT32 height);

    UINT32 m_flags;          // KXCGLCREATE_ bits
    INT32 m_orientation = 0; // kQuarterTurn and kHalfTurn bits
    bool m_directPresent = false;
    INT32 m_frameWidth = 0, m_frameHeight = 0;
    KxcGLSurface* m_backBuffer = nullptr;                                // owned
    KxcGLSurface* m_renderTarget = nullptr;                              // the back buffer or the game's
    unsigned char *m_firstPalette = nullptr, *m_secondPalette = nullptr; // the game's
};

/// Makes devices of one variant.
class KxcGLDeviceFactory
{
public:
    virtual ~KxcGLDeviceFactory();
    virtual KxcGLDevice* createDevice(UINT32 flags) = 0;     ///< not yet initialised; null when memory runs out
    virtual INT32 fillDeviceInfo(KxcGLDeviceInfo* info) = 0; ///< not 0 to have the record published

    /// Gives the factory its id and a record in the list of variants; the core owns both. Null registers nothing.
    static void registerFactory(KxcGLDeviceFactory* factory);
    static KxcGLDeviceFactory* find(UINT32 deviceId);

private:
    friend void kxcGLFree();
    UINT32 m_deviceId = 0;
    KxcGLDeviceFactory* m_next = nullptr; // older
};

/// Makes and initialises a device, and notes which variant it is; null when there is none or it fails.
KxcGLDevice* kxcGLMakeDevice(UINT32 deviceId, UINT32 flags);
void kxcGLDestroyDevice(); ///< the core's current one, if there is one

void kxcGLRegisterStub(); ///< the base device under the name "Stub", which every core registers first
void kxcGLFree();         ///< the device, the factories and the records; part of the core's teardown
