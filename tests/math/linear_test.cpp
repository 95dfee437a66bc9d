// linear_test.cpp - matrices and quaternions of KxcMath: identities that tie the functions to each other, and plain
// formulas in doubles.
#include "support/engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace
{

std::mt19937 generator(7);

double real(KxcFixed x) { return static_cast<FLOAT64>(x); }
KxcFixed raw(INT32 value) { return KxcFixed::fromRaw(value); }
KxcFixed between(double low, double high) { return std::uniform_real_distribution<double>(low, high)(generator); }
KxcVector3 randomVector(double size) { return {between(-size, size), between(-size, size), between(-size, size)}; }

/// An entry by position, whatever the type is made of.
template <class Value>
const KxcFixed* entries(const Value& value)
{
    return reinterpret_cast<const KxcFixed*>(&value);
}

/// The entries differ by no more than `units` / 65536.
template <class Value>
testing::AssertionResult isNear(const Value& a, const Value& b, INT32 units)
{
    for (size_t i = 0; i < sizeof(Value) / sizeof(KxcFixed); ++i)
        if (std::abs(INT64(entries(a)[i].raw()) - entries(b)[i].raw()) > units)
            return testing::AssertionFailure() << "entry " << i << ": " << entries(a)[i].raw() << " and "
                                               << entries(b)[i].raw() << " (raw) are more than " << units << " apart";
    return testing::AssertionSuccess();
}

class Linear : public testing::Test
{
protected:
    Linear() { generator.seed(7); } // a test meets the same numbers alone and among others

private:
    Engine engine;
};

template <class Matrix>
Matrix randomMatrix(double size)
{
    Matrix m;
    for (auto& row : m.m)
        for (KxcFixed& entry : row)
            entry = between(-size, size);
    return m;
}

KxcQuaternion randomRotation()
{
    KxcQuaternion q;
    return KxcMath::quaternionRotationVector(q, randomVector(4), between(-6, 6));
}

/// A rotation with a translation.
KxcMatrix4 randomPlacement()
{
    KxcMatrix4 m;
    KxcMath::matrixFromQuaternion(m, randomRotation());
    return KxcMath::matrixTranslate(m, randomVector(20));
}

template <class Matrix>
Matrix product(const Matrix& a, const Matrix& b)
{
    Matrix out;
    return KxcMath::matrixMultiply(a, b, out);
}

template <class Matrix>
Matrix identity()
{
    Matrix m;
    return KxcMath::matrixIdentity(m);
}

} // namespace

TEST_F(Linear, ConstructorsFollowTheRowVectorConvention)
{
    const KxcFixed angle = 0.7, co = KxcMath::cos(angle), si = KxcMath::sin(angle);
    KxcMatrix3 m;
    EXPECT_TRUE(isNear(KxcMath::matrixRotationX(m, angle), {{{1, 0, 0}, {0, co, si}, {0, -si, co}}}, 0));
    EXPECT_TRUE(isNear(KxcMath::matrixRotationY(m, angle), {{{co, 0, -si}, {0, 1, 0}, {si, 0, co}}}, 0));
    EXPECT_TRUE(isNear(KxcMath::matrixRotationZ(m, angle), {{{co, si, 0}, {-si, co, 0}, {0, 0, 1}}}, 0));
    EXPECT_TRUE(isNear(KxcMath::matrixScaling(m, 3), {{{3, 0, 0}, {0, 3, 0}, {0, 0, 3}}}, 0));
    EXPECT_TRUE(isNear(KxcMath::matrixScaling2D(m, 3), {{{3, 0, 0}, {0, 3, 0}, {0, 0, 1}}}, 0));
    EXPECT_TRUE(isNear(KxcMath::matrixTranslation2D(m, {4, 5}), {{{1, 0, 0}, {0, 1, 0}, {4, 5, 1}}}, 0));
    KxcMatrix4 n;
    EXPECT_TRUE(
        isNear(KxcMath::matrixRotationY(n, angle), {{{co, 0, -si, 0}, {0, 1, 0, 0}, {si, 0, co, 0}, {0, 0, 0, 1}}}, 0));
    EXPECT_TRUE(isNear(KxcMath::matrixScaling(n, 3), {{{3, 0, 0, 0}, {0, 3, 0, 0}, {0, 0, 3, 0}, {0, 0, 0, 1}}}, 0));
    EXPECT_TRUE(isNear(KxcMath::matrixTranslation(n, {1, 2, 3}),
                       {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {1, 2, 3, 1}}}, 0));
    KxcVector3 v = {0, 0, 0};
    EXPECT_TRUE(isNear(KxcMath::matrixTransform(n, v, v), {1, 2, 3}, 0));
    v = {1, 0, 0};
    EXPECT_TRUE(
        isNear(KxcMath::matrixTransform(KxcMath::matrixRotationZ(n, raw(102943)), v, v), {0, raw(65535), 0}, 0));
}

#define EXPECT_PREMULTIPLIES(Matrix, construct, modify, argument)                                 \
    {                                                                                             \
        Matrix r, m = randomMatrix<Matrix>(100);                                                  \
        const Matrix expected = product(KxcMath::construct(r, argument), m);                      \
        EXPECT_TRUE(isNear(KxcMath::modify(m, argument), expected, 0)) << #modify " of " #Matrix; \
    }

TEST_F(Linear, ModifiersMultiplyFromTheLeftBitForBit)
{
    for (KxcFixed a : {KxcFixed(0), KxcFixed(0.3), KxcFixed(-2.5), KxcFixed(17)})
    {
        EXPECT_PREMULTIPLIES(KxcMatrix4, matrixRotationX, matrixRotateX, a)
        EXPECT_PREMULTIPLIES(KxcMatrix4, matrixRotationY, matrixRotateY, a)
        EXPECT_PREMULTIPLIES(KxcMatrix4, matrixRotationZ, matrixRotateZ, a)
        EXPECT_PREMULTIPLIES(KxcMatrix4, matrixScaling, matrixScale, a)
        EXPECT_PREMULTIPLIES(KxcMatrix4, matrixTranslation, matrixTranslate, (KxcVector3{a, -a, 5}))
        EXPECT_PREMULTIPLIES(KxcMatrix3, matrixRotationX, matrixRotateX, a)
        EXPECT_PREMULTIPLIES(KxcMatrix3, matrixRotationY, matrixRotateY, a)
        EXPECT_PREMULTIPLIES(KxcMatrix3, matrixRotation2D, matrixRotate2D, a)
        EXPECT_PREMULTIPLIES(KxcMatrix3, matrixScaling, matrixScale, a)
        EXPECT_PREMULTIPLIES(KxcMatrix3, matrixScaling2D, matrixScale2D, a)
        EXPECT_PREMULTIPLIES(KxcMatrix3, matrixTranslation2D, matrixTranslate2D, (KxcVector2{a, 5}))
    }
}

TEST_F(Linear, ProductsFloorEveryTermOnItsOwnAndMayOverwriteAnArgument)
{
    KxcMatrix4 a = randomMatrix<KxcMatrix4>(50);
    const KxcMatrix4 b = randomMatrix<KxcMatrix4>(50), old = a;
    const KxcVector4 v = {between(-9, 9), between(-9, 9), between(-9, 9), 1};
    KxcMatrix4 expected;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
        {
            INT64 sum = 0;
            for (int i = 0; i < 4; ++i)
                sum += (INT64(a.m[row][i].raw()) * b.m[i][column].raw()) >> 16;
            expected.m[row][column] = raw(static_cast<INT32>(sum));
        }
    EXPECT_TRUE(isNear(KxcMath::matrixMultiply(a, b, a), expected, 0));
    KxcMatrix4 c = b;
    EXPECT_TRUE(isNear(KxcMath::matrixMultiply(old, c, c), expected, 0));

    KxcVector4 projected = v; // a vector is a matrix of one row
    KxcMatrix4 asRow = {};
    std::copy_n(entries(v), 4, asRow.m[0]);
    KxcMath::matrixMultiply(asRow, b, asRow);
    KxcMath::matrixProject(b, projected, projected);
    EXPECT_TRUE(std::equal(entries(projected), entries(projected) + 4, asRow.m[0]));
    KxcVector3 point = {v.x, v.y, v.z}, normal = point;
    KxcMath::matrixTransform(b, point, point);
    EXPECT_TRUE(std::equal(entries(point), entries(point) + 3, asRow.m[0]));
    KxcMath::matrixTransformNormal(b, normal, normal);
    EXPECT_EQ(normal.y + b.m[3][1], point.y);
    KxcMatrix4 transposed = b;
    KxcMath::matrixTranspose(transposed);
    EXPECT_EQ(transposed.m[1][3], b.m[3][1]);
    EXPECT_TRUE(isNear(KxcMath::matrixTranspose(transposed), b, 0));

    const KxcMatrix3 flat = {{{2, 3, 0}, {5, 7, 0}, {11, 13, 1}}};
    KxcVector2 w = {1, 2};
    EXPECT_TRUE(isNear(KxcMath::matrixTransform2D(flat, w, w), {23, 30}, 0));
    KxcVector3 u = {1, 2, 3};
    EXPECT_TRUE(isNear(KxcMath::matrixTransform(flat, u, u), {45, 56, 3}, 0));
}

TEST_F(Linear, AMatrixTimesItsInverseIsTheIdentity)
{
    for (int i = 0; i < 300; ++i)
    {
        const KxcMatrix4 rigid = randomPlacement();
        KxcMatrix4 fast = rigid, general = randomMatrix<KxcMatrix4>(0.3), inverse;
        EXPECT_TRUE(isNear(product(KxcMath::matrixInverseFast(fast), rigid), identity<KxcMatrix4>(), 800));
        for (int k = 0; k < 4; ++k)
            general.m[k][k] += KxcFixed(2); // rows are not exchanged: the pivots had better be large
        inverse = general;
        EXPECT_TRUE(isNear(product(general, KxcMath::matrixInverseAffine(inverse)), identity<KxcMatrix4>(), 16));

        KxcMatrix3 flat, flatInverse;
        KxcMath::matrixTranslate2D(KxcMath::matrixRotation2D(flat, between(-4, 4)), {between(-9, 9), between(-9, 9)});
        flatInverse = flat;
        EXPECT_TRUE(isNear(product(flat, KxcMath::matrixInverseFast2D(flatInverse)), identity<KxcMatrix3>(), 64));
        flat.m[0][0] *= between(1, 3); // shears and scales; a quarter of the angles exchange the pivots
        flat.m[0][1] *= between(1, 3);
        flatInverse = flat;
        EXPECT_TRUE(isNear(product(flat, KxcMath::matrixInverseAffine2D(flatInverse)), identity<KxcMatrix3>(), 100));
    }
    KxcMatrix3 turn = {{{0, 1, 0}, {-1, 0, 0}, {3, 4, 1}}}; // a quarter: the first pivot lies beside the diagonal
    EXPECT_TRUE(isNear(KxcMath::matrixInverseAffine2D(turn), {{{0, -1, 0}, {1, 0, 0}, {-4, 3, 1}}}, 0));
    KxcMatrix3 m = {{{2, 0, 0}, {4, 0, 1}, {0, 1, 0}}};
    EXPECT_TRUE(isNear(KxcMath::matrixInverseAffine(m), {{{1, 0, 0}, {0, 0, 1}, {0, 1, 0}}}, 0)) << "stops at m[1][1]";
    m = {{{1, 2, 0}, {2, 4, 0}, {1, 1, 1}}};
    KxcMath::matrixInverseAffine2D(m); // singular: any result will do
}

TEST_F(Linear, NormalizingMakesColumnsOfLengthOneAtRightAngles)
{
    for (int i = 0; i < 300; ++i)
    {
        KxcMatrix4 m = randomPlacement();
        const KxcMatrix4 before = m;
        KxcMath::matrixScale(m, between(0.1, 30));
        m.m[1][1] += between(-0.05, 0.05);
        KxcMath::matrixNormalize(m);
        EXPECT_TRUE(isNear(m, before, 40000)) << "not mirrored";
        KxcMatrix4 transposed = m;
        KxcMath::matrixTranspose(transposed);
        m.m[3][0] = m.m[3][1] = m.m[3][2] = 0;
        for (auto& row : transposed.m)
            row[3] = 0;
        transposed.m[3][3] = 1;
        EXPECT_TRUE(isNear(product(transposed, m), identity<KxcMatrix4>(), 700)) << i;
    }
    KxcMatrix3 zero = {};
    EXPECT_TRUE(isNear(KxcMath::matrixNormalize(zero), {}, 0));

    KxcMatrix4 m; // the last bits of a length, computed by hand
    KxcMath::matrixLookAt(m, {0, 0, 0}, {1, 2, -2}, {0, 1, 0});
    EXPECT_TRUE(m.m[2][0] == raw(21845) && m.m[2][1] == raw(43691) && m.m[2][2] == raw(-43692));
    KxcMath::matrixLookAt(m, {0, 0, 0}, {raw(5), raw(-7), raw(11)}, {0, 1, 0});
    EXPECT_TRUE(m.m[2][0] == raw(23466) && m.m[2][1] == raw(-32852) && m.m[2][2] == raw(51625));
}

TEST_F(Linear, CamerasLookAtTheirTargetAndLensesMapNearAndFar)
{
    const KxcVector3 eye = {3, 4, -5}, target = {-1, 2, 7}, up = {0, 1, 0};
    KxcMatrix4 view, lens, other;
    KxcVector3 v = target;
    KxcMath::matrixInverseFast(KxcMath::matrixLookAt(view, eye, target, up));
    EXPECT_TRUE(isNear(KxcMath::matrixTransform(view, v, v), {0, 0, std::sqrt(16.0 + 4 + 144)}, 60));
    v = {3, 5, -5};
    KxcMath::matrixTransform(view, v, v);
    EXPECT_GT(v.y, KxcFixed(0.9)) << "what is above the eye is up in the view";

    KxcMath::matrixToProjection(lens, 240, 320, 1, 2, 50);
    KxcVector4 clip = {0, 0, 2, 1};
    EXPECT_TRUE(isNear(KxcMath::matrixProject(lens, clip, clip), {0, 0, 0, 2}, 2));
    clip = {50 * std::tan(0.5) * 4 / 3, -50 * std::tan(0.5), 50, 1};
    EXPECT_TRUE(isNear(KxcMath::matrixProject(lens, clip, clip), {50, -50, 50, 50}, 400));
    KxcMath::matrixToProjectionOffCenter(other, 240, 320, 1, 2, 50, 0, 320, 0, 240);
    EXPECT_TRUE(isNear(lens, other, 40)) << "the whole viewport as a window";
    KxcMath::matrixToProjectionOffCenter(other, 240, 320, 1, 2, 50, 160, 320, 0, 120);
    clip = {50 * std::tan(0.5) * 4 / 3, 0, 50, 1};
    EXPECT_TRUE(isNear(KxcMath::matrixProject(other, clip, clip), {50, -50, 50, 50}, 900)) << "its upper right quarter";
    KxcMath::matrixToProjection(lens, 0, 0, 0, 1, 1);
    EXPECT_TRUE(isNear(lens, {{{}, {}, {0, 0, 0, 1}, {}}}, 0)) << "zero divisors";
    KxcMath::matrixToProjectionOffCenter(other, 1, 1, 2, 2, 3, 3);
    EXPECT_TRUE(isNear(lens, other, 0));
}

TEST_F(Linear, QuaternionsAgreeWithTheMatricesTheyTurnInto)
{
    const KxcVector3 axes[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}, {0.6, 0, 0.8}, {0, -0.6, 0.8}};
    for (int i = 0; i < 300; ++i)
    {
        KxcQuaternion q = randomRotation(), r = randomRotation(), back, expected;
        if (i < 36) // turns of nearly pi, where w is no help
            KxcMath::quaternionRotationVector(q, axes[i / 6], 3.1 + 0.02 * (i % 6));
        KxcMatrix3 m;
        KxcMatrix4 n;
        const KxcVector3 v = randomVector(10);
        KxcVector3 turned, byMatrix;
        KxcMath::matrixTransform(KxcMath::matrixFromQuaternion(m, q), v, byMatrix);
        EXPECT_TRUE(isNear(KxcMath::quaternionTransform(q, v, turned), byMatrix, 500)) << i;
        KxcMath::quaternionFromMatrix(back, KxcMath::matrixFromQuaternion(n, q));
        const bool flipped =
            real(back.x) * real(q.x) + real(back.y) * real(q.y) + real(back.z) * real(q.z) + real(back.w) * real(q.w) <
            0;
        expected = flipped ? KxcQuaternion{-q.x, -q.y, -q.z, -q.w} : q;
        EXPECT_TRUE(isNear(back, expected, 60)) << i;
        EXPECT_TRUE(isNear(KxcMath::quaternionFromMatrix(r, m), back, 0));

        r = randomRotation(); // the Hamilton product
        KxcQuaternion plain = {
            r.w * q.x + r.x * q.w + r.y * q.z - r.z * q.y, r.w * q.y - r.x * q.z + r.y * q.w + r.z * q.x,
            r.w * q.z + r.x * q.y - r.y * q.x + r.z * q.w, r.w * q.w - r.x * q.x - r.y * q.y - r.z * q.z};
        EXPECT_TRUE(isNear(KxcMath::quaternionMultiply(r, q, back), plain, 8));

        const KxcFixed a = between(-3, 3), b = between(-3, 3), c = between(-3, 3);
        KxcQuaternion stepwise = q, atOnce = q, xyz;
        KxcMath::quaternionRotateZ(KxcMath::quaternionRotateY(KxcMath::quaternionRotateX(stepwise, a), b), c);
        EXPECT_TRUE(isNear(KxcMath::quaternionRotateXYZ(atOnce, a, b, c), stepwise, 24)) << "x, then y, then z";
        KxcMath::quaternionMultiply(KxcMath::quaternionRotationXYZ(xyz, a, b, c), q, back);
        EXPECT_TRUE(isNear(atOnce, back, 0));
        KxcMath::quaternionRotateVector(stepwise = q, {0, 5, 0}, b);
        EXPECT_TRUE(isNear(KxcMath::quaternionRotateY(atOnce = q, b), stepwise, 60));
        EXPECT_TRUE(isNear(KxcMath::quaternionRotationY(back, b),
                           KxcMath::quaternionRotateY(KxcMath::quaternionIdentity(r), b), 8));
        EXPECT_TRUE(isNear(KxcMath::quaternionRotationZ(back, c),
                           KxcMath::quaternionRotateZ(KxcMath::quaternionIdentity(r), c), 8));
        KxcMath::matrixRotationX(n, a);
        EXPECT_TRUE(isNear(KxcMath::matrixFromQuaternion(m, KxcMath::quaternionRotationX(back, a)),
                           {{{1, 0, 0}, {0, n.m[1][1], n.m[1][2]}, {0, n.m[2][1], n.m[2][2]}}}, 32));
    }
    KxcQuaternion q;
    KxcMatrix4 m, n;
    KxcMath::quaternionLookAt(q, {1, 2, 3}, {-5, 4, 9}, {0, 1, 0});
    KxcMath::matrixLookAt(m, {0, 0, 0}, {-6, 2, 6}, {0, 1, 0});
    EXPECT_TRUE(isNear(KxcMath::matrixFromQuaternion(n, q), m, 60));
    KxcVector3 v = {1, 2, 3};
    EXPECT_TRUE(isNear(KxcMath::quaternionTransform({0, 0, 0, 0}, v, v), {1, 2, 3}, 0)) << "no inverse: left alone";
}

TEST_F(Linear, SlerpRunsTheShorterWayFromEndToEnd)
{
    for (int i = 0; i < 200; ++i)
    {
        const KxcQuaternion q = randomRotation(), r = randomRotation();
        const double dot =
            real(q.x) * real(r.x) + real(q.y) * real(r.y) + real(q.z) * real(r.z) + real(q.w) * real(r.w);
        const KxcQuaternion to = dot < 0 ? KxcQuaternion{-r.x, -r.y, -r.z, -r.w} : r;
        const double angle = std::acos(std::min(std::abs(dot), 1.0));
        for (double t : {0.0, 0.25, 0.5, 1.0})
        {
            KxcQuaternion out, expected;
            KxcMath::quaternionSlerp(q, r, t, out);
            for (int k = 0; k < 4; ++k)
            {
                const double exact =
                    (std::sin((1 - t) * angle) * real(entries(q)[k]) + std::sin(t * angle) * real(entries(to)[k])) /
                    std::sin(angle);
                const_cast<KxcFixed*>(entries(expected))[k] = exact;
            }
            EXPECT_TRUE(isNear(out, expected, 400)) << i << " at " << t;
        }
    }
    const KxcQuaternion unit = {0, 0.6, 0, 0.8}; // near enough to itself for the straight line
    KxcQuaternion same;
    EXPECT_TRUE(isNear(KxcMath::quaternionSlerp(unit, unit, 0.3, same), unit, 2));
}

TEST_F(Linear, ExtremeEntriesOverflowWithoutUndefinedArithmetic)
{
    constexpr INT32 kExtremes[] = {0, 1, -1, 65535, 65536, -65536, 1 << 30, INT32_MAX, INT32_MIN, -INT32_MAX};
    std::uniform_int_distribution<size_t> pick(0, std::size(kExtremes) - 1);
    const auto fill = [&](auto& value)
    {
        for (size_t i = 0; i < sizeof(value) / sizeof(KxcFixed); ++i)
            const_cast<KxcFixed*>(entries(value))[i] = raw(kExtremes[pick(generator)]);
    };
    using M = KxcMath;
    for (int i = 0; i < 3000; ++i)
    {
        KxcMatrix4 m, n;
        KxcMatrix3 a;
        KxcQuaternion p, q;
        KxcVector3 u, v;
        KxcFixed s[9];
        fill(m), fill(n), fill(a), fill(p), fill(q), fill(u), fill(v), fill(s);
        M::quaternionFromMatrix(q, m), M::quaternionFromMatrix(q, a), fill(q);
        M::quaternionTransform(p, u, v), M::quaternionSlerp(p, q, s[0], q), fill(v);
        M::quaternionRotateVector(p, u, s[1]), M::quaternionRotateXYZ(p, s[2], s[3], s[4]),
            M::quaternionMultiply(p, q, q);
        M::matrixMultiply(m, n, n), M::matrixInverseFast(n), M::matrixInverse(m), M::matrixNormalize(m);
        M::matrixRotateX(m, s[5]), M::matrixTranslate(m, u), M::matrixTransform(m, u, v), M::matrixNormalize(n);
        KxcMatrix3 b = a, c = a, d = a;
        M::matrixInverse(a), M::matrixInverseAffine2D(b), M::matrixInverseFast2D(c), M::matrixNormalize(d);
        M::matrixLookAt(m, u, v, {s[0], s[1], s[2]}), M::matrixFromQuaternion(m, q), fill(s);
        M::matrixToProjection(m, s[0], s[1], s[2], s[3], s[4]);
        M::matrixToProjectionOffCenter(m, s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]);
    }
}
