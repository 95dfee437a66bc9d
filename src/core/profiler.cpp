// profiler.cpp - the event log and the sampler.
#include "core/core_state.h"

#include <kxcoreemb/file.h>
#include <kxcoreemb/profiler.h>
#include <kxcoreemb/string_toolkit.h>

#include <cstring>
#include <new>

namespace
{

constexpr INT32 kWindow = 50; // frames

/// The log, where it was initialised.
KxcEventLog* eventLog() { return kxcCore && kxcCore->eventLog.text ? &kxcCore->eventLog : nullptr; }

/// Milliseconds; ticks wrap.
INT32 since(INT32 tick, INT32 now) { return static_cast<INT32>(static_cast<UINT32>(now) - static_cast<UINT32>(tick)); }

/// Adds text and number; what does not fit is cut.
void append(KxcEventLog& log, const char* text)
{
    for (; *text && log.length < KxcEventLog::kBytes - 1; ++text)
        log.text[log.length++] = *text;
    log.text[log.length] = 0;
}

void append(KxcEventLog& log, const char* format, INT32 number)
{
    char text[32];
    KxcStringToolkit::format(text, sizeof(text), format, number);
    append(log, text);
}

void appendEvent(KxcEventLog& log, const char* name, INT32 now)
{
    append(log, "%5d\n", since(log.lastEvent, now));
    append(log, name);
}

KxcSampler* activeSampler()
{
    KxcSampler* const sampler = kxcCore ? kxcCore->sampler : nullptr;
    return sampler && sampler->samples ? sampler : nullptr;
}

} // namespace

void KxcProfiler::initEventLog()
{
    if (!kxcCore || kxcCore->eventLog.text)
        return;
    KxcEventLog& log = kxcCore->eventLog;
    log.text = new (std::nothrow) char[KxcEventLog::kBytes]();
    log.lastEvent = log.lastFrame = log.windowStart = KxcCore::getTick();
    log.length = log.frames = 0;
}

char* KxcProfiler::getEventLog() { return kxcCore ? kxcCore->eventLog.text : nullptr; }

void KxcProfiler::addEvent(const char* name)
{
    KxcEventLog* const log = eventLog();
    if (!log)
        return;
    const INT32 now = KxcCore::getTick();
    appendEvent(*log, name ? name : "", now);
    log->lastEvent = now;
}

void KxcProfiler::frameEvent(INT32 mode)
{
    KxcEventLog* const log = eventLog();
    const INT32 now = log ? KxcCore::getTick() : 0;
    if (!log || now == log->windowStart)
        return;
    ++log->frames;
    const INT32 delta = since(log->windowStart, now);
    if (delta > 0)
    {
        const INT32 rate = log->frames * 1000 / delta;
        if (mode & 1)
            append(*log, "FPS %5d", rate);
        else
        {
            append(*log, "%5d", since(log->lastEvent, now));
            append(*log, "\ntotal %5d", since(log->lastFrame, now));
            append(*log, "\nFPS   %5d", rate);
        }
    }
    if (log->frames == kWindow)
    {
        log->windowStart = now;
        log->frames = 0;
    }
    log->lastEvent = log->lastFrame = now;
}

void KxcProfiler::resetEvent(const char* prefix, const char* name)
{
    KxcEventLog* const log = eventLog();
    if (!log)
        return;
    const INT32 now = KxcCore::getTick();
    std::memset(log->text, 0, KxcEventLog::kBytes);
    log->length = 0;
    if (prefix && name)
    {
        append(*log, prefix);
        appendEvent(*log, name, now);
    }
    log->lastEvent = now;
}

void KxcProfiler::startSampler(const char* fileName, INT32 paused)
{
    endSampler();
    KxcSampler* const sampler = kxcCore ? new (std::nothrow) KxcSampler() : nullptr;
    if (!sampler)
        return;
    sampler->samples = new (std::nothrow) UINT32[KxcSampler::kBytes / sizeof(UINT32)];
    sampler->file = fileName ? KxcFile::open(fileName, "wb", KXCFILE_DEFAULT) : nullptr;
    sampler->paused = paused;
    sampler->active = 1;
    kxcCore->sampler = sampler;
}

void KxcProfiler::pauseSampler()
{
    if (KxcSampler* const sampler = activeSampler())
        sampler->paused = 1;
}

void KxcProfiler::resumeSampler()
{
    if (KxcSampler* const sampler = activeSampler())
        sampler->paused = 0;
}

void KxcProfiler::endSampler()
{
    KxcSampler* const sampler = kxcCore ? kxcCore->sampler : nullptr;
    if (!sampler)
        return;
    if (sampler->file && sampler->samples)
        sampler->file->write(sampler->samples, sizeof(UINT32), sampler->count);
    if (sampler->file)
        sampler->file->close();
    delete[] sampler->samples;
    delete sampler;
    kxcCore->sampler = nullptr;
}

void kxcProfilerFree()
{
    KxcProfiler::endSampler();
    delete[] kxcCore->eventLog.text;
    kxcCore->eventLog.text = nullptr;
}
