// priority.h - what the priority helpers of frames and of clients do: lower values go first.
#pragma once

#include <kxcoreemb/base.h>

template <class Item>
inline void kxcIncreasePriority(void* item)
{
    Item* it = static_cast<Item*>(item);
    if (it->getPriority() < INT32_MAX)
        it->setPriority(it->getPriority() + 1);
}

template <class Item>
inline void kxcDecreasePriority(void* item)
{
    Item* it = static_cast<Item*>(item);
    if (it->getPriority() > INT32_MIN)
        it->setPriority(it->getPriority() - 1);
}

/// -1 when a's is greater, 1 when it is smaller, 0 when they are equal.
template <class Item>
inline INT32 kxcComparePriorities(const void* a, const void* b)
{
    const INT32 priorityA = static_cast<const Item*>(a)->getPriority();
    const INT32 priorityB = static_cast<const Item*>(b)->getPriority();
    return priorityA > priorityB ? -1 : priorityA < priorityB;
}
