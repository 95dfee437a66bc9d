// udp_engine.cpp - a handler's socket, and what stands in for it while the service is closed.
#include "net/udp_engine.h"

#include <kxcoreemb/socket.h>

#include <new>

namespace
{

class ClosedEngine final : public KxcUdpEngine
{
public:
    void open(KxcInetHandler* handler, INT32 sendCapacity, INT32 receiveCapacity) override;
    void close(KxcInetHandler*) override {}
    INT32 send(KxcClientCommWin*) override { return -1; }
    INT32 receive(KxcInetHandler*, KxcObjectPacketBase*& packet, INT32&) override { return packet = nullptr, -1; }
    INT32 getError() override { return -3; }
    INT32 getLocalPort(UINT16&) override { return 0; }
};

class OpenEngine final : public KxcUdpEngine
{
public:
    static OpenEngine* create(const KxcInetAddress& local, INT32 sendCapacity, INT32 receiveCapacity);
    ~OpenEngine() override;
    void open(KxcInetHandler*, INT32, INT32) override {}
    void close(KxcInetHandler* handler) override { install(handler, createClosed()); }
    INT32 send(KxcClientCommWin* client) override;
    INT32 receive(KxcInetHandler* handler, KxcObjectPacketBase*& packet, INT32& clientIndex) override;
    INT32 getError() override { return -2; }
    INT32 getLocalPort(UINT16& port) override;

private:
    INT32 init(const KxcInetAddress& local, INT32 sendCapacity, INT32 receiveCapacity);

    KxcDgramSocket* socket = nullptr;          // owned, like the buffers
    KxcObjectPacketBase* sendBuffer = nullptr; // used for one client after the other
    KxcObjectPacketBase* receiveBuffer = nullptr;
    KxcInetAddress sender; // of the datagram in receiveBuffer
};

void ClosedEngine::open(KxcInetHandler* handler, INT32 sendCapacity, INT32 receiveCapacity)
{
    install(handler, OpenEngine::create(localAddress(handler), sendCapacity, receiveCapacity));
}

OpenEngine* OpenEngine::create(const KxcInetAddress& local, INT32 sendCapacity, INT32 receiveCapacity)
{
    OpenEngine* engine = new (std::nothrow) OpenEngine;
    if (engine && !engine->init(local, sendCapacity, receiveCapacity))
    {
        delete engine;
        engine = nullptr;
    }
    return engine;
}

INT32 OpenEngine::init(const KxcInetAddress& local, INT32 sendCapacity, INT32 receiveCapacity)
{
    UINT32 on = 1;
    socket = KxcDgramSocket::create();
    sendBuffer = KxcObjectPacketBase::create(sendCapacity);
    receiveBuffer = KxcObjectPacketBase::create(receiveCapacity);
    return socket && sendBuffer && receiveBuffer && socket->open(local) == 0 &&
           socket->ioctl(KXCSOCKET_NONBLOCKING, &on) == 0;
}

OpenEngine::~OpenEngine()
{
    delete socket;
    delete sendBuffer;
    delete receiveBuffer;
}

INT32 OpenEngine::send(KxcClientCommWin* client)
{
    if (!client->getAddress()) // it will be told later
        return 0;
    sendBuffer->reset(); // nothing of another client's remains
    const INT32 result = client->outgoing(*sendBuffer);
    if (result < 1 || !sendBuffer->getSendFlag())
        return result;
    return socket->sendTo(sendBuffer->getBuffer(), sendBuffer->getTotalLength(), 0, *client->getAddress());
}

INT32 OpenEngine::receive(KxcInetHandler* handler, KxcObjectPacketBase*& packet, INT32& clientIndex)
{
    packet = nullptr;
    receiveBuffer->reset();
    const INT32 capacity = receiveBuffer->getCapacity();
    // One byte more than fits tells a datagram that was cut off. It is dropped like a lost one: its rest would be
    // missing.
    const INT32 length = socket->recvFrom(receiveBuffer->getBuffer(), capacity + 1, 0, sender);
    if (length <= 0)
        return length;
    receiveBuffer->setReceived(length);
    if (length > capacity)
        return length;
    clientIndex = handler->testAddress(sender);
    if (clientIndex < 0)
        handler->unknownSender(&sender, receiveBuffer);
    else
        packet = receiveBuffer;
    return length;
}

INT32 OpenEngine::getLocalPort(UINT16& port)
{
    KxcInetAddress bound;
    if (socket->getLocalAddress(bound) != 0)
        return 0;
    port = bound.getPort();
    return 1;
}

} // namespace

KxcUdpEngine::~KxcUdpEngine() = default;

KxcUdpEngine* KxcUdpEngine::createClosed() { return new (std::nothrow) ClosedEngine; }

void KxcUdpEngine::install(KxcInetHandler* handler, KxcUdpEngine* engine) { handler->changeUdpEngine(engine); }

const KxcInetAddress& KxcUdpEngine::localAddress(const KxcInetHandler* handler) { return handler->localAddress; }
