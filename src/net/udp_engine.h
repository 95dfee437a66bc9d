// udp_engine.h - the part of a handler that holds the socket. It is one of two: closed, which fails, and open. A
// handler replaces one by the other when its service opens or closes.
#pragma once

#include <kxcoreemb/inet.h>

class KxcUdpEngine
{
public:
    static KxcUdpEngine* createClosed(); ///< null when memory runs out

    virtual ~KxcUdpEngine();
    virtual void open(KxcInetHandler* handler, INT32 sendCapacity, INT32 receiveCapacity) = 0;
    virtual void close(KxcInetHandler* handler) = 0;
    /// Sends what the client has to say. @return bytes; 0 when that is nothing; -1 when it failed
    virtual INT32 send(KxcClientCommWin* client) = 0;
    /// Receives one datagram. @param packet  receives it when a client sent it, else null @param clientIndex  that
    /// one's slot @return its length, or -1 when there is none
    virtual INT32 receive(KxcInetHandler* handler, KxcObjectPacketBase*& packet, INT32& clientIndex) = 0;
    virtual INT32 getError() = 0;                 ///< -3 closed, -2 open
    virtual INT32 getLocalPort(UINT16& port) = 0; ///< 0 when it is not bound

protected:
    static void install(KxcInetHandler* handler, KxcUdpEngine* engine);
    static const KxcInetAddress& localAddress(const KxcInetHandler* handler);
};
