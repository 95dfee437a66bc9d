// cfl.h - resource archives: the directory of all open ones (KxcCFL), the archives in it (KxcCFLLibrary), their entries
// (KxcCFLDirectoryEntry) and stored bytes (KxcCFLResource).
//
// An archive holds named entries, each stored through a chain of filters (cfl_filter.h), and a directory that is stored
// the same way. It may be a file of its own, the end of another file, or an entry of another archive. The engine keeps
// one KxcCFL: KxcCore::openCFL adds archives to it, and KxcFile finds their entries by name.
#pragma once

#include <kxcoreemb/base.h>

class KxcCFLDirectoryEntry;
class KxcCFLLibrary;
class KxcFile;

/// The entries of all archives opened so far, merged into one list: an archive opened later overrides the entries of
/// earlier ones, which keep their places in the list.
///
/// Ownership  the caller deletes what create() returned; buffers returned are released with delete[].
/// Failure    a name that is not in the list gives null or 0, and so does null. A damaged archive is not opened, and
///            changes nothing; a damaged entry cannot be read, while the others can.
/// Threads    the frame thread only.
class KXC_API KxcCFL
{
public:
    static KxcCFL* create(); ///< without any archive; null when memory runs out
    /// @{
    /// With one archive, as openLibrary() adds it. @return null when that fails
    static KxcCFL* create(const char* name);
    static KxcCFL* create(const char* name, KxcINT32 offset);
    static KxcCFL* create(KxcFile* file);
    /// @}

    ~KxcCFL();

    /// Adds an archive. Its file is looked up as KxcFile::open does, also among the entries that are here already, and
    /// anew each time that an entry is read.
    /// @param offset  where the archive begins, in bytes; when it does not begin there, the file's end tells where
    /// @return 1, or 0
    KxcINT32 openLibrary(const char* name, KxcINT32 offset);
    KxcINT32 openLibrary(const char* name); ///< at offset 0
    /// The same at the file's position. The file is taken over: kept open until the directory goes, closed on failure.
    KxcINT32 openLibrary(KxcFile* file);

    KxcINT32 fileExists(const char* name);  ///< 1 when an entry has this name, else 0
    KxcINT32 getFileSize(const char* name); ///< decoded, in bytes
    /// The decoded entry; null also for an empty one.
    /// @param size  receives its size when the name is there, also when decoding fails; else 0
    KxcINT8* getFile(const char* name, KxcINT32& size);
    KxcINT8* getFile(const char* name); ///< the same without its size
    /// Into the buffer. @return the bytes that were copied
    KxcINT32 getFile(const char* name, KxcINT8* buffer, KxcINT32 bufferSize);

    /// The archive's file, positioned at the entry's stored bytes; given back with dropFilePtr().
    KxcFile* getFilePtr(const char* name);
    void dropFilePtr(KxcFile* file);       ///< gives back what getFilePtr() answered
    KxcINT32 getFileOfs(const char* name); ///< where the entry begins in the archive's file, with its length word

    /// @{
    /// One line on the filter of the entry's step, from KxcCFLResourceFilter::handlerInfoString; null without an entry.
    const char* compressionInfoString(const char* name);
    const char* preprocessorInfoString(const char* name);
    const char* encryptionInfoString(const char* name);
    /// @}

    const KxcCFLDirectoryEntry* getFirstEntry() const { return entries; } ///< of the merged list

    KxcCFL(const KxcCFL&) = delete;
    KxcCFL& operator=(const KxcCFL&) = delete;

protected:
    KxcCFL();
    KxcCFLDirectoryEntry* findEntry(const char* name) const;
    KxcCFLDirectoryEntry* findEntry(const char* name, KxcUINT32 key) const;
    KxcINT32 addLibrary(KxcFile* file, const char* name);
    void mergeEntry(KxcCFLDirectoryEntry* entry);
    bool growIndex(KxcUINT32 wanted);

    KxcCFLLibrary* libraries;          // owned, newest first
    KxcCFLDirectoryEntry* entries;     // the merged list; the libraries own the entries
    KxcCFLDirectoryEntry** index;      // owned: buckets of entries, chained in nextInBucket
    KxcUINT32 bucketCount, entryCount; // buckets: a power of two, or 0
};

/// One archive that was opened.
///
/// Ownership  the KxcCFL that opened it.
/// Threads    the frame thread only.
class KXC_API KxcCFLLibrary
{
public:
    KxcFile* open();           ///< the archive's file; null when it is gone, or lies in this very archive
    void close(KxcFile* file); ///< gives it back

    KxcCFLLibrary(const KxcCFLLibrary&) = delete;
    KxcCFLLibrary& operator=(const KxcCFLLibrary&) = delete;

protected:
    friend class KxcCFL;
    KxcCFLLibrary();
    ~KxcCFLLibrary();

    KxcFile* keptFile;             // owned; null for an archive that is opened by name
    char* filename;                // owned; null for a kept file
    KxcINT32 start, fileSize;      // of the archive in its file, and of that when it was opened, in bytes
    bool opening;                  // while open() looks for the file
    KxcCFLDirectoryEntry* entries; // owned: an array of all entries, also of those that were merged into older ones
    KxcINT8* names;                // owned: what was the directory, now the entries' names
    KxcCFLLibrary* next;           // older
};

/// An entry of an archive; its record in the stored directory takes 14 bytes and the name.
///
/// Ownership  the KxcCFL, for those that it lists; else whoever made it.
/// Threads    the frame thread only.
class KXC_API KxcCFLDirectoryEntry
{
public:
    ~KxcCFLDirectoryEntry();
    void store(KxcINT8* buffer, KxcINT32& position) const; ///< writes the record and moves the position behind it
    /// A new entry from a record that is known to be whole; the caller deletes it. Null when memory runs out.
    static KxcCFLDirectoryEntry* restore(const KxcINT8* buffer, KxcINT32& position);
    KxcINT32 byteRequirement() const;                                 ///< of the record
    KxcINT32 equals(const char* otherName, KxcINT32 otherHash) const; ///< 1 when name and hash are the entry's
    static KxcINT32 calcHash(const char* text);                       ///< the hash that equals() compares
    void replaceEntry(KxcCFLDirectoryEntry* newer); ///< takes over all but the place in the list, and deletes it

    const char* getName() const { return name; }                     ///< the entry's; it goes with the directory
    KxcINT32 getSize() const { return static_cast<KxcINT32>(size); } ///< decoded, in bytes
    KxcUINT32 getFilterWord() const { return filterWord; }           ///< as in cfl_filter.h
    const KxcCFLDirectoryEntry* getNext() const { return next; }     ///< in the merged list; null at the end

    KxcCFLDirectoryEntry(const KxcCFLDirectoryEntry&) = delete;
    KxcCFLDirectoryEntry& operator=(const KxcCFLDirectoryEntry&) = delete;

protected:
    friend class KxcCFL;
    friend class KxcCFLMaker;
    KxcCFLDirectoryEntry();
    KxcUINT32 read(const KxcINT8* record);
    void takeOver(KxcCFLDirectoryEntry& newer);

    const char* name;
    char* ownName; // owned: the name; null when it lies in the library's names
    KxcUINT32 filterWord;
    KxcUINT32 size;   // decoded, in bytes
    KxcUINT32 offset; // of the stored bytes' length word, from the archive's start
    KxcUINT32 key;    // of the name in KxcCFL's index
    KxcCFLLibrary* library;
    KxcCFLDirectoryEntry* next;
    KxcCFLDirectoryEntry* nextInBucket;
};

/// A block of stored bytes: in a file, a 32-bit length and the bytes.
///
/// Ownership  whoever made it deletes it, and with it the bytes.
/// Failure    load() answers null, save() 0.
/// Threads    one at a time.
class KXC_API KxcCFLResource
{
public:
    /// Takes the bytes over: the destructor releases them with delete[].
    KxcCFLResource(KxcINT8* bytes, KxcUINT32 byteCount) : length(byteCount), data(bytes) {}
    ~KxcCFLResource();
    static KxcCFLResource* load(KxcFile* file); ///< from the position; null when the file or the memory ends before
    KxcINT32 save(KxcFile* file) const;         ///< 1, or 0

    KxcUINT32 getLength() const { return length; }  ///< of the stored bytes
    const KxcINT8* getData() const { return data; } ///< the stored bytes; they stay the block's

    KxcCFLResource(const KxcCFLResource&) = delete;
    KxcCFLResource& operator=(const KxcCFLResource&) = delete;

protected:
    friend class KxcCFL;
    friend class KxcCFLResourceFilter;
    static KxcCFLResource* load(KxcFile* file, KxcINT32 fileSize);

    KxcUINT32 length;
    KxcINT8* data; // owned
};
