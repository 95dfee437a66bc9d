// square_root.h - square roots of 64 bits and lengths of vectors, for paths and gradients.
#pragma once

#include <kxcoreemb/base.h>

#include <array>

/// sqrt(i / 256) with 31 fraction bits, for i from 64.
constexpr std::array<UINT32, 257> kxcMakeSquareRoots()
{
    std::array<UINT32, 257> roots = {};
    for (UINT32 i = 64; i <= 256; ++i)
    {
        UINT64 root = 0;
        for (UINT64 bit = UINT64(1) << 31; bit != 0; bit >>= 1)
            if ((root + bit) * (root + bit) <= UINT64(i) << 54)
                root += bit;
        roots[i] = static_cast<UINT32>(root);
    }
    return roots;
}
inline constexpr std::array<UINT32, 257> kxcSquareRoots = kxcMakeSquareRoots();

/// Between two entries of the table: within 4 millionths below the root, and truncated.
inline UINT64 kxcSquareRoot(UINT64 square)
{
    if (square == 0)
        return 0;
    const INT32 shift = __builtin_clzll(square) & ~1;
    const UINT32 u = static_cast<UINT32>(square << shift >> 32);
    const UINT32 low = kxcSquareRoots[u >> 24], high = kxcSquareRoots[(u >> 24) + 1];
    const UINT64 root = low + (UINT64(high - low) * (u & 0xFFFFFF) >> 24); // of u / 2^32, 31 fraction bits
    return root * 2 >> (shift / 2);
}

/// A vector's length and what it is a multiple of.
struct KxcDirection
{
    INT32 x, y;   ///< of length 1, 24 fraction bits; 0 for a vector of length 0
    INT64 length; ///< in the units of the vector
};

/// A vector of up to 2^61 either way with 31 bits for its larger coordinate, and the length of that.
struct KxcNormalVector
{
    INT64 x, y;
    INT64 length;
    INT32 shift; ///< what it was divided by is 2^shift
};
inline KxcNormalVector kxcNormalVector(INT64 x, INT64 y)
{
    const UINT64 extent = static_cast<UINT64>(x < 0 ? -x : x) | static_cast<UINT64>(y < 0 ? -y : y);
    if (extent == 0)
        return {0, 0, 0, 0};
    const INT32 shift = 33 - __builtin_clzll(extent);
    const auto scaled = [shift](INT64 c) { return shift > 0 ? c >> shift : c * (INT64(1) << -shift); };
    const INT64 scaledX = scaled(x), scaledY = scaled(y);
    const UINT64 square = static_cast<UINT64>(scaledX * scaledX + scaledY * scaledY);
    const UINT64 guess = kxcSquareRoot(square);
    // Newton's step: exact but for rounding.
    return {scaledX, scaledY, static_cast<INT64>((guess + square / guess + 1) / 2), shift};
}
inline INT64 kxcLength(const KxcNormalVector& v)
{
    return v.shift > 0 ? v.length * (INT64(1) << v.shift) : (v.length + ((INT64(1) << -v.shift) >> 1)) >> -v.shift;
}
inline INT64 kxcLength(INT64 x, INT64 y) { return kxcLength(kxcNormalVector(x, y)); }
inline KxcDirection kxcDirection(INT64 x, INT64 y)
{
    const KxcNormalVector v = kxcNormalVector(x, y);
    if (v.length == 0)
        return {0, 0, 0};
    return {static_cast<INT32>(v.x * (INT64(1) << 24) / v.length),
            static_cast<INT32>(v.y * (INT64(1) << 24) / v.length), kxcLength(v)};
}
