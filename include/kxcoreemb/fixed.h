// fixed.h - the 16.16 number of the whole interface, and the plain vectors and matrices made of it.
//
// Everything is inline, integer and wraps like two's complement: a sum of products floors each product before it
// is added, so results are the same on every device. Nothing saturates and nothing reports an error.
#pragma once

#include <kxcoreemb/base.h>

#include <type_traits>

/// A signed 16.16 fixed-point number: the value is raw / 65536, from -32768 to 32767.99998.
///
/// Default construction leaves the value uninitialised, as with an int. Angles are radians.
class KxcFixed
{
public:
    KxcFixed() = default;

    /// From a whole number; it wraps outside -32768..32767.
    template <class Integer, std::enable_if_t<std::is_integral<Integer>::value, int> = 0>
    constexpr KxcFixed(Integer value) : m_raw(wrap(static_cast<KxcUINT64>(value) << 16))
    {
    }
    /// @{
    /// From a float, truncated toward zero; what 64 bits cannot hold gives 0.
    constexpr KxcFixed(KxcFLOAT32 value) : m_raw(truncate(value * 65536.0f)) {}
    constexpr KxcFixed(KxcFLOAT64 value) : m_raw(truncate(value * 65536.0)) {}
    /// @}

    /// The number raw / 65536.
    static constexpr KxcFixed fromRaw(KxcINT32 raw)
    {
        KxcFixed result(0);
        result.m_raw = raw;
        return result;
    }
    constexpr KxcINT32 raw() const { return m_raw; } ///< the number times 65536

    /// Rounds toward minus infinity: -0.5 gives -1.
    constexpr explicit operator KxcINT32() const { return m_raw >> 16; }

    /// @{
    /// As a float: exact in 64 bits, rounded to 24 in 32.
    constexpr explicit operator KxcFLOAT32() const { return static_cast<KxcFLOAT32>(m_raw) / 65536.0f; }
    constexpr explicit operator KxcFLOAT64() const { return m_raw / 65536.0; }
    /// @}

    /// The number with the other sign; that of -32768 is itself.
    constexpr KxcFixed operator-() const { return fromRaw(wrap(0u - static_cast<KxcUINT32>(m_raw))); }

    /// @{
    /// The operator of the same sign, in place.
    constexpr KxcFixed& operator+=(KxcFixed b) { return *this = *this + b; }
    constexpr KxcFixed& operator-=(KxcFixed b) { return *this = *this - b; }
    constexpr KxcFixed& operator*=(KxcFixed b) { return *this = *this * b; }
    constexpr KxcFixed& operator/=(KxcFixed b) { return *this = *this / b; }
    /// @}

    /// @{
    /// The sum and the difference; they wrap.
    friend constexpr KxcFixed operator+(KxcFixed a, KxcFixed b)
    {
        return fromRaw(wrap(static_cast<KxcUINT32>(a.m_raw) + static_cast<KxcUINT32>(b.m_raw)));
    }
    friend constexpr KxcFixed operator-(KxcFixed a, KxcFixed b)
    {
        return fromRaw(wrap(static_cast<KxcUINT32>(a.m_raw) - static_cast<KxcUINT32>(b.m_raw)));
    }
    /// @}

    /// The product floored to 16 fraction bits.
    friend constexpr KxcFixed operator*(KxcFixed a, KxcFixed b)
    {
        return fromRaw(wrap(static_cast<KxcUINT64>((static_cast<KxcINT64>(a.m_raw) * b.m_raw) >> 16)));
    }
    /// The quotient truncated toward zero; b must not be 0.
    friend constexpr KxcFixed operator/(KxcFixed a, KxcFixed b)
    {
        return fromRaw(wrap(static_cast<KxcUINT64>(static_cast<KxcINT64>(a.m_raw) * 65536 / b.m_raw)));
    }
    /// The raw value divided by a whole number, truncated toward zero; b must not be 0.
    template <class Integer, std::enable_if_t<std::is_integral<Integer>::value, int> = 0>
    friend constexpr KxcFixed operator/(KxcFixed a, Integer b)
    {
        return fromRaw(wrap(static_cast<KxcUINT64>(static_cast<KxcINT64>(a.m_raw) / static_cast<KxcINT64>(b))));
    }

    /// @{
    /// Comparisons as of any numbers.
    friend constexpr bool operator==(KxcFixed a, KxcFixed b) { return a.m_raw == b.m_raw; }
    friend constexpr bool operator!=(KxcFixed a, KxcFixed b) { return a.m_raw != b.m_raw; }
    friend constexpr bool operator<(KxcFixed a, KxcFixed b) { return a.m_raw < b.m_raw; }
    friend constexpr bool operator<=(KxcFixed a, KxcFixed b) { return a.m_raw <= b.m_raw; }
    friend constexpr bool operator>(KxcFixed a, KxcFixed b) { return a.m_raw > b.m_raw; }
    friend constexpr bool operator>=(KxcFixed a, KxcFixed b) { return a.m_raw >= b.m_raw; }
    /// @}

private:
    static constexpr KxcINT32 wrap(KxcUINT64 value) { return static_cast<KxcINT32>(static_cast<KxcUINT32>(value)); }
    template <class Real>
    static constexpr KxcINT32 truncate(Real scaled)
    {
        constexpr Real kLimit = static_cast<Real>(9223372036854775808.0); // 2^63
        return scaled > -kLimit && scaled < kLimit ? wrap(static_cast<KxcUINT64>(static_cast<KxcINT64>(scaled))) : 0;
    }

    KxcINT32 m_raw;
};
static_assert(sizeof(KxcFixed) == 4 && std::is_trivial<KxcFixed>::value, "KxcFixed travels as one integer");

/// A point or a direction in two dimensions.
struct KxcVector2
{
    KxcFixed x; ///< to the right
    KxcFixed y; ///< downwards on surfaces
};

/// A point or a direction in three dimensions.
struct KxcVector3
{
    KxcFixed x; ///< in the renderer's view: to the right
    KxcFixed y; ///< likewise: upwards
    KxcFixed z; ///< likewise: away from the viewer
};

/// A point in homogeneous coordinates: (x, y, z) / w.
struct KxcVector4
{
    KxcFixed x; ///< times w
    KxcFixed y; ///< likewise
    KxcFixed z; ///< likewise
    KxcFixed w; ///< what the others are divided by; in clip space the depth
};

/// A rotation; w is the scalar part, and the identity is (0, 0, 0, 1).
struct KxcQuaternion
{
    KxcFixed x; ///< of the axis, times the sine of half the angle
    KxcFixed y; ///< likewise
    KxcFixed z; ///< likewise
    KxcFixed w; ///< the cosine of half the angle
};

/// m[row][column], for row vectors: a 2D translation lies in m[2][0] and m[2][1].
struct KxcMatrix3
{
    KxcFixed m[3][3]; ///< rows, then columns
};

/// m[row][column], for row vectors: p' = p * M, so the translation lies in m[3][0], m[3][1] and m[3][2].
struct KxcMatrix4
{
    KxcFixed m[4][4]; ///< rows, then columns
};
