// radial_gradient_filler.cpp - the gradient from a focus to a circle around it.
//
// In the gradient's unit frame the circle has radius 1. With f the focus and d the way from it to a pixel, the position
// t is |d| in parts of the way from the focus through the pixel to the circle: the positive solution of |f + d / t| =
// 1, which is t = (b + sqrt(b^2 + a c)) / c with a = |d|^2, b = f . d and c = 1 - |f|^2.

#include <kxcoreemb/fixed_math.h>
#include <kxcoreemb/primitive_fillers.h>

#include "vector/gradient_position.h"
#include "vector/scaled.h"
#include "vector/square_root.h"

#include <new>

namespace
{

/// Farther away positions differ from their neighbours by more than a period.
constexpr INT64 kFarthest = INT64(90) << kGradientBits;
constexpr UINT64 kEndSquare = UINT64(1) << (2 * kGradientBits);
inline INT64 nearby(INT64 x) { return x < -kFarthest ? -kFarthest : x > kFarthest ? kFarthest : x; }

} // namespace

KxcPrimitiveDrawRadialGradientFiller*
KxcPrimitiveDrawRadialGradientFiller::create(const KxcVector2& centre, const KxcVector2& focus, KxcFixed radius)
{
    auto* const filler = new (std::nothrow) KxcPrimitiveDrawRadialGradientFiller;
    if (filler)
        filler->setGradientBase(centre, focus, radius);
    return filler;
}

void KxcPrimitiveDrawRadialGradientFiller::setGradientBase(const KxcVector2& centre, const KxcVector2& focus,
                                                           KxcFixed radius)
{
    constexpr INT32 kLeastRadius = 7;       // 0.0001
    constexpr INT32 kFarthestFocus = 65200; // so close to the circle that c is 1/100: on it, no ray ends
    const INT64 r = radius.raw() > kLeastRadius ? radius.raw() : kLeastRadius;
    const KxcFixed axis = KxcFixed::fromRaw(static_cast<INT32>(r)), zero = 0;
    setBase(centre, {axis, zero}, {zero, axis});

    // The focus in units of the radius, 16 fraction bits; from far away only its direction counts.
    INT64 x = (static_cast<INT64>(focus.x.raw()) - centre.x.raw()) * 65536 / r;
    INT64 y = (static_cast<INT64>(focus.y.raw()) - centre.y.raw()) * 65536 / r;
    while (x > 0x7FFFFF || x < -0x7FFFFF || y > 0x7FFFFF || y < -0x7FFFFF)
    {
        x /= 2;
        y /= 2;
    }
    const INT64 distance = static_cast<INT64>(kxcSquareRoot(static_cast<UINT64>(x * x + y * y) << 16) >> 8);
    if (distance > kFarthestFocus)
    {
        x = x * kFarthestFocus / distance;
        y = y * kFarthestFocus / distance;
    }
    m_focus = {KxcFixed::fromRaw(static_cast<INT32>(x)), KxcFixed::fromRaw(static_cast<INT32>(y))};
    m_outside = static_cast<INT32>(0x10000 - ((x * x + y * y) >> 16));
    m_perOutside = static_cast<INT32>((INT64(1) << 32) / m_outside);
}

void KxcPrimitiveDrawRadialGradientFiller::calculateGradientTransformation()
{
    KxcScaledTransform inverse;
    if (!invertTransformation(inverse))
    {
        m_stepXX = m_stepXY = m_stepYX = m_stepYY = 0;
        m_originX = m_originY = kFarthest; // all the last colour
        return;
    }
    const KxcScaled half(1, -1);
    const auto step = [](KxcScaled value) { return value.toFixed(kGradientBits, kGradientStepLimit); };
    const auto origin = [&](INT32 column)
    {
        return (inverse.m[2][column] + (inverse.m[0][column] + inverse.m[1][column]) * half)
            .toFixed(kGradientBits, kGradientLimit);
    };
    m_stepXX = step(inverse.m[0][0]);
    m_stepXY = step(inverse.m[0][1]);
    m_stepYX = step(inverse.m[1][0]);
    m_stepYY = step(inverse.m[1][1]);
    m_originX = origin(0);
    m_originY = origin(1);
}

void KxcPrimitiveDrawRadialGradientFiller::fill(INT32 xStart, INT32 xEnd, INT32 y, UINT32* buffer)
{
    // From the focus, 24 fraction bits.
    const INT64 focusX = m_focus.x.raw(), focusY = m_focus.y.raw();
    INT64 dx = m_originX + m_stepXX * xStart + m_stepYX * y - focusX * 256;
    INT64 dy = m_originY + m_stepXY * xStart + m_stepYY * y - focusY * 256;
    const INT32 count = xEnd - xStart;
    const bool pads = m_spread != KXCSPREAD_REFLECT && m_spread != KXCSPREAD_REPEAT;
    const INT64 lastX = dx + m_stepXX * (count - 1), lastY = dy + m_stepXY * (count - 1);
    UINT32* const positions = buffer + xStart;
    if (focusX == 0 && focusY == 0 && nearby(dx) == dx && nearby(dy) == dy && nearby(lastX) == lastX &&
        nearby(lastY) == lastY)
    {
        // |d|^2, 48 fraction bits, as a sum: its differences grow evenly.
        UINT64 square = static_cast<UINT64>(dx * dx + dy * dy);
        UINT64 growth = static_cast<UINT64>((2 * dx + m_stepXX) * m_stepXX + (2 * dy + m_stepXY) * m_stepXY);
        const UINT64 growthOfGrowth = static_cast<UINT64>(2 * (m_stepXX * m_stepXX + m_stepXY * m_stepXY));
        for (INT32 i = 0; i < count; ++i, square += growth, growth += growthOfGrowth)
            positions[i] = static_cast<UINT32>(kxcSquareRoot(pads && square >= kEndSquare ? kEndSquare - 1 : square));
    }
    else
        for (INT32 i = 0; i < count; ++i, dx += m_stepXX, dy += m_stepXY)
        {
            const INT64 nearX = nearby(dx), nearY = nearby(dy), a = nearX * nearX + nearY * nearY;
            const INT64 b = (nearX * focusX + nearY * focusY) >> 16;
            const UINT64 root = kxcSquareRoot(static_cast<UINT64>(b * b + (a >> 16) * m_outside));
            const INT64 t = (b + static_cast<INT64>(root)) * m_perOutside >> 16;
            positions[i] = pads ? padGradient(t) : static_cast<UINT32>(t);
        }
    lookUp(positions, count);
}
