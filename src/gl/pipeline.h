// pipeline.h - from vertex buffers and sprites to the frame's queue of triangles, and from there to the fillers.
#pragma once

#include "gl/clipper.h"
#include "gl/render_state.h"
#include "gl/triangle_queue.h"

class KxcGLDevice;

/// The pipeline of one device.
///
/// A frame: beginRender(), primitives and sprites in any number, endRender(). A primitive is transformed once, its
/// triangles are rejected, culled, lit and clipped one by one, and what is left is queued; no pixel is written before
/// endRender(). Operations answer 0, -2 for what they do not support, -3 for an unknown type, -4 without memory.
class KxcGLPipeline
{
public:
    explicit KxcGLPipeline(KxcGLDevice& device) : m_device(device) {}
    ~KxcGLPipeline();
    KxcGLPipeline(const KxcGLPipeline&) = delete;
    KxcGLPipeline& operator=(const KxcGLPipeline&) = delete;

    bool init() { return m_queue.init(); } ///< makes the first room; false when memory runs out

    KxcGLRenderState state;

    void beginRender();
    void endRender();
    INT32 triangleCount() const { return m_queue.count(); }

    /// The vertices of a primitive: base + i, or base + indices[i].
    struct Vertices
    {
        INT32 base;
        const UINT16* indices; // null for none
        INT32 count;

        INT64 at(INT32 i) const { return static_cast<INT64>(base) + (indices ? indices[i] : i); }
    };
    INT32 render(const KxcGLVertexBuffer* buffer, INT32 type, const Vertices& vertices, INT32 min, INT32 max,
                 const KxcGLTriangleInfoBuffer* info);

    /// A sprite's place, size, texture edges and colour.
    struct Sprite
    {
        KxcFixed x, y, z, w, h, left, top, right, bottom;
        const KxcMatrix4* matrix; // may be null
        UINT32 color;
    };
    INT32 drawSprite2d(const Sprite& sprite);
    INT32 drawSprite3d(const Sprite& sprite);
    INT32 drawBillboard(const Sprite& sprite);

private:
    static constexpr INT32 kVertexStep = 256; // by which vertex arrays grow

    /// A transformed vertex; what lighting needs stands beside it in m_lit.
    struct WorkVertex
    {
        KxcVector4 clip;
        INT32 outcode;
    };
    struct LitVertex
    {
        KxcVector3 position, normal; // in object space
        bool lit;                    // color is there
        UINT32 color;
    };
    /// Batch states in blocks that are kept from frame to frame.
    struct BatchBlock
    {
        static constexpr INT32 kCount = 20;
        KxcGLBatchState states[kCount];
        BatchBlock* next;
    };
    struct Call; // a primitive on its way

    const KxcGLBatchState* nextBatch();
    KxcVector4 project(const KxcVector4& clip) const;
    KxcVector4 projectOutside(const KxcVector4& clip) const;
    bool transform(const Call& call);
    bool takeTransformed(const Call& call);
    UINT32 litColor(INT32 vertex);
    void lightVertex(LitVertex& vertex) const;
    INT32 renderTriangles(const Call& call, INT32 type);
    INT32 renderTriangle(const Call& call, INT32 record, const INT32 (&vertices)[3]);
    INT32 clipTriangle(const Call& call, INT32 record, const INT32 (&vertices)[3], INT32 outcodes);
    INT32 renderCustomItems(const Call& call);
    void gather(const Call& call, INT32 record, const INT32 (&vertices)[3], UINT32 (&colors)[3], KxcFixed (&u)[3],
                KxcFixed (&v)[3]);
    INT32 queueClipped(const KxcGLBatchState* batch, KxcGLPolygon& polygon, INT32 outcodes, bool cull);
    INT32 queueFan(const KxcGLBatchState* batch, const KxcGLPolygon& polygon, const KxcVector4* screen, bool cull);
    KxcGLTriangle* queue(const KxcGLBatchState* batch, const INT32 (&screen)[3]);
    bool isCulled(const KxcVector4& a, const KxcVector4& b, const KxcVector4& c) const;
    static void buildQuad(const Sprite& sprite, KxcGLPolygon& quad);

    KxcGLDevice& m_device;
    KxcGLTriangleQueue m_queue;
    KxcGLArray<KxcVector4> m_screen;                          // of the whole frame: x and y in pixels, z, w
    KxcGLArray<WorkVertex> m_work;                            // of the call
    KxcGLArray<LitVertex> m_lit;                              // of the call, where it is lit
    BatchBlock *m_batches = nullptr, *m_batchBlock = nullptr; // owned; the one being carved
    INT32 m_batchesUsed = 0;                                  // of that block
    KxcMatrix4 m_billboard;                                   // turns toward the camera
    UINT32 m_billboardCounter = 0;                            // the matrices that it was made for; 0 for none
};
