// wake_socket.h - what rouses a thread that waits for sockets: a datagram to itself, which every system can wait for.
#pragma once

#include <kxcoreemb/address.h>

/// signal() may be called from any thread while the socket is open; the rest belongs to one thread at a time.
class KxcWakeSocket
{
public:
    KxcWakeSocket() : socket(-1) {}
    ~KxcWakeSocket();
    KxcWakeSocket(const KxcWakeSocket&) = delete;
    KxcWakeSocket& operator=(const KxcWakeSocket&) = delete;

    INT32 open(); ///< on the loopback address; 1, or 0 when the system has none
    INT32 handle() const { return socket; }
    void signal();
    void drain(); ///< after it became readable

private:
    INT32 socket;
    KxcInetAddress address;
};
