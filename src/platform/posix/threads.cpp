// threads.cpp - threads and locks over POSIX threads.
//
// A thread's record is shared by its handle and by the thread itself, and dies with the later of the two. The thread
// stays joinable while the handle lives, so that a wait ends only when the thread is gone from the system.
#include "platform/platform.h"

#include <atomic>
#include <new>
#include <pthread.h>

struct KxcPlatformThread
{
    INT32 (*function)(void*);
    void* argument;
    pthread_t thread;
    pthread_mutex_t joinLock; // guards joined; held while joining, so that every waiter sees the end
    bool joined;
    INT32 exitCode; // written by the thread before it ends, read after joining
    std::atomic<INT32> users;
};

static thread_local KxcPlatformThread* currentThread; // null in threads that were not started here
static thread_local UINT32 currentId;                 // 0 until asked for

static void dropThread(KxcPlatformThread* thread)
{
    if (thread->users.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    pthread_mutex_destroy(&thread->joinLock);
    delete thread;
}

static void finishThread(INT32 exitCode)
{
    KxcPlatformThread* thread = currentThread;
    currentThread = nullptr;
    thread->exitCode = exitCode;
    dropThread(thread);
}

static void* threadMain(void* record)
{
    KxcPlatformThread* thread = static_cast<KxcPlatformThread*>(record);
    currentThread = thread;
    finishThread(thread->function(thread->argument));
    return nullptr;
}

KxcPlatformThread* kxcPlatformThreadStart(INT32 (*function)(void*), void* argument)
{
    KxcPlatformThread* thread = new (std::nothrow) KxcPlatformThread;
    if (!thread)
        return nullptr;
    thread->function = function;
    thread->argument = argument;
    thread->joined = false;
    thread->exitCode = 0;
    thread->users.store(2, std::memory_order_relaxed);
    if (pthread_mutex_init(&thread->joinLock, nullptr) != 0)
    {
        delete thread;
        return nullptr;
    }
    if (pthread_create(&thread->thread, nullptr, threadMain, thread) != 0)
    {
        pthread_mutex_destroy(&thread->joinLock);
        delete thread;
        return nullptr;
    }
    return thread;
}

INT32 kxcPlatformThreadWait(KxcPlatformThread* thread)
{
    pthread_mutex_lock(&thread->joinLock);
    if (!thread->joined && pthread_join(thread->thread, nullptr) == 0)
        thread->joined = true;
    const INT32 exitCode = thread->joined ? thread->exitCode : 0;
    pthread_mutex_unlock(&thread->joinLock);
    return exitCode;
}

void kxcPlatformThreadRelease(KxcPlatformThread* thread)
{
    if (!thread->joined)
        pthread_detach(thread->thread);
    dropThread(thread);
}

void kxcPlatformThreadExit(INT32 code)
{
    if (currentThread)
        finishThread(code);
    pthread_exit(nullptr);
}

UINT32 kxcPlatformThreadId()
{
    // Numbers of our own: the system's are wider than 32 bits, or given again soon after a thread ended.
    static std::atomic<UINT32> lastId{0};
    while (currentId == 0 || currentId == 0xFFFFFFFFu)
        currentId = lastId.fetch_add(1, std::memory_order_relaxed) + 1;
    return currentId;
}

struct KxcPlatformLock
{
    pthread_mutex_t mutex;
};

KxcPlatformLock* kxcPlatformLockCreate()
{
    KxcPlatformLock* lock = new (std::nothrow) KxcPlatformLock;
    if (lock && pthread_mutex_init(&lock->mutex, nullptr) != 0)
    {
        delete lock;
        lock = nullptr;
    }
    return lock;
}

void kxcPlatformLockDestroy(KxcPlatformLock* lock)
{
    if (!lock)
        return;
    pthread_mutex_destroy(&lock->mutex);
    delete lock;
}

void kxcPlatformLockAcquire(KxcPlatformLock* lock) { pthread_mutex_lock(&lock->mutex); }
void kxcPlatformLockRelease(KxcPlatformLock* lock) { pthread_mutex_unlock(&lock->mutex); }
