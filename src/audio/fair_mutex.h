// fair_mutex.h - a re-entrant lock that a thread cannot take again before one that has been waiting.
#pragma once

#include "platform/platform.h"

#include <kxcoreemb/thread.h>

#include <new>

/// The mixer holds its lock for nearly all of its time when many voices play; with a plain lock it would have taken it
/// again long before a waiting game thread woke up. Here who waits keeps the gate shut.
class KxcFairMutex : public KxcMutex
{
public:
    static KxcFairMutex* create() ///< null when the system has no lock left
    {
        KxcFairMutex* mutex = new (std::nothrow) KxcFairMutex;
        if (mutex && mutex->init() && (mutex->m_gate = kxcPlatformLockCreate()) != nullptr)
            return mutex;
        delete mutex;
        return nullptr;
    }
    ~KxcFairMutex() override { kxcPlatformLockDestroy(m_gate); }

    void lock()
    {
        if (owner.load(std::memory_order_relaxed) == kxcPlatformThreadId())
            return KxcMutex::lock();
        kxcPlatformLockAcquire(m_gate);
        KxcMutex::lock();
        kxcPlatformLockRelease(m_gate);
    }

private:
    KxcFairMutex() = default;
    KxcPlatformLock* m_gate = nullptr;
};

/// Holds a mutex while it lives; null holds nothing.
template <class Mutex>
class KxcHold
{
public:
    explicit KxcHold(Mutex* mutex) : m_mutex(mutex)
    {
        if (m_mutex)
            m_mutex->lock();
    }
    ~KxcHold()
    {
        if (m_mutex)
            m_mutex->unlock();
    }
    KxcHold(const KxcHold&) = delete;
    KxcHold& operator=(const KxcHold&) = delete;

private:
    Mutex* m_mutex;
};
