// fixed_test.cpp - the arithmetic of KxcFixed against 64-bit integers and the boundaries where it wraps.
#include <kxcoreemb/fixed.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

constexpr INT32 kEdges[] = {0,       1,          -1,         2,         32767,     32768,      -32768,
                            65535,   65536,      -65536,     65537,     98304,     -98304,     411774,
                            1000000, -123456789, 0x7FFFFFFE, INT32_MAX, INT32_MIN, -INT32_MAX, 0x12345678};

INT32 low32(INT64 value) { return static_cast<INT32>(static_cast<UINT32>(static_cast<UINT64>(value))); }

} // namespace

TEST(Fixed, ArithmeticWrapsAndProductsFloorWhileQuotientsTruncate)
{
    for (INT64 a : kEdges)
        for (INT64 b : kEdges)
        {
            const KxcFixed x = KxcFixed::fromRaw(low32(a)), y = KxcFixed::fromRaw(low32(b));
            EXPECT_EQ((x + y).raw(), low32(a + b));
            EXPECT_EQ((x - y).raw(), low32(a - b));
            EXPECT_EQ((-x).raw(), low32(-a));
            EXPECT_EQ(x < y, a < b);
            EXPECT_EQ(x == y, a == b);
            const INT64 product = a * b;
            const INT64 floored = product / 65536 - (product % 65536 < 0 ? 1 : 0);
            EXPECT_EQ((x * y).raw(), low32(floored)) << a << " * " << b;
            if (b == 0)
                continue;
            EXPECT_EQ((x / y).raw(), low32(a * 65536 / b)) << a << " / " << b;
            EXPECT_EQ((x / low32(b)).raw(), low32(a / b)) << a << " / whole " << b;
        }
    static_assert((KxcFixed::fromRaw(-1) * KxcFixed::fromRaw(1)).raw() == -1, "floored");
    static_assert((KxcFixed(-1) / KxcFixed(3)).raw() == -21845, "truncated");
    static_assert((KxcFixed(200) * KxcFixed(200)).raw() == static_cast<INT32>(40000u * 65536u), "wrapped");
}

TEST(Fixed, ConversionsTruncateFloatsFloorIntegersAndWrapBeyondTheRange)
{
    EXPECT_EQ(KxcFixed(0.9).raw(), 58982);
    EXPECT_EQ(KxcFixed(1.5707964f).raw(), 102943);
    EXPECT_EQ(KxcFixed(-1.0e-6).raw(), 0);
    EXPECT_EQ(KxcFixed(-0.9).raw(), -58982);
    EXPECT_EQ(KxcFixed(32768).raw(), INT32_MIN);
    EXPECT_EQ(KxcFixed(40000.0).raw(), low32(INT64(40000) * 65536));
    EXPECT_EQ(KxcFixed(0xFFFFu).raw(), -65536);
    EXPECT_EQ(KxcFixed(INT64(7)).raw(), 7 * 65536);
    EXPECT_EQ(static_cast<INT32>(KxcFixed(-0.5)), -1);
    EXPECT_EQ(static_cast<INT32>(KxcFixed::fromRaw(65535)), 0);
    EXPECT_EQ(static_cast<FLOAT32>(KxcFixed(-2.25)), -2.25f);
    for (double beyond : {1e30, -1e30, std::numeric_limits<double>::infinity(), std::nan("")})
        EXPECT_EQ(KxcFixed(beyond).raw(), 0);
}
