// vertex_buffer.cpp - lays out vertices and triangle records, and sorts vertices into arrays of components.
#include <kxcoreemb/gl_vertex_buffer.h>

#include <cstring>
#include <new>

namespace
{

constexpr INT32 kSizes[] = {12, 4, 12, 4, 4, 8, 8, 8, 8, 0}; // bytes of each component, by bit
constexpr UINT32 kNoField = 0xFFFFFFFF;
constexpr INT32 kFieldSizes[] = {12, 12, 24};

INT32 bitOf(UINT32 flag)
{
    INT32 bit = 0;
    while (flag >> bit > 1)
        ++bit;
    return bit;
}

/// The bytes of count elements; null when they do not fit or memory runs out.
UINT8* allocate(INT64 count, INT64 size)
{
    return count * size > INT32_MAX ? nullptr : new (std::nothrow) UINT8[static_cast<size_t>(count * size)]();
}

} // namespace

KxcGLVertexBuffer* KxcGLVertexBuffer::create(INT32 flags, INT32 stride, INT32 count)
{
    KxcGLVertexBuffer* buffer = new (std::nothrow) KxcGLVertexBuffer();
    if (buffer && !buffer->init(flags, stride, count))
    {
        delete buffer;
        buffer = nullptr;
    }
    return buffer;
}

INT32 KxcGLVertexBuffer::init(INT32 flags, INT32 stride, INT32 count)
{
    m_flags = flags;
    m_stride = stride;
    m_count = count;
    INT32 offset = 0;
    for (INT32 bit = 0; bit < kComponents; ++bit)
    {
        m_offsets[bit] = flags >> bit & 1 ? offset : -1;
        offset += flags >> bit & 1 ? kSizes[bit] : 0;
    }
    if (stride < offset || count < 0)
        return 0;
    m_vertices = allocate(count, stride);
    return m_vertices != nullptr;
}

KxcGLVertexBuffer::~KxcGLVertexBuffer()
{
    delete[] m_vertices;
    for (UINT8* array : m_arrays)
        delete[] array;
}

void* KxcGLVertexBuffer::lock(INT32) { return m_vertices; }

INT32 KxcGLVertexBuffer::unlock() { return 0; }

INT32 KxcGLVertexBuffer::optimize()
{
    if (m_optimized)
        return 0;
    static constexpr KXCGLVERTEX kKept[kArrays] = {KXCGLVERTEX_POSITION, KXCGLVERTEX_COLOR, KXCGLVERTEX_TEXTURE1,
                                                   KXCGLVERTEX_NORMAL};
    for (INT32 i = 0; i < kArrays; ++i)
    {
        const Stream from = stream(kKept[i]);
        if (!from.first)
            continue;
        const INT32 size = kSizes[bitOf(kKept[i])];
        m_arrays[i] = allocate(m_count, size);
        if (!m_arrays[i])
        {
            for (UINT8*& array : m_arrays)
            {
                delete[] array;
                array = nullptr;
            }
            return -4;
        }
        for (INT32 vertex = 0; vertex < m_count; ++vertex)
            std::memcpy(m_arrays[i] + static_cast<ptrdiff_t>(vertex) * size, from.first + vertex * from.stride,
                        static_cast<size_t>(size));
    }
    delete[] m_vertices;
    m_vertices = nullptr;
    m_optimized = 1;
    return 0;
}

INT32 KxcGLVertexBuffer::offsetOf(KXCGLVERTEX component) const { return m_offsets[bitOf(component)]; }

KxcGLVertexBuffer::Stream KxcGLVertexBuffer::stream(KXCGLVERTEX component) const
{
    const INT32 offset = offsetOf(component);
    if (offset < 0)
        return {nullptr, 0};
    if (!m_optimized)
        return {m_vertices + offset, m_stride};
    switch (component)
    {
    case KXCGLVERTEX_POSITION:
        return {m_arrays[kPositions], 12};
    case KXCGLVERTEX_COLOR:
        return {m_arrays[kColors], 4};
    case KXCGLVERTEX_TEXTURE1:
        return {m_arrays[kTexture], 8};
    case KXCGLVERTEX_NORMAL:
        return {m_arrays[kNormals], 12};
    default:
        return {nullptr, 0};
    }
}

KxcGLTriangleInfoBuffer* KxcGLTriangleInfoBuffer::create(UINT32 flags, INT32 stride, INT32 count)
{
    KxcGLTriangleInfoBuffer* buffer = new (std::nothrow) KxcGLTriangleInfoBuffer();
    if (!buffer)
        return nullptr;
    buffer->m_flags = flags;
    buffer->m_stride = stride;
    buffer->m_count = count;
    INT32 offset = 0;
    UINT32* const offsets[] = {&buffer->m_colorOffset, &buffer->m_secondOffset, &buffer->m_textureOffset};
    for (INT32 bit = 0; bit < 3; ++bit)
    {
        *offsets[bit] = flags >> bit & 1 ? static_cast<UINT32>(offset) : kNoField;
        offset += flags >> bit & 1 ? kFieldSizes[bit] : 0;
    }
    if (stride >= offset && count >= 0)
        buffer->m_records = allocate(count, stride);
    if (buffer->m_records)
        return buffer;
    delete buffer;
    return nullptr;
}

KxcGLTriangleInfoBuffer::~KxcGLTriangleInfoBuffer() { delete[] m_records; }

const UINT8* KxcGLTriangleInfoBuffer::field(INT32 record, KXCGLTRIANGLEINFO component) const
{
    const UINT32 offset = component == KXCGLTRIANGLEINFO_COLORS   ? m_colorOffset
                          : component == KXCGLTRIANGLEINFO_SECOND ? m_secondOffset
                                                                  : m_textureOffset;
    if (offset == kNoField || record < 0 || record >= m_count)
        return nullptr;
    return m_records + static_cast<ptrdiff_t>(record) * m_stride + offset;
}
