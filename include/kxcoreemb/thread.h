// thread.h - threads (KxcThread runs a function, KxcThreadObject a method) and the engine's lock (KxcMutex).
#pragma once

#include <kxcoreemb/base.h>

#include <atomic>

struct KxcPlatformLock;
struct KxcPlatformThread;

/// A running thread.
///
/// Ownership  the caller deletes what create() returned, which neither stops nor awaits the thread.
/// Threads    any; several may wait for one thread.
class KXC_API KxcThread
{
public:
    /// Starts a thread on function(argument), whose result is its exit code. @return null when it cannot be started
    static KxcThread* create(KxcINT32 (*function)(void*), void* argument);
    virtual ~KxcThread();

    /// Waits until the thread has ended, without a time limit. @return its exit code, as often as one asks
    KxcINT32 waitDeath();
    /// Ends the calling thread, from any depth of calls. Objects on its stack may or may not be destroyed.
    [[noreturn]] static void exit(KxcINT32 code);
    /// Of the calling thread; never 0xFFFFFFFF, never given twice in a run of 2^32 - 1 threads.
    static KxcUINT32 getId();

    KxcThread(const KxcThread&) = delete;
    KxcThread& operator=(const KxcThread&) = delete;

protected:
    KxcThread();
    KxcINT32 init(KxcINT32 (*function)(void*), void* argument);

    KxcPlatformThread* handle; // null when there is none
};

/// An object with a thread of its own: a subclass writes run(), create() starts it.
///
/// Ownership  whoever made the object deletes it, after waitDeath(): the destructor does not wait for run().
/// Threads    create(), waitDeath() and the destructor belong to one thread; at most one run() at a time.
class KXC_API KxcThreadObject
{
public:
    KxcThreadObject();
    virtual ~KxcThreadObject();
    virtual KxcINT32 run() = 0; ///< the thread's body; its result is the exit code

    KxcINT32 create();    ///< starts the thread; 0 when it has one already or none can be started
    KxcINT32 waitDeath(); ///< waits for the thread; create() may start it again. @return its exit code; 0 without one
    void getTls();        ///< no effect on this platform, like the next
    void setTls();        ///< likewise
    static KxcINT32 threadEntry(void* object); ///< what the thread runs: runThread() of the KxcThreadObject

    KxcThreadObject(const KxcThreadObject&) = delete;
    KxcThreadObject& operator=(const KxcThreadObject&) = delete;

protected:
    KxcINT32 runThread(); // runs run(); its result ends the thread

    KxcThread* thread; // owned; null when there is none
    KxcUINT32 tls;     // reserved for platforms with thread-local storage of their own; 0
};

/// A lock that its owner may take again: it is free after as many unlock() calls as there were lock() calls.
///
/// Ownership  the caller deletes what create() returned, once nobody holds it.
/// Failure    create() returns null when the system has no lock left; unlock() by a thread that does not own the mutex
///            ends the program with a message (KxcCore::systemPanic).
class KXC_API KxcMutex
{
public:
    static KxcMutex* create(); ///< a free lock
    virtual ~KxcMutex();
    void lock();   ///< waits until no other thread holds it
    void unlock(); ///< gives back one lock() of the calling thread's

    KxcMutex(const KxcMutex&) = delete;
    KxcMutex& operator=(const KxcMutex&) = delete;

protected:
    KxcMutex();
    KxcINT32 init();

    // Written by the owning thread alone, but read by every thread that asks "is it mine?". Relaxed order is enough:
    // a thread finds its own id here only when it wrote that itself.
    std::atomic<KxcUINT32> owner; // thread id; 0xFFFFFFFF when free
    KxcINT32 count;               // of the owner's lock() calls; -1 when free
    KxcPlatformLock* platformLock;
};
