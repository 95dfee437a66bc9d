// decimal.cpp - exact decimal digits of a double, and the float nearest to a decimal number.
//
// A double is an integer times a power of two, so its expansion is finite. The integer part is divided by 10^9, the
// fraction multiplied by it; what falls out of either are nine digits at a time. Reading goes the same way: a guess is
// compared with the exact digits of the points halfway to its neighbours.
#include "core/decimal.h"

#include <cfloat>
#include <cstring>

static const UINT32 kBillion = 1000000000;
static const INT32 kLimbs = 35; // of 32 bits: 1074 fraction bits, or 1024 bits before the point

static void writeNine(char* out, UINT32 value)
{
    for (INT32 i = 8; i >= 0; --i, value /= 10)
        out[i] = static_cast<char>('0' + value % 10);
}

/// ORs value << shift into limbs, the lowest first.
static void place(UINT32* limbs, UINT64 value, INT32 shift)
{
    const INT32 limb = shift / 32, bits = shift % 32;
    const UINT64 low = (value & 0xFFFFFFFFu) << bits, high = (value >> 32) << bits;
    const UINT32 parts[3] = {static_cast<UINT32>(low), static_cast<UINT32>(low >> 32) | static_cast<UINT32>(high),
                             static_cast<UINT32>(high >> 32)};
    for (INT32 i = 0; i < 3; ++i)
        if (parts[i] != 0) // the value's own bits always fit
            limbs[limb + i] |= parts[i];
}

void KxcDecimal::set(double magnitude, INT32 fraction, INT32 significant)
{
    UINT64 bits;
    memcpy(&bits, &magnitude, sizeof bits);
    const INT32 field = static_cast<INT32>((bits >> 52) & 0x7FF);
    const UINT64 mantissa = (bits & 0xFFFFFFFFFFFFFull) | (field ? 1ull << 52 : 0);
    const INT32 exponent = (field ? field : 1) - 1075; // magnitude = mantissa * 2^exponent

    UINT32 integer[kLimbs] = {}, rest[kLimbs] = {};
    INT32 integerLimbs = 0, restLimbs = 0;
    if (exponent >= 0)
    {
        place(integer, mantissa, exponent);
        integerLimbs = kLimbs;
    }
    else
    {
        if (exponent > -64)
            place(integer, mantissa >> -exponent, 0);
        integerLimbs = 2;
        restLimbs = (-exponent + 31) / 32;
        const UINT64 below = exponent > -53 ? mantissa & ((1ull << -exponent) - 1) : mantissa;
        place(rest, below, restLimbs * 32 + exponent);
    }

    // The digits before the point come out last first, so they are written from the end of their space.
    char before[315];
    INT32 start = static_cast<INT32>(sizeof before);
    for (; integerLimbs > 0; --integerLimbs)
    {
        if (integer[integerLimbs - 1] == 0)
            continue;
        UINT64 remainder = 0;
        for (INT32 i = integerLimbs - 1; i >= 0; --i)
        {
            const UINT64 value = remainder << 32 | integer[i];
            integer[i] = static_cast<UINT32>(value / kBillion);
            remainder = value % kBillion;
        }
        start -= 9;
        writeNine(before + start, static_cast<UINT32>(remainder));
        ++integerLimbs; // the same limb again: it may not be zero yet
    }
    count = point = static_cast<INT32>(sizeof before) - start;
    memcpy(digits, before + start, static_cast<size_t>(count));
    if (count == 0)
    {
        digits[0] = '0';
        count = point = 1;
    }

    INT32 first = firstSignificant();
    INT32 lowest = 0; // the limbs below it are zero
    for (;;)
    {
        while (lowest < restLimbs && rest[lowest] == 0)
            ++lowest;
        if (lowest == restLimbs || (count - point >= fraction && count - first >= significant))
            return;
        UINT64 carry = 0;
        for (INT32 i = lowest; i < restLimbs; ++i)
        {
            carry += static_cast<UINT64>(rest[i]) * kBillion;
            rest[i] = static_cast<UINT32>(carry);
            carry >>= 32;
        }
        writeNine(digits + count, static_cast<UINT32>(carry));
        count += 9;
        while (first < count && digits[first] == '0')
            ++first;
    }
}

INT32 KxcDecimal::firstSignificant() const
{
    INT32 i = 0;
    while (i < count && digits[i] == '0')
        ++i;
    return i;
}

/// The float of these bits as a double; the bits after the largest float's stand for 2^128, where infinity begins.
static double floatOfBits(UINT32 bits)
{
    const INT32 field = static_cast<INT32>(bits >> 23);
    const UINT64 mantissa = (bits & 0x7FFFFF) | (field ? 1u << 23 : 0);
    double value = static_cast<double>(mantissa);
    for (INT32 exponent = (field ? field : 1) - 150; exponent != 0; exponent += exponent < 0 ? 1 : -1)
        value = exponent < 0 ? value * 0.5 : value * 2;
    return value;
}

/// Below, at or above 0 as the digits' number lies below, at or above the point halfway from this float to the next.
static INT32 compareWithHalfway(const char* digits, INT32 count, INT64 point, UINT32 bits)
{
    KxcDecimal halfway;
    halfway.set((floatOfBits(bits) + floatOfBits(bits + 1)) * 0.5, KxcDecimal::kCapacity, 0);
    const INT32 first = halfway.firstSignificant();
    if (point != halfway.point - first)
        return point < halfway.point - first ? -1 : 1;
    for (INT32 i = 0; i < count || first + i < halfway.count; ++i)
    {
        const char a = i < count ? digits[i] : '0';
        const char b = first + i < halfway.count ? halfway.digits[first + i] : '0';
        if (a != b)
            return a < b ? -1 : 1;
    }
    return 0;
}

FLOAT32 kxcNearestFloat(const char* digits, INT32 count, INT64 point)
{
    const UINT32 kInfinity = 0x7F800000;
    UINT32 bits;
    if (point > 39) // at least 10^39
        bits = kInfinity;
    else if (point < -45) // less than 10^-46; half of the smallest float is 7 * 10^-46
        bits = 0;
    else
    {
        static const double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                         1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22}; // exact
        double guess = 0;
        const INT32 taken = count < 15 ? count : 15;
        for (INT32 i = 0; i < taken; ++i)
            guess = guess * 10 + (digits[i] - '0');
        INT32 steps = 0;
        for (INT64 power = point - taken; power != 0; ++steps)
        {
            const INT64 step = power < -22 ? -22 : power > 22 ? 22 : power;
            guess = step < 0 ? guess / kPowers[-step] : guess * kPowers[step];
            power -= step;
        }
        // All digits taken and one operation: this is the nearest double, and rounding it once more does no harm unless
        // it lies halfway between two floats.
        UINT64 guessBits;
        memcpy(&guessBits, &guess, sizeof guessBits);
        if (FLT_EVAL_METHOD == 0 && taken == count && steps <= 1 && (guessBits & 0x1FFFFFFF) != 0x10000000)
            return static_cast<FLOAT32>(guess);
        const double kLargest = 3.4028234663852886e38;
        const FLOAT32 value = static_cast<FLOAT32>(guess < kLargest ? guess : kLargest);
        memcpy(&bits, &value, sizeof bits);
        // The guess is off by some ulps of a double, so by one float at most.
        for (INT32 side; bits < kInfinity; ++bits)
            if ((side = compareWithHalfway(digits, count, point, bits)) < 0 || (side == 0 && bits % 2 == 0))
                break;
        for (INT32 side; bits > 0; --bits)
            if ((side = compareWithHalfway(digits, count, point, bits - 1)) > 0 || (side == 0 && bits % 2 == 0))
                break;
    }
    FLOAT32 result;
    memcpy(&result, &bits, sizeof result);
    return result;
}
