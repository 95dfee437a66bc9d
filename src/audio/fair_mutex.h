// fair_mutex.h - a re-entrant lock that a thread cannot take again before one that has been waiting.
#pragma once

#include "platform/platform.h"

#include <kxcoreemb/thread.h>

#include <atomic>
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

    bool isMine() const { return owner.load(std::memory_order_relaxed) == kxcPlatformThreadId(); }
    /// Asked by who holds it: is there somebody whom pass() would let in? Not from within a second lock().
    bool isAwaited() const { return count == 1 && m_awaited.load(std::memory_order_relaxed); }

    void lock()
    {
        if (isMine())
            return KxcMutex::lock();
        kxcPlatformLockAcquire(m_gate);
        m_awaited.store(true, std::memory_order_relaxed);
        spin([this] { return owner.load(std::memory_order_relaxed) == kNobody; });
        KxcMutex::lock();
        m_awaited.store(false, std::memory_order_relaxed);
        kxcPlatformLockRelease(m_gate);
    }

    /// Lets the one in who is waiting.
    void pass()
    {
        unlock();
        spin([this] { return !m_awaited.load(std::memory_order_relaxed); });
        lock();
    }

private:
    static constexpr UINT32 kNobody = 0xFFFFFFFFu; // the owner of a free mutex

    /// Waits some microseconds for what will not take longer: a thread that sleeps may wake up milliseconds later, and
    /// whoever has to wake it may lose the processor to it.
    template <class Done>
    static void spin(Done done)
    {
        for (INT32 i = 0; i < 20000 && !done(); ++i)
        {
        }
    }

    KxcFairMutex() = default;
    KxcPlatformLock* m_gate = nullptr;
    std::atomic<bool> m_awaited{false}; // written by who is in the gate
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
