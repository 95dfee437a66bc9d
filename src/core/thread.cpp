// thread.cpp - a thread on a function, and an object that has one.
#include <kxcoreemb/thread.h>

#include "platform/platform.h"

#include <new>

KxcThread::KxcThread() : handle(nullptr) {}

KxcThread::~KxcThread()
{
    if (handle)
        kxcPlatformThreadRelease(handle);
}

INT32 KxcThread::init(INT32 (*function)(void*), void* argument)
{
    handle = function ? kxcPlatformThreadStart(function, argument) : nullptr;
    return handle != nullptr;
}

KxcThread* KxcThread::create(INT32 (*function)(void*), void* argument)
{
    KxcThread* thread = new (std::nothrow) KxcThread;
    if (thread && !thread->init(function, argument))
    {
        delete thread;
        thread = nullptr;
    }
    return thread;
}

INT32 KxcThread::waitDeath() { return handle ? kxcPlatformThreadWait(handle) : 0; }
void KxcThread::exit(INT32 code) { kxcPlatformThreadExit(code); }
UINT32 KxcThread::getId() { return kxcPlatformThreadId(); }

KxcThreadObject::KxcThreadObject() : thread(nullptr), tls(0) {}
KxcThreadObject::~KxcThreadObject() { delete thread; }

INT32 KxcThreadObject::create()
{
    if (thread)
        return 0;
    thread = KxcThread::create(threadEntry, this);
    return thread != nullptr;
}

INT32 KxcThreadObject::waitDeath()
{
    if (!thread)
        return 0;
    const INT32 exitCode = thread->waitDeath();
    delete thread;
    thread = nullptr;
    return exitCode;
}

void KxcThreadObject::getTls() {}
void KxcThreadObject::setTls() {}

INT32 KxcThreadObject::threadEntry(void* object) { return static_cast<KxcThreadObject*>(object)->runThread(); }
INT32 KxcThreadObject::runThread() { return run(); }
