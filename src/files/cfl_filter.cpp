// cfl_filter.cpp - the filter registry, the chain of filters in both directions, and the filter that changes nothing.
#include <kxcoreemb/cfl_filter.h>

#include "core/core_state.h"
#include "files/cfl_services.h"
#include <kxcoreemb/cfl.h>

#include <cstring>
#include <new>

namespace
{
const UINT32 kCompression = 0x0000FFFF, kPreprocessor = 0x00FF0000, kCipher = 0xFF000000; // parts of a filter word
const UINT32 kBest = 0xFFFF;

/// A buffer on its way through the chain: the caller's at first, then each step's own.
class Passing
{
public:
    Passing(const INT8* data, UINT32 byteCount) : bytes(const_cast<INT8*>(data)), length(byteCount), owned(false) {}
    ~Passing() { take(nullptr, 0); }

    typedef void (KxcCFLResourceFilter::*Direction)(INT8*, INT8**, UINT32, UINT32&);

    /// Runs one step. False when there is no such filter, or it gives no output.
    bool step(KxcCFLResourceFilter* filter, Direction direction, UINT32 expectedLength = 0)
    {
        if (!filter)
            return false;
        INT8* out = nullptr;
        UINT32 outLength = expectedLength;
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

bool kxcCFLRegisterNone() { return new (std::nothrow) KxcCFLFilterNone != nullptr; }

void kxcCFLFiltersFree()
{
    while (KxcCFLResourceFilter* filter = kxcCore->archiveFilters)
    {
        kxcCore->archiveFilters = filter->next;
        delete filter;
    }
}

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
    if (!kxcCore)
        return;
    for (const KxcCFLResourceFilter* other = kxcCore->archiveFilters; other; other = other->next)
        if (other == filter)
            return;
    filter->next = kxcCore->archiveFilters;
    kxcCore->archiveFilters = filter;
}

KxcCFLResourceFilter* KxcCFLResourceFilter::findHandler(UINT32 id)
{
    KxcCFLResourceFilter* filter = kxcCore ? kxcCore->archiveFilters : nullptr;
    while (filter && filter->id != id)
        filter = filter->next;
    return filter;
}

KxcCFLResource* KxcCFLResourceFilter::handle(const INT8* data, UINT32 length, UINT32& filterWord)
{
    if (!kxcCore || (!data && length > 0))
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
        for (KxcCFLResourceFilter* filter = kxcCore->archiveFilters; filter; filter = filter->next)
        {
            if (filter->id >= kBest) // a cipher or preprocessor: its id does not fit the word, nobody could read it
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
    const UINT32 expected = length;
    length = 0;
    if (!resource)
        return nullptr;
    Passing passing(resource->data, resource->length);
    const UINT32 preprocessor = filterWord & kPreprocessor, cipher = filterWord & kCipher;
    KxcCFLResourceFilter* compression = findHandler(filterWord & kCompression);
    if (!compression)
        compression = findHandler(filterWord & 0xFF); // the high byte may carry a compressor's options
    const auto reverse = [&passing](KxcCFLResourceFilter* filter, UINT32 expectedLength)
    { return passing.step(filter, &KxcCFLResourceFilter::reverseProcess, expectedLength) && passing.length > 0; };
    if ((cipher && !reverse(findHandler(cipher), 0)) || !reverse(compression, preprocessor ? 0 : expected) ||
        (preprocessor && !reverse(findHandler(preprocessor), expected)) || (expected && passing.length != expected))
        return nullptr;
    length = passing.length;
    return passing.release();
}

INT8* KxcCFLResourceFilter::unhandle(const KxcCFLResource* resource, UINT32 filterWord)
{
    UINT32 length = 0;
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
    for (KxcCFLResourceFilter* filter = enumerator && kxcCore ? kxcCore->archiveFilters : nullptr; filter;
         filter = filter->next)
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

KxcCFLFilterNone::KxcCFLFilterNone() : KxcCFLResourceFilter(0, "No compression", "None") { registerHandler(this); }

void KxcCFLFilterNone::process(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength)
{
    copyBytes(in, out, inLength, outLength);
}

void KxcCFLFilterNone::reverseProcess(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength)
{
    copyBytes(in, out, inLength, outLength);
}
