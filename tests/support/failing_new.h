// failing_new.h - lets an allocation of the library fail. Programs that use it list support/failing_new.cpp.
#pragma once

#include <cstddef>

/// The allocation after the next `successes` ones returns null, once; below 0 none does.
void failAllocationAfter(int successes);
/// That one and all that follow return null.
void failAllocationsFrom(int successes);

/// How many failed since the last of these calls; none does any more.
int stopFailing();

/// Counts an allocation of another kind. @return whether it is to fail
bool allocationFails(std::size_t size);

/// The most bytes that one of them asked for since the last call.
std::size_t takeLargestAllocation();
