// cfl.cpp - the merged directory of resource archives, and the reading of their entries.
//
// An archive: "CFL3", the directory's position and decoded size, the entries' stored bytes, the directory (its filter
// word and stored bytes), the archive's length, "3CFL". All numbers have 32 bits, little-endian, and count from the
// archive's start. Nothing in an archive is believed before it was checked against the file.
//
// The merged list gives the order of enumeration; hash buckets beside it find a name in constant time. An archive's
// entries are one array, and their names stay where they were decoded: opening takes the same few allocations however
// many entries there are.
#include <kxcoreemb/cfl.h>

#include "files/keyed_hash.h"
#include "platform/platform.h"
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

const UINT32 kRecordSize = 14; // without the name

/// What a name is found by in the index.
UINT32 keyOf(const char* name, size_t length)
{
    // Addresses and the time: an archive cannot know them.
    static const UINT64 secret = (static_cast<UINT64>(reinterpret_cast<uintptr_t>(&secret)) ^
                                  static_cast<UINT64>(kxcPlatformMilliseconds()) << 32) *
                                 0x9E3779B97F4A7C15u;
    return KxcKeyedHash::of(name, length, secret);
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

/// How many records there are; 0 unless they fill the directory exactly, with sizes such as files can have and names
/// such as can be asked for.
UINT32 countRecords(const INT8* directory, UINT32 size)
{
    UINT32 position = 0, count = 0;
    while (size - position >= kRecordSize)
    {
        const INT8* record = directory + position;
        const UINT32 nameLength = loadBytes(record + 12, 2);
        if (nameLength > size - position - kRecordSize || loadBytes(record, 4) > kLargest ||
            memchr(record + kRecordSize, 0, nameLength))
            return 0;
        position += kRecordSize + nameLength;
        ++count;
    }
    return position == size ? count : 0;
}
} // namespace

// --- KxcCFLResource ---

KxcCFLResource::~KxcCFLResource() { delete[] data; }

KxcCFLResource* KxcCFLResource::load(KxcFile* file)
{
    const INT32 position = file ? file->tell() : -1;
    const INT32 fileSize = position >= 0 && file->seek(0, 2) == 0 ? file->tell() : -1;
    return fileSize >= position && file->seek(position, 0) == 0 ? load(file, fileSize) : nullptr;
}

/// @param fileSize  what ends before its bytes do is refused without reading it
KxcCFLResource* KxcCFLResource::load(KxcFile* file, INT32 fileSize)
{
    UINT32 length;
    if (file->readUINT32(length) != 1)
        return nullptr;
    const INT32 position = file->tell();
    if (position < 0 || fileSize < position || length > static_cast<UINT32>(fileSize - position))
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

KxcCFLLibrary::KxcCFLLibrary()
    : keptFile(nullptr),
      filename(nullptr),
      start(0),
      fileSize(0),
      opening(false),
      entries(nullptr),
      names(nullptr),
      next(nullptr)
{
}

KxcCFLLibrary::~KxcCFLLibrary()
{
    if (keptFile)
        keptFile->close();
    delete[] filename;
    delete[] entries;
    delete[] names;
}

KxcFile* KxcCFLLibrary::open()
{
    // The lookup may lead through other archives and back here, where it would never end.
    if (keptFile || opening)
        return keptFile;
    opening = true;
    KxcFile* file = KxcFile::open(filename, "rb", KXCFILE_DEFAULT);
    opening = false;
    if (file)
        file->readUnbuffered(); // a length and a block are read, not more
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
      ownName(nullptr),
      filterWord(0),
      size(0),
      offset(0),
      key(0),
      library(nullptr),
      next(nullptr),
      nextInBucket(nullptr)
{
}

KxcCFLDirectoryEntry::~KxcCFLDirectoryEntry() { delete[] ownName; }

INT32 KxcCFLDirectoryEntry::byteRequirement() const { return static_cast<INT32>(kRecordSize + strlen(name)); }

void KxcCFLDirectoryEntry::store(INT8* buffer, INT32& position) const
{
    const size_t length = strlen(name);
    INT8* record = buffer + position;
    storeBytes(record, size, 4);
    storeBytes(record + 4, offset, 4);
    storeBytes(record + 8, filterWord, 4);
    storeBytes(record + 12, static_cast<UINT32>(length), 2);
    memcpy(record + kRecordSize, name, length);
    position += static_cast<INT32>(kRecordSize + length);
}

/// Takes all but the name from a record. @return the name's length
UINT32 KxcCFLDirectoryEntry::read(const INT8* record)
{
    size = loadBytes(record, 4);
    offset = loadBytes(record + 4, 4);
    filterWord = loadBytes(record + 8, 4);
    return loadBytes(record + 12, 2);
}

KxcCFLDirectoryEntry* KxcCFLDirectoryEntry::restore(const INT8* buffer, INT32& position)
{
    const INT8* record = buffer + position;
    KxcCFLDirectoryEntry* entry = new (std::nothrow) KxcCFLDirectoryEntry;
    if (!entry)
        return nullptr;
    const UINT32 length = entry->read(record);
    entry->name = entry->ownName = new (std::nothrow) char[length + 1];
    if (!entry->ownName)
    {
        delete entry;
        return nullptr;
    }
    memcpy(entry->ownName, record + kRecordSize, length);
    entry->ownName[length] = 0;
    entry->key = keyOf(entry->name, strlen(entry->name));
    position += static_cast<INT32>(kRecordSize + length);
    return entry;
}

INT32 KxcCFLDirectoryEntry::equals(const char* otherName, INT32 otherHash) const
{
    return calcHash(name) == otherHash && strcmp(name, otherName) == 0;
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
    takeOver(*newer);
    delete newer;
}

void KxcCFLDirectoryEntry::takeOver(KxcCFLDirectoryEntry& newer)
{
    delete[] ownName;
    name = newer.name;
    ownName = newer.ownName;
    newer.ownName = nullptr;
    filterWord = newer.filterWord;
    size = newer.size;
    offset = newer.offset;
    key = newer.key;
    library = newer.library;
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
    const INT32 added = file->seek(offset, 0) == 0 ? addLibrary(file, name) : 0;
    file->close();
    return added;
}

INT32 KxcCFL::openLibrary(KxcFile* file)
{
    const INT32 added = file ? addLibrary(file, nullptr) : 0;
    if (file && !added)
        file->close();
    return added;
}

/// @param name  null when the library keeps the file
/// @return 1 when there is a new library; 0 when nothing changed
INT32 KxcCFL::addLibrary(KxcFile* file, const char* name)
{
    INT32 start;
    if (!findArchive(file, start))
        return 0;
    UINT32 directoryPosition, directorySize, filterWord;
    if (file->readUINT32(directoryPosition) != 1 || file->readUINT32(directorySize) != 1 || directorySize == 0 ||
        directorySize > kLargest || !seekFrom(file, start, directoryPosition) || file->readUINT32(filterWord) != 1)
        return 0;
    KxcCFLResource* stored = KxcCFLResource::load(file);
    INT8* directory = KxcCFLResourceFilter::unhandle(stored, filterWord, directorySize);
    delete stored;
    // Each entry has at least a length word in the file. A directory that lists more was made to exhaust memory.
    const UINT32 records = directory ? countRecords(directory, directorySize) : 0;
    KxcCFLLibrary* library = nullptr;
    if (records > 0 && records <= directoryPosition / 4 && growIndex(entryCount + records))
        library = new (std::nothrow) KxcCFLLibrary;
    if (library)
    {
        library->entries = new (std::nothrow) KxcCFLDirectoryEntry[records];
        library->filename = name ? KxcStringToolkit::copy(name) : nullptr;
    }
    if (!library || !library->entries || (name && !library->filename))
    {
        delete library;
        delete[] directory;
        return 0;
    }
    library->names = directory;
    library->keptFile = name ? nullptr : file;
    library->start = start;
    library->fileSize = file->seek(0, 2) == 0 ? file->tell() : 0;
    library->next = libraries;
    libraries = library;

    for (UINT32 i = 0; i < records; ++i)
    {
        KxcCFLDirectoryEntry* entry = &library->entries[i];
        const UINT32 length = entry->read(directory);
        char* text = reinterpret_cast<char*>(directory) + kRecordSize - 1;
        memmove(text, text + 1, length); // back by one, to make room for a terminator
        text[length] = 0;
        entry->name = text;
        entry->key = keyOf(text, length);
        entry->library = library;
        mergeEntry(entry);
        directory += kRecordSize + length;
    }
    return 1;
}

/// Puts an entry into the list, or what it says into the one that has its name; the index has room for it.
void KxcCFL::mergeEntry(KxcCFLDirectoryEntry* entry)
{
    if (KxcCFLDirectoryEntry* older = findEntry(entry->name, entry->key))
    {
        older->takeOver(*entry);
        return;
    }
    entry->next = entries;
    entries = entry;
    KxcCFLDirectoryEntry*& bucket = index[entry->key & (bucketCount - 1)];
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
        KxcCFLDirectoryEntry*& bucket = buckets[entry->key & (larger - 1)];
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
    return name && index ? findEntry(name, keyOf(name, strlen(name))) : nullptr;
}

KxcCFLDirectoryEntry* KxcCFL::findEntry(const char* name, UINT32 key) const
{
    KxcCFLDirectoryEntry* entry = index[key & (bucketCount - 1)];
    while (entry && (entry->key != key || strcmp(entry->name, name) != 0))
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
    size = entry ? entry->getSize() : 0;
    KxcCFLLibrary* library = size > 0 ? entry->library : nullptr;
    KxcFile* file = library ? library->open() : nullptr;
    if (!file)
        return nullptr;
    KxcCFLResource* stored =
        seekFrom(file, library->start, entry->offset) ? KxcCFLResource::load(file, library->fileSize) : nullptr;
    library->close(file);
    UINT32 decodedSize = entry->size; // what callers read of the buffer: nothing else will do
    INT8* data = KxcCFLResourceFilter::unhandle(stored, entry->filterWord, decodedSize);
    delete stored;
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
