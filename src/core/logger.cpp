// logger.cpp - plain-text logs, one for each thread.
#include "core/core_state.h"
#include "platform/platform.h"

#include <kxcoreemb/file.h>
#include <kxcoreemb/logger.h>
#include <kxcoreemb/string_toolkit.h>

#include <cstring>
#include <new>

namespace
{

struct Type
{
    UINT32 flag;
    char letter;
    const char* legend;
};
constexpr Type kTypes[] = {{KxcLogger::KXCLOG_INFO, 'I', "] General info\r\n"},
                           {KxcLogger::KXCLOG_DATA, 'D', "] General data\r\n"},
                           {KxcLogger::KXCLOG_FLOW, 'F', "] Program flow info\r\n"},
                           {KxcLogger::KXCLOG_ERROR, 'E', "] Error\r\n"},
                           {KxcLogger::KXCLOG_WARNING, 'W', "] Warning\r\n"},
                           {KxcLogger::KXCLOG_CRITICAL, '!', "] Critical error\r\n"}};

KxcLogger* logger() { return kxcCore ? kxcCore->logger : nullptr; }

void write(KxcFile* file, const char* text) { file->write(text, 1, static_cast<INT32>(std::strlen(text))); }

} // namespace

void KxcLogger::log(const char* text, KXCLOGFLAGS flags)
{
    if (KxcLogger* const l = logger())
        l->doLog(text, text ? static_cast<INT32>(std::strlen(text)) : 0, false, flags);
}

void KxcLogger::log(const char* data, INT32 length, KXCLOGFLAGS flags)
{
    if (KxcLogger* const l = logger())
        l->doLog(data, data ? length : 0, true, flags);
}

void KxcLogger::setMask(UINT32 mask)
{
    if (KxcLogger* const l = logger())
        l->doSetMask(mask);
}

UINT32 KxcLogger::getMask() { return logger() ? logger()->doGetMask() : Log().mask; }

void KxcLogger::setFileSizeLimit(UINT32 bytes)
{
    if (KxcLogger* const l = logger())
        l->doSetFileSizeLimit(bytes);
}

UINT32 KxcLogger::getFileSizeLimit()
{
    return logger() ? logger()->doGetFileSizeLimit() : static_cast<UINT32>(Log().fileSizeLimit);
}

void KxcLogger::indent()
{
    if (KxcLogger* const l = logger())
        l->doIndent();
}

void KxcLogger::undent()
{
    if (KxcLogger* const l = logger())
        l->doUndent();
}

void KxcLogger::setLogLevel(INT32 level)
{
    if (KxcLogger* const l = logger())
        l->doSetLogLevel(level);
}

INT32 KxcLogger::getLogLevel() { return logger() ? logger()->doGetLogLevel() : Log().level; }

KxcLogger* KxcLogger::create() { return new (std::nothrow) KxcLogger; }

INT32 KxcLogger::findThreadNum()
{
    const UINT32 id = kxcPlatformThreadId() + 1;
    for (INT32 i = 0; i < kThreads; ++i)
    {
        UINT32 entry = m_threads[i].load(std::memory_order_relaxed);
        // Another thread may take the free place first: then the search goes on behind it.
        if (entry == id || (entry == 0 && m_threads[i].compare_exchange_strong(entry, id, std::memory_order_relaxed)))
            return i;
    }
    return -1;
}

KxcLogger::Log* KxcLogger::find()
{
    const INT32 number = findThreadNum();
    return number < 0 ? nullptr : &m_logs[number];
}

/// "//" leads to the current directory.
void KxcLogger::createFileName(char* name, INT32 size)
{
    KxcStringToolkit::format(name, static_cast<size_t>(size), "//KxcLogger_%d.txt",
                             static_cast<INT32>(kxcPlatformThreadId()));
}

void KxcLogger::writeTypeInfo(KxcFile* file)
{
    write(file, "-------------------------------------------------\r\n");
    for (const Type& type : kTypes)
    {
        const char start[] = {'[', type.letter, 0};
        write(file, start);
        write(file, type.legend);
    }
    write(file, "\r\n------------------- log start -------------------\r\n\r\n");
}

void KxcLogger::doLog(const char* text, INT32 length, bool isData, KXCLOGFLAGS flags)
{
    Log* const log = find();
    if (!log || log->stopped || !(flags & log->mask))
        return;
    char name[32];
    createFileName(name, sizeof(name));
    if (!log->started)
    {
        KxcFile* file = KxcFile::openDiskFile(name, "wb");
        if (!file)
            return;
        writeTypeInfo(file);
        file->close();
        log->started = true;
    }
    KxcFile* file = KxcFile::openDiskFile(name, "ab");
    if (!file)
        return;
    file->seek(0, 2);
    if (log->fileSizeLimit > 0 && file->tell() > log->fileSizeLimit)
    {
        log->stopped = true;
        write(file, "!!!! File size limit exceeded, log no longer written !!!!\r\n");
        file->close();
        return;
    }
    for (INT32 i = 0; i < log->indentation; ++i)
        file->putChar(' ');
    file->putChar('[');
    for (const Type& type : kTypes)
        if (flags & type.flag)
        {
            file->putChar(type.letter);
            break;
        }
    file->putChar(']');
    for (INT32 i = 0; isData && i < length; ++i)
    {
        char number[16];
        KxcStringToolkit::format(number, sizeof(number), "0x%x ",
                                 static_cast<UINT32>(static_cast<signed char>(text[i])));
        write(file, number);
    }
    if (!isData && length > 0)
        file->write(text, 1, length);
    write(file, "\r\n");
    file->close();
}

void KxcLogger::doSetMask(UINT32 mask)
{
    if (Log* const log = find())
        log->mask = mask;
}

UINT32 KxcLogger::doGetMask()
{
    const Log* const log = find();
    return log ? log->mask : Log().mask;
}

void KxcLogger::doSetFileSizeLimit(UINT32 bytes)
{
    if (Log* const log = find())
        log->fileSizeLimit = static_cast<INT32>(bytes);
}

UINT32 KxcLogger::doGetFileSizeLimit()
{
    const Log* const log = find();
    return static_cast<UINT32>(log ? log->fileSizeLimit : Log().fileSizeLimit);
}

void KxcLogger::doIndent()
{
    Log* const log = find();
    if (log && log->mask & KXCLOG_INDENT)
        log->indentation += log->indentation < INT32_MAX - 2 ? 2 : 0;
}

void KxcLogger::doUndent()
{
    Log* const log = find();
    if (log && log->mask & KXCLOG_UNDENT)
        log->indentation -= log->indentation > 0 ? 2 : 0;
}

void KxcLogger::doSetLogLevel(INT32 level)
{
    if (Log* const log = find())
        log->level = level;
}

INT32 KxcLogger::doGetLogLevel()
{
    const Log* const log = find();
    return log ? log->level : Log().level;
}
