// powers.cpp - square roots, exponentials and logarithms.
#include "math/math_tables.h"

#include <kxcoreemb/fixed_math.h>

#include <array>

namespace
{

/// Entry i, for u in [i, i + 1) * 2^25: 1 / sqrt(u / 2^32) at the middle of the interval, 15 fraction bits.
/// Entries below 32 are not used. Good to 7 bits; each of the two steps that follow doubles them.
constexpr std::array<UINT16, 128> makeReciprocalRoots()
{
    std::array<UINT16, 128> table = {};
    UINT32 root = 65535;
    for (UINT32 i = 32; i < 128; ++i)
    {
        while (UINT64(root) * root * (2 * i + 1) > UINT64(1) << 38) // root / 2^15 > 1 / sqrt((i + 1/2) / 2^7)
            --root;
        table[i] = static_cast<UINT16>(root);
    }
    return table;
}
constexpr std::array<UINT16, 128> kReciprocalRoots = makeReciprocalRoots();

/// floor(sqrt(raw * 65536)), by multiplications alone.
UINT32 squareRoot(UINT32 raw)
{
    if (raw == 0)
        return 0;
    const INT32 shift = __builtin_clz(raw) & ~1; // an even shift of the square is half of it in the root
    const UINT32 u = raw << shift;               // [1/4, 1) with 32 fraction bits

    // One of Newton's steps toward 1 / sqrt(u): y * (3 - u * y^2) / 2, 30 fraction bits.
    const UINT32 y0 = kReciprocalRoots[u >> 25];
    const UINT32 uyy = static_cast<UINT32>((UINT64(u) * (y0 * y0)) >> 32);
    const UINT32 y = static_cast<UINT32>((UINT64(y0) * (0xC0000000u - uyy)) >> 16);

    // The root is u * y, and one more step: r + (u - r^2) * y / 2, 24 fraction bits.
    const UINT64 square = UINT64(u) << 16;
    UINT64 root = (UINT64(u) * y) >> 38;
    const INT64 missing = static_cast<INT64>(square - root * root);
    root += static_cast<UINT64>((missing * static_cast<INT32>(y >> 14)) >> 41);

    if ((root + 1) * (root + 1) <= square) // every step rounds down: for no u is it too large, or off by more than one
        ++root;
    return static_cast<UINT32>(root) >> (shift / 2);
}

constexpr KxcFixed kZero = 0, kOne = 1;

} // namespace

KxcFixed KxcMath::sqrt(KxcFixed x)
{
    return KxcFixed::fromRaw(static_cast<INT32>(squareRoot(static_cast<UINT32>(x.raw()))));
}

KxcFixed KxcMath::sqrtFast(KxcFixed x)
{
    // The root of the raw value, truncated, and 8 zero bits.
    return KxcFixed::fromRaw(static_cast<INT32>(squareRoot(static_cast<UINT32>(x.raw())) & ~0xFFu));
}

KxcFixed KxcMath::exp(KxcFixed x)
{
    const KxcMathTables* tables = kxcMathTables();
    if (!tables)
        return 0;
    const bool negative = x < kZero;
    const UINT32 raw = static_cast<UINT32>(x.raw());
    const UINT32 magnitude = negative ? 0u - raw : raw;
    const KxcFixed* power = negative ? tables->negativePower : tables->positivePower;
    KxcFixed result = kOne;
    for (UINT32 bits = magnitude < 0xFFFFF ? magnitude : 0xFFFFF; bits != 0; bits >>= 1, ++power)
        if (bits & 1)
            result *= *power;
    return result;
}

KxcFixed KxcMath::log(KxcFixed x)
{
    const KxcMathTables* tables = kxcMathTables();
    if (!tables || x <= kZero)
        return 0;
    // Bring x into [1, 2), each doubling or halving worth ln 2.
    const INT32 doublings = __builtin_clz(static_cast<UINT32>(x.raw())) - 15;
    INT32 mantissa = doublings >= 0 ? x.raw() << doublings : x.raw() >> -doublings;
    const KxcFixed scale = tables->logarithms[0] * KxcFixed(doublings);

    // Then bring it down to 1 by factors 1 - 2^-k, as often as each fits; at k = 16 it is down at the latest.
    KxcFixed sum = 0;
    for (INT32 k = 1; mantissa > 0x10000;)
    {
        const INT32 smaller = mantissa - (mantissa >> k);
        if (smaller < 0x10000)
            ++k;
        else
        {
            mantissa = smaller;
            sum += tables->logarithms[k - 1];
        }
    }
    return sum - scale;
}

KxcFixed KxcMath::logFast(KxcFixed x)
{
    if (x <= kZero)
        return 0;
    const KxcFixed quotient = (x - kOne) / (x + kOne + KxcFixed(4) * sqrtFast(x));
    return KxcFixed(6) * quotient;
}

KxcFixed KxcMath::pow(KxcFixed x, KxcFixed y)
{
    if (x == kZero)
        return 0;
    if (y > kZero && floor(y) == y)
    {
        KxcFixed result = kOne;
        for (INT32 n = static_cast<INT32>(y); n > 0; --n)
        {
            const KxcFixed next = result * x;
            if (next == result) // and so it will stay
                break;
            result = next;
        }
        return result;
    }
    if (x < kZero && y != kZero)
        return 0;
    return exp(log(x) * y);
}
