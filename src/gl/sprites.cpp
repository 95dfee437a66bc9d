// sprites.cpp - rectangles of the current texture, on the screen or in the scene, queued like any triangles.
#include "gl/pipeline.h"

#include <kxcoreemb/fixed_math.h>

namespace
{

KxcFixed half(KxcFixed value) { return KxcFixed::fromRaw(value.raw() / 2); }

} // namespace

/// The four corners, turned by the sprite's matrix and moved to its place.
void KxcGLPipeline::buildQuad(const Sprite& sprite, KxcGLPolygon& quad)
{
    const KxcFixed x = half(sprite.w), y = half(sprite.h), one(1);
    quad.vertices[0] = {{-x, -y, one, one}, sprite.color, sprite.left, sprite.top};
    quad.vertices[1] = {{x, -y, one, one}, sprite.color, sprite.right, sprite.top};
    quad.vertices[2] = {{x, y, one, one}, sprite.color, sprite.right, sprite.bottom};
    quad.vertices[3] = {{-x, y, one, one}, sprite.color, sprite.left, sprite.bottom};
    quad.count = 4;
    for (INT32 i = 0; i < quad.count; ++i)
    {
        KxcVector4& p = quad.vertices[i].position;
        KxcVector3 corner = {p.x, p.y, p.z};
        if (sprite.matrix)
            KxcMath::matrixTransform(*sprite.matrix, corner, corner);
        p = {corner.x + sprite.x, corner.y + sprite.y, corner.z + sprite.z, one};
    }
}

INT32 KxcGLPipeline::drawSprite2d(const Sprite& sprite)
{
    KxcGLPolygon quad;
    buildQuad(sprite, quad);
    const KxcGLViewport& v = state.viewport;
    const INT64 right = static_cast<INT64>(v.x) + v.width - 1, bottom = static_cast<INT64>(v.y) + v.height - 1;
    if (!kxcGLClipToScreen(quad, KxcFixed(v.x), KxcFixed(v.y), KxcFixed(right), KxcFixed(bottom)))
        return 0;
    const KxcGLBatchState* batch = nextBatch();
    if (!batch)
        return -4;
    KxcVector4 screen[KxcGLPolygon::kCapacity];
    for (INT32 i = 0; i < quad.count; ++i)
        screen[i] = quad.vertices[i].position;
    return queueFan(batch, quad, screen, false);
}

INT32 KxcGLPipeline::drawSprite3d(const Sprite& sprite)
{
    KxcGLPolygon quad;
    buildQuad(sprite, quad);
    INT32 common = ~0, any = 0;
    for (INT32 i = 0; i < quad.count; ++i)
    {
        KxcVector4& p = quad.vertices[i].position;
        KxcMath::matrixProject(state.worldViewProjection, p, p);
        const INT32 outcode = kxcGLOutcode(p);
        common &= outcode;
        any |= outcode;
    }
    if (common)
        return 0;
    const KxcGLBatchState* batch = nextBatch();
    return batch ? queueClipped(batch, quad, any, true) : -4;
}

INT32 KxcGLPipeline::drawBillboard(const Sprite& sprite)
{
    if (m_billboardCounter != state.matrixCounter)
    {
        KxcMath::matrixMultiply(state.world, state.view, m_billboard);
        KxcMath::matrixInverseFast(m_billboard);
        for (INT32 column = 0; column < 3; ++column)
            m_billboard.m[3][column] = KxcFixed(0);
        m_billboardCounter = state.matrixCounter;
    }
    KxcMatrix4 turned = m_billboard;
    if (sprite.matrix)
        KxcMath::matrixMultiply(*sprite.matrix, m_billboard, turned);
    Sprite facing = sprite;
    facing.matrix = &turned;
    return drawSprite3d(facing);
}
