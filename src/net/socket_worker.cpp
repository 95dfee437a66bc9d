// socket_worker.cpp - starts and stops a thread that waits for sockets.
#include "net/socket_worker.h"

INT32 KxcSocketWorker::start()
{
    mutex = KxcMutex::create();
    return mutex && wake.open() && KxcThreadObject::create();
}

void KxcSocketWorker::stop()
{
    if (!thread)
        return;
    {
        const KxcHeld held(mutex);
        running = false;
    }
    wake.signal();
    waitDeath();
}
