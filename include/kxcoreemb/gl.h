// gl.h - the graphics device: chosen from the variants that were registered, it owns the picture that a game draws and
// presents it on the screen.
//
// A game that draws in two dimensions makes a device once (KxcGL::create(0, 0)), draws into the surface that
// getSecondary() answers, and the core presents it after every KxcRenderer::render.
//
// A game that draws in three sets a viewport, states and matrices, and renders primitives between beginRender() and
// endRender(). Nothing is drawn before endRender(), which sorts the frame's triangles by depth. Variants at the end of
// this file smooth edges, draw fewer pixels, measure, or compare depths pixel by pixel.
#pragma once

#include <kxcoreemb/fixed.h>
#include <kxcoreemb/gl_vertex_buffer.h>
#include <kxcoreemb/surface.h>

class KxcGLDevice;
class KxcGLTexture;

/// Creation flags of KxcGL::create.
enum KXCGLCREATE : KxcUINT32
{
    KXCGLCREATE_PORTRAIT = 0x1000000,    ///< turn the frame by 90 degrees where the screen is wider than high
    KXCGLCREATE_LANDSCAPE = 0x2000000,   ///< turn the frame by 90 degrees where the screen is not wider than high
    KXCGLCREATE_UPSIDEDOWN = 0x8000000,  ///< turn the frame by 180 degrees
    KXCGLCREATE_RAWPOINTER = 0x20000000, ///< do not turn pointer coordinates with the frame
};

/// A device variant that was registered; the records live as long as the core.
struct KxcGLDeviceInfo
{
    const KxcGLDeviceInfo* next; ///< registered before this one; null at the end
    KxcUINT32 deviceId;          ///< for KxcGL::create
    KxcINT32 width;              ///< of the frame that the device renders, in pixels
    KxcINT32 height;             ///< likewise
    KxcINT32 infoFlags1;         ///< 1
    KxcUINT32 capabilityMask;    ///< what it can, as bits that nothing here reads
    KxcUINT32 capabilityMask2;   ///< likewise
    KxcINT32 infoFlags2;         ///< 1
    KxcINT32 infoValue;          ///< 0
    KxcINT32 priority;           ///< the highest is chosen for device id 0
    const char* name;            ///< such as "ReferenceARM"
};

/// Render states, for setStateI and its kin. 0 at first, unless the list says otherwise.
enum KXCGLSTATE : KxcINT32
{
    KXCGLSTATE_CLIPPING = 0,         ///< not 0: clipped where lighting is off (with it always); 1 at first
    KXCGLSTATE_LIGHTING = 1,         ///< not 0: lights and material give the vertices their colours
    KXCGLSTATE_SHADING = 2,          ///< a KXCGLSHADE_ value; KXCGLSHADE_FLAT at first
    KXCGLSTATE_CULLING = 3,          ///< a KXCGLCULL_ value; KXCGLCULL_NEGATIVE at first
    KXCGLSTATE_BLENDING = 4,         ///< not 0: by the factors of the next two
    KXCGLSTATE_SOURCEBLEND = 5,      ///< a KXCGLFACTOR_ value; KXCGLFACTOR_ONE at first
    KXCGLSTATE_DESTBLEND = 6,        ///< likewise; KXCGLFACTOR_ZERO
    KXCGLSTATE_SORTING = 7,          ///< a KXCGLSORT_ value; KXCGLSORT_FARFIRST at first
    KXCGLSTATE_PERSPECTIVE = 8,      ///< not 0: textures are perspective-correct
    KXCGLSTATE_ORTHOGRAPHIC = 9,     ///< not 0: no division by w
    KXCGLSTATE_WIREFRAME = 10,       ///< not 0: only edges are drawn
    KXCGLSTATE_AMBIENT = 11,         ///< ambient light: the red byte of a 0x00RRGGBB colour
    KXCGLSTATE_SORTBIAS = 12,        ///< added to every vertex's depth for sorting
    KXCGLSTATE_PERSPECTIVELIMIT = 16 ///< only where the nearest vertex's w is at most this; 9999 at first
};
enum : KxcINT32
{
    KXCGLSHADE_TEXTURE = 1, ///< the texture as it is; the only one that draws 5515 textures
    KXCGLSHADE_FLAT = 2,    ///< one colour a triangle
    KXCGLSHADE_GOURAUD = 4,
    KXCGLSHADE_GREYSCALEGOURAUD = 8, ///< one intensity, the colours' blue

    KXCGLCULL_NEGATIVE = 4, ///< drops triangles that are clockwise on the screen, or have no area
    KXCGLCULL_POSITIVE = 8, ///< drops those that are counter-clockwise, or have none
    KXCGLCULL_NONE = 16,

    KXCGLFACTOR_ZERO = 1,
    KXCGLFACTOR_ONE = 2,
    KXCGLFACTOR_INVSOURCECOLOR = 4,
    KXCGLFACTOR_SOURCEALPHA = 5,
    KXCGLFACTOR_INVSOURCEALPHA = 6,

    KXCGLSORT_NONE = 1, ///< in the order of submission
    KXCGLSORT_FARFIRST = 8,
    KXCGLSORT_NEARFIRST = 16,

    KXCGLMATRIX_WORLD = 1,
    KXCGLMATRIX_VIEW = 2,
    KXCGLMATRIX_PROJECTION = 3,

    KXCGLPRIMITIVE_LIST = 1,
    KXCGLPRIMITIVE_STRIP = 2,
    KXCGLPRIMITIVE_FAN = 3,
    KXCGLPRIMITIVE_CUSTOM = 4, ///< every vertex becomes a custom item

    KXCGLLIGHT_POINT = 1,
    KXCGLLIGHT_DIRECTIONAL = 2
};

/// A light, in world space. What is marked as stored is not read by the renderer.
struct KxcGLLight
{
    KxcINT32 type;            ///< a KXCGLLIGHT_ value; any other gives no light
    KxcFixed colour[3];       ///< red, green, blue; 1.0 is full
    KxcFixed extraColour1[3]; ///< stored
    KxcFixed extraColour2[3]; ///< stored
    KxcVector3 position;      ///< of a point light
    KxcVector3 direction;     ///< of a directional light: toward it
    KxcFixed range;           ///< how far a point light reaches
    KxcFixed attenuation[3];  ///< divides a point light by a + b * distance + c * distance squared
    KxcFixed extra1;          ///< stored
    KxcFixed extra2;          ///< stored
};

/// What lights make of a surface; white, without ambient light, at first.
struct KxcGLMaterial
{
    KxcUINT32 diffuse;  ///< 0xAARRGGBB; the alpha is the vertices'
    KxcUINT32 extra;    ///< stored
    KxcUINT32 ambient;  ///< 0x00RRGGBB: how much of the ambient light it shows
    KxcUINT32 emissive; ///< 0x00RRGGBB: added to all light
    KxcUINT32 extra2;   ///< stored
};

/// Where on the render target the view goes, in pixels.
struct KxcGLViewport
{
    KxcINT32 x;      ///< the left edge
    KxcINT32 y;      ///< the top edge
    KxcINT32 width;  ///< 1 or more
    KxcINT32 height; ///< likewise
    KxcINT32 extra1; ///< stored
    KxcINT32 extra2; ///< stored
};

/// What a custom item's callback gets: where the vertex is on the screen, and its colour.
struct KxcGLCustomItem
{
    KxcFixed x;      ///< in pixels
    KxcFixed y;      ///< likewise
    KxcFixed z;      ///< of clip space: what it was sorted by
    KxcFixed w;      ///< of clip space
    KxcUINT32 color; ///< 0xAARRGGBB
};

/// Draws a game's own items at their place in the depth order.
///
/// Ownership  the game's; it must live until endRender().
/// Threads    the frame thread.
class KXC_API KxcGLCustomRenderCallback
{
public:
    /// Draws one item, within endRender(). @param item  gone after the call @param data  of setCustomCallbackData()
    virtual void render(const KxcGLCustomItem* item, KxcINT32 data) = 0;

protected:
    ~KxcGLCustomRenderCallback() = default;
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
    /// Makes the device.
    /// @param deviceId  0: the variant of the highest priority; 1: the newest of priority 0; else KxcGLDeviceInfo's
    /// @param flags     KXCGLCREATE_ bits
    /// @return null when there is a device already or none could be made
    static KxcGL* create(KxcUINT32 deviceId, KxcUINT32 flags);
    ~KxcGL();
    /// Replaces the device by another. @return 1, or 0, where the old one is gone all the same
    KxcINT32 recreate(KxcUINT32 deviceId, KxcUINT32 flags);

    static const KxcGLDeviceInfo* getDeviceInfo();        ///< the newest variant; the others follow it
    static const KxcGLDeviceInfo* getCurrentDeviceInfo(); ///< of the device made last; null when that failed

    KxcINT32 beginRender(); ///< starts a frame
    KxcINT32 endRender();   ///< sorts and draws it

    KxcINT32 clear(KxcINT32 color, KxcFixed depth,
                   KxcINT32 flags); ///< the whole render target. @param color  0x00RRGGBB
    /// Draws into another surface from now on; null for the device's own picture.
    /// @return 0, and nothing changes, unless it is a 55X5 surface of even width
    KxcINT32 setRenderTarget(KxcGLSurface* surface);
    KxcGLSurface* getSecondary(); ///< the render target
    /// Stores two pointers for the application, which nothing here reads.
    KxcINT32 setPalette(unsigned char* first, unsigned char* second);
    KxcINT32 getPalette(unsigned char** first, unsigned char** second); ///< -2 when one that is asked for was never set

    // --- state: takes effect for what is rendered after the change ---
    /// Sets a state.
    /// @param state  a KXCGLSTATE_ value; -2 for values it does not take
    KxcINT32 setStateI(KxcINT32 state, KxcINT32 value);
    KxcINT32 setStateF(KxcINT32 state, KxcFixed value);  ///< the same; whole numbers where the state is one
    KxcINT32 getStateI(KxcINT32 state, KxcINT32& value); ///< what was set, as a whole number
    KxcINT32 getStateF(KxcINT32 state, KxcFixed& value); ///< the same as a fixed-point one
    /// 0 when the factors form a pair that can be drawn: (ONE, ZERO), (SOURCEALPHA, INVSOURCEALPHA), (ONE, ONE) or
    /// (ZERO, INVSOURCECOLOR).
    KxcINT32 validateBlendMode(KxcINT32 source, KxcINT32 destination);
    KxcINT32 setMatrix(KxcINT32 matrix, const KxcMatrix4& m);   ///< copied; `matrix` is a KXCGLMATRIX_ value
    KxcINT32 getMatrix(KxcINT32 matrix, KxcMatrix4& m);         ///< what was set; the identity at first
    KxcINT32 setLight(KxcINT32 index, const KxcGLLight& light); ///< copied; the index is 0 to 7
    KxcINT32 getLight(KxcINT32 index, KxcGLLight& light);       ///< what was set
    KxcINT32 enableLight(KxcINT32 index, KxcINT32 enable);      ///< 1 enables, anything else disables
    KxcINT32 setMaterial(const KxcGLMaterial& material);        ///< copied
    KxcINT32 getMaterial(KxcGLMaterial& material);              ///< what was set
    KxcINT32 setViewport(const KxcGLViewport& viewport);        ///< has no default: set it before the first primitive
    KxcINT32 getViewport(KxcGLViewport& viewport);              ///< what was set
    KxcINT32 setTexture(KxcGLTexture* texture);                 ///< null for none; it stays the game's
    KxcGLTexture* getTexture();                                 ///< null for none
    KxcINT32 setCustomCallback(KxcGLCustomRenderCallback* callback); ///< for custom items; it stays the game's
    KxcINT32 setCustomCallbackData(KxcINT32 data);                   ///< handed to it

    // --- primitives ---
    /// Queues the triangles of count vertices from first on; vertices min to max, all that are used, are transformed.
    /// @param type  a KXCGLPRIMITIVE_ value @param info  one record a triangle, or null
    /// @return 0 also when nothing is visible; triangles with vertices outside min to max are left out
    KxcINT32 renderPrimitive(KxcGLVertexBuffer* buffer, KxcINT32 type, KxcINT32 first, KxcINT32 count, KxcINT32 min,
                             KxcINT32 max, KxcGLTriangleInfoBuffer* info);
    /// The same for vertices base + indices[0] to base + indices[count - 1].
    KxcINT32 renderPrimitiveIndexed(KxcGLVertexBuffer* buffer, KxcINT32 type, KxcINT32 base, const KxcUINT16* indices,
                                    KxcINT32 count, KxcINT32 min, KxcINT32 max, KxcGLTriangleInfoBuffer* info);
    /// Not supported on this platform.
    /// @return -1
    KxcINT32 processVertices(KxcGLVertexBuffer& source, KxcGLVertexBuffer& target, KxcINT32 first, KxcINT32 count);

    // --- sprites: rectangles of the texture, sorted like triangles ---
    /// On the screen, centred at pixel (x, y).
    /// @param z                         what it is sorted by where KXCGLSTATE_ORTHOGRAPHIC is on; elsewhere it lies at
    ///                                  depth 1, in front of what is farther away
    /// @param w, h                      its size in pixels
    /// @param left, top, right, bottom  the part of the texture, where 1.0 spans it
    /// @param matrix                    turns and scales the corners first; may be null
    /// @param color                     0xAARRGGBB, as the shading uses it
    KxcINT32 drawSprite2d(KxcFixed x, KxcFixed y, KxcFixed z, KxcFixed w, KxcFixed h, KxcFixed left, KxcFixed top,
                          KxcFixed right, KxcFixed bottom, const KxcMatrix4* matrix, KxcUINT32 color);
    /// The same with (x, y) as the top left corner.
    KxcINT32 drawSprite2d2(KxcFixed x, KxcFixed y, KxcFixed z, KxcFixed w, KxcFixed h, KxcFixed left, KxcFixed top,
                           KxcFixed right, KxcFixed bottom, const KxcMatrix4* matrix, KxcUINT32 color);
    /// In object space, through the matrices, and culled as triangles are. The top lies where y is smaller: exchange
    /// top and bottom where y grows upwards.
    KxcINT32 drawSprite3d(KxcFixed x, KxcFixed y, KxcFixed z, KxcFixed w, KxcFixed h, KxcFixed left, KxcFixed top,
                          KxcFixed right, KxcFixed bottom, const KxcMatrix4* matrix, KxcUINT32 color);
    /// The same, turned to face the camera.
    KxcINT32 drawSprite3dBillboard(KxcFixed x, KxcFixed y, KxcFixed z, KxcFixed w, KxcFixed h, KxcFixed left,
                                   KxcFixed top, KxcFixed right, KxcFixed bottom, const KxcMatrix4* matrix,
                                   KxcUINT32 color);

    KxcGL(const KxcGL&) = delete;
    KxcGL& operator=(const KxcGL&) = delete;

private:
    KxcGL() = default;

    KxcGLDevice* m_device = nullptr; // the core's current device
};

/// Registers the device "ReferenceARM": the base device with all fillers. Called from a game's init function.
KXC_API void kxcUseGLDefault();

// Variants of it. Creating one forgets all registered fillers, as with any device.

/// "DefaultFSAA": draws a frame twice as wide and high as the screen and averages it while presenting, so that edges
/// are smooth. Registers no fillers.
KXC_API void kxcUseGLDefaultFSAA();
/// "DefaultUpsample": draws a frame half as wide and high as the screen and enlarges it, for slow devices. Has all
/// fillers.
KXC_API void kxcUseGLDefaultUpsample();
/// "DefaultProfiler": the base device, which logs every frame's time and every triangle's size into the first of
/// kxlog000.dat, kxlog001.dat ... that is not there yet. Has all fillers but those of PALETTE8 textures, whose
/// triangles are not logged. It has the highest priority: KxcGL::create(0, 0) picks it wherever it is registered.
///
/// The log is little-endian 16-bit records, the id in the upper six bits and the value in the lower ten. Id 0 ends a
/// frame: the milliseconds since the last one. Others are triangles: 1 flat, 2 Gouraud or greyscale Gouraud, 3 texture,
/// 4 texture 5515, 5 texture flat, 6 texture Gouraud or greyscale Gouraud, 7 to 10 like 3 to 6 with perspective; plus
/// 10 blended by add, 20 by alpha, 30 by inverse multiply. Values beyond 1023 are logged as 1023.
KXC_API void kxcUseGLDefaultProfiler();
/// "ZBuffer": compares depths for every pixel of untextured, opaque Gouraud triangles, so that they may intersect.
/// Registers no fillers: the test begins with kxcGLUseFillerGouraud. All other triangles are drawn as on any device and
/// neither heed the depths nor leave any; likewise all that is orthographic, where w says nothing about the depth.
/// KxcGL::clear() clears the depths too. setRenderTarget() is refused.
KXC_API void kxcUseGLZBuffer();
