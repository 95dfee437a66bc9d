// gl_vertex_buffer.h - the geometry that KxcGL renders: vertices, and what a call may say about single triangles.
#pragma once

#include <kxcoreemb/fixed.h>

/// What a vertex holds, in this order: each component follows the one before it without a gap.
enum KXCGLVERTEX : KxcINT32
{
    KXCGLVERTEX_POSITION = 0x1,     ///< x, y, z
    KXCGLVERTEX_RECIPROCALW = 0x2,  ///< one number; x and y are pixels of the screen, nothing is transformed or lit
    KXCGLVERTEX_NORMAL = 0x4,       ///< x, y, z, of length 1
    KXCGLVERTEX_COLOR = 0x8,        ///< 0xAARRGGBB
    KXCGLVERTEX_SECONDCOLOR = 0x10, ///< stored only
    KXCGLVERTEX_TEXTURE1 = 0x20,    ///< u, v: 1.0 spans the texture
    KXCGLVERTEX_TEXTURE2 = 0x40,    ///< stored only, as all that follow
    KXCGLVERTEX_TEXTURE3 = 0x80,
    KXCGLVERTEX_TEXTURE4 = 0x100,
    KXCGLVERTEX_TRAILER = 0x200, ///< whatever the stride leaves room for
};

/// Vertices of one format.
///
/// Ownership  the caller deletes what create() returned, after the frames that use it.
/// Threads    the frame thread only.
class KXC_API KxcGLVertexBuffer
{
public:
    /// Makes a buffer whose content is undefined.
    /// @param flags   KXCGLVERTEX_ bits
    /// @param stride  bytes from vertex to vertex, at least the sum of the components
    /// @return null when the stride is too small, the count negative, or memory runs out
    static KxcGLVertexBuffer* create(KxcINT32 flags, KxcINT32 stride, KxcINT32 count);
    virtual ~KxcGLVertexBuffer();
    KxcGLVertexBuffer(const KxcGLVertexBuffer&) = delete;
    KxcGLVertexBuffer& operator=(const KxcGLVertexBuffer&) = delete;

    void* lock(KxcINT32 flags); ///< the vertices, to be filled; null once the buffer is optimised
    KxcINT32 unlock();          ///< 0
    /// Sorts the components into arrays of their own, which are read faster. Once; no lock() after it.
    KxcINT32 optimize(); ///< 0, or -4 when memory runs out, where the buffer stays as it was

    KxcINT32 getFlags() const { return m_flags; }         ///< KXCGLVERTEX_ bits
    KxcINT32 getVertexStride() const { return m_stride; } ///< in bytes
    KxcINT32 getNumVertices() const { return m_count; }   ///< as created
    KxcINT32 isValid() const { return 1; }                ///< 1: a buffer never goes bad on this platform

    /// Where a component lies in a vertex, in bytes; -1 where the format lacks it.
    KxcINT32 offsetOf(KXCGLVERTEX component) const;

    /// One component of all vertices, wherever it is kept.
    struct Stream
    {
        const KxcUINT8* first; ///< null where the format lacks it
        ptrdiff_t stride;      ///< in bytes
    };
    Stream stream(KXCGLVERTEX component) const; ///< where it is now; it moves in optimize()

private:
    static constexpr KxcINT32 kComponents = 10;
    enum
    {
        kPositions,
        kColors,
        kTexture,
        kNormals,
        kArrays
    };

    KxcGLVertexBuffer() = default;
    KxcINT32 init(KxcINT32 flags, KxcINT32 stride, KxcINT32 count);

    KxcINT32 m_flags = 0, m_stride = 0, m_count = 0;
    KxcUINT8* m_vertices = nullptr;   // owned, until the buffer is optimised
    KxcUINT8* m_arrays[kArrays] = {}; // owned, from then on
    KxcINT32 m_optimized = 0;
    KxcINT32 m_offsets[kComponents] = {}; // by bit
};

/// What a record of a KxcGLTriangleInfoBuffer holds, in this order.
enum KXCGLTRIANGLEINFO : KxcUINT32
{
    KXCGLTRIANGLEINFO_COLORS = 0x1,  ///< of the three vertices, 0xAARRGGBB
    KXCGLTRIANGLEINFO_SECOND = 0x2,  ///< three words, stored only
    KXCGLTRIANGLEINFO_TEXTURE = 0x4, ///< u of the three vertices, then v of them
};

/// Colours and texture coordinates of single triangles: record i is that of the i-th triangle of a call.
///
/// Ownership  the caller deletes what create() returned, after the call that uses it.
/// Threads    the frame thread only.
class KXC_API KxcGLTriangleInfoBuffer
{
public:
    /// Makes a buffer whose content is undefined. @param flags  KXCGLTRIANGLEINFO_ bits @param stride  in bytes
    /// @return null when the stride is too small for the fields, the count negative, or memory runs out
    static KxcGLTriangleInfoBuffer* create(KxcUINT32 flags, KxcINT32 stride, KxcINT32 count);
    ~KxcGLTriangleInfoBuffer();
    KxcGLTriangleInfoBuffer(const KxcGLTriangleInfoBuffer&) = delete;
    KxcGLTriangleInfoBuffer& operator=(const KxcGLTriangleInfoBuffer&) = delete;

    void* lock() { return m_records; } ///< the records, to be filled at any time
    void unlock() {}                   ///< no effect

    KxcINT32 getCount() const { return m_count; } ///< records
    /// A field of a record; null where the format or the buffer lacks it.
    const KxcUINT8* field(KxcINT32 record, KXCGLTRIANGLEINFO component) const;

private:
    KxcGLTriangleInfoBuffer() = default;

    KxcINT32 m_stride = 0, m_count = 0;
    KxcUINT32 m_flags = 0;
    KxcUINT32 m_colorOffset = 0, m_secondOffset = 0, m_textureOffset = 0; // 0xFFFFFFFF where there is none
    KxcUINT8* m_records = nullptr;                                        // owned
};
