// growing_array.h - an array of plain records that grows in steps and never shrinks.
#pragma once

#include <kxcoreemb/base.h>

#include <cstring>
#include <new>
#include <type_traits>

template <class T>
class KxcGLArray
{
public:
    static_assert(std::is_trivially_copyable<T>::value, "records are moved as bytes");

    KxcGLArray() = default;
    ~KxcGLArray() { delete[] m_items; }
    KxcGLArray(const KxcGLArray&) = delete;
    KxcGLArray& operator=(const KxcGLArray&) = delete;

    INT32 count() const { return m_count; }
    INT32 capacity() const { return m_capacity; }
    T* items() { return m_items; }
    T& operator[](INT32 index) { return m_items[index]; }
    void clear() { m_count = 0; }

    /// Makes room for `more` items beyond the count, growing by multiples of `quantum`. @return false without memory
    bool reserve(INT32 more, INT32 quantum)
    {
        const INT64 needed = static_cast<INT64>(m_count) + more;
        if (needed <= m_capacity)
            return true;
        const INT64 steps = (needed - m_capacity + quantum - 1) / quantum, grown = m_capacity + steps * quantum;
        if (grown > static_cast<INT64>(INT32_MAX / sizeof(T)))
            return false;
        T* items = new (std::nothrow) T[static_cast<size_t>(grown)];
        if (!items)
            return false;
        if (m_count > 0)
            std::memcpy(static_cast<void*>(items), m_items, static_cast<size_t>(m_count) * sizeof(T));
        delete[] m_items;
        m_items = items;
        m_capacity = static_cast<INT32>(grown);
        return true;
    }
    /// Counts items in for which there is room. @return the first of them
    T* append(INT32 more)
    {
        m_count += more;
        return m_items + (m_count - more);
    }

private:
    T* m_items = nullptr; // owned
    INT32 m_count = 0, m_capacity = 0;
};
