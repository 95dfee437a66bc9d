// clipper.h - cuts polygons at planes, so that an edge is cut at the same point whichever side it is seen from.
#pragma once

#include <kxcoreemb/fixed.h>

/// Outcode bits of a position that lies outside.
enum KxcGLOutcode : INT32
{
    KXCGLOUT_NEAR = 4,
    KXCGLOUT_FAR = 8,
    KXCGLOUT_BOTTOM = 16,
    KXCGLOUT_TOP = 32,
    KXCGLOUT_LEFT = 64,
    KXCGLOUT_RIGHT = 128
};

struct KxcGLClipVertex
{
    KxcVector4 position; // clip space, or pixels for sprites
    UINT32 color;
    KxcFixed u, v;
};

/// A polygon of at most a quad's corners plus one for each of six planes.
struct KxcGLPolygon
{
    static constexpr INT32 kCapacity = 12;
    KxcGLClipVertex vertices[kCapacity];
    INT32 count;
};

INT32 kxcGLOutcode(const KxcVector4& position); ///< in clip space; the bounds are inside

/// Cuts a polygon at the clip-space planes whose bits are set. @return false when less than a triangle is left
bool kxcGLClip(KxcGLPolygon& polygon, INT32 outcodes, bool interpolateColors);

/// Cuts a polygon at the pixel bounds left, top, right and bottom, all inside. @return as above
bool kxcGLClipToScreen(KxcGLPolygon& polygon, KxcFixed left, KxcFixed top, KxcFixed right, KxcFixed bottom);
