// inet_client.cpp - the sending half of a peer: what goes into its next datagram, and whether one goes at all.
#include <kxcoreemb/inet.h>

#include "net/frame_store.h"
#include "net/serial_number.h"
#include "net/step_clock.h"

#include <new>

namespace
{

constexpr INT32 kIdlePriority = 1000;
constexpr INT32 kWindow = 15;          // datagrams that may be sent beyond the peer's acknowledgement
constexpr INT32 kHostWindow = 14;      // those received, at which an acknowledgement is due...
constexpr INT32 kHostWindowMargin = 5; // ...so many before the peer has to stop
constexpr INT32 kProbeEvery = 20;      // datagrams
constexpr INT32 kLongestSilenceMs = 0x40000000;

} // namespace

KxcInetClientWin::KxcInetClientWin()
    : priority(kIdlePriority),
      frames(nullptr),
      creatorKind(KXCCREATOR_SINGLE),
      frameClass(0),
      dataStarted(0),
      forcedSend(0),
      silenceIntervalMs(0),
      lastSent(0),
      lastProcessedAck(0),
      hasWrapped(false),
      datagramsSent(0),
      resyncsReceived(0),
      probeStartMs(0),
      probePending(0),
      probeSequence(0),
      peerAck(0),
      peerResyncBase(0),
      peerResync(0),
      ackRequested(0),
      expected(0),
      lastReceived(0),
      lastAckSent(0),
      resyncBase(0),
      resyncRequest(0),
      lastReceivedMs(0),
      datagramsReceived(0),
      gaps(0),
      firstAfterWrapIsDoubtful(false),
      resyncProof(0),
      resolver(nullptr)
{
}

KxcInetClientWin* KxcInetClientWin::create(INT32 maxFrames, INT32 frameSize)
{
    KxcInetClientWin* client = new (std::nothrow) KxcInetClientWin;
    if (client && !client->init(maxFrames, frameSize))
    {
        delete client;
        client = nullptr;
    }
    return client;
}

KxcInetClientWin* KxcInetClientWin::create(const char* host, UINT16 port, INT32 maxFrames, INT32 frameSize)
{
    KxcInetClientWin* client = create(maxFrames, frameSize);
    if (!client)
        return nullptr;
    KxcInetAddress address;
    address.setPort(port);
    client->resolver = KxcInetHostResolver::create();
    if (client->resolver && client->resolver->getHostByString(host, address) == 1)
        client->setAddress(address);
    if (client->address)
        return client;
    delete client;
    return nullptr;
}

INT32 KxcInetClientWin::init(INT32 maxFrames, INT32 frameSize)
{
    setConnectionType(KXCCONNECTION_INET);
    lastReceivedMs = KxcStepClock::now();
    frames = KxcObjectFrameStore::create(maxFrames, frameSize);
    return frames != nullptr;
}

KxcInetClientWin::~KxcInetClientWin()
{
    delete frames;
    delete resolver;
}

KxcObjectDataFrame* KxcInetClientWin::getPacketFrame(INT32 slot)
{
    KxcObjectDataFrame* frame = frames->getPacketFrame(slot);
    if (frame)
        frame->setPacketStatus(creatorKind != KXCCREATOR_SINGLE);
    return frame;
}

KxcObjectDataFrame* KxcInetClientWin::getRecentStateFrame(INT32 id)
{
    if (KxcObjectDataFrame* frame = frames->findRecentState(id))
        return frame;
    KxcObjectDataFrame* frame = getPacketFrame(KXCSLOT_RECENTSTATE);
    if (frame)
        frame->setRecentState(id);
    return frame;
}

void KxcInetClientWin::removeRecentStateFrame(INT32 id) { frames->removeRecentState(id); }

INT32 KxcInetClientWin::testAddress(const KxcAddress& other)
{
    if (!address || other.getType() != address->getType())
        return -1;
    return KxcInetAddress::isSame(static_cast<const KxcInetAddress&>(*address),
                                  static_cast<const KxcInetAddress&>(other));
}

void KxcInetClientWin::setAddress(const KxcAddress& newAddress)
{
    KxcInetAddress* copy = KxcInetAddress::create(newAddress);
    if (!copy)
        return;
    delete address;
    address = copy;
}

INT32 KxcInetClientWin::changePacketCreator(INT32 kind)
{
    if (kind < KXCCREATOR_SINGLE || kind > KXCCREATOR_MIXED)
        return -1;
    creatorKind = kind;
    frameClass = 0;
    return 1;
}

INT32 KxcInetClientWin::countHostWindow() const { return kxcSerialDistance(lastReceived, lastAckSent); }
INT32 KxcInetClientWin::countLocalWindow() const { return kxcSerialDistance(lastSent, peerAck); }

INT32 KxcInetClientWin::getSendErrorValue() const
{
    return datagramsSent ? static_cast<INT32>(static_cast<INT64>(resyncsReceived) * 100 / datagramsSent) : 0;
}

INT32 KxcInetClientWin::bandwidthCheck()
{
    // A peer that has gone quiet may have lost our datagrams, or we its acknowledgements: one goes out now and then,
    // ever more rarely, whatever the window says.
    if (kxcElapsed(lastReceivedMs, KxcStepClock::now()) >= silenceIntervalMs)
    {
        forcedSend = 1;
        if (silenceIntervalMs < kLongestSilenceMs)
            silenceIntervalMs = silenceIntervalMs / 9 + silenceIntervalMs + 1000;
    }
    return forcedSend || countLocalWindow() + 1 <= kWindow;
}

bool KxcInetClientWin::isAbove(UINT16 base) const
{
    const INT32 distance = kxcSerialDistance(base, lastSent);
    // Until the numbers wrap, a higher one is ahead, however far. Afterwards the plain order means nothing, and a base
    // that was just reached (0, see startResync) is as good as one ahead.
    return hasWrapped ? distance >= 0 : base > lastSent || distance > 0;
}

void KxcInetClientWin::setLastSent(UINT16 sequence)
{
    hasWrapped = hasWrapped || sequence < lastSent;
    lastSent = sequence;
}

void KxcInetClientWin::clientProtocolManager()
{
    if (peerAck != lastProcessedAck)
    {
        if (kxcSerialDistance(peerAck, lastProcessedAck) > 0)
            frames->acknowledge(lastProcessedAck, peerAck);
        lastProcessedAck = peerAck;
    }
    if (peerResync)
    {
        if (isAbove(peerResyncBase))
        {
            frames->markUnsent();
            setLastSent(peerResyncBase);
            peerAck = peerResyncBase;
        }
        peerResync = 0; // one that lies behind was followed already
    }
    frames->upkeep();
}

INT32 KxcInetClientWin::createPayload(KxcObjectPacketBase& packet, UINT16 sequence)
{
    if (frames->hasQueue() && frames->fill(packet, creatorKind, frameClass, sequence))
        return 1;
    frameClass ^= 1; // the other class has its turn, and keeps it
    return frames->hasQueue() && frames->fill(packet, creatorKind, frameClass, sequence);
}

INT32 KxcInetClientWin::outgoing(KxcObjectPacketBase& packet)
{
    clientProtocolManager();
    if (!bandwidthCheck())
        return 0;

    const UINT16 sequence = static_cast<UINT16>(lastSent + 1);
    INT32 flags = 0;
    packet.setSendFlag(0);
    packet.setProtocolId(1);
    if (ackRequested)
    {
        ackRequested = 0;
        packet.setSendFlag(1);
    }
    if (datagramsSent % kProbeEvery == 0)
    {
        probeSequence = sequence;
        probeStartMs = KxcStepClock::now();
        probePending = 1;
        flags |= KXCPACKET_ACKREQUEST;
        packet.setSendFlag(1);
    }
    if (createPayload(packet, sequence))
    {
        dataStarted = 1;
        packet.setSendFlag(1);
        if (frameClass == 1)
            flags |= KXCPACKET_RELIABLE;
    }

    const bool acknowledgementCanWait = countHostWindow() + kHostWindowMargin < kHostWindow;
    if (!dataStarted || (acknowledgementCanWait && !forcedSend && !packet.getSendFlag() && !resyncRequest))
        return 0;
    setLastSent(sequence);
    packet.setSequence(sequence);
    if (resyncRequest)
    {
        flags |= KXCPACKET_RESYNC;
        packet.setAcknowledgement(resyncBase);
    }
    else
    {
        packet.setAcknowledgement(lastReceived);
        lastAckSent = lastReceived;
    }
    packet.setFlags(flags);
    ++datagramsSent;
    packet.setSendFlag(1);
    forcedSend = 0;
    return packet.getTotalLength();
}
