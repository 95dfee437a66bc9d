// triangle.h - what passes between the pipeline, which queues triangles, and the fillers, which draw them.
#pragma once

#include <kxcoreemb/fixed.h>

class KxcGLTexture;
class KxcGLCustomRenderCallback;
struct KxcGLTriangle;

/// Draws one triangle into the render target. @param vertices  the frame's screen vertices: x and y in pixels, z, w
typedef void (*KxcGLFiller)(const KxcGLTriangle* triangle, const KxcVector4* vertices);

/// The state that all triangles of one call share, captured when the call was made.
struct KxcGLBatchState
{
    KxcGLTexture* texture; // null for none
    INT32 shading;         // 1 texture only, 2 flat, 4 Gouraud, 8 greyscale Gouraud
    INT32 wireframe;
    KxcGLFiller filler;       // perspective-correct when that was asked for
    KxcGLFiller affineFiller; // the one of the same shading without perspective correction
};

/// A queued triangle, or a custom item where batch is null.
struct KxcGLTriangle
{
    struct Corners
    {
        INT32 vertex[3];   // in the frame's screen vertices
        KxcFixed u[3];     // 1.0 spans the texture's width
        KxcFixed v[3];     // likewise, its height
        UINT32 color[3];   // 0xAARRGGBB; the first is the flat colour
        INT32 perspective; // 1: near enough for perspective correction
    };
    struct CustomItem
    {
        INT32 vertex;
        KxcGLCustomRenderCallback* callback;
        INT32 data;
        UINT32 color;
    };
    union
    {
        Corners corners;
        CustomItem item;
    };
    const KxcGLBatchState* batch;
};
static_assert(sizeof(void*) != 4 || (sizeof(KxcGLTriangle) == 56 && sizeof(KxcGLBatchState) == 20), "words");

/// The fillers that were registered, by blend (none, alpha, add, inverse multiply), texture (none, 55X5, 5515,
/// PALETTE8) and slot: shading (texture only, flat, Gouraud, greyscale Gouraud), plus 4 with perspective correction.
typedef KxcGLFiller KxcGLFillerTables[4][4][8];

void kxcGLFillNothing(const KxcGLTriangle* triangle, const KxcVector4* vertices); ///< for what was not registered
void kxcGLResetFillers();                                                         ///< all entries to the above
