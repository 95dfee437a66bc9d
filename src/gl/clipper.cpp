// clipper.cpp - Sutherland-Hodgman. Distances are 64 bits wide, so that no coordinate overflows them.
#include "gl/clipper.h"

namespace
{

INT64 raw(KxcFixed value) { return value.raw(); }

// The planes: how far inside a position is, and how one is put exactly on the plane.
struct Left
{
    static INT64 distance(const KxcVector4& p) { return raw(p.x) + raw(p.w); }
    static void place(KxcVector4& p) { p.x = -p.w; }
};
struct Right
{
    static INT64 distance(const KxcVector4& p) { return raw(p.w) - raw(p.x); }
    static void place(KxcVector4& p) { p.x = p.w; }
};
struct Far
{
    static INT64 distance(const KxcVector4& p) { return raw(p.w) - raw(p.z); }
    static void place(KxcVector4& p) { p.z = p.w; }
};
struct Near
{
    static INT64 distance(const KxcVector4& p) { return raw(p.z); }
    static void place(KxcVector4& p) { p.z = KxcFixed(0); }
};
struct Bottom
{
    static INT64 distance(const KxcVector4& p) { return raw(p.y) + raw(p.w); }
    static void place(KxcVector4& p) { p.y = -p.w; }
};
struct Top
{
    static INT64 distance(const KxcVector4& p) { return raw(p.w) - raw(p.y); }
    static void place(KxcVector4& p) { p.y = p.w; }
};

/// A bound of the screen: x or y, from below or from above.
template <KxcFixed KxcVector4::*kAxis, bool kFromBelow>
struct Bound
{
    KxcFixed bound;
    INT64 distance(const KxcVector4& p) const
    {
        return kFromBelow ? raw(p.*kAxis) - raw(bound) : raw(bound) - raw(p.*kAxis);
    }
    void place(KxcVector4& p) const { p.*kAxis = bound; }
};

KxcFixed between(KxcFixed s, KxcFixed e, KxcFixed t) { return s + t * (e - s); }

UINT32 colorBetween(UINT32 s, UINT32 e, KxcFixed t)
{
    UINT32 color = 0;
    for (INT32 shift = 0; shift < 32; shift += 8)
    {
        const INT32 from = static_cast<INT32>(s >> shift & 255), to = static_cast<INT32>(e >> shift & 255);
        const INT32 channel = static_cast<INT32>(between(KxcFixed(from), KxcFixed(to), t));
        color |= static_cast<UINT32>(channel & 255) << shift;
    }
    return color;
}

/// Where the edge between a and b meets the plane; both ends give the same point in either order.
template <class Plane>
KxcGLClipVertex cut(const Plane& plane, const KxcGLClipVertex& a, const KxcGLClipVertex& b, bool interpolateColors)
{
    const bool aFirst = a.position.x != b.position.x ? a.position.x > b.position.x : a.position.y > b.position.y;
    const KxcGLClipVertex &s = aFirst ? a : b, &e = aFirst ? b : a;
    const INT64 ds = plane.distance(s.position), de = plane.distance(e.position);
    const KxcFixed t = KxcFixed::fromRaw(static_cast<INT32>(ds * 65536 / (ds - de)));
    KxcGLClipVertex result;
    result.position.x = between(s.position.x, e.position.x, t);
    result.position.y = between(s.position.y, e.position.y, t);
    result.position.z = between(s.position.z, e.position.z, t);
    result.position.w = between(s.position.w, e.position.w, t);
    plane.place(result.position);
    result.u = between(s.u, e.u, t);
    result.v = between(s.v, e.v, t);
    result.color = interpolateColors ? colorBetween(s.color, e.color, t) : s.color;
    return result;
}

template <class Plane>
bool clipAt(const Plane& plane, KxcGLPolygon& polygon, bool interpolateColors)
{
    const KxcGLPolygon source = polygon;
    polygon.count = 0;
    const KxcGLClipVertex* previous = &source.vertices[source.count - 1];
    for (INT32 i = 0; i < source.count; ++i)
    {
        const KxcGLClipVertex* current = &source.vertices[i];
        const bool previousIn = plane.distance(previous->position) >= 0,
                   currentIn = plane.distance(current->position) >= 0;
        // A polygon that wrapped is no longer convex and could gain corners without end: those are left out.
        if (previousIn && polygon.count < KxcGLPolygon::kCapacity)
            polygon.vertices[polygon.count++] = *previous;
        if (previousIn != currentIn && polygon.count < KxcGLPolygon::kCapacity)
            polygon.vertices[polygon.count++] = cut(plane, *previous, *current, interpolateColors);
        previous = current;
    }
    return polygon.count >= 3;
}

} // namespace

INT32 kxcGLOutcode(const KxcVector4& p)
{
    return (Near::distance(p) < 0 ? KXCGLOUT_NEAR : 0) | (Far::distance(p) < 0 ? KXCGLOUT_FAR : 0) |
           (Bottom::distance(p) < 0 ? KXCGLOUT_BOTTOM : 0) | (Top::distance(p) < 0 ? KXCGLOUT_TOP : 0) |
           (Left::distance(p) < 0 ? KXCGLOUT_LEFT : 0) | (Right::distance(p) < 0 ? KXCGLOUT_RIGHT : 0);
}

bool kxcGLClip(KxcGLPolygon& polygon, INT32 outcodes, bool interpolateColors)
{
    return (!(outcodes & KXCGLOUT_LEFT) || clipAt(Left(), polygon, interpolateColors)) &&
           (!(outcodes & KXCGLOUT_RIGHT) || clipAt(Right(), polygon, interpolateColors)) &&
           (!(outcodes & KXCGLOUT_FAR) || clipAt(Far(), polygon, interpolateColors)) &&
           (!(outcodes & KXCGLOUT_NEAR) || clipAt(Near(), polygon, interpolateColors)) &&
           (!(outcodes & KXCGLOUT_BOTTOM) || clipAt(Bottom(), polygon, interpolateColors)) &&
           (!(outcodes & KXCGLOUT_TOP) || clipAt(Top(), polygon, interpolateColors));
}

bool kxcGLClipToScreen(KxcGLPolygon& polygon, KxcFixed left, KxcFixed top, KxcFixed right, KxcFixed bottom)
{
    return clipAt(Bound<&KxcVector4::x, true>{left}, polygon, false) &&
           clipAt(Bound<&KxcVector4::y, true>{top}, polygon, false) &&
           clipAt(Bound<&KxcVector4::x, false>{right}, polygon, false) &&
           clipAt(Bound<&KxcVector4::y, false>{bottom}, polygon, false);
}
