// projections.cpp - where a camera stands, and what its lens does.
#include "math/linear.h"

#include <kxcoreemb/fixed_math.h>

namespace
{

constexpr KxcFixed kZero = 0, kOne = 1, kTwo = 2;

KxcFixed quotient(KxcFixed a, KxcFixed b) { return b == kZero ? kZero : a / b; }

void setRow(KxcFixed (&row)[4], const KxcVector3& v, KxcFixed w)
{
    row[0] = v.x;
    row[1] = v.y;
    row[2] = v.z;
    row[3] = w;
}

} // namespace

KxcMatrix4& KxcMath::matrixLookAt(KxcMatrix4& m, const KxcVector3& eye, const KxcVector3& target, const KxcVector3& up)
{
    const KxcVector3 position = eye; // which may lie in m, as the others
    const KxcVector3 z = kxcNormalized({target.x - eye.x, target.y - eye.y, target.z - eye.z});
    const KxcVector3 along = kxcScaled(z, kxcDot(up, z));
    const KxcVector3 y = kxcNormalized({up.x - along.x, up.y - along.y, up.z - along.z});
    setRow(m.m[0], kxcCross(y, z), kZero);
    setRow(m.m[1], y, kZero);
    setRow(m.m[2], z, kZero);
    setRow(m.m[3], position, kOne);
    return m;
}

KxcMatrix4& KxcMath::matrixToProjection(KxcMatrix4& m, KxcFixed height, KxcFixed width, KxcFixed fov, KxcFixed nearZ,
                                        KxcFixed farZ)
{
    const KxcFixed sine = sin(fov / 2), cosine = cos(fov / 2), depth = farZ - nearZ;
    m = {};
    m.m[0][0] = quotient(height * cosine, width * sine);
    m.m[1][1] = quotient(cosine, sine);
    m.m[2][2] = quotient(farZ, depth);
    m.m[2][3] = kOne;
    m.m[3][2] = quotient(-(nearZ * farZ), depth);
    return m;
}

KxcMatrix4& KxcMath::matrixToProjectionOffCenter(KxcMatrix4& m, KxcFixed left, KxcFixed right, KxcFixed bottom,
                                                 KxcFixed top, KxcFixed nearZ, KxcFixed farZ)
{
    matrixIdentity(m);
    m.m[0][0] = quotient(kTwo * farZ, right - left);
    m.m[1][1] = quotient(kTwo * farZ, top - bottom);
    m.m[2][0] = quotient(left + right, left - right);
    m.m[2][1] = quotient(bottom + top, bottom - top);
    m.m[2][2] = quotient(farZ, farZ - nearZ);
    m.m[2][3] = kOne;
    m.m[3][2] = quotient(nearZ * farZ, nearZ - farZ);
    m.m[3][3] = kZero;
    return m;
}

KxcMatrix4& KxcMath::matrixToProjectionOffCenter(KxcMatrix4& m, KxcFixed height, KxcFixed width, KxcFixed fov,
                                                 KxcFixed nearZ, KxcFixed farZ, KxcFixed left, KxcFixed right,
                                                 KxcFixed top, KxcFixed bottom)
{
    const KxcFixed sine = sin(fov / 2), cosine = cos(fov / 2);
    const KxcFixed middleX = width / 2, middleY = height / 2;
    const KxcFixed scale = quotient(kTwo * farZ, cosine * height); // times the sine: a pixel's size at farZ
    return matrixToProjectionOffCenter(m, (left - middleX) * scale * sine, (right - middleX) * scale * sine,
                                       (middleY - bottom) * scale * sine, (middleY - top) * scale * sine, nearZ, farZ);
}
