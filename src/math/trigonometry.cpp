// trigonometry.cpp - sines from the quarter-wave table, arctangents by CORDIC, the other inverses by way of them.
#include "math/math_tables.h"

#include <kxcoreemb/fixed_math.h>

namespace
{

constexpr INT32 kPi = 205887, kHalfPi = 102943; // 16.16, truncated
constexpr INT32 kNearOne = 58982;               // 0.9: beyond it, an arc is measured from the other axis

/// The angle in 65536ths of a turn, to be taken modulo 65536.
UINT32 angleUnits(KxcFixed angle)
{
    constexpr INT64 kUnitsPerRadian = 683565248; // 16.16: 65536 / (2 pi)
    return static_cast<UINT32>(static_cast<UINT64>((kUnitsPerRadian * angle.raw()) >> 32));
}

/// The half turns alternate in sign; each runs up the table and down again.
KxcFixed sineOfUnits(const KxcMathTables& tables, UINT32 units)
{
    const INT32 sign = units & 0x8000 ? -1 : 0;
    const UINT32 descending = units & 0x4000 ? 0x3FFF : 0;
    const INT32 magnitude = tables.sine[(units ^ descending) & 0x3FFF];
    return KxcFixed::fromRaw(((magnitude ^ sign) - sign) >> 14);
}

UINT32 magnitude(KxcFixed x)
{
    const UINT32 raw = static_cast<UINT32>(x.raw());
    return x.raw() < 0 ? 0u - raw : raw;
}

/// The angle of the vector (x, y), 0 to pi / 2 in 16.16: rotates it onto the x axis in ever smaller steps.
INT32 vectoringAngle(const KxcMathTables& tables, UINT32 x, UINT32 y)
{
    // The angle does not depend on the length: use 29 bits, so that the rotations' stretch (1.65) stays within 31.
    const INT32 shift = __builtin_clz(x | y) - 3;
    INT32 vx = static_cast<INT32>(shift >= 0 ? x << shift : x >> -shift);
    INT32 vy = static_cast<INT32>(shift >= 0 ? y << shift : y >> -shift);
    INT32 angle = 0;
    for (INT32 k = 0; k < KxcMathTables::kCordicSteps; ++k)
    {
        const INT32 dx = vy >> k, dy = vx >> k, step = tables.cordicAngles[k];
        const bool above = vy > 0; // both ways are computed and one is picked: half the steps go either way
        vx = above ? vx + dx : vx - dx;
        vy = above ? vy - dy : vy + dy;
        angle = above ? angle + step : angle - step;
    }
    return angle >> 13; // 29 to 16 fraction bits
}

/// The other leg of a right triangle with hypotenuse 1.
KxcFixed otherLeg(KxcFixed x) { return KxcMath::sqrt(KxcFixed(1) - x * x); }

} // namespace

KxcFixed KxcMath::sin(KxcFixed angle)
{
    const KxcMathTables* tables = kxcMathTables();
    return tables ? sineOfUnits(*tables, angleUnits(angle)) : KxcFixed(0);
}

KxcFixed KxcMath::cos(KxcFixed angle)
{
    const KxcMathTables* tables = kxcMathTables();
    return tables ? sineOfUnits(*tables, angleUnits(angle) + KxcMathTables::kQuarterTurn) : KxcFixed(0);
}

KxcFixed KxcMath::tan(KxcFixed angle)
{
    if (!kxcMathTables())
        return 0;
    const KxcFixed sine = sin(angle), cosine = cos(angle);
    if (cosine == KxcFixed(0))
        return KxcFixed::fromRaw(sine >= KxcFixed(0) ? INT32_MAX : INT32_MIN);
    return sine / cosine;
}

KxcFixed KxcMath::atan(KxcFixed x)
{
    const KxcMathTables* tables = kxcMathTables();
    if (!tables)
        return 0;
    const INT32 angle = vectoringAngle(*tables, 0x10000, magnitude(x));
    return KxcFixed::fromRaw(x > KxcFixed(0) ? angle : -angle);
}

KxcFixed KxcMath::atan2(KxcFixed y, KxcFixed x)
{
    const KxcMathTables* tables = kxcMathTables();
    if (!tables)
        return 0;
    INT32 angle;
    if (y.raw() == 0)
        angle = 0;
    else if (x.raw() == 0)
        angle = kHalfPi;
    else
        angle = vectoringAngle(*tables, magnitude(x), magnitude(y));
    if (x.raw() < 0)
        angle = kPi - angle;
    return KxcFixed::fromRaw(y.raw() < 0 ? -angle : angle);
}

KxcFixed KxcMath::asin(KxcFixed x)
{
    if (x.raw() > -kNearOne && x.raw() < kNearOne)
        return atan2(x, otherLeg(x));
    return kxcMathTables() ? KxcFixed::fromRaw(kHalfPi) - atan2(otherLeg(x), x) : KxcFixed(0);
}

KxcFixed KxcMath::acos(KxcFixed x)
{
    if (x.raw() >= -kNearOne && x.raw() <= kNearOne)
        return kxcMathTables() ? KxcFixed::fromRaw(kHalfPi) - atan2(x, otherLeg(x)) : KxcFixed(0);
    return atan2(otherLeg(x), x);
}

KxcFixed KxcMath::acosFast(KxcFixed x)
{
    const auto raw = KxcFixed::fromRaw;
    const KxcFixed r = raw(x.raw() % 92681); // below sqrt 2 in size whatever came in; -1 to 1 stay as they are
    const KxcFixed numerator = ((raw(19597) * r + raw(34828)) * r - raw(195758)) * r + raw(143745);
    const KxcFixed denominator = ((raw(9065) * r - raw(20029)) * r - raw(66368)) * r + raw(91510);
    return denominator == KxcFixed(0) ? KxcFixed(0) : numerator / denominator;
}
