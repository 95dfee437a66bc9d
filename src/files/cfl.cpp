// cfl.cpp - the merged directory of resource archives, and the reading of their entries.
//
// An archive: "CFL3", the directory's position and decoded size, the entries' stored bytes, the directory (its filter
// word and stored bytes), the archive's length, "3CFL". All numbers have 32 bits, little-endian, and count from the
// archive's start. Nothing in an archive is believed before it was checked against the file.
//
// The merged list gives the order of enumeration; hash buckets beside it find a name in constant time.
#include <kxcoreemb/cfl.h>

#include <kxcoreemb/cfl_filter.h>
#include <kxcoreemb/file.h>
#include <kxcoreemb/string_toolkit.h>

#include <cstring>
#include <new>

namespace
{
const UINT32 kHeaderMagic = 0x334C4643;  // "CFL3"
const UINT32 kTrailerMagic = 0x4C464333; // "3CFL"
const UINT32 kLargest = 0x7FFFFFFF;      // of positions and sizes in files

UINT32 bucketOf(INT32 hash, UINT32 bucketCount)
{
    // Names that count up differ in few bits of their hashes: a multiplication spreads them.
    return (static_cast<UINT32>(hash) * 2654435769u >> 7) & (bucketCount - 1);
}

/// Finds the archive that begins at the file's position, or ends where the file ends.
/// @param start  receives its first byte's position  @return false when there is none
bool findArchive(KxcFile* file, INT32& start)
{
    const INT32 position = file->tell();
    if (position < 0)
        return false;
    if (file->readUINT32() == kHeaderMagic)
    {
        start = position;
        return true;
    }
    if (file->seek(0, 2) != 0)
        return false;
    const INT32 size = file->tell();
    if (size < 8 || file->seek(size - 8, 0) != 0)
        return false;
    const UINT32 length = file->readUINT32();
    if (file->readUINT32() != kTrailerMagic || length > static_cast<UINT32>(size))
        return false;
    start = size - static_cast<INT32>(length);
    return file->seek(start, 0) == 0 && file->readUINT32() == kHeaderMagic;
}

/// Positions the file at an offset from the archive's start.
bool seekFrom(KxcFile* file, INT32 start, UINT32 offset)
{
    const UINT64 position = static_cast<UINT64>(start) + offset;
    return position <= kLargest && file->seek(static_cast<INT32>(position), 0) == 0 &&
           file->tell() == static_cast<INT32>(position);
}

UINT32 loadBytes(const INT8* from, INT32 count)
{
    UINT32 value = 0;
    for (INT32 i = count - 1; i >= 0; --i)
        value = value << 8 | static_cast<UINT8>(from[i]);
    return value;
}

void storeBytes(INT8* to, UINT32 value, INT32 count)
{
    for (INT32 i = 0; i < count; ++i, value >>= 8)
        to[i] = static_cast<INT8>(static_cast<UINT8>(value));
}

/// How many records there are; 0 unless they fill the directory exactly, with sizes such as files can have.
UINT32 countRecords(const INT8* directory, UINT32 size)
{
    UINT32 position = 0, count = 0;
    while (size - position >= 14)
    {
        const UINT32 record = 14 + loadBytes(directory + position + 12, 2);
        if (record > size - position || loadBytes(directory + position, 4) > kLargest)
            return 0;
        position += record;
        ++count;
    }
    return position == size ? count : 0;
}
} // namespace

// --- KxcCFLResource ---

KxcCFLResource::~KxcCFLResource() { delete[] data; }

KxcCFLResource* KxcCFLResource::load(KxcFile* file)
{
    UINT32 length;
    if (!file || file->readUINT32(length) != 1)
        return nullptr;
    const INT32 position = file->tell();
    const INT32 end = position >= 0 && file->seek(0, 2) == 0 ? file->tell() : -1;
    if (end < position || length > static_cast<UINT32>(end - position) || file->seek(position, 0) != 0)
        return nullptr;
    INT8* data = new (std::nothrow) INT8[length];
    KxcCFLResource* resource = nullptr;
    if (data && (length == 0 || file->read(data, static_cast<INT32>(length), 1) == 1))
        resource = new (std::nothrow) KxcCFLResource(data, length);
    if (!resource)
        delete[] data;
    return resource;
}

INT32 KxcCFLResource::save(KxcFile* file) const
{
    return file && file->writeUINT32(length) == 1 &&
           (length == 0 || file->write(data, static_cast<INT32>(length), 1) == 1);
}

// --- KxcCFLLibrary ---

KxcCFLLibrary::KxcCFLLibrary() : keptFile(nullptr), filename(nullptr), start(0), opening(false), next(nullptr) {}

KxcCFLLibrary::~KxcCFLLibrary()
{
    if (keptFile)
        keptFile->close();
    delete[] filename;
}

KxcFile* KxcCFLLibrary::open()
{
    // The lookup may lead through other archives and back here, where it would never end.
    if (keptFile || opening)
        return keptFile;
    opening = true;
    KxcFile* file = KxcFile::open(filename, "rb", KXCFILE_DEFAULT);
    opening = false;
    return file;
}

void KxcCFLLibrary::close(KxcFile* file)
{
    if (file && file != keptFile)
        file->close();
}

// --- KxcCFLDirectoryEntry ---

KxcCFLDirectoryEntry::KxcCFLDirectoryEntry()
    : name(nullptr),
      filterWord(0),
      size(0),
      offset(0),
      hash(0),
      library(nullptr),
      next(nullptr),
      nextInBucket(nullptr)
{
}

KxcCFLDirectoryEntry::~KxcCFLDirectoryEntry() { delete[] name; }

INT32 KxcCFLDirectoryEntry::byteRequirement() const { return 14 + KxcStringToolkit::getLength(name); }

void KxcCFLDirectoryEntry::store(INT8* buffer, INT32& position) const
{
    const INT32 length = KxcStringToolkit::getLength(name);
    INT8* record = buffer + position;
    storeBytes(record, size, 4);
    storeBytes(record + 4, offset, 4);
    storeBytes(record + 8, filterWord, 4);
    storeBytes(record + 12, static_cast<UINT32>(length), 2);
    memcpy(record + 14, name, static_cast<size_t>(length));
    position += 14 + length;
}

KxcCFLDirectoryEntry* KxcCFLDirectoryEntry::restore(const INT8* buffer, INT32& position)
{
    const INT8* record = buffer + position;
    const UINT32 length = loadBytes(record + 12, 2);
    KxcCFLDirectoryEntry* entry = new (std::nothrow) KxcCFLDirectoryEntry;
    if (!entry)
        return nullptr;
    entry->name = new (std::nothrow) char[length + 1];
    if (!entry->name)
    {
        delete entry;
        return nullptr;
    }
    memcpy(entry->name, record + 14, length);
    entry->name[length] = 0;
    entry->size = loadBytes(record, 4);
    entry->offset = loadBytes(record + 4, 4);
    entry->filterWord = loadBytes(record + 8, 4);
    entry->hash = calcHash(entry->name);
    position += static_cast<INT32>(14 + length);
    return entry;
}

INT32 KxcCFLDirectoryEntry::equals(const char* otherName, INT32 otherHash) const
{
    return hash == otherHash && strcmp(name, otherName) == 0;
}

INT32 KxcCFLDirectoryEntry::calcHash(const char* text)
{
    UINT32 h = 0;
    for (; *text != 0; ++text)
    {
        const UINT32 signBits = h & 0x80000000u ? 0xFFE00000u : 0; // the shift to the right keeps the sign
        h = ((h << 21) + (h >> 11 | signBits)) ^ static_cast<UINT8>(*text);
    }
    return static_cast<INT32>(h);
}

void KxcCFLDirectoryEntry::replaceEntry(KxcCFLDirectoryEntry* newer)
{
    delete[] name;
    name = newer->name;
    newer->name = nullptr;
    filterWord = newer->filterWord;
    size = newer->size;
    offset = newer->offset;
    hash = newer->hash;
    library = newer->library;
    delete newer;
}

// --- KxcCFL: opening ---

KxcCFL::KxcCFL() : libraries(nullptr), entries(nullptr), index(nullptr), bucketCount(0), entryCount(0) {}

KxcCFL::~KxcCFL()
{
    while (KxcCFLLibrary* library = libraries)
    {
        libraries = library->next;
        delete library;
    }
    while (KxcCFLDirectoryEntry* entry = entries)
    {
        entries = entry->next;
        delete entry;
    }
    delete[] index;
}

KxcCFL* KxcCFL::create() { return new (std::nothrow) KxcCFL; }
KxcCFL* KxcCFL::create(const char* name) { return create(name, 0); }

KxcCFL* KxcCFL::create(const char* name, INT32 offset)
{
    KxcCFL* directory = create();
    if (directory && !directory->openLibrary(name, offset))
    {
        delete directory;
        directory = nullptr;
    }
    return directory;
}

KxcCFL* KxcCFL::create(KxcFile* file)
{
    KxcCFL* directory = create();
    if (!directory && file)
        file->close();
    if (directory && !directory->openLibrary(file))
    {
        delete directory;
        directory = nullptr;
    }
    return directory;
}

INT32 KxcCFL::openLibrary(const char* name) { return openLibrary(name, 0); }

INT32 KxcCFL::openLibrary(const char* name, INT32 offset)
{
    KxcFile* file = offset >= 0 ? KxcFile::open(name, "rb", KXCFILE_DEFAULT) : nullptr;
    if (!file)
        return 0;
    bool merged = false;
    if (file->seek(offset, 0) == 0)
        addLibrary(file, name, merged);
    file->close();
    return merged;
}

INT32 KxcCFL::openLibrary(KxcFile* file)
{
    bool merged;
    if (!file)
        return 0;
    const INT32 added = addLibrary(file, nullptr, merged);
    if (!added)
        file->close();
    return added;
}

/// @param name  null when the library keeps the file  @param merged  receives whether all entries found memory
/// @return 1 when there is a new library; 0 when nothing changed
INT32 KxcCFL::addLibrary(KxcFile* file, const char* name, bool& merged)
{
    merged = false;
    INT32 start;
    if (!findArchive(file, start))
        return 0;
    UINT32 directoryPosition, directorySize, filterWord;
    if (file->readUINT32(directoryPosition) != 1 || file->readUINT32(directorySize) != 1 ||
        !seekFrom(file, start, directoryPosition) || file->readUINT32(filterWord) != 1)
        return 0;
    KxcCFLResource* stored = KxcCFLResource::load(file);
    UINT32 decodedSize;
    INT8* directory = KxcCFLResourceFilter::unhandle(stored, filterWord, decodedSize);
    delete stored;
    KxcCFLLibrary* library = nullptr;
    UINT32 records = 0;
    if (directory && decodedSize == directorySize && directorySize <= kLargest)
        records = countRecords(directory, directorySize);
    if (records > 0 && growIndex(entryCount + records))
        library = new (std::nothrow) KxcCFLLibrary;
    if (library && name && !(library->filename = KxcStringToolkit::copy(name)))
    {
        delete library;
        library = nullptr;
    }
    if (!library)
    {
        delete[] directory;
        return 0;
    }
    library->keptFile = name ? nullptr : file;
    library->start = start;
    library->next = libraries;
    libraries = library;

    merged = true;
    for (INT32 position = 0; merged && records > 0; --records)
    {
        KxcCFLDirectoryEntry* entry = KxcCFLDirectoryEntry::restore(directory, position);
        merged = entry != nullptr;
        if (!entry)
            continue;
        entry->library = library;
        mergeEntry(entry);
    }
    delete[] directory;
    return 1;
}

/// Puts an entry into the list, which owns it from then on; the index has room for it.
void KxcCFL::mergeEntry(KxcCFLDirectoryEntry* entry)
{
    if (KxcCFLDirectoryEntry* older = findEntry(entry->name, entry->hash))
    {
        older->replaceEntry(entry);
        return;
    }
    entry->next = entries;
    entries = entry;
    KxcCFLDirectoryEntry*& bucket = index[bucketOf(entry->hash, bucketCount)];
    entry->nextInBucket = bucket;
    bucket = entry;
    ++entryCount;
}

/// Makes room for so many entries, at one a bucket. False, with nothing changed, when memory runs out.
bool KxcCFL::growIndex(UINT32 wanted)
{
    UINT32 larger = bucketCount ? bucketCount : 64;
    while (larger < wanted)
        larger *= 2;
    if (larger == bucketCount)
        return true;
    KxcCFLDirectoryEntry** buckets = new (std::nothrow) KxcCFLDirectoryEntry*[larger]();
    if (!buckets)
        return false;
    for (KxcCFLDirectoryEntry* entry = entries; entry; entry = entry->next)
    {
        KxcCFLDirectoryEntry*& bucket = buckets[bucketOf(entry->hash, larger)];
        entry->nextInBucket = bucket;
        bucket = entry;
    }
    delete[] index;
    index = buckets;
    bucketCount = larger;
    return true;
}

// --- KxcCFL: lookups ---

KxcCFLDirectoryEntry* KxcCFL::findEntry(const char* name) const
{
    return name && index ? findEntry(name, KxcCFLDirectoryEntry::calcHash(name)) : nullptr;
}

KxcCFLDirectoryEntry* KxcCFL::findEntry(const char* name, INT32 hash) const
{
    KxcCFLDirectoryEntry* entry = index[bucketOf(hash, bucketCount)];
    while (entry && !entry->equals(name, hash))
        entry = entry->nextInBucket;
    return entry;
}

INT32 KxcCFL::fileExists(const char* name) { return findEntry(name) != nullptr; }

INT32 KxcCFL::getFileSize(const char* name)
{
    const KxcCFLDirectoryEntry* entry = findEntry(name);
    return entry ? static_cast<INT32>(entry->size) : 0;
}

INT8* KxcCFL::getFile(const char* name, INT32& size)
{
    const KxcCFLDirectoryEntry* entry = findEntry(name);
    size = entry ? static_cast<INT32>(entry->size) : 0;
    KxcFile* file = entry ? entry->library->open() : nullptr;
    if (!file)
        return nullptr;
    KxcCFLResource* stored =
        seekFrom(file, entry->library->start, entry->offset) ? KxcCFLResource::load(file) : nullptr;
    entry->library->close(file);
    UINT32 decodedSize;
    INT8* data = KxcCFLResourceFilter::unhandle(stored, entry->filterWord, decodedSize);
    delete stored;
    if (data && decodedSize != entry->size) // the size is what callers read of the buffer
    {
        delete[] data;
        data = nullptr;
    }
    return data;
}

INT8* KxcCFL::getFile(const char* name)
{
    INT32 size;
    return getFile(name, size);
}

INT32 KxcCFL::getFile(const char* name, INT8* buffer, INT32 bufferSize)
{
    if (!buffer || bufferSize <= 0)
        return 0;
    INT32 size;
    INT8* data = getFile(name, size);
    if (!data)
        return 0;
    const INT32 copied = size < bufferSize ? size : bufferSize;
    memcpy(buffer, data, static_cast<size_t>(copied));
    delete[] data;
    return copied;
}

KxcFile* KxcCFL::getFilePtr(const char* name)
{
    const KxcCFLDirectoryEntry* entry = findEntry(name);
    KxcFile* file = entry ? entry->library->open() : nullptr;
    if (file && (entry->offset > kLargest || !seekFrom(file, entry->library->start, entry->offset + 4)))
    {
        entry->library->close(file);
        file = nullptr;
    }
    return file;
}

void KxcCFL::dropFilePtr(KxcFile* file)
{
    for (const KxcCFLLibrary* library = libraries; library; library = library->next)
        if (library->keptFile == file)
            return;
    if (file)
        file->close();
}

INT32 KxcCFL::getFileOfs(const char* name)
{
    const KxcCFLDirectoryEntry* entry = findEntry(name);
    const UINT64 position = entry ? static_cast<UINT64>(entry->library->start) + entry->offset : 0;
    return position <= kLargest ? static_cast<INT32>(position) : 0;
}

const char* KxcCFL::compressionInfoString(const char* name)
{
    const KxcCFLDirectoryEntry* entry = findEntry(name);
    return entry ? KxcCFLResourceFilter::handlerInfoString(entry->filterWord & 0x0000FFFF) : nullptr;
}

const char* KxcCFL::preprocessorInfoString(const char* name)
{
    const KxcCFLDirectoryEntry* entry = findEntry(name);
    return entry ? KxcCFLResourceFilter::handlerInfoString(entry->filterWord & 0x00FF0000) : nullptr;
}

const char* KxcCFL::encryptionInfoString(const char* name)
{
    const KxcCFLDirectoryEntry* entry = findEntry(name);
    return entry ? KxcCFLResourceFilter::handlerInfoString(entry->filterWord & 0xFF000000) : nullptr;
}
