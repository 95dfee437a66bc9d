// inet_handler.cpp - one UDP socket shared by all peers: whose turn it is, and when.
#include <kxcoreemb/inet.h>

#include "net/priority.h"
#include "net/step_clock.h"
#include "net/udp_engine.h"

#include <new>

namespace
{

constexpr INT32 kIdlePriority = 1000; // of a client that was just served
constexpr INT32 kSmallestCapacity = KxcObjectPacketBase::kHeaderLength + 2 + KxcObjectDataFrame::kReceiverIdLength + 1;
constexpr INT32 kMessageHeaderLength = 6; // its length and the receiver id

// Milliseconds at a speed of 2000, for each byte and for each datagram.
constexpr INT64 kByteCost = 5, kDatagramCost = 140, kSpeedUnit = 2000;

} // namespace

void KxcClientInetCommWinPriHelp::increase(void* item) { kxcIncreasePriority<KxcInetClientWin>(item); }
void KxcClientInetCommWinPriHelp::decrease(void* item) { kxcDecreasePriority<KxcInetClientWin>(item); }
INT32 KxcClientInetCommWinPriHelp::priorityCheck(const void* a, const void* b)
{
    return kxcComparePriorities<KxcInetClientWin>(a, b);
}

/// One call from the scheduler. A game may close the service from a callback; the engine that made the call and holds
/// the datagram is destroyed when all of them have returned.
struct KxcInetHandler::Step
{
    explicit Step(KxcInetHandler& owner) : handler(owner) { ++handler.steps; }
    ~Step()
    {
        if (--handler.steps > 0)
            return;
        delete handler.replaced;
        handler.replaced = nullptr;
    }
    KxcInetHandler& handler;
    KxcStepClock clock;
};

KxcInetHandler::KxcInetHandler()
    : sendQueue(nullptr),
      sendQueueCapacity(0),
      packetIntervalMs(0),
      lastSentMs(0),
      sendCapacity(0),
      receiveCapacity(0),
      engine(nullptr),
      replaced(nullptr),
      steps(0)
{
}

KxcInetHandler* KxcInetHandler::create(INT32 sendCapacity, INT32 receiveCapacity)
{
    return create(0, sendCapacity, receiveCapacity);
}

KxcInetHandler* KxcInetHandler::create(UINT16 port, INT32 sendCapacity, INT32 receiveCapacity)
{
    KxcInetHandler* handler = new (std::nothrow) KxcInetHandler;
    if (handler && !handler->init(port, sendCapacity, receiveCapacity))
    {
        delete handler;
        handler = nullptr;
    }
    return handler;
}

INT32 KxcInetHandler::init(UINT16 port, INT32 sendBytes, INT32 receiveBytes)
{
    if (sendBytes < kSmallestCapacity || receiveBytes < kSmallestCapacity || receiveBytes == INT32_MAX)
        return 0;
    setConnectionType(KXCCONNECTION_INET);
    localAddress.setPort(port);
    sendCapacity = sendBytes;
    receiveCapacity = receiveBytes;
    engine = KxcUdpEngine::createClosed();
    return engine && baseInit();
}

KxcInetHandler::~KxcInetHandler()
{
    delete engine;
    delete replaced;
    delete[] sendQueue;
}

void KxcInetHandler::openService()
{
    engine->open(this, sendCapacity, receiveCapacity);
    if (engine->getError() == KXCCOMMERROR_NOSERVICE)
        lastError = KXCCOMMERROR_NOSERVICE;
}

void KxcInetHandler::closeService() { engine->close(this); }

void KxcInetHandler::setPort(UINT16 port) { localAddress.setPort(port); }

UINT16 KxcInetHandler::getPort() const
{
    UINT16 port;
    return engine->getLocalPort(port) ? port : localAddress.getPort();
}

void KxcInetHandler::changeUdpEngine(KxcUdpEngine* newEngine)
{
    if (!newEngine)
        return;
    // Only the engine that a step began with can be in use; one that was made since is not.
    if (steps > 0 && !replaced)
        replaced = engine;
    else
        delete engine;
    engine = newEngine;
}

void KxcInetHandler::countNextPacketTime(INT32 bytes)
{
    const INT64 speed = connectionSpeed > 0 ? connectionSpeed : 1;
    const INT64 interval = (bytes * kByteCost + kDatagramCost) * kSpeedUnit / speed;
    packetIntervalMs = static_cast<INT32>(interval < INT32_MAX ? interval : INT32_MAX);
}

INT32 KxcInetHandler::outgoing()
{
    const Step step(*this);
    if (maxClientCount > sendQueueCapacity)
    {
        delete[] sendQueue;
        sendQueue = new (std::nothrow) KxcInetClientWin*[static_cast<size_t>(maxClientCount)];
        sendQueueCapacity = sendQueue ? maxClientCount : 0;
        if (!sendQueue)
            return -1;
    }

    INT32 count = 0;
    for (INT32 i = 0; i < maxClientCount; ++i)
        if (auto* client = static_cast<KxcInetClientWin*>(clients[i]))
        {
            INT32 place = count++;
            for (; place > 0 && priorityHelp.priorityCheck(sendQueue[place - 1], client) < 0; --place)
                sendQueue[place] = sendQueue[place - 1];
            sendQueue[place] = client;
        }
    for (INT32 i = 0; i < count; ++i)
        priorityHelp.decrease(sendQueue[i]);

    const INT32 now = KxcStepClock::now();
    INT32 result = -1;
    for (INT32 i = 0; i < count && kxcElapsed(lastSentMs, now) > packetIntervalMs; ++i)
    {
        result = engine->send(sendQueue[i]);
        if (result == 0)
            continue;
        // Also after a failure: a peer that cannot be reached must not keep the others waiting.
        sendQueue[i]->setPriority(kIdlePriority);
        if (result < 0)
        {
            sendQueue[i]->setLastError(KXCCOMMERROR_NOTCONNECTED);
            break;
        }
        lastSentMs = now;
        countNextPacketTime(result);
    }
    return result;
}

INT32 KxcInetHandler::incoming()
{
    const Step step(*this);
    KxcObjectPacketBase* packet = nullptr;
    INT32 index = -1;
    if (engine->receive(this, packet, index) < 0)
        return -1;
    return packet ? clients[index]->incoming(*packet) : 0;
}

void KxcInetHandler::checkActivity()
{
    const Step step(*this);
    for (INT32 i = 0; i < maxClientCount; ++i)
    {
        KxcClientCommWin* client = clients[i];
        if (client && client->isClientActive() == -1 && client->getLastError() == KXCCOMMERROR_SILENT && clientLost)
            clientLost->clientLost(client->getClientId()); // who may delete the client
    }
}

void KxcInetHandler::unknownSender(const KxcAddress* sender, KxcObjectPacketBase* packet)
{
    const INT32 payloadLength = packet->getPayloadLength();
    if (!unknownSenderListener || payloadLength < kMessageHeaderLength || packet->getProtocolId() != 1)
        return;
    const char* payload = packet->getPayload();
    const INT32 messageLength = static_cast<UINT8>(payload[0]) | static_cast<UINT8>(payload[1]) << 8;
    if (messageLength == payloadLength - 2)
        unknownSenderListener->dataFromUnknownSender(sender, payload + kMessageHeaderLength,
                                                     payloadLength - kMessageHeaderLength);
}
