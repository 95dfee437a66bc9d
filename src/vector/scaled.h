// scaled.h - numbers with an exponent of their own, for inverting the matrices of paints.
//
// The inverse of a gradient 1000 pixels long has entries of 1/1000: as a KxcFixed it would keep 6 bits of them. This is
// done once for a shape, so it may be slow.
#pragma once

#include "vector/square_root.h"

#include <kxcoreemb/fixed.h>

/// mantissa x 2^exponent; the mantissa is 0, or has 31 bits.
class KxcScaled
{
public:
    constexpr KxcScaled() = default;
    constexpr KxcScaled(KxcFixed value) : KxcScaled(value.raw(), -16) {}
    constexpr KxcScaled(INT64 mantissa, INT32 exponent)
    {
        if (mantissa == 0)
            return;
        const INT32 bits =
            64 - __builtin_clzll(mantissa < 0 ? 0 - static_cast<UINT64>(mantissa) : static_cast<UINT64>(mantissa));
        m_mantissa = bits > 31 ? mantissa >> (bits - 31) : mantissa * (INT64(1) << (31 - bits));
        m_exponent = exponent + bits - 31;
    }
    constexpr bool isZero() const { return m_mantissa == 0; }

    constexpr KxcScaled operator-() const { return {-m_mantissa, m_exponent}; }
    friend constexpr KxcScaled operator*(KxcScaled a, KxcScaled b)
    {
        return {a.m_mantissa * b.m_mantissa, a.m_exponent + b.m_exponent};
    }
    friend constexpr KxcScaled operator+(KxcScaled a, KxcScaled b)
    {
        if (a.isZero() || (!b.isZero() && a.m_exponent < b.m_exponent))
            return b.isZero() ? a : b + a;
        if (b.isZero() || a.m_exponent - b.m_exponent > 31)
            return a;
        return {(a.m_mantissa * (INT64(1) << (a.m_exponent - b.m_exponent)) >> 1) + (b.m_mantissa >> 1),
                b.m_exponent + 1};
    }
    friend constexpr KxcScaled operator-(KxcScaled a, KxcScaled b) { return a + -b; }
    /// b must not be 0.
    friend constexpr KxcScaled operator/(KxcScaled a, KxcScaled b)
    {
        return {a.m_mantissa * (INT64(1) << 31) / b.m_mantissa, a.m_exponent - b.m_exponent - 31};
    }

    /// Of what is not negative.
    friend KxcScaled squareRoot(KxcScaled a)
    {
        const INT32 odd = a.m_exponent & 1; // the root halves the exponent
        return {static_cast<INT64>(kxcSquareRoot(static_cast<UINT64>(a.m_mantissa) << (32 - odd))),
                (a.m_exponent - 32 + odd) / 2};
    }
    friend constexpr bool operator<(KxcScaled a, KxcScaled b) { return (a - b).m_mantissa < 0; }

    /// With so many fraction bits, in at most `limit` bits beside the sign.
    constexpr INT64 toFixed(INT32 fractionBits, INT32 limit) const
    {
        const INT32 shift = m_exponent + fractionBits;
        const INT64 most = (INT64(1) << limit) - 1;
        if (m_mantissa == 0 || shift < -31)
            return 0;
        if (shift + 31 > limit) // the mantissa's top bit would not fit
            return m_mantissa > 0 ? most : -most;
        return shift >= 0 ? m_mantissa * (INT64(1) << shift) : m_mantissa >> -shift;
    }

private:
    INT64 m_mantissa = 0;
    INT32 m_exponent = 0;
};

/// An affine transform of the plane, as KxcMatrix3: row vectors, the translation in row 2.
struct KxcScaledTransform
{
    KxcScaled m[3][2];

    KxcScaledTransform() = default;
    explicit KxcScaledTransform(const KxcMatrix3& matrix)
    {
        for (INT32 row = 0; row < 3; ++row)
            for (INT32 column = 0; column < 2; ++column)
                m[row][column] = matrix.m[row][column];
    }
    /// a first, then b.
    friend KxcScaledTransform operator*(const KxcScaledTransform& a, const KxcScaledTransform& b)
    {
        KxcScaledTransform product;
        for (INT32 row = 0; row < 3; ++row)
            for (INT32 column = 0; column < 2; ++column)
            {
                product.m[row][column] = a.m[row][0] * b.m[0][column] + a.m[row][1] * b.m[1][column];
                if (row == 2)
                    product.m[row][column] = product.m[row][column] + b.m[2][column];
            }
        return product;
    }
    /// @return false, and leaves it as it is, when it has no inverse
    bool invert()
    {
        const KxcScaled determinant = m[0][0] * m[1][1] - m[0][1] * m[1][0];
        if (determinant.isZero())
            return false;
        const KxcScaled xx = m[1][1] / determinant, xy = -m[0][1] / determinant, yx = -m[1][0] / determinant,
                        yy = m[0][0] / determinant, x = m[2][0], y = m[2][1];
        m[0][0] = xx, m[0][1] = xy, m[1][0] = yx, m[1][1] = yy;
        m[2][0] = -(x * xx + y * yx);
        m[2][1] = -(x * xy + y * yy);
        return true;
    }
};
