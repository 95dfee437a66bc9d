// failing_new.cpp - replaces the operator new that reports failure by null, which is the one the library uses.

#include "support/failing_new.h"

#include <new>

static int s_successesLeft = -1;

void failAllocationAfter(int successes) { s_successesLeft = successes; }

static std::size_t s_largest = 0;

std::size_t takeLargestAllocation()
{
    const std::size_t largest = s_largest;
    s_largest = 0;
    return largest;
}

static bool fails(std::size_t size)
{
    s_largest = size > s_largest ? size : s_largest;
    return s_successesLeft >= 0 && s_successesLeft-- == 0;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return fails(size) ? nullptr : ::operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return fails(size) ? nullptr : ::operator new[](size);
}
