// inet_client_receive.cpp - the receiving half of a peer: whether a datagram comes in order, what becomes of it, and
// when the peer is asked to go on from another number.
//
// Nothing here trusts the datagram. All state is settled before the game hears of its messages, for it may delete the
// client from there.
#include <kxcoreemb/inet.h>

#include "net/serial_number.h"
#include "net/step_clock.h"

namespace
{

constexpr INT32 kResyncJump = 123; // from the datagram after the gap to the base; more than can be under way
constexpr INT32 kHighestSequence = 65535;
constexpr INT32 kFarthestUnderWay = 31; // a window of 15, and as many sent for silence's sake
constexpr INT32 kSilenceMs = 1000;
constexpr INT32 kReceiverIdLength = KxcObjectDataFrame::kReceiverIdLength;

UINT32 readNumber(const char* bytes, INT32 length)
{
    UINT32 value = 0;
    for (INT32 i = 0; i < length; ++i)
        value |= static_cast<UINT32>(static_cast<UINT8>(bytes[i])) << 8 * i;
    return value;
}

/// Hands the messages over, one after the other, as far as they lie within the payload.
void deliverMessages(const KxcObjectDataServant* servant, INT32 clientId, const char* payload, INT32 payloadLength)
{
    for (INT32 at = 0; payloadLength - at >= 2;)
    {
        const INT32 length = static_cast<INT32>(readNumber(payload + at, 2));
        const char* message = payload + at + 2;
        at += length + 2;
        if (at > payloadLength)
            return;
        if (length >= kReceiverIdLength)
            servant->deliver(clientId, readNumber(message, kReceiverIdLength), message + kReceiverIdLength,
                             length - kReceiverIdLength);
    }
}

} // namespace

INT32 KxcInetClientWin::getRecvErrorValue() const
{
    return datagramsReceived ? static_cast<INT32>(static_cast<INT64>(gaps) * 100 / datagramsReceived) : 0;
}

KxcInetClientWin::Arrival KxcInetClientWin::classify(const KxcObjectPacketBase& packet) const
{
    const INT32 distance = kxcSerialDistance(packet.getSequence(), expected);
    if (distance != 0)
        return distance > 0 ? Arrival::gap : Arrival::late;
    const bool answersResync =
        !(packet.getFlags() & KXCPACKET_RESYNC) && kxcSerialDistance(packet.getAcknowledgement(), resyncProof) >= 0;
    return firstAfterWrapIsDoubtful && !answersResync ? Arrival::gap : Arrival::inOrder;
}

void KxcInetClientWin::startResync(UINT16 sequence)
{
    // A base this far ahead cannot be reached without the jump: its successor proves that the peer made it, and with it
    // sent again what was lost. Where the numbers end the base is 0, which the peer may be about to pass anyway. Then a
    // number 1 counts only when it acknowledges a datagram that asked for the jump.
    firstAfterWrapIsDoubtful = false;
    if (sequence + kResyncJump > kHighestSequence)
    {
        const UINT16 peerKnows = static_cast<UINT16>(expected - 1); // the highest that it can have been acknowledged
        firstAfterWrapIsDoubtful = static_cast<UINT16>(1 - peerKnows) <= kFarthestUnderWay;
        resyncProof = static_cast<UINT16>(lastSent + 1);
        resyncBase = 0;
    }
    else
        resyncBase = static_cast<UINT16>(sequence + kResyncJump);
    expected = static_cast<UINT16>(resyncBase + 1);
    resyncRequest = 1;
}

INT32 KxcInetClientWin::incoming(KxcObjectPacketBase& packet)
{
    const INT32 payloadLength = packet.getPayloadLength();
    if (payloadLength < 0 || packet.getProtocolId() != 1)
        return payloadLength;

    const UINT16 sequence = packet.getSequence(), acknowledgement = packet.getAcknowledgement();
    const INT32 flags = packet.getFlags(), now = KxcStepClock::now();
    ++datagramsReceived;
    if (flags & KXCPACKET_RESYNC)
    {
        peerResync = 1;
        peerResyncBase = acknowledgement;
        ++resyncsReceived;
    }
    else
        peerAck = acknowledgement;
    if (probePending && kxcSerialDistance(acknowledgement, probeSequence) >= 0)
    {
        setRtt(kxcElapsed(probeStartMs, now));
        probePending = 0;
    }
    if (flags & KXCPACKET_ACKREQUEST)
        ackRequested = 1;

    bool wanted = !(flags & KXCPACKET_RELIABLE);
    switch (classify(packet))
    {
    case Arrival::inOrder:
        wanted = true;
        ++expected;
        silenceIntervalMs = kSilenceMs;
        resyncRequest = 0;
        firstAfterWrapIsDoubtful = false;
        break;
    case Arrival::gap:
        ++gaps;
        startResync(sequence);
        break;
    case Arrival::late:
        wanted = wanted && kxcSerialDistance(sequence, lastReceived) > 0;
        break;
    }
    lastReceived = sequence;
    lastReceivedMs = now;

    if (wanted && servant)
        deliverMessages(servant, clientId, packet.getPayload(), payloadLength);
    return payloadLength;
}

INT32 KxcInetClientWin::isClientActive()
{
    if (lastReceivedMs == 0)
    {
        lastError = KXCCOMMERROR_NOTCONNECTED;
        return -1;
    }
    if (kxcElapsed(lastReceivedMs, KxcStepClock::now()) <= connectionTimeoutMs)
        return 1;
    lastError = KXCCOMMERROR_SILENT;
    return -1;
}
