// wake_socket.cpp - rouses a waiting thread.
#include "net/wake_socket.h"

#include <kxcoreemb/socket.h>

#include "platform/platform.h"

namespace
{

constexpr char kSignal[] = "signal";
constexpr INT32 kSignalLength = 6;
constexpr INT32 kDrainSize = 512;

} // namespace

KxcWakeSocket::~KxcWakeSocket() { kxcPlatformSocketClose(socket); }

INT32 KxcWakeSocket::open()
{
    constexpr INT32 kPatienceMs = 1000; // on a machine that works it takes none
    UINT32 on = 1;
    address.setHost("127.0.0.1");
    address.setPort(0);
    socket =
        kxcPlatformSocketOpen(kxcPlatformSocketValue(KXCSOCKET_INET), kxcPlatformSocketValue(KXCSOCKET_DATAGRAM), 0);
    const bool made = socket >= 0 && kxcPlatformSocketBind(socket, address.getAddress()) == 0 &&
                      kxcPlatformSocketControl(socket, kxcPlatformSocketValue(KXCSOCKET_NONBLOCKING), &on) == 0 &&
                      kxcPlatformSocketLocalAddress(socket, address.getAddress()) == 0;
    if (!made)
        return 0;
    // Who waited for a signal that cannot come would wait for ever, as where the loopback network is down.
    KxcPlatformSocketWatch watch = {socket, 0, 0};
    signal();
    if (kxcPlatformSocketWait(&watch, 1, kPatienceMs) < 1)
        return 0;
    drain();
    return 1;
}

void KxcWakeSocket::signal() { kxcPlatformSocketSendTo(socket, kSignal, kSignalLength, 0, address.getAddress()); }

void KxcWakeSocket::drain()
{
    char bytes[kDrainSize];
    kxcPlatformSocketReceive(socket, bytes, kDrainSize, 0);
}
