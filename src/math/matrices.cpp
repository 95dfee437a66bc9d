// matrices.cpp - the matrices for 3D, 4x4 and 3x3: each operation is written once for both sizes.
//
// A modifier is R * M with the R of its constructor. Where R has zeros and ones, the products with them are left out:
// they are exact, so the bits stay the same.
#include "math/linear.h"

#include <kxcoreemb/fixed_math.h>

#include <utility>

namespace
{

constexpr KxcFixed kZero = 0, kOne = 1;

template <class Matrix>
constexpr INT32 kSize = sizeof(Matrix::m) / sizeof(Matrix::m[0]);

template <class Matrix>
Matrix& identity(Matrix& m)
{
    for (INT32 row = 0; row < kSize<Matrix>; ++row)
        for (INT32 column = 0; column < kSize<Matrix>; ++column)
            m.m[row][column] = row == column ? kOne : kZero;
    return m;
}

/// The rotation that turns axis kFrom toward axis kTo.
template <INT32 kFrom, INT32 kTo, class Matrix>
Matrix& rotation(Matrix& m, KxcFixed angle)
{
    const KxcFixed sine = KxcMath::sin(angle), cosine = KxcMath::cos(angle);
    identity(m);
    m.m[kFrom][kFrom] = cosine;
    m.m[kFrom][kTo] = sine;
    m.m[kTo][kFrom] = -sine;
    m.m[kTo][kTo] = cosine;
    return m;
}

template <INT32 kFrom, INT32 kTo, class Matrix>
Matrix& rotate(Matrix& m, KxcFixed angle)
{
    const KxcFixed sine = KxcMath::sin(angle), cosine = KxcMath::cos(angle);
    for (INT32 column = 0; column < kSize<Matrix>; ++column)
    {
        const KxcFixed from = m.m[kFrom][column], to = m.m[kTo][column];
        m.m[kFrom][column] = cosine * from + sine * to;
        m.m[kTo][column] = -sine * from + cosine * to;
    }
    return m;
}

template <class Matrix>
Matrix& scaling(Matrix& m, KxcFixed factor)
{
    identity(m);
    for (INT32 i = 0; i < 3; ++i)
        m.m[i][i] = factor;
    return m;
}

template <class Matrix>
Matrix& scale(Matrix& m, KxcFixed factor)
{
    for (INT32 row = 0; row < 3; ++row)
        for (INT32 column = 0; column < kSize<Matrix>; ++column)
            m.m[row][column] *= factor;
    return m;
}

template <class Matrix>
Matrix& multiply(const Matrix& a, const Matrix& b, Matrix& out)
{
    Matrix product; // out may be a or b
    for (INT32 row = 0; row < kSize<Matrix>; ++row)
        for (INT32 column = 0; column < kSize<Matrix>; ++column)
        {
            KxcFixed sum = 0;
            for (INT32 i = 0; i < kSize<Matrix>; ++i)
                sum += a.m[row][i] * b.m[i][column];
            product.m[row][column] = sum;
        }
    return out = product;
}

template <class Matrix>
Matrix& transpose(Matrix& m)
{
    for (INT32 row = 1; row < kSize<Matrix>; ++row)
        for (INT32 column = 0; column < row; ++column)
            std::swap(m.m[row][column], m.m[column][row]);
    return m;
}

/// Gauss-Jordan: what turns m into the identity, row by row, turns the identity into the inverse.
template <class Matrix>
Matrix& inverse(Matrix& m)
{
    constexpr INT32 n = kSize<Matrix>;
    Matrix companion;
    identity(companion);
    for (INT32 pivot = 0; pivot < n; ++pivot)
    {
        const KxcFixed value = m.m[pivot][pivot];
        if (value == kZero)
            return m;
        if (value != kOne)
        {
            const KxcFixed reciprocal = kOne / value;
            for (INT32 column = 0; column < n; ++column)
            {
                m.m[pivot][column] *= reciprocal;
                companion.m[pivot][column] *= reciprocal;
            }
        }
        for (INT32 row = 0; row < n; ++row)
        {
            const KxcFixed factor = -m.m[row][pivot];
            if (row == pivot || factor == kZero)
                continue;
            for (INT32 column = 0; column < n; ++column)
            {
                m.m[row][column] += m.m[pivot][column] * factor;
                companion.m[row][column] += companion.m[pivot][column] * factor;
            }
        }
    }
    return m = companion;
}

template <class Matrix>
Matrix& normalize(Matrix& m)
{
    const auto column = [&m](INT32 i) { return KxcVector3{m.m[0][i], m.m[1][i], m.m[2][i]}; };
    const KxcVector3 first = column(0), second = kxcCross(column(2), first);
    const KxcVector3 columns[3] = {kxcNormalized(first), kxcNormalized(second), kxcNormalized(kxcCross(first, second))};
    for (INT32 i = 0; i < 3; ++i)
    {
        m.m[0][i] = columns[i].x;
        m.m[1][i] = columns[i].y;
        m.m[2][i] = columns[i].z;
    }
    return m;
}

} // namespace

KxcMatrix4& KxcMath::matrixIdentity(KxcMatrix4& m) { return identity(m); }
KxcMatrix3& KxcMath::matrixIdentity(KxcMatrix3& m) { return identity(m); }

KxcMatrix4& KxcMath::matrixRotationX(KxcMatrix4& m, KxcFixed angle) { return rotation<1, 2>(m, angle); }
KxcMatrix3& KxcMath::matrixRotationX(KxcMatrix3& m, KxcFixed angle) { return rotation<1, 2>(m, angle); }
KxcMatrix4& KxcMath::matrixRotationY(KxcMatrix4& m, KxcFixed angle) { return rotation<2, 0>(m, angle); }
KxcMatrix3& KxcMath::matrixRotationY(KxcMatrix3& m, KxcFixed angle) { return rotation<2, 0>(m, angle); }
KxcMatrix4& KxcMath::matrixRotationZ(KxcMatrix4& m, KxcFixed angle) { return rotation<0, 1>(m, angle); }
KxcMatrix3& KxcMath::matrixRotationZ(KxcMatrix3& m, KxcFixed angle) { return rotation<0, 1>(m, angle); }
KxcMatrix4& KxcMath::matrixScaling(KxcMatrix4& m, KxcFixed factor) { return scaling(m, factor); }
KxcMatrix3& KxcMath::matrixScaling(KxcMatrix3& m, KxcFixed factor) { return scaling(m, factor); }

KxcMatrix4& KxcMath::matrixTranslation(KxcMatrix4& m, const KxcVector3& offset)
{
    const KxcVector3 copy = offset; // which may lie in m
    identity(m);
    m.m[3][0] = copy.x;
    m.m[3][1] = copy.y;
    m.m[3][2] = copy.z;
    return m;
}

KxcMatrix4& KxcMath::matrixRotateX(KxcMatrix4& m, KxcFixed angle) { return rotate<1, 2>(m, angle); }
KxcMatrix3& KxcMath::matrixRotateX(KxcMatrix3& m, KxcFixed angle) { return rotate<1, 2>(m, angle); }
KxcMatrix4& KxcMath::matrixRotateY(KxcMatrix4& m, KxcFixed angle) { return rotate<2, 0>(m, angle); }
KxcMatrix3& KxcMath::matrixRotateY(KxcMatrix3& m, KxcFixed angle) { return rotate<2, 0>(m, angle); }
KxcMatrix4& KxcMath::matrixRotateZ(KxcMatrix4& m, KxcFixed angle) { return rotate<0, 1>(m, angle); }
KxcMatrix3& KxcMath::matrixRotateZ(KxcMatrix3& m, KxcFixed angle) { return rotate<0, 1>(m, angle); }
KxcMatrix4& KxcMath::matrixScale(KxcMatrix4& m, KxcFixed factor) { return scale(m, factor); }
KxcMatrix3& KxcMath::matrixScale(KxcMatrix3& m, KxcFixed factor) { return scale(m, factor); }

KxcMatrix4& KxcMath::matrixTranslate(KxcMatrix4& m, const KxcVector3& offset)
{
    const KxcVector4 row = kxcProjected(m, {offset.x, offset.y, offset.z, kOne});
    m.m[3][0] = row.x;
    m.m[3][1] = row.y;
    m.m[3][2] = row.z;
    m.m[3][3] = row.w;
    return m;
}

KxcMatrix4& KxcMath::matrixMultiply(const KxcMatrix4& a, const KxcMatrix4& b, KxcMatrix4& out)
{
    return multiply(a, b, out);
}
KxcMatrix3& KxcMath::matrixMultiply(const KxcMatrix3& a, const KxcMatrix3& b, KxcMatrix3& out)
{
    return multiply(a, b, out);
}
KxcMatrix4& KxcMath::matrixTranspose(KxcMatrix4& m) { return transpose(m); }
KxcMatrix3& KxcMath::matrixTranspose(KxcMatrix3& m) { return transpose(m); }

KxcVector3& KxcMath::matrixTransform(const KxcMatrix4& m, const KxcVector3& v, KxcVector3& out)
{
    return out = kxcTransformed(m, v);
}
KxcVector3& KxcMath::matrixTransform(const KxcMatrix3& m, const KxcVector3& v, KxcVector3& out)
{
    return out = kxcTransformedNormal(m, v);
}
KxcVector3& KxcMath::matrixTransformNormal(const KxcMatrix4& m, const KxcVector3& v, KxcVector3& out)
{
    return out = kxcTransformedNormal(m, v);
}
KxcVector4& KxcMath::matrixProject(const KxcMatrix4& m, const KxcVector4& v, KxcVector4& out)
{
    return out = kxcProjected(m, v);
}

KxcMatrix4& KxcMath::matrixInverse(KxcMatrix4& m) { return inverse(m); }
KxcMatrix3& KxcMath::matrixInverse(KxcMatrix3& m) { return inverse(m); }

KxcMatrix4& KxcMath::matrixInverseFast(KxcMatrix4& m)
{
    const KxcVector3 offset = {m.m[3][0], m.m[3][1], m.m[3][2]};
    KxcFixed moved[3];
    for (INT32 i = 0; i < 3; ++i)
        moved[i] = -kxcDot(offset, {m.m[i][0], m.m[i][1], m.m[i][2]});
    transpose(m);
    for (INT32 i = 0; i < 3; ++i)
    {
        m.m[i][3] = 0;
        m.m[3][i] = moved[i];
    }
    m.m[3][3] = kOne;
    return m;
}

KxcMatrix4& KxcMath::matrixNormalize(KxcMatrix4& m) { return normalize(m); }
KxcMatrix3& KxcMath::matrixNormalize(KxcMatrix3& m) { return normalize(m); }
