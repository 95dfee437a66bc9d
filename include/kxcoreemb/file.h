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
enum : UINT32
{
    KXCFILE_DEFAULT = 0,    ///< what KxcCore::setFileOpenStrategy set; KXCFILE_DISK_FIRST at start-up
    KXCFILE_DISK_FIRST = 1, ///< the disk, then the archives
    KXCFILE_CFL_FIRST = 2,  ///< the archives, then the disk
    KXCFILE_DISK_ONLY = 3,
    KXCFILE_CFL_ONLY = 4
};

/// An open file; this class itself is the file on disk, its subclasses override the virtual members.
///
/// Ownership  close() ends and destroys the file; there is no other way to release it. Buffers and strings returned are
///            released by the caller with delete[].
/// Units      bytes; positions and sizes are 32-bit, larger files can be read only as far as that reaches.
/// Failure    opening returns null. A name whose disk path is longer than 511 bytes does not exist and cannot; raw ones
/// may be longer. Threads    the thread that opened it.
class KXC_API KxcFile
{
public:
    // --- one file (this order is the order of the virtual table) ---
    /// @param whence  0 from the start, 1 from the position, 2 from the end  @return 0; anything else on failure
    virtual INT32 seek(INT32 offset, INT32 whence);
    virtual INT32 tell();              ///< -1 on failure
    virtual const char* getFilename(); ///< as passed to open
    virtual INT32 getChar();           ///< 0..255, or -1 at the end
    virtual INT32 putChar(INT32 ch);   ///< the byte written, or -1
    /// Reads up to count elements of size bytes. @return whole elements read; 0 for a size or count below 1
    virtual INT32 read(void* buffer, INT32 size, INT32 count);
    virtual INT32 write(const void* buffer, INT32 size, INT32 count); ///< whole elements written
    virtual INT32 close();     ///< destroys the object; non-zero when the last bytes could not be written
    virtual INT32 endOfFile(); ///< non-zero once a read ran into the end

protected:
    virtual ~KxcFile();

public:
    // --- opening ---
    /// @param mode  as for fopen, "rb" or "wb"; modes that write never reach an archive
    static KxcFile* open(const char* name, const char* mode, UINT32 strategy);
    static KxcFile* openDiskFile(const char* name, const char* mode);      ///< KXCFILE_DISK_ONLY
    static KxcFile* openCFLFile(const char* name, const char* mode);       ///< KXCFILE_CFL_ONLY
    static KxcFile* open(const char* name, const INT8* data, UINT32 size); ///< KxcFileMemory::open

    // --- whole files and folders ---
    static INT8* getFile(const char* name, UINT32 strategy);     ///< the content, without a terminator; or null
    static INT32 getFileSize(const char* name, UINT32 strategy); ///< 0 when there is none
    static INT32 fileExists(const char* name);                   ///< 1: in an archive, 2: on disk, 3: both, 0: neither
    static INT32 mkdir(const char* name);                        ///< 1, or 0
    static INT32 rmdir(const char* name);                        ///< 1, or 0; the folder must be empty
    static INT32 remove(const char* name);                       ///< 0, or -1
    static INT32 rename(const char* oldName, const char* newName); ///< 0, or -1; never replaces another file

    // --- single values, stored little-endian ---
    // write... give 1 or what write() answers on failure; read...() give the value, or 0 on failure; read...(value&)
    // give 1, or 0 on failure, where the value stays as it was.
    INT32 writeINT8(INT8 value);
    INT32 writeUINT8(UINT8 value);
    INT32 writeINT16(INT16 value);
    INT32 writeUINT16(UINT16 value);
    INT32 writeINT32(INT32 value);
    INT32 writeUINT32(UINT32 value);
    INT32 writeFLOAT32(FLOAT32 value);
    INT32 writeFLOAT64(FLOAT64 value);
    INT8 readINT8();
    UINT8 readUINT8();
    INT16 readINT16();
    UINT16 readUINT16();
    INT32 readINT32();
    UINT32 readUINT32();
    FLOAT32 readFLOAT32();
    FLOAT64 readFLOAT64();
    INT32 readINT8(INT8& value);
    INT32 readUINT8(UINT8& value);
    INT32 readINT16(INT16& value);
    INT32 readUINT16(UINT16& value);
    INT32 readINT32(INT32& value);
    INT32 readUINT32(UINT32& value);
    INT32 readFLOAT32(FLOAT32& value);
    INT32 readFLOAT64(FLOAT64& value);

    // --- strings, stored with a zero unit at their end ---
    // write... give 1, or what write() answers on failure; null writes nothing and gives 0. read... give a new string,
    // which also ends where the file does; null when memory runs out.
    INT32 writeCHARString(const char* string); ///< 16-bit units, each a sign-extended character
    INT32 writeCHAR8String(const char* string);
    INT32 writeCHAR16String(const CHAR16* string);
    char* readCHARString(); ///< the low byte of each 16-bit unit
    char* readCHAR8String();
    CHAR16* readCHAR16String();

    KxcFile(const KxcFile&) = delete;
    KxcFile& operator=(const KxcFile&) = delete;

protected:
    friend class KxcCFLLibrary;
    KxcFile();
    INT32 init(const char* name);
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
    static KxcFile* open(const char* name, const INT8* data, UINT32 size);

    INT32 seek(INT32 offset, INT32 whence) override;
    INT32 tell() override;
    INT32 getChar() override;
    INT32 putChar(INT32 ch) override;
    INT32 read(void* buffer, INT32 size, INT32 count) override;
    INT32 write(const void* buffer, INT32 size, INT32 count) override;
    INT32 close() override;
    INT32 endOfFile() override; ///< 1 at the end, also before a read ran into it

protected:
    KxcFileMemory();
    ~KxcFileMemory() override;

    const INT8* data; // owned
    INT32 position, size;
};

/// Opens entries of the archives: decoded whole, as a KxcFileMemory.
class KXC_API KxcFileCFL
{
public:
    static KxcFile* open(const char* name, const char* mode); ///< null also for a mode that writes
};

/// Flags of KxcFileFind::create.
enum : INT32
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
    static KxcFileFind* create(const char* pattern, INT32 flags); ///< null when memory runs out
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
    INT32 flags;
    KxcPlatformSearch* search; // open from the first disk name to the last
    INT32 diskDone;            // 1 when there is no disk name (left) to report
    const char* pattern;       // the caller's
};
