// cfl.h - resource archives: the directory of all open ones (KxcCFL), its entries, and what they are stored in.
//
// An archive holds named entries, each stored through a chain of filters. Archives opened later override the entries of
// earlier ones. The engine keeps one directory; KxcCore::openCFL adds to it, and KxcFile finds its entries by name.
#pragma once

#include <kxcoreemb/base.h>

class KxcCFLDirectoryEntry;
class KxcCFLLibrary;

/// A directory of archives: their entries, merged into one list.
///
/// Ownership  the caller deletes what create() returned; buffers returned are released with delete[].
/// Failure    a name that is not in the list gives null or 0, and so does null.
/// Threads    the frame thread only.
class KXC_API KxcCFL
{
public:
    static KxcCFL* create(); ///< without any archive; null when memory runs out
    ~KxcCFL();

    INT32 openLibrary(const char* name); ///< adds the archive at the start of the file; 1, or 0

    INT32 fileExists(const char* name);
    INT32 getFileSize(const char* name); ///< decoded, in bytes
    /// The decoded entry. @param size  receives its size when the name is there, also when decoding fails; else 0
    INT8* getFile(const char* name, INT32& size);
    INT8* getFile(const char* name);

    const KxcCFLDirectoryEntry* getFirstEntry() const { return entries; } ///< of the merged list

    KxcCFL(const KxcCFL&) = delete;
    KxcCFL& operator=(const KxcCFL&) = delete;

protected:
    KxcCFL();
    KxcCFLDirectoryEntry* findEntry(const char* name);

    KxcCFLLibrary* libraries;      // owned, newest first
    KxcCFLDirectoryEntry* entries; // owned: the merged list
};

/// A name in the merged list.
class KXC_API KxcCFLDirectoryEntry
{
public:
    const char* getName() const { return name; }
    const KxcCFLDirectoryEntry* getNext() const { return next; }

protected:
    friend class KxcCFL;
    KxcCFLDirectoryEntry() = default;
    ~KxcCFLDirectoryEntry() = default;

    char* name = nullptr; // owned
    KxcCFLDirectoryEntry* next = nullptr;
};
