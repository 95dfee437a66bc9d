// inet.h - the Internet transport: one UDP socket for all peers (KxcInetHandler), one object for each
// (KxcInetClientWin).
//
// docs/protocol.md tells what goes over the wire, and what is guaranteed.
#pragma once

#include <kxcoreemb/address.h>
#include <kxcoreemb/communication.h>
#include <kxcoreemb/data_frame.h>

class KxcInetClientWin;
class KxcUdpEngine;

/// The priorities of KxcInetClientWin objects.
class KXC_API KxcClientInetCommWinPriHelp final : public KxcPriorityHelp
{
public:
    void increase(void* item) override;
    void decrease(void* item) override;
    KxcINT32 priorityCheck(const void* a, const void* b) override;
};

/// How KxcInetClientWin::changePacketCreator fills datagrams.
enum KXCCREATOR : KxcINT32
{
    KXCCREATOR_SINGLE = 0, ///< one message in each
    KXCCREATOR_MANY = 1,   ///< as many as fit
    KXCCREATOR_MIXED = 2   ///< as many as fit, of both packet statuses
};

/// The service: a UDP socket, bound to a port while the service is open.
///
/// Every run of the scheduler receives at most one datagram and sends at most one, to the peer that has waited longest
/// and not before the pause is over that the connection speed asks for. The clients are KxcInetClientWin objects.
///
/// A callback may close the service or delete its client, but not delete the handler.
class KXC_API KxcInetHandler : public KxcCommunicationHandler
{
public:
    /// Makes a service, closed.
    /// @param port  0 lets the system choose
    /// @param sendCapacity, receiveCapacity  bytes of the largest datagram, header included; beyond 1500 networks may
    ///        split them, beyond 65507 none is carried
    /// @return null when a capacity is too small for a message or memory runs out
    static KxcInetHandler* create(KxcUINT16 port, KxcINT32 sendCapacity, KxcINT32 receiveCapacity);
    static KxcInetHandler* create(KxcINT32 sendCapacity, KxcINT32 receiveCapacity); ///< the same with port 0
    ~KxcInetHandler() override;

    void openService(); ///< getLastError() is KXCCOMMERROR_NOSERVICE when that failed
    void closeService() override;
    void setPort(KxcUINT16 port); ///< for the next openService()
    KxcUINT16 getPort() const;    ///< where the open service is bound; while closed, the port it will ask for

    KxcINT32 outgoing() override;
    KxcINT32 incoming() override;
    void checkActivity() override;
    void unknownSender(const KxcAddress* sender, KxcObjectPacketBase* packet) override;

protected:
    KxcInetHandler();
    KxcINT32 init(KxcUINT16 port, KxcINT32 sendCapacity, KxcINT32 receiveCapacity);
    void countNextPacketTime(KxcINT32 bytes);   ///< the pause after a datagram of so many bytes
    void changeUdpEngine(KxcUdpEngine* engine); ///< takes over the engine and destroys the former one; ignores null

private:
    friend class KxcUdpEngine;
    struct Step; // keeps a replaced engine alive until the call that may be using it has ended

    KxcClientInetCommWinPriHelp priorityHelp;
    KxcInetClientWin** sendQueue; // owned: those to visit, as many as the table holds
    KxcINT32 sendQueueCapacity;
    KxcINT32 packetIntervalMs, lastSentMs;
    KxcInetAddress localAddress;
    KxcINT32 sendCapacity, receiveCapacity;
    KxcUdpEngine *engine, *replaced; // owned
    KxcINT32 steps;                  // calls that are under way
};

/// A peer on the Internet, known by its address and port.
///
/// Ownership  the game's: removed from the scheduler first, then deleted. Frames stay the client's.
/// Failure    null or -1, with the reason in getLastError().
/// Threads    the frame thread only.
class KXC_API KxcInetClientWin : public KxcClientCommWin
{
public:
    /// Makes a peer, which the scheduler does not know yet.
    /// @param host  a name, which may take seconds to look up, or an address in dotted form
    /// @param maxFrames, frameSize  how many messages may be under way, and the largest one's bytes plus 4
    /// @return null when the host is not known, the frame size is below 4, or memory runs out
    static KxcInetClientWin* create(const char* host, KxcUINT16 port, KxcINT32 maxFrames, KxcINT32 frameSize);
    static KxcInetClientWin* create(KxcINT32 maxFrames, KxcINT32 frameSize); ///< its address comes with setAddress()
    ~KxcInetClientWin() override;

    KxcObjectDataFrame* getPacketFrame(KxcINT32 slot) override;
    KxcObjectDataFrame* getRecentStateFrame(KxcINT32 id) override;
    void removeRecentStateFrame(KxcINT32 id) override;
    KxcINT32 incoming(KxcObjectPacketBase& packet) override;
    KxcINT32 outgoing(KxcObjectPacketBase& packet) override;
    KxcINT32 bandwidthCheck() override;
    KxcINT32 isClientActive() override;
    KxcINT32 testAddress(const KxcAddress& other) override;
    void setAddress(const KxcAddress& newAddress) override;

    KxcINT32 getPriority() const { return priority; }      ///< the peer with the lowest value is served first
    void setPriority(KxcINT32 value) { priority = value; } ///< for games that know whom to serve first
    KxcINT32 changePacketCreator(KxcINT32 kind); ///< a KXCCREATOR_ value, 0 at first. @return 1, or -1 for another kind
    KxcINT32 countHostWindow() const;            ///< datagrams received and not acknowledged yet
    KxcINT32 countLocalWindow() const;           ///< datagrams sent and not acknowledged yet
    KxcINT32 getRecvErrorValue() const;          ///< gaps among the datagrams received, in percent
    KxcINT32 getSendErrorValue() const;          ///< resynchronisations among the datagrams sent, in percent

protected:
    KxcInetClientWin();
    KxcINT32 init(KxcINT32 maxFrames, KxcINT32 frameSize);
    void clientProtocolManager(); ///< acknowledgements, resynchronisation, upkeep of the frames

private:
    enum class Arrival
    {
        inOrder,
        gap,
        late
    };
    Arrival classify(const KxcObjectPacketBase& packet) const;
    void startResync(KxcUINT16 sequence);
    KxcINT32 createPayload(KxcObjectPacketBase& packet, KxcUINT16 sequence);
    bool isAbove(KxcUINT16 resyncBase) const;
    void setLastSent(KxcUINT16 sequence);

    KxcINT32 priority;
    // sending
    KxcObjectFrameStore* frames; // owned
    KxcINT32 creatorKind, frameClass;
    KxcINT32 dataStarted, forcedSend, silenceIntervalMs;
    KxcUINT16 lastSent, lastProcessedAck;
    bool hasWrapped; // lastSent has passed 65535
    KxcINT32 datagramsSent, resyncsReceived;
    // round-trip probe
    KxcINT32 probeStartMs, probePending;
    KxcUINT16 probeSequence;
    // what the peer told
    KxcUINT16 peerAck, peerResyncBase;
    KxcINT32 peerResync, ackRequested;
    // receiving
    KxcUINT16 expected, lastReceived, lastAckSent, resyncBase;
    KxcINT32 resyncRequest, lastReceivedMs, datagramsReceived, gaps;
    bool firstAfterWrapIsDoubtful; // see startResync, like the next
    KxcUINT16 resyncProof;
    KxcInetHostResolver* resolver; // owned; null when created without a host
};
