// lighting.cpp - the colour that lights and material give a vertex, computed in object space.
#include "gl/pipeline.h"

#include <kxcoreemb/fixed_math.h>

namespace
{

constexpr INT32 kLeastWeight = 1, kWeightLimit = 102930; // 16.16: more than 0, below 1.5706
constexpr INT64 kNearDistance = 655;                     // 16.16, squared: nearer than this a light is not weighted

KxcFixed dot(const KxcVector3& a, const KxcVector3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

INT64 product(KxcFixed a, KxcFixed b) { return (static_cast<INT64>(a.raw()) * b.raw()) >> 16; }

bool counts(KxcFixed weight) { return weight.raw() >= kLeastWeight && weight.raw() < kWeightLimit; }

/// How strongly a point light reaches a vertex: 0 for not at all. Squares are summed in 64 bits, so that a light far
/// away is far away, however far.
KxcFixed pointWeight(const KxcGLLight& light, const KxcVector3& lightPosition, const KxcVector3& position,
                     const KxcVector3& normal)
{
    const KxcVector3 d = {position.x - lightPosition.x, position.y - lightPosition.y, position.z - lightPosition.z};
    const INT64 squared = product(d.x, d.x) + product(d.y, d.y) + product(d.z, d.z);
    if (squared > product(light.range, light.range) || squared > INT32_MAX)
        return KxcFixed(0);
    if (squared < kNearDistance)
        return KxcFixed(1);
    const KxcFixed d2 = KxcFixed::fromRaw(static_cast<INT32>(squared)), distance = KxcMath::sqrtFast(d2);
    const KxcVector3 shortened = {KxcFixed::fromRaw(d.x.raw() >> 6), KxcFixed::fromRaw(d.y.raw() >> 6),
                                  KxcFixed::fromRaw(d.z.raw() >> 6)};
    const KxcFixed facing = dot(normal, shortened);
    const KxcFixed divisor = light.attenuation[0] + light.attenuation[1] * distance + light.attenuation[2] * d2;
    return counts(facing) && divisor.raw() != 0 ? facing / divisor : KxcFixed(0);
}

UINT32 channel(UINT32 color, INT32 shift) { return color >> shift & 255; }

} // namespace

void KxcGLPipeline::lightVertex(LitVertex& vertex) const
{
    KxcFixed sums[3] = {KxcFixed(0), KxcFixed(0), KxcFixed(0)}; // red, green, blue
    for (UINT32 left = state.enabledLights; left != 0; left &= left - 1)
    {
        const INT32 i = __builtin_ctz(left);
        const KxcGLLight& light = state.lights[i];
        KxcFixed weight(0);
        if (light.type == KXCGLLIGHT_DIRECTIONAL)
        {
            const KxcFixed facing = dot(vertex.normal, state.lightCaches[i].direction);
            weight = counts(facing) ? facing : KxcFixed(0);
        }
        else if (light.type == KXCGLLIGHT_POINT)
            weight = pointWeight(light, state.lightCaches[i].position, vertex.position, vertex.normal);
        if (weight.raw() != 0)
            for (INT32 k = 0; k < 3; ++k)
                sums[k] += light.colour[k] * weight;
    }

    const KxcGLMaterial& material = state.material;
    const UINT32 ambient = channel(static_cast<UINT32>(state.value(KXCGLSTATE_AMBIENT)), 16);
    vertex.color = material.diffuse & 0xFF000000;
    for (INT32 k = 0; k < 3; ++k)
    {
        const INT32 shift = 16 - 8 * k;
        const INT64 diffuse = (KxcFixed(channel(material.diffuse, shift)) * sums[k]).raw() >> 16;
        const INT64 value =
            diffuse + (channel(material.ambient, shift) * ambient >> 8) + channel(material.emissive, shift);
        vertex.color |= static_cast<UINT32>(value < 0 ? 0 : value > 255 ? 255 : value) << shift;
    }
    vertex.lit = true;
}
