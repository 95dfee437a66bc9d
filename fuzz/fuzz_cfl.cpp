// fuzz_cfl.cpp - feeds an archive that is anything at all to the reader, and reads all that it lists.
//
// A filter of each kind is registered, so that every chain of filters can be reached.
#include "fuzz.h"

#include <cstring>

namespace
{

/// Turns bytes over; as a preprocessor and as a cipher.
struct Flip : KxcCFLResourceFilter
{
    explicit Flip(UINT32 filterId) : KxcCFLResourceFilter(filterId, "Turns bytes over", "Flip")
    {
        registerHandler(this);
    }
    void process(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength) override
    {
        *out = new INT8[outLength = inLength];
        for (UINT32 i = 0; i < inLength; ++i)
            (*out)[i] = static_cast<INT8>(~in[i]);
    }
    void reverseProcess(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength) override
    {
        process(in, out, inLength, outLength);
    }
};

long useFilters()
{
    kxcUseCFLFilterZlib();
    new Flip(0x00010000);
    new Flip(0x01000000);
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) { return startCore(useFilters); }

extern "C" int LLVMFuzzerTestOneInput(const UINT8* bytes, size_t size)
{
    KxcCFL* archive = KxcCFL::create(openInput("input", bytes, size));
    if (!archive)
        return 0;
    for (const KxcCFLDirectoryEntry* entry = archive->getFirstEntry(); entry; entry = entry->getNext())
    {
        const char* name = entry->getName();
        INT32 entrySize;
        INT8* data = archive->getFile(name, entrySize);
        check(archive->fileExists(name) && entrySize == entry->getSize());
        touch(data, static_cast<size_t>(entrySize));
        delete[] data;
        INT8 few[4];
        check(archive->getFile(name, few, 4) <= 4);
        archive->dropFilePtr(archive->getFilePtr(name));
        check(archive->compressionInfoString(name) && archive->getFileOfs(name) >= 0);
    }
    delete archive;
    return 0;
}
