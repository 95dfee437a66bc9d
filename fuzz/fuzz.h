// fuzz.h - what the fuzzers share: a file that holds the input, and looking at what comes of it.
#pragma once

#include <kxcoreemb/kxcoreemb.h>

#include <cstdlib>
#include <cstring>

/// Stops the fuzzer, which keeps the input, where something is not as it should be.
inline void check(bool good)
{
    if (!good)
        std::abort();
}

/// Reads every value: all of them must be there.
template <class Value>
void touch(const Value* values, size_t count)
{
    UINT32 sum = 0;
    for (size_t i = 0; values && i < count; ++i)
        sum += static_cast<UINT32>(values[i]);
    volatile UINT32 used = sum;
    static_cast<void>(used);
}

/// The input as a file, in memory of exactly its size.
inline KxcFile* openInput(const char* name, const UINT8* bytes, size_t size)
{
    INT8* copy = new INT8[size];
    if (size > 0)
        std::memcpy(copy, bytes, size);
    return KxcFile::open(name, copy, static_cast<UINT32>(size));
}

/// A core for as long as the fuzzer runs. @param use  registers what it needs; may be null
inline int startCore(long (*use)())
{
    embeddedInit(32, 32, use, nullptr, nullptr);
    std::atexit(embeddedDeinit);
    return 0;
}
