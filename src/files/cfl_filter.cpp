// cfl_filter.cpp - the filter registry, the chain of filters in both directions, and the filter that changes nothing.
#include <kxcoreemb/cfl_filter.h>

#include "files/cfl_filters.h"
#include <kxcoreemb/cfl.h>

#include <cstring>
#include <new>

namespace
{
const UINT32 kCompression = 0x0000FFFF, kPreprocessor = 0x00FF0000, kCipher = 0xFF000000; // parts of a filter word
const UINT32 kBest = 0xFFFF;

KxcCFLResourceFilter* newest; // head of the registry; null until its first use

/// A buffer on its way through the chain: the caller's at first, then each step's own.
class Passing
{
public:
    Passing(const INT8* data, UINT32 byteCount) : bytes(const_cast<INT8*>(data)), length(byteCount), owned(false) {}
    ~Passing() { take(nullptr, 0); }

    typedef void (KxcCFLResourceFilter::*Direction)(INT8*, INT8**, UINT32, UINT32&);

    /// Runs one step. False when there is no such filter, or it gives no output.
    bool step(KxcCFLResourceFilter* filter, Direction direction)
    {
        if (!filter)
            return false;
        INT8* out = nullptr;
        UINT32 outLength = 0;
        (filter->*direction)(bytes, &out, length, outLength);
        take(out, outLength);
        return out != nullptr;
    }

    void take(INT8* data, UINT32 byteCount)
    {
        if (owned)
            delete[] bytes;
        bytes = data;
        length = byteCount;
        owned = true;
    }

    INT8* release()
    {
        owned = false;
        return bytes;
    }

    INT8* bytes;
    UINT32 length;

private:
    bool owned;
};

void copyBytes(const INT8* in, INT8** out, UINT32 inLength, UINT32& outLength)
{
    *out = new (std::nothrow) INT8[inLength];
    outLength = *out ? inLength : 0;
    if (outLength > 0)
        memcpy(*out, in, inLength);
}
} // namespace

void kxcCFLFiltersForget() { newest = nullptr; }

KxcCFLResourceFilter::KxcCFLResourceFilter(UINT32 filterId, const char* info, const char* name)
    : infoString(info),
      shortName(name),
      enabled(1),
      id(filterId),
      next(nullptr)
{
}

KxcCFLResourceFilter::~KxcCFLResourceFilter() {}
void KxcCFLResourceFilter::setCipherKey(void*) {}

void KxcCFLResourceFilter::registerHandler(KxcCFLResourceFilter* filter)
{
    findHandler(0); // the built-in filter comes first
    for (const KxcCFLResourceFilter* other = newest; other; other = other->next)
        if (other == filter)
            return;
    filter->next = newest;
    newest = filter;
}

KxcCFLResourceFilter* KxcCFLResourceFilter::findHandler(UINT32 id)
{
    static KxcCFLFilterNone none;
    if (!newest)
    {
        none.next = nullptr;
        newest = &none;
    }
    KxcCFLResourceFilter* filter = newest;
    while (filter && filter->id != id)
        filter = filter->next;
    return filter;
}

KxcCFLResource* KxcCFLResourceFilter::handle(const INT8* data, UINT32 length, UINT32& filterWord)
{
    if (!data && length > 0)
        return nullptr;
    Passing passing(data, length);
    const UINT32 preprocessor = filterWord & kPreprocessor, cipher = filterWord & kCipher;
    UINT32 compression = filterWord & kCompression;
    if (preprocessor && !passing.step(findHandler(preprocessor), &KxcCFLResourceFilter::process))
        return nullptr;
    if (compression == kBest)
    {
        INT8* best = nullptr;
        UINT32 bestLength = 0xFFFFFFFFu;
        findHandler(0);
        for (KxcCFLResourceFilter* filter = newest; filter; filter = filter->next)
        {
            if (filter->id >= kBest) // ciphers and preprocessors are no compressors: their ids do not fit the word
                continue;
            INT8* out = nullptr;
            UINT32 outLength = 0;
            filter->process(passing.bytes, &out, passing.length, outLength);
            if (out && outLength < bestLength)
            {
                delete[] best;
                best = out;
                bestLength = outLength;
                compression = filter->id;
            }
            else
                delete[] out;
        }
        if (!best)
            return nullptr;
        passing.take(best, bestLength);
    }
    else if (!passing.step(findHandler(compression), &KxcCFLResourceFilter::process))
        return nullptr;
    if (cipher && !passing.step(findHandler(cipher), &KxcCFLResourceFilter::process))
        return nullptr;
    KxcCFLResource* resource = new (std::nothrow) KxcCFLResource(passing.bytes, passing.length);
    if (!resource)
        return nullptr;
    passing.release();
    filterWord = (filterWord & ~kCompression) | (compression & kCompression);
    return resource;
}

INT8* KxcCFLResourceFilter::unhandle(const KxcCFLResource* resource, UINT32 filterWord, UINT32& length)
{
    length = 0;
    if (!resource)
        return nullptr;
    Passing passing(resource->data, resource->length);
    const UINT32 preprocessor = filterWord & kPreprocessor, cipher = filterWord & kCipher;
    KxcCFLResourceFilter* compression = findHandler(filterWord & kCompression);
    if (!compression)
        compression = findHandler(filterWord & 0xFF); // the high byte may carry a compressor's options
    const auto reverse = [&passing](KxcCFLResourceFilter* filter)
    { return passing.step(filter, &KxcCFLResourceFilter::reverseProcess) && passing.length > 0; };
    if ((cipher && !reverse(findHandler(cipher))) || !reverse(compression) ||
        (preprocessor && !reverse(findHandler(preprocessor))))
        return nullptr;
    length = passing.length;
    return passing.release();
}

INT8* KxcCFLResourceFilter::unhandle(const KxcCFLResource* resource, UINT32 filterWord)
{
    UINT32 length;
    return unhandle(resource, filterWord, length);
}

const char* KxcCFLResourceFilter::handlerShortName(UINT32 id)
{
    const KxcCFLResourceFilter* filter = findHandler(id);
    return id == kBest ? "best" : filter ? filter->shortName : "Unknown";
}

const char* KxcCFLResourceFilter::handlerInfoString(UINT32 id)
{
    const KxcCFLResourceFilter* filter = findHandler(id);
    return id == kBest ? "Finds the best compressor by testing them all" : filter ? filter->infoString : "Unknown";
}

void KxcCFLResourceFilter::enumerateHandlers(KxcCFLEnumerator* enumerator)
{
    findHandler(0);
    for (KxcCFLResourceFilter* filter = enumerator ? newest : nullptr; filter; filter = filter->next)
        enumerator->handlerFound(filter->id, filter->infoString, filter->shortName);
}

void KxcCFLResourceFilter::enableHandler(UINT32 id, INT32 isEnabled)
{
    if (KxcCFLResourceFilter* filter = findHandler(id))
        filter->enabled = isEnabled;
}

void KxcCFLResourceFilter::setKey(UINT32 id, void* key)
{
    if (KxcCFLResourceFilter* filter = findHandler(id))
        filter->setCipherKey(key);
}

// The one instance is registered by findHandler, not by its constructor: the registry's first use makes it.
KxcCFLFilterNone::KxcCFLFilterNone() : KxcCFLResourceFilter(0, "No compression", "None") {}

void KxcCFLFilterNone::process(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength)
{
    copyBytes(in, out, inLength, outLength);
}

void KxcCFLFilterNone::reverseProcess(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength)
{
    copyBytes(in, out, inLength, outLength);
}
