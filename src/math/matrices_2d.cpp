// matrices_2d.cpp - the 3x3 matrix as an affine transform of the plane.
#include <kxcoreemb/fixed_math.h>

namespace
{

constexpr KxcFixed kZero = 0, kOne = 1;

} // namespace

KxcMatrix3& KxcMath::matrixTranslation2D(KxcMatrix3& m, const KxcVector2& offset)
{
    const KxcVector2 copy = offset; // which may lie in m
    matrixIdentity(m);
    m.m[2][0] = copy.x;
    m.m[2][1] = copy.y;
    return m;
}

KxcMatrix3& KxcMath::matrixScaling2D(KxcMatrix3& m, KxcFixed factor)
{
    matrixIdentity(m);
    m.m[0][0] = m.m[1][1] = factor;
    return m;
}

KxcMatrix3& KxcMath::matrixTranslate2D(KxcMatrix3& m, const KxcVector2& offset)
{
    const KxcVector2 copy = offset;
    for (INT32 column = 0; column < 3; ++column)
        m.m[2][column] += copy.x * m.m[0][column] + copy.y * m.m[1][column];
    return m;
}

KxcMatrix3& KxcMath::matrixScale2D(KxcMatrix3& m, KxcFixed factor)
{
    for (INT32 row = 0; row < 2; ++row)
        for (KxcFixed& entry : m.m[row])
            entry *= factor;
    return m;
}

KxcVector2& KxcMath::matrixTransform2D(const KxcMatrix3& m, const KxcVector2& v, KxcVector2& out)
{
    return out = {v.x * m.m[0][0] + v.y * m.m[1][0] + m.m[2][0], v.x * m.m[0][1] + v.y * m.m[1][1] + m.m[2][1]};
}

KxcMatrix3& KxcMath::matrixInverseFast2D(KxcMatrix3& m)
{
    const KxcMatrix3 old = m;
    const KxcFixed x = old.m[2][0], y = old.m[2][1];
    m.m[0][1] = old.m[1][0];
    m.m[1][0] = old.m[0][1];
    m.m[2][0] = -(old.m[0][0] * x + old.m[0][1] * y);
    m.m[2][1] = -(old.m[1][0] * x + old.m[1][1] * y);
    m.m[0][2] = m.m[1][2] = kZero;
    m.m[2][2] = kOne;
    return m;
}

/// Column operations: what turns a (the 2x2 part) into the identity, column by column, turns the identity into the
/// inverse. The larger entry of the first row is the first pivot; a pivot of 0 is passed over.
KxcMatrix3& KxcMath::matrixInverseAffine2D(KxcMatrix3& m)
{
    KxcFixed a00 = m.m[0][0], a01 = m.m[0][1], a10 = m.m[1][0], a11 = m.m[1][1];
    const KxcFixed x = m.m[2][0], y = m.m[2][1];
    matrixIdentity(m);
    KxcFixed &m00 = m.m[0][0], &m01 = m.m[0][1], &m10 = m.m[1][0], &m11 = m.m[1][1];

    if (abs(a01) > abs(a00)) // a quarter turn brings column 1 to the front
    {
        const KxcFixed old00 = a00, old10 = a10;
        a00 = -a01;
        a10 = -a11;
        a01 = old00;
        a11 = old10;
        m00 = m11 = kZero;
        m01 = kOne;
        m10 = -kOne;
    }
    if (a00 != kZero)
    {
        const KxcFixed reciprocal = kOne / a00;
        a00 *= reciprocal;
        a10 *= reciprocal;
        m00 *= reciprocal;
        m10 *= reciprocal;
        if (a00 != kZero)
        {
            const KxcFixed factor = -a01 / a00;
            a11 += a10 * factor;
            m01 += m00 * factor;
            m11 += m10 * factor;
        }
    }
    if (a11 != kZero)
    {
        const KxcFixed reciprocal = kOne / a11;
        a11 *= reciprocal;
        m01 *= reciprocal;
        m11 *= reciprocal;
        if (a11 != kZero)
        {
            const KxcFixed factor = -a10 / a11;
            m00 += m01 * factor;
            m10 += m11 * factor;
        }
    }
    if (x != kZero || y != kZero)
    {
        m.m[2][0] = -m00 * x - m10 * y;
        m.m[2][1] = -m01 * x - m11 * y;
    }
    return m;
}
