// file.h - files: one name space over the disk and the resource archives (KxcFile, KxcFileCFL), buffers that read like
// files (KxcFileMemory), and the search for names (KxcFileFind).
//
// A name is relative to the folder of the program's executable, with "/" between folders and spelled as the disk has
// it: a backslash or another case works on some devices only, so the developer is warned in a message box. A name that
// begins with "//" is raw: what follows is the disk path itself ("///tmp/x.bin" is /tmp/x.bin).
#pragma once

#include <kxcoreemb/base.h>

#include <cstdio>

class KxcCFLDirectoryEntry;
struct KxcPlatformSearch;

/// Which store a name is looked up in. With any other value, open() fails and the whole-file functions take the first.
enum : KxcUINT32
{
    KXCFILE_DEFAULT = 0,    ///< what KxcCore::setFileOpenStrategy set; KXCFILE_DISK_FIRST at start-up
    KXCFILE_DISK_FIRST = 1, ///< the disk, then the archives
    KXCFILE_CFL_FIRST = 2,  ///< the archives, then the disk
    KXCFILE_DISK_ONLY = 3,
    KXCFILE_CFL_ONLY = 4 ///< for single calls: see KxcCore::setFileOpenStrategy
};

/// An open file; this class itself is the file on disk, its subclasses override the virtual members.
///
/// Ownership  close() ends and destroys the file; there is no other way to release it. Buffers and strings returned are
///            released by the caller with delete[].
/// Units      bytes; positions and sizes are 32-bit, larger files can be read only as far as that reaches.
/// Failure    opening returns null. A name whose disk path is longer than 511 bytes does not exist and cannot be made;
///            raw ones may be longer.
/// Threads    the thread that opened it.
class KXC_API KxcFile
{
public:
    // --- one file (this order is the order of the virtual table) ---
    /// Moves the position.
    /// @param whence  0 from the start, 1 from the position, 2 from the end  @return 0; anything else on failure
    virtual KxcINT32 seek(KxcINT32 offset, KxcINT32 whence);
    virtual KxcINT32 tell();               ///< -1 on failure
    virtual const char* getFilename();     ///< as passed to open
    virtual KxcINT32 getChar();            ///< 0..255, or -1 at the end
    virtual KxcINT32 putChar(KxcINT32 ch); ///< the byte written, or -1
    /// Reads up to count elements of size bytes. @return whole elements read; 0 for a size or count below 1
    virtual KxcINT32 read(void* buffer, KxcINT32 size, KxcINT32 count);
    virtual KxcINT32 write(const void* buffer, KxcINT32 size, KxcINT32 count); ///< whole elements written
    virtual KxcINT32 close();     ///< destroys the object; non-zero when the last bytes could not be written
    virtual KxcINT32 endOfFile(); ///< non-zero once a read ran into the end

protected:
    virtual ~KxcFile();

public:
    // --- opening ---
    /// Opens a file for reading or writing.
    /// @param mode  as for fopen, "rb" or "wb"; modes that write never reach an archive
    static KxcFile* open(const char* name, const char* mode, KxcUINT32 strategy);
    static KxcFile* openDiskFile(const char* name, const char* mode);            ///< KXCFILE_DISK_ONLY
    static KxcFile* openCFLFile(const char* name, const char* mode);             ///< KXCFILE_CFL_ONLY
    static KxcFile* open(const char* name, const KxcINT8* data, KxcUINT32 size); ///< KxcFileMemory::open

    // --- whole files and folders ---
    static KxcINT8* getFile(const char* name, KxcUINT32 strategy);     ///< the content, without a terminator; or null
    static KxcINT32 getFileSize(const char* name, KxcUINT32 strategy); ///< 0 when there is none
    static KxcINT32 fileExists(const char* name); ///< 1: in an archive, 2: on disk, 3: both, 0: neither
    static KxcINT32 mkdir(const char* name);      ///< 1, or 0
    static KxcINT32 rmdir(const char* name);      ///< 1, or 0; the folder must be empty
    static KxcINT32 remove(const char* name);     ///< 0, or -1
    static KxcINT32 rename(const char* oldName, const char* newName); ///< 0, or -1; never replaces another file

    // --- single values, stored little-endian ---
    /// @{
    /// Writes one number. @return 1, or what write() answers on failure
    KxcINT32 writeINT8(KxcINT8 value);
    KxcINT32 writeUINT8(KxcUINT8 value);
    KxcINT32 writeINT16(KxcINT16 value);
    KxcINT32 writeUINT16(KxcUINT16 value);
    KxcINT32 writeINT32(KxcINT32 value);
    KxcINT32 writeUINT32(KxcUINT32 value);
    KxcINT32 writeFLOAT32(KxcFLOAT32 value);
    KxcINT32 writeFLOAT64(KxcFLOAT64 value);
    /// @}

    /// @{
    /// Reads one number. @return it, or 0 on failure
    KxcINT8 readINT8();
    KxcUINT8 readUINT8();
    KxcINT16 readINT16();
    KxcUINT16 readUINT16();
    KxcINT32 readINT32();
    KxcUINT32 readUINT32();
    KxcFLOAT32 readFLOAT32();
    KxcFLOAT64 readFLOAT64();
    /// @}

    /// @{
    /// Reads one number, and tells whether there was one. @return 1, or 0 on failure, where the value stays as it was
    KxcINT32 readINT8(KxcINT8& value);
    KxcINT32 readUINT8(KxcUINT8& value);
    KxcINT32 readINT16(KxcINT16& value);
    KxcINT32 readUINT16(KxcUINT16& value);
    KxcINT32 readINT32(KxcINT32& value);
    KxcINT32 readUINT32(KxcUINT32& value);
    KxcINT32 readFLOAT32(KxcFLOAT32& value);
    KxcINT32 readFLOAT64(KxcFLOAT64& value);
    /// @}

    // --- strings, stored with a zero unit at their end ---
    /// @{
    /// Writes a string; CHAR strings as 16-bit units, each a sign-extended character.
    /// @return 1, or what write() answers on failure; 0 for null, which writes nothing
    KxcINT32 writeCHARString(const char* string);
    KxcINT32 writeCHAR8String(const char* string);
    KxcINT32 writeCHAR16String(const KxcCHAR16* string);
    /// @}

    /// @{
    /// Reads a string, which also ends where the file does; of CHAR strings, the low byte of each 16-bit unit.
    /// @return a new string, released with delete[]; null when memory runs out
    char* readCHARString();
    char* readCHAR8String();
    KxcCHAR16* readCHAR16String();
    /// @}

    KxcFile(const KxcFile&) = delete;
    KxcFile& operator=(const KxcFile&) = delete;

protected:
    friend class KxcCFLLibrary;
    KxcFile();
    KxcINT32 init(const char* name);
    void readUnbuffered(); ///< before the first access: reads go straight to the disk, no byte further than asked for
    static KxcFile* openStdFile(const char* name, const char* mode);
    /// The disk path of a name that is not raw, folders separated by "\"; shows the developer's warnings.
    /// @return a new buffer of 512 bytes; null when the path does not fit
    static char* makeDiskFilenameString(const char* name);

    char* filename; // owned
    FILE* stream;   // null in subclasses
};

/// A read-only file over a buffer. Seeking clamps to the buffer; write() and putChar() answer -1.
class KXC_API KxcFileMemory : public KxcFile
{
public:
    /// Takes the data over: close() releases it with delete[]. When open fails, it stays the caller's.
    static KxcFile* open(const char* name, const KxcINT8* data, KxcUINT32 size);

    KxcINT32 seek(KxcINT32 offset, KxcINT32 whence) override;
    KxcINT32 tell() override;
    KxcINT32 getChar() override;
    KxcINT32 putChar(KxcINT32 ch) override;
    KxcINT32 read(void* buffer, KxcINT32 size, KxcINT32 count) override;
    KxcINT32 write(const void* buffer, KxcINT32 size, KxcINT32 count) override;
    KxcINT32 close() override;
    KxcINT32 endOfFile() override; ///< 1 at the end, also before a read ran into it

protected:
    KxcFileMemory();
    ~KxcFileMemory() override;

    const KxcINT8* data; // owned
    KxcINT32 position, size;
};

/// Opens entries of the archives: decoded whole, as a KxcFileMemory.
///
/// Ownership  as KxcFile: close() ends and destroys what open() gave.
/// Failure    open() answers null.
/// Threads    the frame thread only.
class KXC_API KxcFileCFL
{
public:
    static KxcFile* open(const char* name, const char* mode); ///< null also for a mode that writes
};

/// Flags of KxcFileFind::create.
enum : KxcINT32
{
    KXCFILEFIND_DISK = 1,            ///< list the folder of the program's executable, folders in it included
    KXCFILEFIND_CFL = 2,             ///< list the archives' entries, before the disk
    KXCFILEFIND_SKIP_DUPLICATES = 4, ///< leave out disk names that an archive also holds
    KXCFILEFIND_IGNORE_CASE = 8      ///< when matching the pattern
};

/// Lists the names that match a pattern of KxcStringToolkit::matchWildcard.
///
/// Ownership  the caller deletes what create() returned, and keeps the pattern alive until then.
/// Order      archive entries as their directory lists them, then disk names as the disk does. Opening or resetting
///            archives while a finder lists them is not allowed.
class KXC_API KxcFileFind
{
public:
    static KxcFileFind* create(const char* pattern, KxcINT32 flags); ///< null when memory runs out
    ~KxcFileFind();
    const char* next(); ///< the next name, valid until the next call; null at the end

    KxcFileFind(const KxcFileFind&) = delete;
    KxcFileFind& operator=(const KxcFileFind&) = delete;

protected:
    KxcFileFind();
    void initFileFindDisk();
    void initFileFindCFL();
    const char* nextFilename();
    const char* nextFilenameCFL();
    const char* nextFilenameDisk();
    void closeFileFindDisk();

    const KxcCFLDirectoryEntry* entry; // the next one to report
    KxcINT32 flags;
    KxcPlatformSearch* search; // open from the first disk name to the last
    KxcINT32 diskDone;         // 1 when there is no disk name (left) to report
    const char* pattern;       // the caller's
};
