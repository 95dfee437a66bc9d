// decimal.h - the exact decimal digits of floating-point numbers: what printing and reading them both rest on.
#pragma once

#include <kxcoreemb/base.h>

/// The digits of a finite number's magnitude: digits[0 .. point) before the decimal point, digits[point .. count) after
/// it. Exact as far as they go: digits that were not asked for are cut off, not rounded.
struct KxcDecimal
{
    // A double has at most 309 digits before the point and 1074 after; both come in groups of nine.
    static constexpr INT32 kCapacity = 315 + 1080;

    char digits[kCapacity]; // '0'..'9', leading zeros included
    INT32 count, point;

    /// Makes at least `fraction` digits after the point, and `significant` from the first that is not 0, or all.
    void set(double magnitude, INT32 fraction, INT32 significant);
    INT32 firstSignificant() const; ///< index of the first digit that is not 0; count when there is none
};

/// The float nearest to digits[0 .. count) with the decimal point before digits[point]; a tie goes to the even one.
/// @param digits  '0'..'9', the first and the last not '0'  @param count  above 0  @param point  may lie anywhere
FLOAT32 kxcNearestFloat(const char* digits, INT32 count, INT64 point);
