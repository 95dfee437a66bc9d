// linear.h - products of vectors and matrices, inline for the loops that do nothing else (matrices, vertices).
//
// Every product is floored on its own; the sums wrap, so their order does not matter.
#pragma once

#include <kxcoreemb/fixed.h>

inline KxcFixed kxcDot(const KxcVector3& a, const KxcVector3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

inline KxcVector3 kxcCross(const KxcVector3& a, const KxcVector3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline KxcVector3 kxcScaled(const KxcVector3& v, KxcFixed factor) { return {v.x * factor, v.y * factor, v.z * factor}; }

/// v turned and scaled by the upper left 3x3 of either matrix.
template <class Matrix>
inline KxcVector3 kxcTransformedNormal(const Matrix& m, const KxcVector3& v)
{
    return {v.x * m.m[0][0] + v.y * m.m[1][0] + v.z * m.m[2][0], v.x * m.m[0][1] + v.y * m.m[1][1] + v.z * m.m[2][1],
            v.x * m.m[0][2] + v.y * m.m[1][2] + v.z * m.m[2][2]};
}

/// (v, 1) * M without the fourth column.
inline KxcVector3 kxcTransformed(const KxcMatrix4& m, const KxcVector3& v)
{
    const KxcVector3 turned = kxcTransformedNormal(m, v);
    return {turned.x + m.m[3][0], turned.y + m.m[3][1], turned.z + m.m[3][2]};
}

inline KxcVector4 kxcProjected(const KxcMatrix4& m, const KxcVector4& v)
{
    const auto column = [&](INT32 i) { return v.x * m.m[0][i] + v.y * m.m[1][i] + v.z * m.m[2][i] + v.w * m.m[3][i]; };
    return {column(0), column(1), column(2), column(3)};
}

/// v with a length near 1, without roots or divisions; the zero vector stays as it is.
KxcVector3 kxcNormalized(const KxcVector3& v);
