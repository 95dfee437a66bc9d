// frame.cpp - the end of a frame: sorts the queue and hands every triangle to its filler.
#include "core/core_state.h"
#include "gl/device.h"

namespace
{

/// The edges of a triangle, in its first colour.
void drawWireframe(KxcGLSurface* target, const KxcGLTriangle::Corners& corners, const KxcVector4* screen)
{
    for (INT32 i = 0; i < 3; ++i)
    {
        const KxcVector4 &from = screen[corners.vertex[i]], &to = screen[corners.vertex[(i + 1) % 3]];
        target->drawLine(from.x, from.y, to.x, to.y, corners.color[0] | 0xFF000000);
    }
}

/// Sorted by depth, records and their vertices come from all over the frame: those of the next triangles are fetched
/// while this one is drawn. Inline by force: compilers drop calls of a function that only prefetches.
__attribute__((always_inline)) inline void prefetch(KxcGLTriangleQueue& queue, INT32 drawn, const KxcVector4* screen)
{
    constexpr INT32 kRecordsAhead = 8, kVerticesAhead = 4;
    if (drawn + kRecordsAhead >= queue.count())
        return;
    const KxcGLTriangle& later = queue.at(drawn + kRecordsAhead);
    __builtin_prefetch(&later);
    __builtin_prefetch(&later.batch); // a record may lie across two cache lines
    const KxcGLTriangle& next = queue.at(drawn + kVerticesAhead);
    for (INT32 i = 0; next.batch && i < 3; ++i)
        __builtin_prefetch(screen + next.corners.vertex[i]);
}

} // namespace

void KxcGLPipeline::endRender()
{
    KxcGLTextureCache& cache = kxcCore->textureCache;
    m_queue.sort(state.value(KXCGLSTATE_SORTING));
    for (INT32 i = 0; i < m_queue.count(); ++i)
    {
        const KxcGLTriangle& triangle = m_queue.at(i);
        const KxcVector4* screen = m_screen.items();
        prefetch(m_queue, i, screen);
        const KxcGLBatchState* batch = triangle.batch;
        if (!batch)
        {
            const KxcVector4& at = screen[triangle.item.vertex];
            const KxcGLCustomItem item = {at.x, at.y, at.z, at.w, triangle.item.color};
            if (triangle.item.callback)
                triangle.item.callback->render(&item, triangle.item.data);
        }
        else if (batch->wireframe)
            drawWireframe(m_device.getSecondary(), triangle.corners, screen);
        else
        {
            cache.select(batch->texture);
            if (batch->texture)
                m_device.onTextureSelected(batch->texture);
            (triangle.corners.perspective ? batch->filler : batch->affineFiller)(&triangle, screen);
        }
    }
    cache.select(nullptr);
    cache.release();
}
