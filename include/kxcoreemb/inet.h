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
    INT32 priorityCheck(const void* a, const void* b) override;
};

/// How KxcInetClientWin::changePacketCreator fills datagrams.
enum KXCCREATOR : INT32
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
    /// @param port  0 lets the system choose
    /// @param sendCapacity, receiveCapacity  bytes of the largest datagram, header included; beyond 1500 networks may
    ///        split them, beyond 65507 none is carried
    /// @return null when a capacity is too small for a message or memory runs out
    static KxcInetHandler* create(UINT16 port, INT32 sendCapacity, INT32 receiveCapacity);
    static KxcInetHandler* create(INT32 sendCapacity, INT32 receiveCapacity);
    ~KxcInetHandler() override;

    void openService(); ///< getLastError() is KXCCOMMERROR_NOSERVICE when that failed
    void closeService() override;
    void setPort(UINT16 port); ///< for the next openService()
    UINT16 getPort() const;    ///< where the open service is bound; while closed, the port it will ask for

    INT32 outgoing() override;
    INT32 incoming() override;
    void checkActivity() override;
    void unknownSender(const KxcAddress* sender, KxcObjectPacketBase* packet) override;

protected:
    KxcInetHandler();
    INT32 init(UINT16 port, INT32 sendCapacity, INT32 receiveCapacity);
    void countNextPacketTime(INT32 bytes);      ///< the pause after a datagram of so many bytes
    void changeUdpEngine(KxcUdpEngine* engine); ///< takes over the engine and destroys the former one; ignores null

private:
    friend class KxcUdpEngine;
    struct Step; // keeps a replaced engine alive until the call that may be using it has ended

    KxcClientInetCommWinPriHelp priorityHelp;
    KxcInetClientWin** sendQueue; // owned: those to visit, as many as the table holds
    INT32 sendQueueCapacity;
    INT32 packetIntervalMs, lastSentMs;
    KxcInetAddress localAddress;
    INT32 sendCapacity, receiveCapacity;
    KxcUdpEngine *engine, *replaced; // owned
    INT32 steps;                     // calls that are under way
};

/// A peer on the Internet, known by its address and port.
class KXC_API KxcInetClientWin : public KxcClientCommWin
{
public:
    /// @param host  a name, which may take seconds to look up, or an address in dotted form
    /// @param maxFrames, frameSize  how many messages may be under way, and the largest one's bytes plus 4
    /// @return null when the host is not known, the frame size is below 4, or memory runs out
    static KxcInetClientWin* create(const char* host, UINT16 port, INT32 maxFrames, INT32 frameSize);
    static KxcInetClientWin* create(INT32 maxFrames, INT32 frameSize); ///< its address comes with setAddress()
    ~KxcInetClientWin() override;

    KxcObjectDataFrame* getPacketFrame(INT32 slot) override;
    KxcObjectDataFrame* getRecentStateFrame(INT32 id) override;
    void removeRecentStateFrame(INT32 id) override;
    INT32 incoming(KxcObjectPacketBase& packet) override;
    INT32 outgoing(KxcObjectPacketBase& packet) override;
    INT32 bandwidthCheck() override;
    INT32 isClientActive() override;
    INT32 testAddress(const KxcAddress& other) override;
    void setAddress(const KxcAddress& newAddress) override;

    INT32 getPriority() const { return priority; } ///< the peer with the lowest value is served first
    void setPriority(INT32 value) { priority = value; }
    INT32 changePacketCreator(INT32 kind); ///< a KXCCREATOR_ value, 0 at first. @return 1, or -1 for another kind
    INT32 countHostWindow() const;         ///< datagrams received and not acknowledged yet
    INT32 countLocalWindow() const;        ///< datagrams sent and not acknowledged yet
    INT32 getRecvErrorValue() const;       ///< gaps among the datagrams received, in percent
    INT32 getSendErrorValue() const;       ///< resynchronisations among the datagrams sent, in percent

protected:
    KxcInetClientWin();
    INT32 init(INT32 maxFrames, INT32 frameSize);
    void clientProtocolManager(); ///< acknowledgements, resynchronisation, upkeep of the frames

private:
    enum class Arrival
    {
        inOrder,
        gap,
        late
    };
    Arrival classify(const KxcObjectPacketBase& packet) const;
    void startResync(UINT16 sequence);
    INT32 createPayload(KxcObjectPacketBase& packet, UINT16 sequence);
    bool isAbove(UINT16 resyncBase) const;
    void setLastSent(UINT16 sequence);

    INT32 priority;
    // sending
    KxcObjectFrameStore* frames; // owned
    INT32 creatorKind, frameClass;
    INT32 dataStarted, forcedSend, silenceIntervalMs;
    UINT16 lastSent, lastProcessedAck;
    bool hasWrapped; // lastSent has passed 65535
    INT32 datagramsSent, resyncsReceived;
    // round-trip probe
    INT32 probeStartMs, probePending;
    UINT16 probeSequence;
    // what the peer told
    UINT16 peerAck, peerResyncBase;
    INT32 peerResync, ackRequested;
    // receiving
    UINT16 expected, lastReceived, lastAckSent, resyncBase;
    INT32 resyncRequest, lastReceivedMs, datagramsReceived, gaps;
    bool firstAfterWrapIsDoubtful; // see startResync, like the next
    UINT16 resyncProof;
    KxcInetHostResolver* resolver; // owned; null when created without a host
};
