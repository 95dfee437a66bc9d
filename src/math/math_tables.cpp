// math_tables.cpp - computes the tables of KxcMath, once, when the core is built.
//
// The order matters: the sines come out of rotations by the CORDIC angles. Each entry is computed in integers by the
// same steps on every device, so games see the same bits everywhere; the one product of floating point, an angle,
// is truncated to an integer at once.
#include "math/math_tables.h"

#include <new>

namespace
{

constexpr INT32 kAngleBits = 29; // fraction bits of the CORDIC angles

/// atan(x) = x - x^3/3 + x^5/5 - ... for x = 2^-k, whose powers are shifts.
INT32 arctangentSeries(INT32 k)
{
    INT32 sum = 0, sign = 1;
    for (INT32 n = 1; k * n <= kAngleBits; n += 2, sign = -sign)
        sum += sign * ((1 << (kAngleBits - k * n)) / n);
    return sum;
}

void buildCordicAngles(KxcMathTables& tables)
{
    tables.cordicAngles[0] = 421657428; // pi / 4, which the series would take too long to reach
    for (INT32 k = 1; k < KxcMathTables::kCordicSteps; ++k)
        tables.cordicAngles[k] = k <= 10 ? arctangentSeries(k) : 1 << (kAngleBits - k);
}

/// Rotates a vector from the x axis by the angle; the rotations stretch it to length 1, and y is the sine.
void buildSines(KxcMathTables& tables)
{
    constexpr INT32 kStart = 326016435;       // 2^29 / 1.64676, the stretch of 30 rotations
    constexpr FLOAT64 kAngleStep = 51471.855; // pi / 32768 with 29 fraction bits
    for (INT32 i = 0; i < KxcMathTables::kQuarterTurn; ++i)
    {
        INT32 x = kStart, y = 0, z = static_cast<INT32>(i * kAngleStep);
        for (INT32 k = 0; k < KxcMathTables::kCordicSteps; ++k)
        {
            const INT32 dx = y >> k, dy = x >> k, dz = tables.cordicAngles[k];
            x += z < 0 ? dx : -dx;
            y += z < 0 ? -dy : dy;
            z += z < 0 ? dz : -dz;
        }
        tables.sine[i] = 2 * y;
    }
}

/// -ln(1 - 1/p) = ln(1 + x) = x - x^2/2 + x^3/3 - ... with x = 1 / (p - 1), p = 2^(k + 1).
void buildLogarithms(KxcMathTables& tables)
{
    tables.logarithms[0] = KxcFixed::fromRaw(45426); // ln 2
    for (INT32 k = 1; k < KxcMathTables::kLogarithms; ++k)
    {
        const KxcFixed x = KxcFixed::fromRaw(0x10000 / ((2 << k) - 1));
        KxcFixed sum = x, power = x;
        for (INT32 n = 2;; ++n)
        {
            power = power * x;
            const KxcFixed term = power / n;
            if (term == KxcFixed(0))
                break;
            sum += n % 2 == 0 ? -term : term;
        }
        tables.logarithms[k] = sum;
    }
}

KxcFixed exponentialSeries(KxcFixed x)
{
    KxcFixed sum = KxcFixed(1) + x, term = x;
    for (INT32 n = 2; n <= 32; ++n)
    {
        term = term * x / n;
        sum += term;
    }
    return sum;
}

void buildExponentials(KxcMathTables& tables)
{
    for (INT32 i = 0; i < KxcMathTables::kExponentials; ++i)
    {
        tables.positivePower[i] = exponentialSeries(KxcFixed::fromRaw(1 << i));
        tables.negativePower[i] = exponentialSeries(KxcFixed::fromRaw(-(1 << i)));
    }
}

} // namespace

KxcMathTables* kxcMathTablesCreate()
{
    KxcMathTables* tables = new (std::nothrow) KxcMathTables;
    if (!tables)
        return nullptr;
    buildCordicAngles(*tables);
    buildSines(*tables);
    buildLogarithms(*tables);
    buildExponentials(*tables);
    return tables;
}
