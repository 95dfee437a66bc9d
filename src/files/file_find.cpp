// file_find.cpp - lists names: first the archives' entries, then the folder of the executable.
#include <kxcoreemb/file.h>

#include "core/core_state.h"
#include "platform/platform.h"
#include <kxcoreemb/cfl.h>
#include <kxcoreemb/string_toolkit.h>

#include <cstring>
#include <new>

KxcFileFind::KxcFileFind() : entry(nullptr), flags(0), search(nullptr), diskDone(1), pattern(nullptr) {}
KxcFileFind::~KxcFileFind() { closeFileFindDisk(); }

KxcFileFind* KxcFileFind::create(const char* pattern, INT32 flags)
{
    KxcFileFind* finder = new (std::nothrow) KxcFileFind;
    if (!finder)
        return nullptr;
    finder->pattern = pattern;
    finder->flags = flags;
    if (flags & KXCFILEFIND_DISK)
        finder->initFileFindDisk();
    if (flags & KXCFILEFIND_CFL)
        finder->initFileFindCFL();
    return finder;
}

const char* KxcFileFind::next()
{
    const bool ignoreCase = (flags & KXCFILEFIND_IGNORE_CASE) != 0;
    while (const char* name = nextFilename())
        if (ignoreCase ? KxcStringToolkit::matchWildcardIgnoreCase(pattern, name)
                       : KxcStringToolkit::matchWildcard(pattern, name))
            return name;
    return nullptr;
}

const char* KxcFileFind::nextFilename()
{
    const char* name = nextFilenameCFL();
    return name ? name : nextFilenameDisk();
}

void KxcFileFind::initFileFindCFL()
{
    entry = kxcCore && kxcCore->archives ? kxcCore->archives->getFirstEntry() : nullptr;
}

const char* KxcFileFind::nextFilenameCFL()
{
    if (!entry)
        return nullptr;
    const char* name = entry->getName();
    entry = entry->getNext();
    return name;
}

void KxcFileFind::initFileFindDisk() { diskDone = 0; } // the search starts with the first disk name that is asked for

const char* KxcFileFind::nextFilenameDisk()
{
    if (diskDone)
        return nullptr;
    if (!search)
    {
        char folder[4096];
        char* lastSlash = nullptr;
        if (kxcPlatformExecutablePath(folder, static_cast<INT32>(sizeof folder)))
            lastSlash = strrchr(folder, '\\');
        if (lastSlash)
        {
            lastSlash[1] = 0;
            search = kxcPlatformSearchOpen(folder);
        }
    }
    const bool skipArchived = (flags & KXCFILEFIND_SKIP_DUPLICATES) && kxcCore && kxcCore->archives;
    while (const char* name = search ? kxcPlatformSearchNext(search) : nullptr)
        if (!skipArchived || !kxcCore->archives->fileExists(name))
            return name;
    closeFileFindDisk();
    return nullptr;
}

void KxcFileFind::closeFileFindDisk()
{
    kxcPlatformSearchClose(search);
    search = nullptr;
    diskDone = 1;
}
