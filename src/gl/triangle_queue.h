// triangle_queue.h - one frame's triangles and custom items, and the order in which they are drawn.
#pragma once

#include "gl/growing_array.h"
#include "gl/triangle.h"

/// Calls come in this order: clear(), add() for every record, sort(), then at(0) .. at(count() - 1).
class KxcGLTriangleQueue
{
public:
    enum Order : INT32
    {
        kSubmitted = 1,
        kDescending = 8, // largest keys first
        kAscending = 16
    };

    bool init(); ///< makes the first room; false when memory runs out
    void clear() { m_records.clear(), m_keys.clear(); }
    /// A new record, to be filled; null when memory runs out. Keys are compared as unsigned numbers.
    KxcGLTriangle* add(UINT32 key)
    {
        if (m_records.count() == m_room && !grow())
            return nullptr;
        *m_keys.append(1) = key;
        return m_records.append(1);
    }
    void sort(INT32 order);
    INT32 count() const { return m_records.count(); }
    const KxcGLTriangle& at(INT32 place) { return m_records[m_sorted[place]]; }

private:
    static constexpr INT32 kStep = 500; // records by which it grows
    static constexpr INT32 kPasses = 4; // bytes of a key

    bool grow();

    INT32 m_room = 0; // for so many records there is room in all of:
    KxcGLArray<KxcGLTriangle> m_records;
    KxcGLArray<UINT32> m_keys;
    KxcGLArray<INT32> m_order, m_scratch;
    const INT32* m_sorted = nullptr; // where the last pass left the order: one of the two
    INT32 m_histograms[kPasses][256];
};
