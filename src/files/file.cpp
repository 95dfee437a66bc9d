// file.cpp - the name space over disk and archives, and the file on disk.
//
// A name becomes a disk path in composeDiskPath(): the executable's folder, the name, "\" between all folders. The
// platform takes it from there. Every function that is given a name goes through it, unless the name is raw.
#include <kxcoreemb/file.h>

#include "core/core_state.h"
#include "platform/platform.h"
#include <kxcoreemb/cfl.h>
#include <kxcoreemb/string_toolkit.h>

#include <cstring>
#include <new>

namespace
{
const INT32 kPathSize = 512; // with the terminator
const INT32 kLargest = 0x7FFFFFFF;

void warn(const char* message) { kxcPlatformMessageBox(message, "Brunvik minefield", KXCICON_EXCLAMATION); }

/// @param path  receives up to kPathSize bytes  @return false when it does not fit
bool composeDiskPath(const char* name, char* path)
{
    char executable[4096];
    if (!kxcPlatformExecutablePath(executable, static_cast<INT32>(sizeof executable)))
        return false;
    const char* lastSlash = strrchr(executable, '\\');
    const size_t folderLength = lastSlash ? static_cast<size_t>(lastSlash + 1 - executable) : 0;
    const size_t nameLength = strlen(name);
    if (nameLength >= kPathSize || folderLength + nameLength >= kPathSize)
        return false;
    memcpy(path, executable, folderLength);
    memcpy(path + folderLength, name, nameLength + 1);
    bool hasFolders = false;
    for (char* c = path; *c != 0; ++c)
        if (*c == '/' || *c == '\\')
        {
            *c = '\\';
            hasFolders = hasFolders || c >= path + folderLength;
        }

    char message[512];
    if (strchr(name, '\\'))
    {
        KxcStringToolkit::format(message, sizeof message, "Backslash used in disk filename:\n %s", name);
        warn(message);
    }
    // Only a bare name is compared: with folders in it, it is longer than the one that the disk reports. An archive's
    // file is opened anew for every entry: the path that passed last is not asked for again.
    static thread_local char passed[kPathSize];
    char found[kPathSize];
    if (!hasFolders && strcmp(path, passed) != 0 && kxcPlatformFileNameOnDisk(path, found, kPathSize) &&
        strlen(found) == nameLength)
    {
        if (strcmp(found, name) == 0)
        {
            memcpy(passed, path, folderLength + nameLength + 1);
            return true;
        }
        KxcStringToolkit::format(message, sizeof message, "Case mismatch in disk file:\ndisk:%s\ncode:%s", found, name);
        warn(message);
    }
    return true;
}

/// The disk path of any name: raw ones as they are, others composed in the buffer. Null when there is none.
const char* diskPath(const char* name, char (&buffer)[kPathSize])
{
    if (!name)
        return nullptr;
    if (name[0] == '/' && name[1] == '/')
        return name + 2;
    return composeDiskPath(name, buffer) ? buffer : nullptr;
}

UINT32 effectiveStrategy(UINT32 strategy)
{
    if (strategy != KXCFILE_DEFAULT)
        return strategy;
    return kxcCore ? static_cast<UINT32>(kxcCore->fileOpenStrategy) : static_cast<UINT32>(KXCFILE_DISK_FIRST);
}

KxcCFL* archives() { return kxcCore ? kxcCore->archives : nullptr; }

/// From the start to the end, in bytes; -1 when that cannot be told. Leaves the position at the start.
INT32 measure(KxcFile* file)
{
    const INT32 size = file->seek(0, 2) == 0 ? file->tell() : -1;
    return file->seek(0, 0) == 0 ? size : -1;
}

/// stdio multiplies the two; where size_t has 32 bits, the product must not wrap.
size_t clampCount(INT32 size, INT32 count)
{
    return static_cast<size_t>(count < kLargest / size ? count : kLargest / size);
}
} // namespace

KxcFile::KxcFile() : filename(nullptr), stream(nullptr) {}
KxcFile::~KxcFile() { delete[] filename; }

INT32 KxcFile::init(const char* name)
{
    filename = KxcStringToolkit::copy(name);
    return filename != nullptr;
}

void KxcFile::readUnbuffered()
{
    if (stream)
        setvbuf(stream, nullptr, _IONBF, 0);
}

// --- one file on disk ---

INT32 KxcFile::seek(INT32 offset, INT32 whence)
{
    static const int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    return stream && whence >= 0 && whence <= 2 ? fseek(stream, offset, kWhence[whence]) : -1;
}

INT32 KxcFile::tell()
{
    const long position = stream ? ftell(stream) : -1;
    return position <= kLargest ? static_cast<INT32>(position) : -1;
}

const char* KxcFile::getFilename() { return filename; }
INT32 KxcFile::getChar() { return stream ? getc(stream) : -1; }
INT32 KxcFile::putChar(INT32 ch) { return stream ? putc(ch, stream) : -1; }

INT32 KxcFile::read(void* buffer, INT32 size, INT32 count)
{
    if (!stream || !buffer || size <= 0 || count <= 0)
        return 0;
    return static_cast<INT32>(fread(buffer, static_cast<size_t>(size), clampCount(size, count), stream));
}

INT32 KxcFile::write(const void* buffer, INT32 size, INT32 count)
{
    if (!stream || !buffer || size <= 0 || count <= 0)
        return 0;
    return static_cast<INT32>(fwrite(buffer, static_cast<size_t>(size), clampCount(size, count), stream));
}

INT32 KxcFile::close()
{
    const INT32 result = stream ? fclose(stream) : 0;
    delete this;
    return result;
}

INT32 KxcFile::endOfFile() { return !stream || feof(stream); }

// --- opening ---

char* KxcFile::makeDiskFilenameString(const char* name)
{
    char* path = name ? new (std::nothrow) char[kPathSize] : nullptr;
    if (path && !composeDiskPath(name, path))
    {
        delete[] path;
        path = nullptr;
    }
    return path;
}

KxcFile* KxcFile::openStdFile(const char* name, const char* mode)
{
    char buffer[kPathSize];
    const char* path = diskPath(name, buffer);
    FILE* opened = path && mode ? kxcPlatformFileOpen(path, mode) : nullptr;
    if (!opened)
        return nullptr;
    KxcFile* file = new (std::nothrow) KxcFile;
    if (file && file->init(name))
    {
        file->stream = opened;
        return file;
    }
    fclose(opened);
    delete file;
    return nullptr;
}

KxcFile* KxcFile::open(const char* name, const char* mode, UINT32 strategy)
{
    if (!name || !mode)
        return nullptr;
    KxcFile* file;
    switch (effectiveStrategy(strategy))
    {
    case KXCFILE_DISK_FIRST:
        file = openStdFile(name, mode);
        return file ? file : KxcFileCFL::open(name, mode);
    case KXCFILE_CFL_FIRST:
        file = KxcFileCFL::open(name, mode);
        return file ? file : openStdFile(name, mode);
    case KXCFILE_DISK_ONLY:
        return openStdFile(name, mode);
    case KXCFILE_CFL_ONLY:
        return KxcFileCFL::open(name, mode);
    default:
        return nullptr;
    }
}

KxcFile* KxcFile::openDiskFile(const char* name, const char* mode) { return open(name, mode, KXCFILE_DISK_ONLY); }
KxcFile* KxcFile::openCFLFile(const char* name, const char* mode) { return open(name, mode, KXCFILE_CFL_ONLY); }

KxcFile* KxcFile::open(const char* name, const INT8* data, UINT32 size)
{
    return KxcFileMemory::open(name, data, size);
}

KxcFile* KxcFileCFL::open(const char* name, const char* mode)
{
    if (!name || !mode || strpbrk(mode, "aAwW+") || !archives())
        return nullptr;
    INT32 size;
    INT8* data = archives()->getFile(name, size);
    if (!data)
        return nullptr;
    KxcFile* file = KxcFileMemory::open(name, data, static_cast<UINT32>(size));
    if (!file)
        delete[] data;
    return file;
}

// --- whole files and folders ---

INT8* KxcFile::getFile(const char* name, UINT32 strategy)
{
    if (!name)
        return nullptr;
    strategy = effectiveStrategy(strategy);
    if (strategy == KXCFILE_CFL_FIRST || strategy == KXCFILE_CFL_ONLY)
    {
        INT8* data = archives() ? archives()->getFile(name) : nullptr;
        if (data || strategy == KXCFILE_CFL_ONLY)
            return data;
    }
    if (KxcFile* file = openStdFile(name, "rb"))
    {
        const INT32 size = measure(file);
        INT8* data = size >= 0 ? new (std::nothrow) INT8[static_cast<size_t>(size)] : nullptr;
        if (data && size > 0 && file->read(data, size, 1) != 1)
        {
            delete[] data;
            data = nullptr;
        }
        file->close();
        return data;
    }
    if (strategy == KXCFILE_CFL_FIRST || strategy == KXCFILE_DISK_ONLY || !archives())
        return nullptr;
    return archives()->getFile(name);
}

INT32 KxcFile::getFileSize(const char* name, UINT32 strategy)
{
    if (!name)
        return 0;
    strategy = effectiveStrategy(strategy);
    const bool archived = archives() && archives()->fileExists(name);
    if (strategy == KXCFILE_CFL_ONLY || (strategy == KXCFILE_CFL_FIRST && archived))
        return archived ? archives()->getFileSize(name) : 0;
    if (KxcFile* file = openStdFile(name, "rb"))
    {
        const INT32 size = measure(file);
        file->close();
        return size > 0 ? size : 0;
    }
    return archived && strategy != KXCFILE_DISK_ONLY ? archives()->getFileSize(name) : 0;
}

INT32 KxcFile::fileExists(const char* name)
{
    if (!name)
        return 0;
    INT32 stores = archives() && archives()->fileExists(name) ? 1 : 0;
    if (KxcFile* file = openStdFile(name, "rb"))
    {
        file->close();
        stores |= 2;
    }
    return stores;
}

INT32 KxcFile::mkdir(const char* name)
{
    char buffer[kPathSize];
    const char* path = diskPath(name, buffer);
    return path && kxcPlatformDirectoryCreate(path);
}

INT32 KxcFile::rmdir(const char* name)
{
    char buffer[kPathSize];
    const char* path = diskPath(name, buffer);
    return path && kxcPlatformDirectoryRemove(path);
}

INT32 KxcFile::remove(const char* name)
{
    char buffer[kPathSize];
    const char* path = diskPath(name, buffer);
    return path && kxcPlatformFileRemove(path) ? 0 : -1;
}

INT32 KxcFile::rename(const char* oldName, const char* newName)
{
    char oldBuffer[kPathSize], newBuffer[kPathSize];
    const char* oldPath = diskPath(oldName, oldBuffer);
    const char* newPath = oldPath ? diskPath(newName, newBuffer) : nullptr;
    return newPath && kxcPlatformFileRename(oldPath, newPath) ? 0 : -1;
}
