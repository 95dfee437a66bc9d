// system.cpp - pages, clock, local time and the process of POSIX systems.
#include "platform/platform.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <sys/mman.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace
{

// The pages remember their own length in front of what the caller gets; a cache line keeps that aligned.
constexpr size_t kPageHeader = 64;

/// Tells the leak checker that these pages hold pointers to what is still in use, or that they do no longer.
void watchPages([[maybe_unused]] void* pages, [[maybe_unused]] size_t length, [[maybe_unused]] bool inUse)
{
#if defined(__SANITIZE_ADDRESS__)
    if (inUse)
        __lsan_register_root_region(pages, length);
    else
        __lsan_unregister_root_region(pages, length);
#endif
}

} // namespace

UINT32 (*kxcPlatformClockHook)() = nullptr;

void* kxcPlatformAllocatePages(size_t bytes)
{
    if (bytes > SIZE_MAX - kPageHeader)
        return nullptr;
    const size_t length = bytes + kPageHeader;
    void* pages = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED)
        return nullptr;
    *static_cast<size_t*>(pages) = length;
    watchPages(pages, length, true);
    return static_cast<char*>(pages) + kPageHeader;
}

void kxcPlatformFreePages(void* pages)
{
    if (!pages)
        return;
    void* start = static_cast<char*>(pages) - kPageHeader;
    const size_t length = *static_cast<size_t*>(start);
    watchPages(start, length, false);
    munmap(start, length);
}

UINT32 kxcPlatformMilliseconds()
{
    if (kxcPlatformClockHook)
        return kxcPlatformClockHook();
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<UINT32>(static_cast<UINT64>(now.tv_sec) * 1000 + static_cast<UINT64>(now.tv_nsec) / 1000000);
}

void kxcPlatformSleep(UINT32 milliseconds)
{
    timespec rest = {static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR)
    {
    }
}

KxcPlatformTime kxcPlatformLocalTime()
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm local;
    localtime_r(&now.tv_sec, &local);
    return {static_cast<UINT16>(local.tm_year + 1900), static_cast<UINT16>(local.tm_mon + 1),
            static_cast<UINT16>(local.tm_mday),        static_cast<UINT16>(local.tm_hour),
            static_cast<UINT16>(local.tm_min),         static_cast<UINT16>(local.tm_sec),
            static_cast<UINT16>(now.tv_nsec / 1000000)};
}

void kxcPlatformExit(INT32 code) { std::exit(code); }
