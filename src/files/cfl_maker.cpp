// cfl_maker.cpp - writes resource archives. The layout is told in cfl.cpp.
#include <kxcoreemb/cfl_maker.h>

#include "core/core_state.h"
#include "files/cfl_services.h"
#include <kxcoreemb/cfl.h>
#include <kxcoreemb/cfl_filter.h>
#include <kxcoreemb/file.h>
#include <kxcoreemb/string_toolkit.h>

#include <cstring>
#include <new>

namespace
{
const UINT32 kHeaderMagic = 0x334C4643;   // "CFL3"
const UINT32 kTrailerMagic = 0x4C464333;  // "3CFL"
const INT32 kLargest = 0x7FFFFFFF;        // of positions in files
const INT32 kAroundPayload = 4;           // its length word
const INT32 kAroundDirectory = 4 + 4 + 8; // the filter word, the length word, the trailer

/// Whether so many bytes fit behind the position.
bool fits(INT32 position, UINT32 bytes, INT32 around)
{
    return position >= 0 && static_cast<INT64>(position) + around + bytes <= kLargest;
}
} // namespace

void kxcCFLMakersFree()
{
    while (KxcCFLMaker* maker = kxcCore->archiveMakers)
    {
        kxcCore->archiveMakers = maker->next;
        delete maker;
    }
}

KxcCFLMaker::KxcCFLMaker() : entries(nullptr), file(nullptr), next(nullptr) {}

KxcCFLMaker::~KxcCFLMaker()
{
    while (KxcCFLDirectoryEntry* entry = entries)
    {
        entries = entry->next;
        delete entry;
    }
    if (file)
        file->close();
}

KxcCFLMaker* KxcCFLMaker::create(const char* name)
{
    KxcCFLMaker* maker = kxcCore ? new (std::nothrow) KxcCFLMaker : nullptr;
    if (maker && !maker->init(name))
    {
        delete maker;
        maker = nullptr;
    }
    if (maker)
    {
        maker->next = kxcCore->archiveMakers;
        kxcCore->archiveMakers = maker;
    }
    return maker;
}

INT32 KxcCFLMaker::init(const char* name)
{
    file = KxcFile::open(name, "wb", KXCFILE_DEFAULT);
    // The second and the third stand where finish() puts the directory's position and size.
    return file && file->writeUINT32(kHeaderMagic) == 1 && file->writeUINT32(kHeaderMagic) == 1 &&
           file->writeUINT32(kHeaderMagic) == 1;
}

INT32 KxcCFLMaker::store(const char* name, const INT8* data, INT32 length, UINT32 filterWord)
{
    if (!file || !name || strlen(name) > 0xFFFF || length < 0)
        return 0;
    KxcCFLDirectoryEntry* entry = new (std::nothrow) KxcCFLDirectoryEntry;
    KxcCFLResource* stored =
        entry ? KxcCFLResourceFilter::handle(data, static_cast<UINT32>(length), filterWord) : nullptr;
    const INT32 position = file->tell();
    if (stored && fits(position, stored->getLength(), kAroundPayload))
        entry->name = entry->ownName = KxcStringToolkit::copy(name);
    if (!entry || !entry->name || !stored->save(file))
    {
        file->seek(position, 0); // the next entry goes over what was written of this one
        delete entry;
        delete stored;
        return 0;
    }
    entry->size = static_cast<UINT32>(length);
    entry->offset = static_cast<UINT32>(position);
    entry->filterWord = filterWord;
    entry->next = entries;
    entries = entry;
    const INT32 storedLength = static_cast<INT32>(stored->getLength());
    delete stored;
    return storedLength;
}

/// All records, newest first, in a new buffer; null when they do not fit into memory or a file.
INT8* KxcCFLMaker::makeDirectory(UINT32& size) const
{
    UINT64 total = 0;
    for (const KxcCFLDirectoryEntry* entry = entries; entry; entry = entry->next)
        total += static_cast<UINT64>(entry->byteRequirement());
    INT8* directory = total <= static_cast<UINT64>(kLargest) ? new (std::nothrow) INT8[total] : nullptr;
    INT32 position = 0;
    for (const KxcCFLDirectoryEntry* entry = directory ? entries : nullptr; entry; entry = entry->next)
        entry->store(directory, position);
    size = static_cast<UINT32>(total);
    return directory;
}

INT32 KxcCFLMaker::finish(UINT32 filterWord)
{
    const INT32 position = file ? file->tell() : -1;
    UINT32 directorySize = 0;
    INT8* directory = file ? makeDirectory(directorySize) : nullptr;
    KxcCFLResource* stored = directory ? KxcCFLResourceFilter::handle(directory, directorySize, filterWord) : nullptr;
    delete[] directory;
    if (!stored || !fits(position, stored->getLength(), kAroundDirectory))
    {
        delete stored;
        return 0;
    }
    const UINT32 length = static_cast<UINT32>(position) + stored->getLength() + kAroundDirectory;
    const bool written = file->writeUINT32(filterWord) == 1 && stored->save(file) && file->writeUINT32(length) == 1 &&
                         file->writeUINT32(kTrailerMagic) == 1 && file->seek(4, 0) == 0 &&
                         file->writeUINT32(static_cast<UINT32>(position)) == 1 && file->writeUINT32(directorySize) == 1;
    delete stored;
    if (!written)
    {
        file->seek(position, 0);
        return 0;
    }
    const INT32 closed = file->close(); // flushes: the last chance to find the disk full
    file = nullptr;
    if (closed != 0)
        return 0;
    KxcCFLMaker** link = &kxcCore->archiveMakers;
    while (*link != this)
        link = &(*link)->next;
    *link = next;
    delete this;
    return 1;
}
