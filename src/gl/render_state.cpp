// render_state.cpp - stores and checks render states, and picks the table of fillers that they ask for.
#include "gl/render_state.h"

#include "core/core_state.h"

#include <kxcoreemb/fixed_math.h>
#include <kxcoreemb/gl_texture.h>

#include <initializer_list>

namespace
{

constexpr INT32 kIntegerStates = 12, kIgnoredStates[] = {13, 15}; // ids below; first and last id
constexpr INT32 kDefaults[kIntegerStates] = {
    1, 0, KXCGLSHADE_FLAT, KXCGLCULL_NEGATIVE, 0, KXCGLFACTOR_ONE, KXCGLFACTOR_ZERO, KXCGLSORT_FARFIRST, 0, 0, 0, 0};
constexpr INT32 kDefaultPerspectiveLimit = 9999;

/// The pairs of blend factors that have fillers; the place is the row of the filler tables.
constexpr INT32 kBlendPairs[4][2] = {
    {KXCGLFACTOR_ONE, KXCGLFACTOR_ZERO},
    {KXCGLFACTOR_SOURCEALPHA, KXCGLFACTOR_INVSOURCEALPHA},
    {KXCGLFACTOR_ONE, KXCGLFACTOR_ONE},
    {KXCGLFACTOR_ZERO, KXCGLFACTOR_INVSOURCECOLOR},
};

INT32 blendRow(INT32 source, INT32 destination)
{
    for (INT32 row = 0; row < 4; ++row)
        if (kBlendPairs[row][0] == source && kBlendPairs[row][1] == destination)
            return row;
    return -1;
}

bool isAllowed(INT32 id, INT32 value)
{
    switch (id)
    {
    case KXCGLSTATE_CULLING:
        return value == KXCGLCULL_NEGATIVE || value == KXCGLCULL_POSITIVE || value == KXCGLCULL_NONE;
    case KXCGLSTATE_SOURCEBLEND:
    case KXCGLSTATE_DESTBLEND:
        return value >= 1 && value <= 10;
    case KXCGLSTATE_SORTING:
        return value == KXCGLSORT_NONE || value == KXCGLSORT_FARFIRST || value == KXCGLSORT_NEARFIRST;
    default:
        return true;
    }
}

bool isIgnored(INT32 id) { return id >= kIgnoredStates[0] && id <= kIgnoredStates[1]; }

INT32 wrapped(INT64 value) { return static_cast<INT32>(static_cast<UINT32>(static_cast<UINT64>(value))); }

} // namespace

KxcGLRenderState::KxcGLRenderState() : m_perspectiveLimit(kDefaultPerspectiveLimit)
{
    for (INT32 i = 0; i < kIntegerStates; ++i)
        m_values[i] = kDefaults[i];
    for (KxcMatrix4* m : {&world, &view, &projection, &worldViewProjection, &m_inverseWorld})
        KxcMath::matrixIdentity(*m);
    for (KxcGLLight& light : lights)
    {
        light = {};
        for (KxcFixed& channel : light.colour)
            channel = KxcFixed(1);
    }
}

INT32 KxcGLRenderState::store(INT32 id, INT32 value)
{
    if (!isAllowed(id, value))
        return -2;
    m_values[id] = value;
    if (id == KXCGLSTATE_BLENDING || id == KXCGLSTATE_SOURCEBLEND || id == KXCGLSTATE_DESTBLEND)
        selectBlend();
    return 0;
}

INT32 KxcGLRenderState::setI(INT32 id, INT32 value)
{
    if (id >= 0 && id < kIntegerStates)
        return store(id, value);
    if (id == KXCGLSTATE_SORTBIAS)
        m_keyBias = wrapped(static_cast<INT64>(value) * 0x30000);
    else if (id == KXCGLSTATE_PERSPECTIVELIMIT)
        m_perspectiveLimit = KxcFixed(value);
    else if (!isIgnored(id))
        return -3;
    return 0;
}

INT32 KxcGLRenderState::setF(INT32 id, KxcFixed value)
{
    if (id >= 0 && id < kIntegerStates)
        return store(id, static_cast<INT32>(value));
    if (id == KXCGLSTATE_SORTBIAS)
        m_keyBias = wrapped(static_cast<INT64>(value.raw()) * 3);
    else if (id == KXCGLSTATE_PERSPECTIVELIMIT)
        m_perspectiveLimit = value;
    else if (!isIgnored(id))
        return -3;
    return 0;
}

INT32 KxcGLRenderState::getI(INT32 id, INT32& value) const
{
    if (id >= 0 && id < kIntegerStates)
        value = m_values[id];
    else if (id == KXCGLSTATE_SORTBIAS)
        value = (m_keyBias >> 16) / 3;
    else if (id == KXCGLSTATE_PERSPECTIVELIMIT)
        value = static_cast<INT32>(m_perspectiveLimit);
    else
        return -3;
    return 0;
}

INT32 KxcGLRenderState::getF(INT32 id, KxcFixed& value) const
{
    if (id >= 0 && id < kIntegerStates)
        value = KxcFixed(m_values[id]);
    else if (id == KXCGLSTATE_SORTBIAS)
        value = KxcFixed::fromRaw(m_keyBias / 3);
    else if (id == KXCGLSTATE_PERSPECTIVELIMIT)
        value = m_perspectiveLimit;
    else
        return -3;
    return 0;
}

INT32 KxcGLRenderState::validateBlendMode(INT32 source, INT32 destination)
{
    return blendRow(source, destination) >= 0 ? 0 : -2;
}

void KxcGLRenderState::selectBlend()
{
    const INT32 row = blendRow(m_values[KXCGLSTATE_SOURCEBLEND], m_values[KXCGLSTATE_DESTBLEND]);
    m_blendSupported = row >= 0;
    if (m_blendSupported)
        m_blendRow = isOn(KXCGLSTATE_BLENDING) ? row : 0;
}

const KxcGLFiller* KxcGLRenderState::fillers() const
{
    return m_blendSupported ? kxcCore->fillers[m_blendRow][m_textureColumn] : kxcCore->fillers[0][0];
}

INT32 KxcGLRenderState::setTexture(KxcGLTexture* newTexture)
{
    INT32 column = 0;
    if (newTexture)
        switch (newTexture->getSurfaceFormat())
        {
        case KXCSURFACEFORMAT_55X5:
            column = 1;
            break;
        case KXCSURFACEFORMAT_5515:
            column = 2;
            break;
        case KXCSURFACEFORMAT_PALETTE8:
            column = 3;
            break;
        default:
            return -2;
        }
    texture = newTexture;
    m_textureColumn = column;
    m_blendSupported = true; // an unsupported pair of factors counts until here
    return 0;
}

INT32 KxcGLRenderState::setMatrix(INT32 id, const KxcMatrix4& m)
{
    switch (id)
    {
    case KXCGLMATRIX_WORLD:
        world = m;
        m_inverseWorldCurrent = false;
        break;
    case KXCGLMATRIX_VIEW:
        view = m;
        break;
    case KXCGLMATRIX_PROJECTION:
        projection = m;
        break;
    default:
        return -3;
    }
    ++matrixCounter;
    KxcMatrix4 viewProjection;
    KxcMath::matrixMultiply(view, projection, viewProjection);
    KxcMath::matrixMultiply(world, viewProjection, worldViewProjection);
    return 0;
}

INT32 KxcGLRenderState::getMatrix(INT32 id, KxcMatrix4& m) const
{
    switch (id)
    {
    case KXCGLMATRIX_WORLD:
        m = world;
        return 0;
    case KXCGLMATRIX_VIEW:
        m = view;
        return 0;
    case KXCGLMATRIX_PROJECTION:
        m = projection;
        return 0;
    default:
        return -3;
    }
}

INT32 KxcGLRenderState::setLight(INT32 index, const KxcGLLight& light)
{
    if (index < 0 || index >= kLights)
        return -3;
    lights[index] = light;
    lightCaches[index].valid = false;
    return 0;
}

INT32 KxcGLRenderState::enableLight(INT32 index, INT32 enable)
{
    if (index < 0 || index >= kLights)
        return -3;
    const UINT32 bit = 1u << index;
    enabledLights = enable == 1 ? enabledLights | bit : enabledLights & ~bit;
    return 0;
}

void KxcGLRenderState::refreshLightCaches()
{
    if (!m_inverseWorldCurrent)
    {
        m_inverseWorld = world;
        KxcMath::matrixInverse(m_inverseWorld);
        m_inverseWorldCurrent = true;
    }
    for (INT32 i = 0; i < kLights; ++i)
    {
        KxcGLLightCache& cache = lightCaches[i];
        if (!(enabledLights >> i & 1) || (cache.valid && cache.matrixCounter == matrixCounter))
            continue;
        const KxcVector3 &position = lights[i].position, &direction = lights[i].direction;
        const KxcVector3 ahead = {position.x + direction.x, position.y + direction.y, position.z + direction.z};
        KxcVector3 end;
        KxcMath::matrixTransform(m_inverseWorld, position, cache.position);
        KxcMath::matrixTransform(m_inverseWorld, ahead, end);
        cache.direction = {end.x - cache.position.x, end.y - cache.position.y, end.z - cache.position.z};
        cache.matrixCounter = matrixCounter;
        cache.valid = true;
    }
}
