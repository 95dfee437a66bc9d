// communication.h - the scheduler that runs a game's connections once a frame, what handlers and clients have in
// common, and the interfaces through which a game hears of its peers.
//
// Order: kxcUseNetwork() from the game's init function; KxcInetHandler::create(), openService(),
// addCommunicationHandler(); KxcInetClientWin::create() and addClient() for every peer; getPacketFrame() whenever there
// is something to say. Everything happens on the frame thread, inside the frame's runScheduler(). At the end
// removeClient() and removeCommunicationHandler(), and delete what they return.
#pragma once

#include <kxcoreemb/base.h>

class KxcAddress;
class KxcObjectDataFrame;
class KxcObjectPacketBase;
class KxcClientCommWin;
struct KxcReceiverMap;

/// Values of getConnectionType().
enum KXCCONNECTION : INT32
{
    KXCCONNECTION_INET = 1,
    KXCCONNECTION_BLUETOOTH = 3
};

/// Values of getLastError().
enum KXCCOMMERROR : INT32
{
    KXCCOMMERROR_TABLEFULL = 1000,   ///< no free slot in the client table
    KXCCOMMERROR_BADCLIENTID = 1001, ///< outside the handler's range of ids
    KXCCOMMERROR_NOCLIENT = 1002,    ///< nobody has this id
    KXCCOMMERROR_TOOMANY = 1003,     ///< more clients than the new table would hold
    KXCCOMMERROR_OUTOFMEMORY = 1004, ///< while resizing the table
    KXCCOMMERROR_NOSERVICE = -3,     ///< handler: the service could not be opened
    KXCCOMMERROR_SILENT = -2,        ///< client: nothing was received for longer than the connection timeout
    KXCCOMMERROR_NOTCONNECTED = -3   ///< client: nothing was ever received, or sending failed
};

/// Receives what peers send to a receiver id. Both operations are called for each message; a game overrides one.
class KXC_API KxcDataReceiver
{
public:
    virtual void addData(INT32 clientId, const char* data, INT32 length); ///< the data is gone after the call
    virtual void addData(const char* data, INT32 length);
    virtual ~KxcDataReceiver();
};

/// Told that a peer has been silent for longer than its connection timeout: at every run, until it speaks again or is
/// removed. It may be removed and deleted in here.
class KXC_API KxcClientLost
{
public:
    virtual void clientLost(INT32 clientId) = 0;
    virtual ~KxcClientLost();
};

/// Told of a message from an address that belongs to no client, as a newcomer's first one. A client may be added in
/// here, but hears only what comes later.
class KXC_API KxcUnknownSender
{
public:
    virtual void dataFromUnknownSender(const KxcAddress* sender, const char* data, INT32 length) = 0;
    virtual ~KxcUnknownSender();
};

/// Which of two items goes first, and moving them forward and back.
class KXC_API KxcPriorityHelp
{
public:
    virtual ~KxcPriorityHelp();
    virtual void increase(void* item) = 0;
    virtual void decrease(void* item) = 0;
    virtual INT32 priorityCheck(const void* a, const void* b) = 0; ///< -1 when a's is greater, 1 when smaller, 0
};

/// Hands received messages to the receiver of their id, else to the default receiver, else drops them.
class KXC_API KxcObjectDataServant
{
public:
    static KxcObjectDataServant* create(); ///< null when memory runs out
    ~KxcObjectDataServant();
    KxcObjectDataServant(const KxcObjectDataServant&) = delete;
    KxcObjectDataServant& operator=(const KxcObjectDataServant&) = delete;

    void setDataReceiver(KxcDataReceiver* receiver) { defaultReceiver = receiver; }
    INT32 addDataReceiver(UINT32 receiverId, KxcDataReceiver* receiver); ///< 1; 0 when memory runs out
    KxcDataReceiver* getDataReceiver(UINT32 receiverId) const;
    KxcDataReceiver* removeDataReceiver(UINT32 receiverId);
    void deliver(INT32 clientId, UINT32 receiverId, const char* data, INT32 length) const;

private:
    KxcObjectDataServant();

    KxcDataReceiver* defaultReceiver;
    KxcReceiverMap* receivers; // owned
};

/// One peer.
///
/// Ownership  the game makes clients, adds them to the scheduler, and deletes them after removal. The address is the
///            client's.
/// Threads    the frame thread only.
class KXC_API KxcClientCommWin
{
public:
    virtual ~KxcClientCommWin();
    virtual void intializeClient();
    virtual void deinitializeClient();
    virtual KxcObjectDataFrame* getPacketFrame(INT32 slot) = 0;
    virtual KxcObjectDataFrame* getRecentStateFrame(INT32 id) = 0;
    virtual void removeRecentStateFrame(INT32 id) = 0;
    virtual INT32 incoming(KxcObjectPacketBase& packet) = 0; ///< takes what the peer sent. @return its payload's length
    virtual INT32 outgoing(KxcObjectPacketBase& packet) = 0; ///< fills what is to be sent. @return bytes, 0 for nothing
    virtual INT32 bandwidthCheck() = 0;                      ///< 1 when the peer may be sent to
    virtual INT32 isClientActive() = 0;                      ///< 1; -1, with the reason in getLastError()
    virtual INT32 testAddress(const KxcAddress& address) = 0; ///< -1 unless it is the peer's
    virtual void setAddress(const KxcAddress& address) = 0;
    KxcClientCommWin(const KxcClientCommWin&) = delete;
    KxcClientCommWin& operator=(const KxcClientCommWin&) = delete;

    INT32 initClientCommWin() { return 1; }
    INT32 getConnectionType() const { return connectionType; }
    void setConnectionType(INT32 type) { connectionType = type; }
    INT32 getConnectionTimeout() const { return connectionTimeoutMs; }
    void setConnectionTimeout(INT32 milliseconds) { connectionTimeoutMs = milliseconds; } ///< 0 at first
    INT32 getRtt() const { return rttMs; } ///< of the last probe, in milliseconds; 0 before the first was answered
    void setRtt(INT32 milliseconds) { rttMs = milliseconds; }
    INT32 getCommSpeed() const { return commSpeed; }
    void setCommSpeed(INT32 code); ///< see KxcCommunicationHandler::setConnectionSpeed
    INT32 getLastError() const { return lastError; }
    void setLastError(INT32 error) { lastError = error; }
    KxcObjectDataServant* getObjectDataServant() const { return servant; }
    void setObjectDataServant(KxcObjectDataServant* value) { servant = value; }
    KxcAddress* getAddress() const { return address; }
    INT32 getClientId() const { return clientId; } ///< -1 until the client was added
    void setClientId(INT32 id) { clientId = id; }

protected:
    KxcClientCommWin();

    INT32 connectionType, connectionTimeoutMs, rttMs, commSpeed, lastError, clientId;
    KxcObjectDataServant* servant; // the scheduler's
    KxcAddress* address;           // owned
};

/// The clients of one connection type, and the service through which they are reached.
///
/// A client's id is its slot in the table plus the handler's base number.
/// Ownership  the game makes the handler, adds it to the scheduler, and deletes it after removal; clients and listeners
///            stay the game's.
/// Failure    null or -1, with a KXCCOMMERROR_ value in getLastError().
/// Threads    the frame thread only.
class KXC_API KxcCommunicationHandler
{
public:
    virtual ~KxcCommunicationHandler();
    virtual void closeService() = 0;
    virtual INT32 outgoing() = 0;     ///< sends what is due
    virtual INT32 incoming() = 0;     ///< receives at most one datagram
    virtual void checkActivity() = 0; ///< tells the listener of lost clients
    virtual void unknownSender(const KxcAddress* sender, KxcObjectPacketBase* packet) = 0;
    KxcCommunicationHandler(const KxcCommunicationHandler&) = delete;
    KxcCommunicationHandler& operator=(const KxcCommunicationHandler&) = delete;

    INT32 addClientCommWin(KxcClientCommWin* client); ///< into the lowest free slot. @return its id, or -1
    KxcClientCommWin* removeClientCommWin(INT32 id);
    KxcClientCommWin* getClientCommWin(INT32 id);
    INT32 setMaxClientCount(INT32 count); ///< resizes the table (10 at first); clients in slots beyond it leave it
    INT32 getMaxClientCount() const { return maxClientCount; }
    INT32 getClientCount() const; ///< occupied slots
    INT32 setClientLastError(INT32 id, INT32 error);
    INT32 getClientLastError(INT32 id) const;
    INT32 testAddress(const KxcAddress& address); ///< the slot of the client with this address, or -1

    INT32 getLastError() const { return lastError; }
    void setLastError(INT32 error) { lastError = error; }
    INT32 getClientBaseNumber() const { return clientBaseNumber; }
    void setClientBaseNumber(INT32 number) { clientBaseNumber = number; }
    INT32 getConnectionType() const { return connectionType; }
    void setConnectionType(INT32 type) { connectionType = type; }
    INT32 getConnectionSpeed() const { return connectionSpeed; } ///< see docs/protocol.md for the pauses it makes
    /// @param code  1, 2: 1000; 3: 240000; 4: 1370000; 5: as it is; any other: 2000, as at first
    void setConnectionSpeed(INT32 code);
    void tuneConnectionSpeed(INT32 speed) { connectionSpeed = speed; } ///< any value
    KxcClientLost* getClientLost() const { return clientLost; }
    void setClientLost(KxcClientLost* listener) { clientLost = listener; }
    KxcUnknownSender* getUnknownSenderHandler() const { return unknownSenderListener; }
    void setUnknownSenderHandler(KxcUnknownSender* listener) { unknownSenderListener = listener; }

protected:
    KxcCommunicationHandler();
    INT32 baseInit();                           ///< allocates the client table; 0 when memory runs out
    INT32 slotOf(INT32 id, INT32& error) const; ///< the occupied slot, or -1 and why

    INT32 maxClientCount, clientBaseNumber, connectionType, lastError, connectionSpeed;
    KxcClientCommWin** clients; // owned table, not its clients
    KxcUnknownSender* unknownSenderListener;
    KxcClientLost* clientLost;
};

class KXC_API KxcCommunication
{
public:
    virtual ~KxcCommunication();
    virtual INT32 runScheduler() = 0;
};

/// Runs the handlers once a frame and finds clients by their ids: below 1000 Bluetooth, from 1000 on the Internet.
/// Ownership  the core owns the one that kxcUseNetwork() made; handlers and clients stay the game's.
class KXC_API KxcCommunicationScheduler : public KxcCommunication
{
public:
    static KxcCommunicationScheduler* create(); ///< null when memory runs out; the caller deletes it
    ~KxcCommunicationScheduler() override;
    KxcCommunicationScheduler(const KxcCommunicationScheduler&) = delete;
    KxcCommunicationScheduler& operator=(const KxcCommunicationScheduler&) = delete;

    INT32 runScheduler() override; ///< the engine calls it once a frame. @return -1

    /// @return the handler's index (Internet 1, Bluetooth 0), whose former handler is replaced; -3 for an unknown type
    INT32 addCommunicationHandler(KxcCommunicationHandler* handler);
    KxcCommunicationHandler* getCommunicationHandler(INT32 index) const;
    KxcCommunicationHandler* removeCommunicationHandler(INT32 index);

    INT32 addClient(KxcClientCommWin* client); ///< @return its id; -1 when the table is full; -2 without a handler
    KxcClientCommWin* removeClient(INT32 clientId);
    KxcClientCommWin* getClient(INT32 clientId);
    INT32 getRoundTripTime(INT32 clientId); ///< in milliseconds, or -1
    /// A frame to write a message into. @param slot  a KXCSLOT_ value @return null when all frames are in use
    KxcObjectDataFrame* getPacketFrame(INT32 clientId, INT32 slot);
    KxcObjectDataFrame* getRecentStateFrame(INT32 clientId, INT32 id);
    void removeRecentStateFrame(INT32 clientId, INT32 id);

    void setDataReceiver(KxcDataReceiver* receiver);                     ///< the default receiver
    INT32 addDataReceiver(UINT32 receiverId, KxcDataReceiver* receiver); ///< 1; 0 when memory runs out
    KxcDataReceiver* getDataReceiver(UINT32 receiverId);
    KxcDataReceiver* removeDataReceiver(UINT32 receiverId);
    INT32 getError() { return 0; }

protected:
    KxcCommunicationScheduler();
    KxcCommunicationHandler* getSchedulerObjectByType(INT32 type) const;
    KxcCommunicationHandler* getSchedulerObjectByClientId(INT32 id) const;

private:
    KxcCommunicationHandler* handlers[2]; // the game's: Bluetooth, Internet
    KxcObjectDataServant* servant;        // owned
};

/// Makes the core's scheduler, once. Called from a game's init function.
KXC_API void kxcUseNetwork();
