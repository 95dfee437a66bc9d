// cfl_maker.h - writes resource archives: create(), store() for each entry, finish().
#pragma once

#include <kxcoreemb/base.h>

class KxcCFLDirectoryEntry;
class KxcFile;

/// An archive that is being written. What is on disk is no archive until finish() succeeded.
///
/// Ownership  finish() destroys the maker when it succeeds. One whose finish() failed, or was never called, goes with
///            the core, and its file is closed then.
/// Units      bytes; an archive grows up to 2 GB, a name is up to 65535 bytes long.
/// Failure    a store() that failed leaves no trace, and the archive can go on; a finish() that failed can be repeated
///            until the file itself failed.
/// Threads    the frame thread only.
class KXC_API KxcCFLMaker
{
public:
    /// Begins an archive.
    /// @param name  as for KxcFile::open, on disk  @return null when the file cannot be made, and without a core
    static KxcCFLMaker* create(const char* name);

    /// Adds an entry. The same name may be stored again: readers see what was stored first.
    /// @param filterWord  as in cfl_filter.h; compression 0xFFFF chooses the smallest result
    /// @return how many bytes are stored, which is 0 for an empty entry without filters; 0 on failure
    KxcINT32 store(const char* name, const KxcINT8* data, KxcINT32 length, KxcUINT32 filterWord);

    /// Writes the directory, filtered by the word, and closes the file. @return 1, or 0
    KxcINT32 finish(KxcUINT32 filterWord);

    KxcCFLMaker(const KxcCFLMaker&) = delete;
    KxcCFLMaker& operator=(const KxcCFLMaker&) = delete;

protected:
    friend void kxcCFLMakersFree();
    KxcCFLMaker();
    ~KxcCFLMaker();
    KxcINT32 init(const char* name);
    KxcINT8* makeDirectory(KxcUINT32& size) const;

    KxcCFLDirectoryEntry* entries; // owned, newest first
    KxcFile* file;                 // owned; null once it was closed
    KxcCFLMaker* next;             // of the core's makers
};
