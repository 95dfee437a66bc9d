// mutex.cpp - the re-entrant lock: an owner and a count on top of the platform's plain lock.
#include <kxcoreemb/core.h>
#include <kxcoreemb/thread.h>

#include "platform/platform.h"

#include <new>

static const UINT32 kNobody = 0xFFFFFFFFu; // no thread has this id

KxcMutex::KxcMutex() : owner(kNobody), count(-1), platformLock(nullptr) {}
KxcMutex::~KxcMutex() { kxcPlatformLockDestroy(platformLock); }

INT32 KxcMutex::init()
{
    platformLock = kxcPlatformLockCreate();
    return platformLock != nullptr;
}

KxcMutex* KxcMutex::create()
{
    KxcMutex* mutex = new (std::nothrow) KxcMutex;
    if (mutex && !mutex->init())
    {
        delete mutex;
        mutex = nullptr;
    }
    return mutex;
}

void KxcMutex::lock()
{
    const UINT32 caller = kxcPlatformThreadId();
    if (owner.load(std::memory_order_relaxed) == caller)
    {
        ++count;
        return;
    }
    kxcPlatformLockAcquire(platformLock);
    owner.store(caller, std::memory_order_relaxed);
    count = 1;
}

void KxcMutex::unlock()
{
    if (owner.load(std::memory_order_relaxed) != kxcPlatformThreadId())
        KxcCore::systemPanic("KxcMutex::unlock() called before KxcMutex::lock()");
    if (--count > 0)
        return;
    count = -1;
    owner.store(kNobody, std::memory_order_relaxed);
    kxcPlatformLockRelease(platformLock);
}
