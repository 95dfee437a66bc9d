// disk.cpp - files, folders and the executable's path on POSIX systems.
//
// Games are written against a disk that takes "\" between folders and finds a file in whatever case it is asked for.
// resolve() brings that here: the exact spelling wins; where it does not exist, each component is looked for in its
// folder without regard to the case of 'A'..'Z'. Only a miss pays for that; since a game whose files lie in archives
// misses with every file it opens, the listings of the last few folders are kept for as long as the folders stay as
// they are.
#include "platform/platform.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <new>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

static const size_t kPathSize = 4096; // the usual limit of a path, its terminator included

static bool exists(const char* path)
{
    struct stat status;
    return lstat(path, &status) == 0;
}

static bool equalsIgnoringCase(const char* a, const char* b)
{
    for (;; ++a, ++b)
    {
        const char upperA = *a >= 'a' && *a <= 'z' ? static_cast<char>(*a - 'a' + 'A') : *a;
        const char upperB = *b >= 'a' && *b <= 'z' ? static_cast<char>(*b - 'a' + 'A') : *b;
        if (upperA != upperB)
            return false;
        if (upperA == 0)
            return true;
    }
}

/// A folder's names, one after the other, each with its terminator.
struct Listing
{
    char* names; // null for an unused one
    size_t length;
    dev_t device; // these three tell whether it still holds
    ino_t inode;
    timespec modified;
    bool settled; // false when the folder had just changed: it may change again within its clock's resolution
};

static const INT32 kListings = 8;
static Listing listings[kListings];
static INT32 oldestListing;
static pthread_mutex_t listingsLock = PTHREAD_MUTEX_INITIALIZER;

static bool readListing(const char* folder, Listing& listing)
{
    free(listing.names);
    listing.names = nullptr;
    listing.length = 0;
    DIR* directory = opendir(folder);
    if (!directory)
        return false;
    size_t room = 0;
    while (const dirent* entry = readdir(directory))
    {
        const size_t length = strlen(entry->d_name) + 1;
        if (listing.length + length > room)
        {
            room = room * 2 + 4096; // more than any name
            char* larger = static_cast<char*>(realloc(listing.names, room));
            if (!larger)
            {
                free(listing.names); // half a folder is worse than none
                listing.names = nullptr;
                break;
            }
            listing.names = larger;
        }
        memcpy(listing.names + listing.length, entry->d_name, length);
        listing.length += length;
    }
    closedir(directory);
    return listing.names != nullptr;
}

/// The listing of a folder as it is now; null when it cannot be read. Called with listingsLock held.
static const Listing* listingOf(const char* folder)
{
    struct stat status;
    if (stat(folder, &status) != 0)
        return nullptr;
    Listing* listing = nullptr;
    for (Listing& kept : listings)
        if (kept.names && kept.device == status.st_dev && kept.inode == status.st_ino)
            listing = &kept;
    if (listing && listing->settled && listing->modified.tv_sec == status.st_mtim.tv_sec &&
        listing->modified.tv_nsec == status.st_mtim.tv_nsec)
        return listing;
    if (!listing)
    {
        listing = &listings[oldestListing];
        oldestListing = (oldestListing + 1) % kListings;
    }
    const time_t coarsestClock = 2; // seconds, on FAT
    listing->device = status.st_dev;
    listing->inode = status.st_ino;
    listing->modified = status.st_mtim;
    listing->settled = time(nullptr) - status.st_mtim.tv_sec > coarsestClock;
    return readListing(folder, *listing) ? listing : nullptr;
}

/// Respells the last component, which begins at `component`, as the folder before it does. False when it has none.
static bool respell(char* path, char* component)
{
    pthread_mutex_lock(&listingsLock);
    const char first = *component;
    *component = 0;
    const Listing* listing = listingOf(path[0] ? path : ".");
    *component = first;
    bool found = false;
    const char* end = listing ? listing->names + listing->length : nullptr;
    for (const char* name = listing ? listing->names : nullptr; name != end && !found; name += strlen(name) + 1)
        if (equalsIgnoringCase(name, component))
        {
            memcpy(component, name, strlen(name));
            found = true;
        }
    pthread_mutex_unlock(&listingsLock);
    return found;
}

/// Copies the path with "/" between folders. False when it is null, empty or too long.
static bool toSlashes(const char* path, char (&out)[kPathSize])
{
    const size_t length = path ? strlen(path) : 0;
    if (length == 0 || length >= kPathSize)
        return false;
    for (size_t i = 0; i <= length; ++i)
        out[i] = path[i] == '\\' ? '/' : path[i];
    return true;
}

/// The path as the disk spells it; what does not exist stays as it was given. False when it does not fit.
/// @param found  receives whether it exists
static bool resolve(const char* path, char (&out)[kPathSize], bool& found)
{
    found = false;
    if (!toSlashes(path, out))
        return false;
    found = exists(out);
    if (found)
        return true;
    found = true;
    for (char* component = out; *component != 0;)
    {
        component += strspn(component, "/");
        char* end = component + strcspn(component, "/");
        const char separator = *end;
        *end = 0;
        found = *component == 0 || exists(out) || respell(out, component);
        *end = separator;
        if (!found)
            break;
        component = end;
    }
    return true;
}

static bool resolve(const char* path, char (&out)[kPathSize])
{
    bool found;
    return resolve(path, out, found);
}

/// The last component, without the slashes that may follow it.
static char* lastComponent(char* path)
{
    size_t length = strlen(path);
    while (length > 1 && path[length - 1] == '/')
        path[--length] = 0;
    char* slash = strrchr(path, '/');
    return slash && slash[1] != 0 ? slash + 1 : path;
}

FILE* kxcPlatformFileOpen(const char* path, const char* mode)
{
    char name[kPathSize];
    if (!mode || !toSlashes(path, name))
        return nullptr;
    // Reading tries the given spelling at once; a mode that creates must first look for the same file in another case.
    FILE* file = mode[0] == 'r' ? fopen(name, mode) : nullptr;
    if (!file && (mode[0] != 'r' || errno == ENOENT) && resolve(path, name))
        file = fopen(name, mode);
    struct stat status;
    if (file && (fstat(fileno(file), &status) != 0 || S_ISDIR(status.st_mode))) // opens, but reads nothing
    {
        fclose(file);
        file = nullptr;
    }
    return file;
}

INT32 kxcPlatformFileRemove(const char* path)
{
    char name[kPathSize];
    return resolve(path, name) && unlink(name) == 0;
}

INT32 kxcPlatformFileRename(const char* oldPath, const char* newPath)
{
    char oldName[kPathSize], newName[kPathSize], existing[kPathSize];
    if (!resolve(oldPath, oldName) || !resolve(newPath, existing))
        return 0;
    // The new name may differ from the old in case alone, which respells the file. Another file is never replaced.
    struct stat oldStatus, newStatus;
    if (lstat(oldName, &oldStatus) != 0)
        return 0;
    if (lstat(existing, &newStatus) == 0 &&
        (newStatus.st_ino != oldStatus.st_ino || newStatus.st_dev != oldStatus.st_dev))
        return 0;
    toSlashes(newPath, newName);
    char* spelled = lastComponent(newName);
    char* target = lastComponent(existing);
    memcpy(target, spelled, strlen(target)); // the folders as they exist, the last component as it is asked for
    return rename(oldName, existing) == 0;
}

INT32 kxcPlatformDirectoryCreate(const char* path)
{
    char name[kPathSize];
    return resolve(path, name) && mkdir(name, 0777) == 0;
}

INT32 kxcPlatformDirectoryRemove(const char* path)
{
    char name[kPathSize];
    return resolve(path, name) && rmdir(name) == 0;
}

INT32 kxcPlatformFileNameOnDisk(const char* path, char* name, INT32 size)
{
    char resolved[kPathSize];
    bool found;
    if (!resolve(path, resolved, found) || !found)
        return 0;
    const char* last = lastComponent(resolved);
    const size_t length = strlen(last);
    if (size <= 0 || length >= static_cast<size_t>(size))
        return 0;
    memcpy(name, last, length + 1);
    return 1;
}

struct KxcPlatformSearch
{
    DIR* directory;
};

KxcPlatformSearch* kxcPlatformSearchOpen(const char* directory)
{
    char name[kPathSize];
    if (!resolve(directory, name))
        return nullptr;
    KxcPlatformSearch* search = new (std::nothrow) KxcPlatformSearch;
    if (!search)
        return nullptr;
    search->directory = opendir(name);
    if (search->directory)
        return search;
    delete search;
    return nullptr;
}

const char* kxcPlatformSearchNext(KxcPlatformSearch* search)
{
    const dirent* entry = readdir(search->directory);
    return entry ? entry->d_name : nullptr;
}

void kxcPlatformSearchClose(KxcPlatformSearch* search)
{
    if (!search)
        return;
    closedir(search->directory);
    delete search;
}

const char* kxcPlatformExecutablePathHook = nullptr;

/// Asked for once: it cannot change while the program runs.
static const char* realExecutablePath()
{
    struct Path
    {
        char text[kPathSize];
        Path()
        {
            const ssize_t length = readlink("/proc/self/exe", text, kPathSize - 1);
            if (length > 0)
                text[length] = 0;
            else if (getcwd(text, kPathSize - sizeof "/program")) // systems without such a link, as the browser
                strcat(text, "/program");
            else
                text[0] = 0;
            for (char* c = text; *c != 0; ++c)
                *c = *c == '/' ? '\\' : *c;
        }
    };
    static const Path path;
    return path.text;
}

INT32 kxcPlatformExecutablePath(char* path, INT32 size)
{
    const char* known = kxcPlatformExecutablePathHook ? kxcPlatformExecutablePathHook : realExecutablePath();
    const size_t length = strlen(known);
    if (length == 0 || size <= 0 || length >= static_cast<size_t>(size))
        return 0;
    memcpy(path, known, length + 1);
    return 1;
}
