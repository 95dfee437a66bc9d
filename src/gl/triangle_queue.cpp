// triangle_queue.cpp - a radix sort over the four key bytes, lowest first: linear in the triangles, stable (equal keys
// keep the order they came in), and free of allocation once the arrays have grown.
#include "gl/triangle_queue.h"

#include <utility>

bool KxcGLTriangleQueue::init() { return grow(); }

bool KxcGLTriangleQueue::grow()
{
    // order and scratch hold nothing between frames: room for all records is what they need
    const INT32 wanted = count() + 1;
    if (!m_records.reserve(1, kStep) || !m_keys.reserve(1, kStep) || !m_order.reserve(wanted, kStep) ||
        !m_scratch.reserve(wanted, kStep))
        return false;
    m_room = m_records.capacity();
    return true;
}

void KxcGLTriangleQueue::sort(INT32 order)
{
    const INT32 total = count();
    INT32 *from = m_order.items(), *to = m_scratch.items();
    for (INT32 i = 0; i < total; ++i)
        from[i] = i;
    m_sorted = from;
    if (order == kSubmitted || total == 0)
        return;
    std::memset(m_histograms, 0, sizeof(m_histograms));
    for (INT32 i = 0; i < total; ++i)
    {
        if (order != kAscending)
            m_keys[i] = 0u - m_keys[i];
        for (INT32 pass = 0; pass < kPasses; ++pass)
            ++m_histograms[pass][m_keys[i] >> 8 * pass & 255];
    }
    for (INT32 pass = 0; pass < kPasses; ++pass)
    {
        INT32* places = m_histograms[pass];
        const INT32 shift = 8 * pass;
        if (places[m_keys[0] >> shift & 255] == total)
            continue; // this byte is the same in all keys, as the highest often is
        for (INT32 value = 0, place = 0; value < 256; ++value)
        {
            const INT32 keys = places[value];
            places[value] = place;
            place += keys;
        }
        for (INT32 i = 0; i < total; ++i)
            to[places[m_keys[from[i]] >> shift & 255]++] = from[i];
        std::swap(from, to);
    }
    m_sorted = from;
}
