// pipeline.cpp - transforms a call's vertices, and walks its triangles: reject, cull, colour, clip, project, queue.
#include "gl/pipeline.h"

#include "core/core_state.h"
#include "gl/device.h"
#include "math/linear.h"

#include <kxcoreemb/fixed_math.h>

#include <cstring>
#include <new>

namespace
{

constexpr KxcFixed kLeastW = KxcFixed::fromRaw(655); // 0.01, for a w of 0
constexpr UINT32 kKeyBase = 0x7FFFFFFF;              // makes sums that are compared as unsigned sort like signed ones

template <class T>
T readAt(const KxcGLVertexBuffer::Stream& stream, INT32 vertex)
{
    T value;
    std::memcpy(&value, stream.first + vertex * stream.stride, sizeof(T));
    return value;
}

KxcVector4 point(const KxcVector3& v) { return {v.x, v.y, v.z, KxcFixed(1)}; }

/// 1 / w as 2^32 / raw, which wraps for the smallest.
KxcFixed reciprocal(KxcFixed w)
{
    const INT64 divisor = w.raw() != 0 ? w.raw() : kLeastW.raw();
    return KxcFixed::fromRaw(static_cast<INT32>(static_cast<UINT32>(static_cast<UINT64>((INT64{1} << 32) / divisor))));
}

/// raw << 16 of a pixel position, and a whole number times a fixed one; both wrap.
KxcFixed pixels(INT32 half, INT32 offset) { return KxcFixed(static_cast<INT64>(half) + offset); }
KxcFixed times(INT32 whole, KxcFixed value)
{
    return KxcFixed::fromRaw(static_cast<INT32>(static_cast<UINT32>(whole) * static_cast<UINT32>(value.raw())));
}

UINT32 averageColor(UINT32 a, UINT32 b, UINT32 c)
{
    UINT32 color = 0;
    for (INT32 shift = 0; shift < 32; shift += 8)
        color |= ((a >> shift & 255) + (b >> shift & 255) + (c >> shift & 255)) / 3 << shift;
    return color;
}

INT32 slotOf(INT32 shading)
{
    switch (shading)
    {
    case KXCGLSHADE_TEXTURE:
        return 0;
    case KXCGLSHADE_FLAT:
        return 1;
    case KXCGLSHADE_GOURAUD:
        return 2;
    case KXCGLSHADE_GREYSCALEGOURAUD:
        return 3;
    default:
        return -1;
    }
}

bool hasVertexColors(INT32 shading) { return shading == KXCGLSHADE_GOURAUD || shading == KXCGLSHADE_GREYSCALEGOURAUD; }

} // namespace

/// What a call brings along.
struct KxcGLPipeline::Call
{
    Vertices vertices;
    INT32 min, max; // the vertices that are transformed
    const KxcGLTriangleInfoBuffer* info;
    const KxcGLBatchState* batch;
    KxcGLVertexBuffer::Stream positions, reciprocals, normals, colors, texture;
    bool lit, clipped;
    INT32 firstScreen; // the screen vertex of min

    bool covers(INT64 vertex) const { return vertex >= min && vertex <= max; }
};

KxcGLPipeline::~KxcGLPipeline()
{
    while (BatchBlock* block = m_batches)
    {
        m_batches = block->next;
        delete block;
    }
}

void KxcGLPipeline::beginRender()
{
    m_queue.clear();
    m_screen.clear();
    m_batchBlock = m_batches;
    m_batchesUsed = 0;
}

/// The state that the triangles of a call share; null when memory runs out.
const KxcGLBatchState* KxcGLPipeline::nextBatch()
{
    if (!m_batchBlock || m_batchesUsed == BatchBlock::kCount)
    {
        BatchBlock* next = m_batchBlock ? m_batchBlock->next : nullptr;
        if (!next)
        {
            next = new (std::nothrow) BatchBlock();
            if (!next)
                return nullptr;
            (m_batchBlock ? m_batchBlock->next : m_batches) = next;
        }
        m_batchBlock = next;
        m_batchesUsed = 0;
    }
    KxcGLBatchState& batch = m_batchBlock->states[m_batchesUsed++];
    const INT32 slot = slotOf(state.value(KXCGLSTATE_SHADING));
    const KxcGLFiller* fillers = state.fillers();
    batch.texture = state.texture;
    batch.shading = state.value(KXCGLSTATE_SHADING);
    batch.wireframe = state.value(KXCGLSTATE_WIREFRAME);
    batch.affineFiller = slot >= 0 ? m_device.fillerOf(fillers[slot]) : kxcGLFillNothing;
    batch.filler =
        slot >= 0 && state.isOn(KXCGLSTATE_PERSPECTIVE) ? m_device.fillerOf(fillers[slot + 4]) : batch.affineFiller;
    return &batch;
}

/// A clip-space position on the screen; z and w stay as they are, for sorting and perspective.
KxcVector4 KxcGLPipeline::project(const KxcVector4& clip) const
{
    constexpr KxcFixed kLimit = KxcFixed::fromRaw(65000); // beyond it, rounding is not to pass the viewport's edge
    KxcFixed x = clip.x, y = clip.y;
    if (!state.isOn(KXCGLSTATE_ORTHOGRAPHIC))
    {
        const KxcFixed inverse = reciprocal(clip.w);
        x *= inverse;
        y *= inverse;
    }
    if (x < -kLimit)
        x = KxcFixed(-1);
    if (y > kLimit)
        y = KxcFixed(1);
    const KxcGLViewport& v = state.viewport;
    const INT32 halfWidth = v.width / 2, halfHeight = v.height / 2;
    return {pixels(halfWidth, v.x) + times(halfWidth, x), pixels(halfHeight, v.y) - times(halfHeight, y), clip.z,
            clip.w};
}

/// The same for a custom item outside the view, which is not clipped: far away, not at the edge.
KxcVector4 KxcGLPipeline::projectOutside(const KxcVector4& clip) const
{
    const KxcGLViewport& v = state.viewport;
    const INT32 halfWidth = v.width / 2, halfHeight = v.height / 2;
    const KxcFixed inverse = reciprocal(clip.w);
    return {times(halfWidth, clip.x) * inverse + pixels(halfWidth, v.x),
            pixels(halfHeight, v.y) - times(halfHeight, clip.y) * inverse, clip.z, clip.w};
}

/// Transforms vertices min to max into the work arrays, and on to the screen where nothing has to be clipped.
bool KxcGLPipeline::transform(const Call& call)
{
    const INT32 count = call.max - call.min + 1;
    m_work.clear();
    m_lit.clear();
    if (!m_screen.reserve(count, kVertexStep) || !m_work.reserve(count, kVertexStep) ||
        (call.lit && !m_lit.reserve(count, kVertexStep)))
        return false;
    KxcVector4* screen = m_screen.append(count);
    WorkVertex* work = m_work.append(count);
    const KxcMatrix4 matrix = state.worldViewProjection;
    for (INT32 i = 0; i < count; ++i)
    {
        const KxcVector3 position = readAt<KxcVector3>(call.positions, call.min + i);
        work[i].clip = kxcProjected(matrix, point(position));
        work[i].outcode = call.clipped ? kxcGLOutcode(work[i].clip) : 0;
        if (work[i].outcode == 0)
            screen[i] = project(work[i].clip);
    }
    if (!call.lit)
        return true;
    LitVertex* lit = m_lit.append(count);
    for (INT32 i = 0; i < count; ++i)
    {
        lit[i].position = readAt<KxcVector3>(call.positions, call.min + i);
        lit[i].normal = call.normals.first ? readAt<KxcVector3>(call.normals, call.min + i)
                                           : KxcVector3{KxcFixed(0), KxcFixed(0), KxcFixed(0)};
        lit[i].lit = false;
    }
    return true;
}

/// Takes vertices min to max over as they are: places on the screen already.
bool KxcGLPipeline::takeTransformed(const Call& call)
{
    const INT32 count = call.max - call.min + 1;
    m_work.clear();
    if (!m_screen.reserve(count, kVertexStep) || !m_work.reserve(count, kVertexStep))
        return false;
    KxcVector4* screen = m_screen.append(count);
    WorkVertex* work = m_work.append(count);
    for (INT32 i = 0; i < count; ++i)
    {
        const KxcVector3 position = readAt<KxcVector3>(call.positions, call.min + i);
        const KxcFixed w = call.reciprocals.first ? readAt<KxcFixed>(call.reciprocals, call.min + i) : KxcFixed(0);
        screen[i] = {position.x, position.y, position.z, w};
        work[i] = {screen[i], 0};
    }
    return true;
}

UINT32 KxcGLPipeline::litColor(INT32 vertex)
{
    LitVertex& lit = m_lit[vertex];
    if (!lit.lit)
        lightVertex(lit);
    return lit.color;
}

INT32 KxcGLPipeline::render(const KxcGLVertexBuffer* buffer, INT32 type, const Vertices& vertices, INT32 min, INT32 max,
                            const KxcGLTriangleInfoBuffer* info)
{
    if (type < KXCGLPRIMITIVE_LIST || type > KXCGLPRIMITIVE_CUSTOM)
        return -3;
    if (!buffer)
        return -2;
    const bool transformed = (buffer->getFlags() & KXCGLVERTEX_RECIPROCALW) != 0;
    if (transformed && type == KXCGLPRIMITIVE_CUSTOM)
        return -3;
    Call call = {};
    call.vertices = vertices;
    call.min = min > 0 ? min : 0;
    call.max = max < buffer->getNumVertices() ? max : buffer->getNumVertices() - 1;
    if (call.min > call.max || vertices.count <= 0)
        return 0;
    call.positions = buffer->stream(KXCGLVERTEX_POSITION);
    call.reciprocals = buffer->stream(KXCGLVERTEX_RECIPROCALW);
    call.normals = buffer->stream(KXCGLVERTEX_NORMAL);
    call.colors = buffer->stream(KXCGLVERTEX_COLOR);
    call.texture = buffer->stream(KXCGLVERTEX_TEXTURE1);
    if (!call.positions.first)
        return -2; // there is nothing to place
    call.batch = nextBatch();
    if (!call.batch)
        return -4;
    call.lit = !transformed && state.isOn(KXCGLSTATE_LIGHTING);
    call.clipped = call.lit || (!transformed && state.isOn(KXCGLSTATE_CLIPPING));
    call.info = transformed ? nullptr : info;
    call.firstScreen = m_screen.count();
    if (call.lit)
        state.refreshLightCaches();

    if (!(transformed ? takeTransformed(call) : transform(call)))
        return -4;
    return type == KXCGLPRIMITIVE_CUSTOM ? renderCustomItems(call) : renderTriangles(call, type);
}

/// A new record, but for its colours and texture coordinates; null when memory runs out.
inline KxcGLTriangle* KxcGLPipeline::queue(const KxcGLBatchState* batch, const INT32 (&screen)[3])
{
    const KxcVector4 &a = m_screen[screen[0]], &b = m_screen[screen[1]], &c = m_screen[screen[2]];
    const bool orthographic = state.isOn(KXCGLSTATE_ORTHOGRAPHIC);
    const KxcFixed sum = orthographic ? a.z + b.z + c.z : a.w + b.w + c.w;
    const KxcFixed limit = state.perspectiveLimit();
    KxcGLTriangle* triangle = m_queue.add(state.keyBias() + static_cast<UINT32>(sum.raw()) + kKeyBase);
    if (!triangle)
        return nullptr;
    for (INT32 i = 0; i < 3; ++i)
        triangle->corners.vertex[i] = screen[i];
    triangle->corners.perspective = !orthographic && (a.w <= limit || b.w <= limit || c.w <= limit);
    triangle->batch = batch;
    return triangle;
}

/// The winding on the screen. Differences lose ten bits, so that the products fit 32.
inline bool KxcGLPipeline::isCulled(const KxcVector4& a, const KxcVector4& b, const KxcVector4& c) const
{
    const INT32 culling = state.value(KXCGLSTATE_CULLING);
    if (culling == KXCGLCULL_NONE)
        return false;
    const auto product = [](KxcFixed p, KxcFixed q)
    { return static_cast<UINT32>(p.raw() >> 10) * static_cast<UINT32>(q.raw() >> 10); };
    const INT32 value = static_cast<INT32>(product(c.y - b.y, a.x - b.x) - product(c.x - b.x, a.y - b.y));
    return culling == KXCGLCULL_NEGATIVE ? value <= 0 : value >= 0;
}

/// Colours and texture coordinates of a triangle's corners; what the formats lack is 0.
inline void KxcGLPipeline::gather(const Call& call, INT32 record, const INT32 (&vertices)[3], UINT32 (&colors)[3],
                                  KxcFixed (&u)[3], KxcFixed (&v)[3])
{
    const UINT8* infoTexture = call.info ? call.info->field(record, KXCGLTRIANGLEINFO_TEXTURE) : nullptr;
    const UINT8* infoColors = call.info && !call.lit ? call.info->field(record, KXCGLTRIANGLEINFO_COLORS) : nullptr;
    if (infoTexture)
    {
        std::memcpy(&u, infoTexture, sizeof(u));
        std::memcpy(&v, infoTexture + sizeof(u), sizeof(v));
    }
    for (INT32 i = 0; i < 3 && !infoTexture; ++i)
    {
        KxcVector2 uv = {KxcFixed(0), KxcFixed(0)};
        if (call.texture.first)
            uv = readAt<KxcVector2>(call.texture, call.min + vertices[i]);
        u[i] = uv.x;
        v[i] = uv.y;
    }
    for (INT32 i = 0; i < 3; ++i)
        if (call.lit)
            colors[i] = litColor(vertices[i]);
        else if (infoColors)
            std::memcpy(&colors[i], infoColors + 4 * i, sizeof(colors[i]));
        else
            colors[i] = call.colors.first ? readAt<UINT32>(call.colors, call.min + vertices[i]) : 0;
    if (!hasVertexColors(call.batch->shading))
        colors[0] = colors[1] = colors[2] = averageColor(colors[0], colors[1], colors[2]);
}

inline INT32 KxcGLPipeline::renderTriangle(const Call& call, INT32 record, const INT32 (&vertices)[3])
{
    const INT32 a = m_work[vertices[0]].outcode, b = m_work[vertices[1]].outcode, c = m_work[vertices[2]].outcode;
    const INT32 outcodes = a | b | c;
    if (outcodes != 0)
        return (a & b & c) != 0 ? 0 : clipTriangle(call, record, vertices, outcodes);
    INT32 screen[3];
    for (INT32 i = 0; i < 3; ++i)
        screen[i] = call.firstScreen + vertices[i];
    if (isCulled(m_screen[screen[0]], m_screen[screen[1]], m_screen[screen[2]]))
        return 0;
    KxcGLTriangle* triangle = queue(call.batch, screen);
    if (!triangle)
        return -4;
    KxcGLTriangle::Corners& corners = triangle->corners;
    gather(call, record, vertices, corners.color, corners.u, corners.v);
    return 0;
}

/// A triangle that lies partly outside the view: apart, so that the way of the others is short.
__attribute__((noinline)) INT32 KxcGLPipeline::clipTriangle(const Call& call, INT32 record, const INT32 (&vertices)[3],
                                                            INT32 outcodes)
{
    UINT32 colors[3];
    KxcFixed u[3], v[3];
    gather(call, record, vertices, colors, u, v);
    KxcGLPolygon polygon;
    for (INT32 i = 0; i < 3; ++i)
        polygon.vertices[i] = {m_work[vertices[i]].clip, colors[i], u[i], v[i]};
    polygon.count = 3;
    return queueClipped(call.batch, polygon, outcodes, true);
}

/// Walks the triangles of a list, strip or fan.
INT32 KxcGLPipeline::renderTriangles(const Call& call, INT32 type)
{
    const Vertices& p = call.vertices;
    const INT32 triangles = type == KXCGLPRIMITIVE_LIST ? p.count / 3 : p.count - 2;
    for (INT32 t = 0; t < triangles; ++t)
    {
        INT32 places[3] = {t, t + 1, t + 2};
        if (type == KXCGLPRIMITIVE_LIST)
            places[0] = 3 * t, places[1] = 3 * t + 1, places[2] = 3 * t + 2;
        else if (type == KXCGLPRIMITIVE_FAN)
            places[0] = 0;
        else if (t & 1)
            places[0] = t + 2, places[2] = t;
        INT32 vertices[3];
        bool covered = true;
        for (INT32 i = 0; i < 3; ++i)
        {
            const INT64 vertex = p.at(places[i]);
            covered = covered && call.covers(vertex);
            vertices[i] = static_cast<INT32>(covered ? vertex : call.min) - call.min;
        }
        const INT32 status = covered ? renderTriangle(call, t, vertices) : 0;
        if (status != 0)
            return status;
    }
    return 0;
}

/// Clips a polygon, projects what is left and queues it as a fan.
INT32 KxcGLPipeline::queueClipped(const KxcGLBatchState* batch, KxcGLPolygon& polygon, INT32 outcodes, bool cull)
{
    if (!kxcGLClip(polygon, outcodes, hasVertexColors(batch->shading)))
        return 0;
    KxcVector4 screen[KxcGLPolygon::kCapacity];
    for (INT32 i = 0; i < polygon.count; ++i)
        screen[i] = project(polygon.vertices[i].position);
    return queueFan(batch, polygon, screen, cull);
}

INT32 KxcGLPipeline::queueFan(const KxcGLBatchState* batch, const KxcGLPolygon& polygon, const KxcVector4* screen,
                              bool cull)
{
    const INT32 first = m_screen.count();
    if (!m_screen.reserve(polygon.count, kVertexStep))
        return -4;
    std::memcpy(static_cast<void*>(m_screen.append(polygon.count)), screen,
                static_cast<size_t>(polygon.count) * sizeof(KxcVector4));
    for (INT32 i = 1; i + 1 < polygon.count; ++i)
    {
        if (cull && isCulled(screen[0], screen[i], screen[i + 1]))
            continue;
        KxcGLTriangle* triangle = queue(batch, {first, first + i, first + i + 1});
        if (!triangle)
            return -4;
        for (INT32 corner = 0; corner < 3; ++corner)
        {
            const KxcGLClipVertex& vertex = polygon.vertices[corner == 0 ? 0 : i + corner - 1];
            triangle->corners.u[corner] = vertex.u;
            triangle->corners.v[corner] = vertex.v;
            triangle->corners.color[corner] = vertex.color;
        }
    }
    return 0;
}

/// Every vertex becomes an item that the game draws itself, wherever it lies.
INT32 KxcGLPipeline::renderCustomItems(const Call& call)
{
    for (INT32 i = 0; i < call.vertices.count; ++i)
    {
        const INT64 at = call.vertices.at(i);
        if (!call.covers(at))
            continue;
        const INT32 vertex = static_cast<INT32>(at), work = vertex - call.min, screen = call.firstScreen + work;
        const KxcVector4& clip = m_work[work].clip;
        if (m_work[work].outcode != 0)
            m_screen[screen] = projectOutside(clip);
        UINT32 color = call.colors.first ? readAt<UINT32>(call.colors, vertex) : 0;
        if (call.lit)
            color = (color & 0xFF000000) | litColor(work);
        const UINT32 depth = static_cast<UINT32>(m_screen[screen].z.raw()) * 3;
        KxcGLTriangle* triangle = m_queue.add(state.keyBias() + depth + kKeyBase);
        if (!triangle)
            return -4;
        triangle->item = {screen, state.callback, state.callbackData, color};
        triangle->batch = nullptr;
    }
    return 0;
}
