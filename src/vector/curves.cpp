// curves.cpp - divides curves and arcs into lines, as many as their length on the surface asks for.

#include <kxcoreemb/primitive_translator.h>

#include <kxcoreemb/fixed_math.h>

#include "vector/scaled.h"
#include "vector/square_root.h"

#include <algorithm>

namespace
{

constexpr INT32 kTurn = 411775; // 16.16

/// Sums of points by weights of 24 fraction bits that add up to 1.
class Mix
{
public:
    Mix& add(const KxcVector2& p, INT64 weight)
    {
        m_x += p.x.raw() * weight;
        m_y += p.y.raw() * weight;
        return *this;
    }
    KxcVector2 point() const
    {
        return {KxcFixed::fromRaw(static_cast<INT32>(m_x >> 24)), KxcFixed::fromRaw(static_cast<INT32>(m_y >> 24))};
    }

private:
    INT64 m_x = 1 << 23, m_y = 1 << 23;
};

constexpr INT64 kOne = INT64(1) << 24;
INT64 product(INT64 a, INT64 b) { return a * b >> 24; }

} // namespace

INT64 KxcPrimitiveTranslator::deviceLength(const KxcVector2& from, const KxcVector2& to) const
{
    const INT64 x = static_cast<INT64>(to.x.raw()) - from.x.raw(), y = static_cast<INT64>(to.y.raw()) - from.y.raw();
    const auto& m = m_transformation.m;
    const auto column = [&](INT32 c) { return (x * m[0][c].raw() >> 17) + (y * m[1][c].raw() >> 17); };
    return 2 * kxcLength(column(0), column(1)); // halved: the sum of two products may have 65 bits
}

INT32 KxcPrimitiveTranslator::curveSegments(INT64 length, INT32 least, INT32 most) const
{
    if (m_curveSmoothLength <= KxcFixed(0))
        return most;
    return static_cast<INT32>(std::clamp<INT64>(length / m_curveSmoothLength.raw(), least, most));
}

void KxcPrimitiveTranslator::curveToAbsolute(const KxcVector2& c1, const KxcVector2& c2, const KxcVector2& p)
{
    if (!canDraw())
        return;
    const KxcVector2 p0 = m_current, p1 = c1, p2 = c2, p3 = p; // which may lie in here
    const INT32 count = curveSegments(deviceLength(p0, p1) + deviceLength(p1, p2) + deviceLength(p2, p3), 5, 30);
    for (INT32 i = 1; i < count; ++i)
    {
        const INT64 t = kOne * i / count, u = kOne - t;
        const INT64 w1 = 3 * product(product(u, u), t), w2 = 3 * product(product(u, t), t),
                    w3 = product(product(t, t), t);
        lineToAbsolute(Mix().add(p0, kOne - w1 - w2 - w3).add(p1, w1).add(p2, w2).add(p3, w3).point());
    }
    lineToAbsolute(p3);
    m_lastControl = p2;
}

void KxcPrimitiveTranslator::quadraticCurveToAbsolute(const KxcVector2& c, const KxcVector2& p)
{
    if (!canDraw())
        return;
    const KxcVector2 p0 = m_current, p1 = c, p2 = p;
    const INT32 count = curveSegments(deviceLength(p0, p1) + deviceLength(p1, p2), 3, 20);
    for (INT32 i = 1; i < count; ++i)
    {
        const INT64 t = kOne * i / count, u = kOne - t;
        const INT64 w1 = 2 * product(u, t), w2 = product(t, t);
        lineToAbsolute(Mix().add(p0, kOne - w1 - w2).add(p1, w1).add(p2, w2).point());
    }
    lineToAbsolute(p2);
    m_lastControl = p1;
}

/// From the end points to the centre, as the implementation notes of scalable vector graphics do it. Numbers with an
/// exponent keep arcs of all sizes precise.
void KxcPrimitiveTranslator::ellipticalArcAbsolute(const KxcVector2& radii, KxcFixed rotation, UINT32 flags,
                                                   const KxcVector2& p)
{
    const KxcVector2 start = m_current, end = p;
    if (!canDraw() || (end.x == start.x && end.y == start.y))
        return;
    if (radii.x == KxcFixed(0) || radii.y == KxcFixed(0))
        return lineToAbsolute(end);

    // Half the way from the end to the start, in the ellipse's own axes.
    const KxcFixed cosine = KxcMath::cos(rotation), sine = KxcMath::sin(rotation);
    const KxcScaled cosRotation(cosine), sinRotation(sine);
    const KxcScaled halfX(static_cast<INT64>(start.x.raw()) - end.x.raw(), -17);
    const KxcScaled halfY(static_cast<INT64>(start.y.raw()) - end.y.raw(), -17);
    const KxcScaled x = cosRotation * halfX + sinRotation * halfY, y = cosRotation * halfY - sinRotation * halfX;
    KxcScaled rx(radii.x.raw() < 0 ? -static_cast<INT64>(radii.x.raw()) : radii.x.raw(), -16);
    KxcScaled ry(radii.y.raw() < 0 ? -static_cast<INT64>(radii.y.raw()) : radii.y.raw(), -16);

    // The same as a vector from the centre of a unit circle; radii that do not reach grow until they do.
    KxcScaled unitX = x / rx, unitY = y / ry;
    const KxcScaled one(1, 0), zero;
    KxcScaled square = unitX * unitX + unitY * unitY;
    if (one < square)
    {
        const KxcScaled factor = squareRoot(square);
        rx = rx * factor;
        ry = ry * factor;
        unitX = unitX / factor;
        unitY = unitY / factor;
        square = one;
    }
    // The centre lies across the middle of the chord, sqrt((1 - square) / square) of half of it away.
    KxcScaled offset = square < one ? squareRoot((one - square) / square) : zero;
    const bool large = (flags & KXCARC_LARGE) != 0, sweeps = (flags & KXCARC_SWEEP) != 0;
    if (large == sweeps)
        offset = -offset;
    const KxcScaled centreX = offset * unitY, centreY = -(offset * unitX);
    const KxcScaled middleX(static_cast<INT64>(start.x.raw()) + end.x.raw(), -17);
    const KxcScaled middleY(static_cast<INT64>(start.y.raw()) + end.y.raw(), -17);
    const KxcScaled cx = cosRotation * rx * centreX - sinRotation * ry * centreY + middleX;
    const KxcScaled cy = sinRotation * rx * centreX + cosRotation * ry * centreY + middleY;

    const auto angle = [](const KxcScaled& toX, const KxcScaled& toY)
    {
        return KxcMath::atan2(KxcFixed::fromRaw(static_cast<INT32>(toY.toFixed(16, 30))),
                              KxcFixed::fromRaw(static_cast<INT32>(toX.toFixed(16, 30))))
            .raw();
    };
    const INT32 first = angle(unitX - centreX, unitY - centreY);
    INT32 sweep = angle(-unitX - centreX, -unitY - centreY) - first;
    if (sweeps && sweep < 0)
        sweep += kTurn;
    if (!sweeps && sweep > 0)
        sweep -= kTurn;

    const INT64 turned = sweep < 0 ? -sweep : sweep;
    const INT64 scale = std::max(m_rowLength[0], m_rowLength[1]);
    const INT64 radius = ((rx + ry) * KxcScaled(1, -1) * KxcScaled(scale, -16)).toFixed(16, 34); // in pixels
    const INT64 length = turned * radius >> 16, smooth = std::max(m_curveSmoothLength.raw(), 1);
    const INT32 least = std::max<INT32>(2, static_cast<INT32>(turned * 12 / kTurn));
    const INT32 most = std::max<INT32>(least, static_cast<INT32>(turned * 120 / kTurn));
    // Small arcs turn fast. The middle of a line over an angle is radius x angle^2 / 8 away from the arc: to stay
    // within 1/16 of a pixel at the smooth length of 5 takes sqrt(10 radius / smooth length) lines for each radian.
    const UINT64 countSquare = static_cast<UINT64>(turned) * static_cast<UINT64>(std::min(length, INT64(1) << 36)) *
                               10 / static_cast<UINT64>(smooth); // 16 fraction bits
    const INT64 forPrecision = static_cast<INT64>(kxcSquareRoot(countSquare) >> 8);
    const INT32 count = curveSegments(std::max(length, forPrecision * smooth), least, most);

    const INT64 radiusX = rx.toFixed(16, 33), radiusY = ry.toFixed(16, 33), toX = cx.toFixed(16, 40),
                toY = cy.toFixed(16, 40);
    const auto coordinate = [](INT64 value)
    { return KxcFixed::fromRaw(static_cast<INT32>(std::clamp<INT64>(value, INT32_MIN, INT32_MAX))); };
    for (INT32 i = 1; i < count; ++i)
    {
        const KxcFixed at = KxcFixed::fromRaw(first + static_cast<INT32>(static_cast<INT64>(sweep) * i / count));
        const INT64 ex = radiusX * KxcMath::cos(at).raw() >> 16, ey = radiusY * KxcMath::sin(at).raw() >> 16;
        lineToAbsolute({coordinate(toX + ((ex * cosine.raw() - ey * sine.raw()) >> 16)),
                        coordinate(toY + ((ex * sine.raw() + ey * cosine.raw()) >> 16))});
    }
    lineToAbsolute(end);
}
