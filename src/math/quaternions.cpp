// quaternions.cpp - rotations as quaternions (x, y, z, w), and their way from and to matrices.
#include "math/linear.h"

#include <kxcoreemb/fixed_math.h>

#include <algorithm>

namespace
{

constexpr KxcFixed kZero = 0, kOne = 1, kHalf = KxcFixed::fromRaw(0x8000);

/// The Hamilton product p * q by eight multiplications instead of sixteen.
KxcQuaternion product(const KxcQuaternion& p, const KxcQuaternion& q)
{
    const KxcFixed k1 = (p.w + p.x) * (q.w + q.x), k2 = (p.z - p.y) * (q.y - q.z);
    const KxcFixed k3 = (p.w - p.x) * (q.y + q.z), k4 = (p.y + p.z) * (q.w - q.x);
    const KxcFixed k5 = (p.x + p.z) * (q.x + q.y), k6 = (p.x - p.z) * (q.x - q.y);
    const KxcFixed k7 = (p.w + p.y) * (q.w - q.z), k8 = (p.w - p.y) * (q.w + q.z);
    return {k1 - (k5 + k6 + k7 + k8) / 2, k3 + (k5 - k6 + k7 - k8) / 2, k4 + (k5 - k6 - k7 + k8) / 2,
            k2 + (-k5 - k6 + k7 + k8) / 2};
}

KxcQuaternion rotationXYZ(KxcFixed angleX, KxcFixed angleY, KxcFixed angleZ)
{
    const KxcFixed sx = KxcMath::sin(angleX / 2), cx = KxcMath::cos(angleX / 2);
    const KxcFixed sy = KxcMath::sin(angleY / 2), cy = KxcMath::cos(angleY / 2);
    const KxcFixed sz = KxcMath::sin(angleZ / 2), cz = KxcMath::cos(angleZ / 2);
    return {sx * (cy * cz) - cx * (sy * sz), cz * (cx * sy) + sz * (sx * cy), sz * (cx * cy) - cz * (sx * sy),
            cx * (cy * cz) + sx * (sy * sz)};
}

/// @param axis  of length 1
KxcQuaternion rotationAbout(const KxcVector3& axis, KxcFixed angle)
{
    const KxcVector3 v = kxcScaled(axis, KxcMath::sin(angle / 2));
    return {v.x, v.y, v.z, KxcMath::cos(angle / 2)};
}

// Products with the 1 and the zeros of these are exact.
constexpr KxcVector3 kAxisX = {1, 0, 0}, kAxisY = {0, 1, 0}, kAxisZ = {0, 0, 1};

template <class Matrix>
KxcQuaternion fromMatrix(const Matrix& matrix)
{
    const auto& m = matrix.m;
    const KxcFixed trace = m[0][0] + m[1][1] + m[2][2];
    if (trace > kZero) // w is large enough to divide by
    {
        const KxcFixed root = KxcMath::sqrt(trace + kOne), factor = kHalf / root;
        return {(m[1][2] - m[2][1]) * factor, (m[2][0] - m[0][2]) * factor, (m[0][1] - m[1][0]) * factor, root / 2};
    }
    INT32 i = m[1][1] > m[0][0] ? 1 : 0; // the largest of x, y and z
    if (m[2][2] > m[i][i])
        i = 2;
    const INT32 j = (i + 1) % 3, k = (j + 1) % 3;
    const KxcFixed root = KxcMath::sqrt(m[i][i] - (m[j][j] + m[k][k]) + kOne);
    const KxcFixed factor = root == kZero ? kZero : kHalf / root;
    KxcFixed v[3];
    v[i] = root / 2;
    v[j] = (m[i][j] + m[j][i]) * factor;
    v[k] = (m[i][k] + m[k][i]) * factor;
    return {v[0], v[1], v[2], (m[j][k] - m[k][j]) * factor};
}

template <class Matrix>
Matrix& fromQuaternion(Matrix& matrix, const KxcQuaternion& q)
{
    const KxcFixed x2 = q.x + q.x, y2 = q.y + q.y, z2 = q.z + q.z;
    const KxcFixed xx = q.x * x2, yy = q.y * y2, zz = q.z * z2, xy = q.x * y2, xz = q.x * z2, yz = q.y * z2;
    const KxcFixed wx = q.w * x2, wy = q.w * y2, wz = q.w * z2;
    const KxcFixed rows[3][3] = {{kOne - (yy + zz), xy + wz, xz - wy},
                                 {xy - wz, kOne - (xx + zz), yz + wx},
                                 {xz + wy, yz - wx, kOne - (xx + yy)}};
    KxcMath::matrixIdentity(matrix);
    for (INT32 row = 0; row < 3; ++row)
        std::copy(rows[row], rows[row] + 3, matrix.m[row]);
    return matrix;
}

} // namespace

KxcQuaternion& KxcMath::quaternionIdentity(KxcQuaternion& q) { return q = {0, 0, 0, 1}; }

KxcQuaternion& KxcMath::quaternionRotationX(KxcQuaternion& q, KxcFixed angle)
{
    return q = rotationAbout(kAxisX, angle);
}
KxcQuaternion& KxcMath::quaternionRotationY(KxcQuaternion& q, KxcFixed angle)
{
    return q = rotationAbout(kAxisY, angle);
}
KxcQuaternion& KxcMath::quaternionRotationZ(KxcQuaternion& q, KxcFixed angle)
{
    return q = rotationAbout(kAxisZ, angle);
}
KxcQuaternion& KxcMath::quaternionRotationXYZ(KxcQuaternion& q, KxcFixed angleX, KxcFixed angleY, KxcFixed angleZ)
{
    return q = rotationXYZ(angleX, angleY, angleZ);
}
KxcQuaternion& KxcMath::quaternionRotationVector(KxcQuaternion& q, const KxcVector3& axis, KxcFixed angle)
{
    return q = rotationAbout(kxcNormalized(axis), angle);
}

KxcQuaternion& KxcMath::quaternionRotateX(KxcQuaternion& q, KxcFixed angle)
{
    return q = product(rotationAbout(kAxisX, angle), q);
}
KxcQuaternion& KxcMath::quaternionRotateY(KxcQuaternion& q, KxcFixed angle)
{
    return q = product(rotationAbout(kAxisY, angle), q);
}
KxcQuaternion& KxcMath::quaternionRotateZ(KxcQuaternion& q, KxcFixed angle)
{
    return q = product(rotationAbout(kAxisZ, angle), q);
}
KxcQuaternion& KxcMath::quaternionRotateXYZ(KxcQuaternion& q, KxcFixed angleX, KxcFixed angleY, KxcFixed angleZ)
{
    return q = product(rotationXYZ(angleX, angleY, angleZ), q);
}
KxcQuaternion& KxcMath::quaternionRotateVector(KxcQuaternion& q, const KxcVector3& axis, KxcFixed angle)
{
    return q = product(rotationAbout(kxcNormalized(axis), angle), q);
}

KxcQuaternion& KxcMath::quaternionMultiply(const KxcQuaternion& p, const KxcQuaternion& q, KxcQuaternion& out)
{
    return out = product(p, q);
}

KxcVector3& KxcMath::quaternionTransform(const KxcQuaternion& q, const KxcVector3& v, KxcVector3& out)
{
    const KxcFixed norm = q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w;
    if (norm == kZero)
        return out = v;
    const KxcQuaternion inverse = {-q.x / norm, -q.y / norm, -q.z / norm, q.w / norm};
    const KxcQuaternion turned = product(q, product({v.x, v.y, v.z, kZero}, inverse));
    return out = {turned.x, turned.y, turned.z};
}

KxcQuaternion& KxcMath::quaternionSlerp(const KxcQuaternion& q1, const KxcQuaternion& q2, KxcFixed t,
                                        KxcQuaternion& out)
{
    KxcFixed dot = q1.x * q2.x + q1.y * q2.y + q1.z * q2.z + q1.w * q2.w;
    const bool opposite = dot < kZero; // -q2 is the same rotation, and nearer
    if (opposite)
        dot = -dot;
    KxcFixed share1 = kOne - t, share2 = t;
    if (kOne - dot > KxcFixed::fromRaw(16)) // else so near that a straight line does
    {
        const KxcFixed angle = acosFast(dot), sine = sinFast(angle);
        if (sine != kZero)
        {
            share1 = sinFast(share1 * angle) / sine;
            share2 = sinFast(share2 * angle) / sine;
        }
    }
    const KxcQuaternion to = opposite ? KxcQuaternion{-q2.x, -q2.y, -q2.z, -q2.w} : q2;
    return out = {share1 * q1.x + share2 * to.x, share1 * q1.y + share2 * to.y, share1 * q1.z + share2 * to.z,
                  share1 * q1.w + share2 * to.w};
}

KxcQuaternion& KxcMath::quaternionFromMatrix(KxcQuaternion& q, const KxcMatrix4& m) { return q = fromMatrix(m); }
KxcQuaternion& KxcMath::quaternionFromMatrix(KxcQuaternion& q, const KxcMatrix3& m) { return q = fromMatrix(m); }
KxcMatrix4& KxcMath::matrixFromQuaternion(KxcMatrix4& m, const KxcQuaternion& q) { return fromQuaternion(m, q); }
KxcMatrix3& KxcMath::matrixFromQuaternion(KxcMatrix3& m, const KxcQuaternion& q) { return fromQuaternion(m, q); }

KxcQuaternion& KxcMath::quaternionLookAt(KxcQuaternion& q, const KxcVector3& eye, const KxcVector3& target,
                                         const KxcVector3& up)
{
    KxcMatrix4 placement;
    return q = fromMatrix(matrixLookAt(placement, eye, target, up));
}
