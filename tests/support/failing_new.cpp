// failing_new.cpp - replaces the operator new that reports failure by null, which is the one the library uses.

#include "support/failing_new.h"

#include <atomic>
#include <new>

static std::atomic<int> s_successesLeft{-1}, s_failures{0};
static std::atomic<bool> s_forGood{false};
static std::atomic<std::size_t> s_largest{0};

void failAllocationAfter(int successes)
{
    s_forGood = false;
    s_failures = 0;
    s_successesLeft = successes;
}

void failAllocationsFrom(int successes)
{
    failAllocationAfter(successes);
    s_forGood = true;
}

int stopFailing()
{
    s_successesLeft = -1;
    return s_failures;
}

std::size_t takeLargestAllocation() { return s_largest.exchange(0); }

bool allocationFails(std::size_t size)
{
    if (size > s_largest)
        s_largest = size;
    if (s_successesLeft < 0 || (s_successesLeft > 0 && s_successesLeft-- > 0))
        return false;
    if (!s_forGood)
        s_successesLeft = -1;
    ++s_failures;
    return true;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocationFails(size) ? nullptr : ::operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocationFails(size) ? nullptr : ::operator new[](size);
}
