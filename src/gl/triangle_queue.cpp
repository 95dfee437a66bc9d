// triangle_queue.cpp - a radix sort over the four key bytes, lowest first: linear in the triangles, stable (equal keys
// keep the order they came in), and free of allocation once the arrays have grown.
#include "gl/triangle_queue.h"

#include <utility>

bool KxcGLTriangleQueue::init()
{
    return m_records.reserve(kStep, kStep) && m_keys.reserve(kStep, kStep) && m_order.reserve(kStep, kStep) &&
           m_scratch.reserve(kStep, kStep);
}

KxcGLTriangle* KxcGLTriangleQueue::add(UINT32 key)
{
    // order and scratch hold nothing between frames: room for all records is what they need
    const INT32 wanted = count() + 1;
    if (!m_records.reserve(1, kStep) || !m_keys.reserve(1, kStep) || !m_order.reserve(wanted, kStep) ||
        !m_scratch.reserve(wanted, kStep))
        return nullptr;
    *m_keys.append(1) = key;
    return m_records.append(1);
}

void KxcGLTriangleQueue::sort(INT32 order)
{
    const INT32 total = count();
    INT32 *from = m_order.items(), *to = m_scratch.items();
    for (INT32 i = 0; i < total; ++i)
        from[i] = i;
    if (order == kSubmitted)
        return;
    if (order != kAscending)
        for (INT32 i = 0; i < total; ++i)
            m_keys[i] = 0u - m_keys[i];
    for (INT32 shift = 0; shift < 32; shift += 8)
    {
        std::memset(m_histogram, 0, sizeof(m_histogram));
        for (INT32 i = 0; i < total; ++i)
            ++m_histogram[(m_keys[i] >> shift & 255) + 1];
        for (INT32 value = 0; value < 255; ++value)
            m_histogram[value + 1] += m_histogram[value];
        for (INT32 i = 0; i < total; ++i)
            to[m_histogram[m_keys[from[i]] >> shift & 255]++] = from[i];
        std::swap(from, to); // four passes: the result ends in m_order
    }
}
