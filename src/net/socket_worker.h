// socket_worker.h - a thread that waits for sockets, the lock over what it shares with others, and how it is roused.
#pragma once

#include <kxcoreemb/thread.h>

#include "net/wake_socket.h"

/// Holds a lock for as long as it lives.
class KxcHeld
{
public:
    explicit KxcHeld(KxcMutex* held) : mutex(held) { mutex->lock(); }
    ~KxcHeld() { mutex->unlock(); }
    KxcHeld(const KxcHeld&) = delete;
    KxcHeld& operator=(const KxcHeld&) = delete;

private:
    KxcMutex* mutex;
};

/// A subclass writes run(), which waits for `wake` among others and ends when `running` is no longer set. Its
/// destructor calls stop(), for by then run() would be gone.
class KxcSocketWorker : public KxcThreadObject
{
public:
    ~KxcSocketWorker() override { delete mutex; }

protected:
    KxcSocketWorker() = default;
    INT32 start(); ///< 0 when the system has no thread, lock or socket left
    void stop();   ///< waits for the thread

    KxcMutex* mutex = nullptr; // owned; guards what the subclass shares, and the next
    bool running = true;
    KxcWakeSocket wake;
};
