// scalar_test.cpp - the scalar functions of KxcMath: against doubles with measured bounds, and bit for bit against
// slow models of the steps that define their last bits.
#include "math/math_tables.h"
#include "support/engine.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

constexpr INT32 kEdges[] = {0,       1,         -1,         2,         -2,         655,        32767,
                            -32768,  58981,     58982,      -58982,    65535,      65536,      -65536,
                            65537,   92680,     92681,      102943,    102944,     205887,     -205887,
                            0xFFFFF, 0x100000,  0x1FFFF,    0x20000,   -411774,    0x10000000, 1 << 29,
                            1 << 30, INT32_MAX, -INT32_MAX, INT32_MIN, 0x7FFF0000, -123456789};

KxcFixed raw(INT64 value) { return KxcFixed::fromRaw(static_cast<INT32>(static_cast<UINT32>(value))); }
double real(KxcFixed x) { return static_cast<FLOAT64>(x); }

class Scalar : public testing::Test
{
    Engine engine;
};

UINT32 rootByDigits(UINT32 n, int digits)
{
    UINT32 root = 0, rest = 0;
    for (int i = 0; i < digits; ++i, n <<= 2)
    {
        rest = rest << 2 | n >> 30;
        root <<= 1;
        if (rest > root * 2)
            rest -= root++ * 2 + 1;
    }
    return root;
}

INT32 angleByRotations(INT64 x, INT64 y) // of a vector with positive x and y
{
    while ((x | y) >> 29 != 0)
        x >>= 1, y >>= 1;
    while ((x | y) >> 28 == 0)
        x <<= 1, y <<= 1;
    INT64 z = 0;
    for (int k = 0; k < 30; ++k)
    {
        const INT64 oldX = x, turn = kxcMathTables()->cordicAngles[k];
        x += y > 0 ? y >> k : -(y >> k);
        z += y > 0 ? turn : -turn;
        y += y > 0 ? -(oldX >> k) : oldX >> k;
    }
    return static_cast<INT32>(z >> 13);
}

INT32 logarithmBySteps(INT64 x)
{
    INT32 scale = 0, sum = 0;
    for (; x < 0x10000; x <<= 1)
        scale += 45426;
    for (; x > 0x1FFFF; x >>= 1)
        scale -= 45426;
    INT64 step = x >> 1;
    for (int k = 1; x > 0x10000;)
    {
        if (x - step < 0x10000)
        {
            step >>= 1;
            ++k;
            continue;
        }
        x -= step;
        step = x >> k;
        sum += kxcMathTables()->logarithms[k - 1].raw();
    }
    return sum - scale;
}

} // namespace

TEST_F(Scalar, TablesHoldTheFunctionsTheyAreNamedAfter)
{
    const KxcMathTables& tables = *kxcMathTables();
    EXPECT_EQ(tables.sine[0], 6);
    EXPECT_EQ(tables.sine[16383], 1073741810);
    for (int i = 0; i < KxcMathTables::kQuarterTurn; ++i)
        ASSERT_NEAR(tables.sine[i], std::sin(i * M_PI / 32768) * (1 << 30), 31) << i;
    for (int k = 0; k < KxcMathTables::kCordicSteps; ++k)
        EXPECT_NEAR(tables.cordicAngles[k], std::atan(std::ldexp(1, -k)) * (1 << 29), 0.7) << k;
    EXPECT_EQ(tables.cordicAngles[11], 1 << 18);
    for (int k = 0; k < KxcMathTables::kLogarithms; ++k)
        EXPECT_NEAR(tables.logarithms[k].raw(), -std::log1p(-std::ldexp(1, -k - 1)) * 65536, 0.7) << k;
    for (int i = 0; i < KxcMathTables::kExponentials; ++i)
    {
        const double up = std::exp(std::ldexp(1, i - 16)) * 65536, down = std::exp(-std::ldexp(1, i - 16)) * 65536;
        EXPECT_NEAR(tables.positivePower[i].raw(), up, 2.4 + up * 4e-6) << i;
        EXPECT_NEAR(tables.negativePower[i].raw(), down, 1) << i;
    }
}

TEST_F(Scalar, FunctionsStayWithinTheirMeasuredDistanceOfTheExactOnes)
{
    const struct
    {
        const char* name;
        KxcFixed (*function)(KxcFixed);
        double (*exact)(double);
        INT64 from, to, step; // raw
        double bound;         // in 1/65536
    } cases[] = {
        {"sin", KxcMath::sin, std::sin, -823548, 823548, 5, 8},
        {"cos", KxcMath::cos, std::cos, -823548, 823548, 5, 8},
        {"sin, far", KxcMath::sinFast, std::sin, INT32_MIN, INT32_MAX, 80021, 94},
        {"tan", KxcMath::tan, std::tan, -51471, 51471, 7, 16},
        {"asin", KxcMath::asin, std::asin, -65536, 65536, 3, 6},
        {"acos", KxcMath::acos, std::acos, -65536, 65536, 3, 6},
        {"acosFast", KxcMath::acosFast, std::acos, 0, 58982, 7, 186},
        {"atan", KxcMath::atan, std::atan, INT32_MIN, INT32_MAX, 80021, 2},
        {"atan, near", KxcMath::atan, std::atan, -200000, 200000, 11, 2},
        {"sqrt", KxcMath::sqrt, std::sqrt, 0, INT32_MAX, 80021, 1},
        {"sqrtFast", KxcMath::sqrtFast, std::sqrt, 0, INT32_MAX, 80021, 256},
        {"exp, below 0", KxcMath::exp, std::exp, -1048575, 0, 13, 5},
        {"exp", KxcMath::exp, std::exp, 0, 65536, 1, 32},
        {"log", KxcMath::log, std::log, 1, 400000, 7, 6},
        {"log, far", KxcMath::log, std::log, 1, INT32_MAX, 80021, 6},
        {"logFast", KxcMath::logFast, std::log, 16384, 262144, 7, 323},
    };
    for (const auto& c : cases)
        for (INT64 x = c.from; x <= c.to; x += c.step)
            ASSERT_NEAR(c.function(raw(x)).raw(), c.exact(x / 65536.0) * 65536, c.bound) << c.name << " of raw " << x;
    for (double x = 0.05; x < 20; x *= 1.01)
        for (double y = -3; y < 3; y += 0.0371)
        {
            const double exact = std::pow(real(x), real(y));
            if (exact > 0.1 && exact < 30000)
            {
                ASSERT_NEAR(real(KxcMath::pow(x, y)), exact, exact * 0.0005) << x << " to the " << y;
            }
        }
}

TEST_F(Scalar, LandmarksAreExact)
{
    EXPECT_EQ(KxcMath::sin(0).raw(), 0);
    EXPECT_EQ(KxcMath::sin(raw(102943)).raw(), 65535);
    EXPECT_EQ(KxcMath::cos(0).raw(), 65535);
    EXPECT_NEAR(KxcMath::sin(raw(205887)).raw(), 0, 1);
    EXPECT_EQ(KxcMath::tan(raw(102943)).raw(), INT32_MAX);
    EXPECT_EQ(KxcMath::atan2(0, -1).raw(), 205887);
    EXPECT_EQ(KxcMath::atan2(0, 0).raw(), 0);
    EXPECT_EQ(KxcMath::atan2(-1, 0).raw(), -102943);
    EXPECT_EQ(KxcMath::atan2(1, 0).raw(), 102943);
    EXPECT_EQ(KxcMath::sqrt(4), KxcFixed(2));
    EXPECT_EQ(KxcMath::sqrt(2).raw(), 92681);
    EXPECT_EQ(KxcMath::sqrtFast(2).raw(), 92672);
    EXPECT_EQ(KxcMath::exp(0), KxcFixed(1));
    EXPECT_EQ(KxcMath::exp(-40), KxcMath::exp(raw(-0xFFFFF))); // the exponent is clamped there
    EXPECT_EQ(KxcMath::exp(20), KxcMath::exp(raw(0xFFFFF)));
    EXPECT_EQ(KxcMath::log(1).raw(), 0);
    EXPECT_EQ(KxcMath::log(2).raw(), 45426);
    EXPECT_EQ(KxcMath::pow(2, 3), KxcFixed(8));
    EXPECT_EQ(KxcMath::pow(-2, 3), KxcFixed(-8));
    EXPECT_EQ(KxcMath::pow(raw(65535), 20000).raw(), 45536); // 20000 products, each floored: one unit less each
    EXPECT_EQ(KxcMath::floor(-0.5), KxcFixed(-1));
    EXPECT_EQ(KxcMath::ceil(-0.5), KxcFixed(0));
    EXPECT_EQ(KxcMath::ceil(raw(INT32_MAX)), KxcFixed(-32768));
    EXPECT_EQ(KxcMath::abs(-1.5), KxcFixed(1.5));
    EXPECT_EQ(KxcMath::sqr(-1.5), KxcFixed(2.25));
}

TEST_F(Scalar, LastBitsAreThoseOfTheSlowModels)
{
    for (INT64 x = 0; x <= UINT32_MAX; x += x < 100000 ? 1 : 65521)
    {
        ASSERT_EQ(static_cast<UINT32>(KxcMath::sqrt(raw(x)).raw()), rootByDigits(static_cast<UINT32>(x), 24)) << x;
        ASSERT_EQ(static_cast<UINT32>(KxcMath::sqrtFast(raw(x)).raw()), rootByDigits(static_cast<UINT32>(x), 16) << 8);
        if (x > 0 && x <= INT32_MAX)
        {
            ASSERT_EQ(KxcMath::log(raw(x)).raw(), logarithmBySteps(x)) << x;
        }
    }
    for (INT64 x : kEdges)
        for (INT64 y : kEdges)
        {
            if (x == 0 || y == 0)
                continue;
            const INT32 angle = angleByRotations(std::abs(x), std::abs(y));
            const INT32 half = x < 0 ? 205887 - angle : angle;
            ASSERT_EQ(KxcMath::atan2(raw(y), raw(x)).raw(), y < 0 ? -half : half) << y << ", " << x;
        }
}

TEST_F(Scalar, ArgumentsWithoutAMeaningGiveZeroAndNoneHangsOrOverflows)
{
    for (INT32 x : kEdges)
    {
        for (auto function : {KxcMath::sin, KxcMath::cos, KxcMath::tan, KxcMath::asin, KxcMath::acos, KxcMath::acosFast,
                              KxcMath::atan, KxcMath::sqrt, KxcMath::exp, KxcMath::sqr, KxcMath::abs, KxcMath::floor})
            function(raw(x));
        if (x <= 0)
        {
            EXPECT_EQ(KxcMath::log(raw(x)).raw(), 0);
            EXPECT_EQ(KxcMath::logFast(raw(x)).raw(), 0);
            EXPECT_EQ(KxcMath::pow(raw(x), 0.5).raw(), 0);
            EXPECT_EQ(KxcMath::pow(raw(x), -1).raw(), 0);
        }
        EXPECT_EQ(KxcMath::pow(raw(x), 0), KxcFixed(x == 0 ? 0 : 1));
        for (INT32 y : kEdges)
            KxcMath::pow(raw(x), raw(y));
    }
    for (INT64 x = INT32_MIN; x <= INT32_MAX; x += 65521)
        KxcMath::acosFast(raw(x)), KxcMath::logFast(raw(x)), KxcMath::tan(raw(x));
}

TEST(ScalarWithoutCore, WhatNeedsATableCountsItAsZero)
{
    for (auto function : {KxcMath::sin, KxcMath::cos, KxcMath::tan, KxcMath::asin, KxcMath::acos, KxcMath::atan,
                          KxcMath::exp, KxcMath::log})
        for (KxcFixed x : {KxcFixed(0.25), KxcFixed(-0.99), KxcFixed(2)})
            EXPECT_EQ(function(x).raw(), 0);
    EXPECT_EQ(KxcMath::atan2(1, -1).raw(), 0);
    EXPECT_EQ(KxcMath::pow(2, 0.5).raw(), 0);
    EXPECT_EQ(KxcMath::pow(3, 2), KxcFixed(9));
    EXPECT_EQ(KxcMath::sqrt(9), KxcFixed(3));
}
