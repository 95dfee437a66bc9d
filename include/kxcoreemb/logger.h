// logger.h - plain-text logs, one for each thread, that survive a crash up to the last line.
//
//   KxcLogger::log("loading the level", KxcLogger::KXCLOG_FLOW);
//   KxcLogger::indent();
//   KxcLogger::log("no such texture", KxcLogger::KXCLOG_ERROR);   // "  [E]no such texture"
//   KxcLogger::undent();
#pragma once

#include <kxcoreemb/base.h>

#include <atomic>

/// Writes "KxcLogger_<thread id>.txt" in the current directory, anew in each run. Every message opens the file and
/// closes it again.
///
/// All operations act on the calling thread's log alone, so threads do not wait for each other. The first ten threads
/// that call one have a log; what further ones call does nothing and answers as a new log would.
/// Failure    a file that cannot be opened is not reported. Without a core, operations do nothing.
class KXC_API KxcLogger
{
public:
    /// What a message is (several may be set: its tag shows the first), and what a mask lets through.
    enum KXCLOGFLAGS : KxcUINT32
    {
        KXCLOG_INFO = 1,      ///< [I]
        KXCLOG_DATA = 2,      ///< [D]
        KXCLOG_FLOW = 4,      ///< [F] where the program is
        KXCLOG_ERROR = 8,     ///< [E]
        KXCLOG_WARNING = 16,  ///< [W]
        KXCLOG_CRITICAL = 32, ///< [!]
        KXCLOG_INDENT = 64,   ///< of a mask only: indent() takes effect
        KXCLOG_UNDENT = 128   ///< likewise, undent()
    };

    static void log(const char* text, KXCLOGFLAGS flags); ///< one line; null writes an empty one
    /// One line with bytes as hexadecimal numbers, each sign-extended to 32 bits.
    static void log(const char* data, KxcINT32 length, KXCLOGFLAGS flags);
    static void setMask(KxcUINT32 mask); ///< messages without a flag in it are left out; all are let through at first
    static KxcUINT32 getMask();          ///< all bits set at first
    /// Once the file is longer than so many bytes, the thread's next message is replaced by a notice, and nothing is
    /// logged any more. @param bytes  0, or negative as a KxcINT32 (as at first, -1): no limit
    static void setFileSizeLimit(KxcUINT32 bytes);
    static KxcUINT32 getFileSizeLimit();     ///< in bytes; 2^32 - 1 for none
    static void indent();                    ///< two spaces more
    static void undent();                    ///< two spaces less, down to none
    static void setLogLevel(KxcINT32 level); ///< for the game's own use: nothing here heeds it
    static KxcINT32 getLogLevel();           ///< what setLogLevel stored, for the game's own use; 3 at first

    static KxcLogger* create(); ///< the core makes the one there is. @return null when memory runs out
    KxcLogger(const KxcLogger&) = delete;
    KxcLogger& operator=(const KxcLogger&) = delete;

protected:
    KxcLogger() = default;

    void doLog(const char* text, KxcINT32 length, bool isData, KXCLOGFLAGS flags);
    void doSetMask(KxcUINT32 mask);
    KxcUINT32 doGetMask();
    void doSetFileSizeLimit(KxcUINT32 bytes);
    KxcUINT32 doGetFileSizeLimit();
    void doIndent();
    void doUndent();
    void doSetLogLevel(KxcINT32 level);
    KxcINT32 doGetLogLevel();

    static constexpr KxcINT32 kThreads = 10;
    KxcINT32 findThreadNum(); // registers the thread; -1 when there is no place left
    static void createFileName(char* name, KxcINT32 size);
    static void writeTypeInfo(class KxcFile* file);

private:
    struct Log // of one thread
    {
        KxcINT32 indentation = 0, fileSizeLimit = -1;
        KxcUINT32 mask = 0xFFFFFFFF;
        bool started = false, stopped = false;
        KxcINT32 level = 3;
    };
    Log* find(); // null for an eleventh thread

    std::atomic<KxcUINT32> m_threads[kThreads] = {}; // ids plus one, in the order of their first calls; 0 for none
    Log m_logs[kThreads];
};
