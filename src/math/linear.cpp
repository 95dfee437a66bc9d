// linear.cpp - the iterative normalisation of vectors.
#include "math/linear.h"

namespace
{

UINT32 magnitude(KxcFixed x)
{
    const UINT32 raw = static_cast<UINT32>(x.raw());
    return x.raw() < 0 ? 0u - raw : raw;
}

KxcFixed shifted(KxcFixed x, INT32 left)
{
    return KxcFixed::fromRaw(left >= 0 ? static_cast<INT32>(static_cast<UINT32>(x.raw()) << left) : x.raw() >> -left);
}

KxcVector3 shifted(const KxcVector3& v, INT32 left)
{
    return {shifted(v.x, left), shifted(v.y, left), shifted(v.z, left)};
}

} // namespace

/// A search by halves: brought to a length of 0.5 to 1.73, the vector grows or shrinks by 1/2, 1/4, ... of itself.
KxcVector3 kxcNormalized(const KxcVector3& v)
{
    const UINT32 bits = magnitude(v.x) | magnitude(v.y) | magnitude(v.z);
    if (bits == 0)
        return v;
    KxcVector3 result = shifted(v, __builtin_clz(bits) - 16); // the largest component gets 16 bits
    KxcVector3 step = result;
    for (INT32 i = 0; i < 16; ++i)
    {
        step = shifted(step, -1);
        const KxcFixed square = kxcDot(result, result);
        if (square == KxcFixed(1))
            break;
        if (square > KxcFixed(1))
            result = {result.x - step.x, result.y - step.y, result.z - step.z};
        else
            result = {result.x + step.x, result.y + step.y, result.z + step.z};
    }
    return result;
}
