// cfl_filter_zlib.cpp - the archive filter that compresses: the decoded length in 32 bits, then one zlib stream.
#include <kxcoreemb/cfl_filter.h>

#include "core/core_state.h"

#include <cstring>
#include <new>
#include <zlib.h>

namespace
{
const UINT32 kPrefix = 4;
const UINT32 kHighestRatio = 1032; // the most that a byte of a zlib stream can decode to

/// What `compress` is given to write to: 12 bytes and 1.01 times the input, 1.01 in single precision.
UINT64 capacityFor(UINT32 length) { return 12 + (static_cast<UINT64>(length) * 8472494 >> 23); }
} // namespace

KxcCFLFilterZlib::KxcCFLFilterZlib() : KxcCFLResourceFilter(1, "zlib, deflate compression", "ZLIB")
{
    registerHandler(this);
}

void KxcCFLFilterZlib::process(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength)
{
    *out = nullptr;
    outLength = 0;
    const UINT64 capacity = capacityFor(inLength);
    if (capacity > 0xFFFFFFFFu - kPrefix)
        return;
    INT8* work = new (std::nothrow) INT8[static_cast<size_t>(capacity) + kPrefix];
    if (!work)
        return;
    uLongf length = static_cast<uLongf>(capacity);
    if (compress(reinterpret_cast<Bytef*>(work + kPrefix), &length, reinterpret_cast<const Bytef*>(in), inLength) < 0)
    {
        delete[] work;
        return;
    }
    for (UINT32 i = 0; i < kPrefix; ++i)
        work[i] = static_cast<INT8>(static_cast<UINT8>(inLength >> 8 * i));
    *out = work;
    outLength = static_cast<UINT32>(length) + kPrefix;
}

void KxcCFLFilterZlib::reverseProcess(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength)
{
    const UINT32 expected = outLength;
    *out = nullptr;
    outLength = 0;
    if (inLength < kPrefix)
        return;
    UINT32 size = 0;
    for (UINT32 i = 0; i < kPrefix; ++i)
        size |= static_cast<UINT32>(static_cast<UINT8>(in[i])) << 8 * i;
    if ((expected && size != expected) || size > static_cast<UINT64>(inLength - kPrefix) * kHighestRatio)
        return;
    INT8* work = new (std::nothrow) INT8[size];
    if (!work)
        return;
    z_stream stream = {};
    stream.next_in = reinterpret_cast<Bytef*>(in + kPrefix);
    stream.avail_in = inLength - kPrefix;
    stream.next_out = reinterpret_cast<Bytef*>(work);
    stream.avail_out = size;
    INT32 result = inflateInit(&stream);
    if (result == Z_OK)
    {
        result = inflate(&stream, Z_FINISH);
        inflateEnd(&stream);
    }
    if (result != Z_STREAM_END && result != Z_BUF_ERROR) // a stream that was cut gives what is there
    {
        delete[] work;
        return;
    }
    *out = work;
    outLength = static_cast<UINT32>(stream.total_out);
    memset(work + outLength, 0, size - outLength);
}

void kxcUseCFLFilterZlib()
{
    if (kxcCore)
        new (std::nothrow) KxcCFLFilterZlib; // registers itself
}
