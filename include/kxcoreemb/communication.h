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
enum KXCCONNECTION : KxcINT32
{
    KXCCONNECTION_INET = 1,
    KXCCONNECTION_BLUETOOTH = 3
};

/// Values of getLastError().
enum KXCCOMMERROR : KxcINT32
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
///
/// Ownership  the game's; it is taken out with removeDataReceiver() before it is deleted.
/// Threads    the frame thread, within runScheduler().
class KXC_API KxcDataReceiver
{
public:
    virtual void addData(KxcINT32 clientId, const char* data, KxcINT32 length); ///< the data is gone after the call
    virtual void addData(const char* data, KxcINT32 length); ///< the same for those who need not know who spoke
    virtual ~KxcDataReceiver();
};

/// Told that a peer has been silent for longer than its connection timeout: at every run, until it speaks again or is
/// removed. It may be removed and deleted in here.
///
/// Ownership  the game's.
/// Threads    the frame thread, within runScheduler().
class KXC_API KxcClientLost
{
public:
    /// Called at every run; what the id is, KxcCommunicationScheduler::addClient() answered.
    virtual void clientLost(KxcINT32 clientId) = 0;
    virtual ~KxcClientLost();
};

/// Told of a message from an address that belongs to no client, as a newcomer's first one. A client may be added in
/// here, but hears only what comes later.
///
/// Ownership  the game's.
/// Threads    the frame thread, within runScheduler().
class KXC_API KxcUnknownSender
{
public:
    /// Called once for each such message. @param sender, data  gone after the call @param length  in bytes.
    virtual void dataFromUnknownSender(const KxcAddress* sender, const char* data, KxcINT32 length) = 0;
    virtual ~KxcUnknownSender();
};

/// Which of two items goes first, and moving them forward and back.
class KXC_API KxcPriorityHelp
{
public:
    virtual ~KxcPriorityHelp();
    virtual void increase(void* item) = 0;                            ///< one step back in the order
    virtual void decrease(void* item) = 0;                            ///< one step forward
    virtual KxcINT32 priorityCheck(const void* a, const void* b) = 0; ///< -1 when a's is greater, 1 when smaller, 0
};

/// Hands received messages to the receiver of their id, else to the default receiver, else drops them.
///
/// Ownership  receivers stay the game's.
/// Threads    the frame thread only.
class KXC_API KxcObjectDataServant
{
public:
    static KxcObjectDataServant* create(); ///< null when memory runs out
    ~KxcObjectDataServant();
    KxcObjectDataServant(const KxcObjectDataServant&) = delete;
    KxcObjectDataServant& operator=(const KxcObjectDataServant&) = delete;

    /// The default receiver; null drops what nobody wants.
    void setDataReceiver(KxcDataReceiver* receiver) { defaultReceiver = receiver; }
    /// Replaces the receiver of this id; it stays the caller's. @return 1; 0 when memory runs out
    KxcINT32 addDataReceiver(KxcUINT32 receiverId, KxcDataReceiver* receiver);
    KxcDataReceiver* getDataReceiver(KxcUINT32 receiverId) const; ///< null for an id that nobody has
    KxcDataReceiver* removeDataReceiver(KxcUINT32 receiverId);    ///< the one that was there, or null
    /// Hands a message over: KxcDataReceiver::addData, without and with the client's id.
    void deliver(KxcINT32 clientId, KxcUINT32 receiverId, const char* data, KxcINT32 length) const;

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
    virtual void intializeClient();    ///< for connections that need it; no effect here
    virtual void deinitializeClient(); ///< likewise
    /// A frame to write a message into, locked; unlock() sends it. @param slot  a KXCSLOT_ value
    /// @return the client's; null when all frames are in use
    virtual KxcObjectDataFrame* getPacketFrame(KxcINT32 slot) = 0;
    /// The frame of the state with this id, which may still wait to be sent, else a new one; as getPacketFrame().
    virtual KxcObjectDataFrame* getRecentStateFrame(KxcINT32 id) = 0;
    virtual void removeRecentStateFrame(KxcINT32 id) = 0; ///< a state that waits to be sent is not sent
    /// Takes what the peer sent. @return its payload's length
    virtual KxcINT32 incoming(KxcObjectPacketBase& packet) = 0;
    /// Fills what is to be sent. @return bytes, 0 for nothing
    virtual KxcINT32 outgoing(KxcObjectPacketBase& packet) = 0;
    virtual KxcINT32 bandwidthCheck() = 0;                       ///< 1 when the peer may be sent to
    virtual KxcINT32 isClientActive() = 0;                       ///< 1; -1, with the reason in getLastError()
    virtual KxcINT32 testAddress(const KxcAddress& address) = 0; ///< -1 unless it is the peer's
    virtual void setAddress(const KxcAddress& address) = 0;      ///< copied
    KxcClientCommWin(const KxcClientCommWin&) = delete;
    KxcClientCommWin& operator=(const KxcClientCommWin&) = delete;

    KxcINT32 initClientCommWin() { return 1; }                    ///< always 1
    KxcINT32 getConnectionType() const { return connectionType; } ///< a KXCCONNECTION_ value: which handler serves it
    void setConnectionType(KxcINT32 type) { connectionType = type; }      ///< for classes of a game's own
    KxcINT32 getConnectionTimeout() const { return connectionTimeoutMs; } ///< in milliseconds
    /// How long a peer may be silent. 0 at first, where every pause of a millisecond is reported to KxcClientLost.
    void setConnectionTimeout(KxcINT32 milliseconds) { connectionTimeoutMs = milliseconds; }
    KxcINT32 getRtt() const { return rttMs; } ///< of the last probe, in milliseconds; 0 before the first was answered
    void setRtt(KxcINT32 milliseconds) { rttMs = milliseconds; } ///< in milliseconds; for classes of a game's own
    KxcINT32 getCommSpeed() const { return commSpeed; }          ///< as KxcCommunicationHandler::getConnectionSpeed
    void setCommSpeed(KxcINT32 code);                            ///< see KxcCommunicationHandler::setConnectionSpeed
    KxcINT32 getLastError() const { return lastError; }          ///< a KXCCOMMERROR_ value, as isClientActive() left it
    void setLastError(KxcINT32 error) { lastError = error; }     ///< for classes of a game's own
    KxcObjectDataServant* getObjectDataServant() const { return servant; } ///< where received messages go
    /// What KxcCommunicationScheduler::addClient() does.
    void setObjectDataServant(KxcObjectDataServant* value) { servant = value; }
    KxcAddress* getAddress() const { return address; } ///< the peer's; stays the client's
    KxcINT32 getClientId() const { return clientId; }  ///< -1 until the client was added
    void setClientId(KxcINT32 id) { clientId = id; }   ///< what KxcCommunicationHandler::addClientCommWin() does

protected:
    KxcClientCommWin();

    KxcINT32 connectionType, connectionTimeoutMs, rttMs, commSpeed, lastError, clientId;
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
    virtual void closeService() = 0;  ///< ends it; harmless while it is closed
    virtual KxcINT32 outgoing() = 0;  ///< sends what is due
    virtual KxcINT32 incoming() = 0;  ///< receives at most one datagram
    virtual void checkActivity() = 0; ///< tells the listener of lost clients
    /// Tells the listener of a datagram that belongs to no client.
    virtual void unknownSender(const KxcAddress* sender, KxcObjectPacketBase* packet) = 0;
    KxcCommunicationHandler(const KxcCommunicationHandler&) = delete;
    KxcCommunicationHandler& operator=(const KxcCommunicationHandler&) = delete;

    KxcINT32 addClientCommWin(KxcClientCommWin* client); ///< into the lowest free slot. @return its id, or -1
    KxcClientCommWin* removeClientCommWin(KxcINT32 id);  ///< takes it out of the table; null when nobody has the id
    KxcClientCommWin* getClientCommWin(KxcINT32 id);     ///< null when nobody has the id
    /// Resizes the table (10 at first); clients in slots beyond it leave it.
    KxcINT32 setMaxClientCount(KxcINT32 count);
    KxcINT32 getMaxClientCount() const { return maxClientCount; } ///< slots of the table
    KxcINT32 getClientCount() const;                              ///< occupied slots
    /// The error that was stored, or why there is no such client.
    KxcINT32 setClientLastError(KxcINT32 id, KxcINT32 error);
    KxcINT32 getClientLastError(KxcINT32 id) const;  ///< the client's, or why there is none
    KxcINT32 testAddress(const KxcAddress& address); ///< the slot of the client with this address, or -1

    KxcINT32 getLastError() const { return lastError; }                      ///< a KXCCOMMERROR_ value; -1 at first
    void setLastError(KxcINT32 error) { lastError = error; }                 ///< for classes of a game's own
    KxcINT32 getClientBaseNumber() const { return clientBaseNumber; }        ///< the id of the first slot
    void setClientBaseNumber(KxcINT32 number) { clientBaseNumber = number; } ///< what addCommunicationHandler() does
    KxcINT32 getConnectionType() const { return connectionType; }            ///< a KXCCONNECTION_ value
    void setConnectionType(KxcINT32 type) { connectionType = type; }         ///< for classes of a game's own
    KxcINT32 getConnectionSpeed() const { return connectionSpeed; } ///< see docs/protocol.md for the pauses it makes
    /// Sets how long to pause after a datagram, by a code.
    /// @param code  1, 2: 1000; 3: 240000; 4: 1370000; 5: as it is; any other: 2000, as at first
    void setConnectionSpeed(KxcINT32 code);
    void tuneConnectionSpeed(KxcINT32 speed) { connectionSpeed = speed; }  ///< any value
    KxcClientLost* getClientLost() const { return clientLost; }            ///< null at first
    void setClientLost(KxcClientLost* listener) { clientLost = listener; } ///< stays the caller's; null for none
    KxcUnknownSender* getUnknownSenderHandler() const { return unknownSenderListener; } ///< null at first
    /// Stays the caller's; null for none.
    void setUnknownSenderHandler(KxcUnknownSender* listener) { unknownSenderListener = listener; }

protected:
    KxcCommunicationHandler();
    KxcINT32 baseInit();                                 ///< allocates the client table; 0 when memory runs out
    KxcINT32 slotOf(KxcINT32 id, KxcINT32& error) const; ///< the occupied slot, or -1 and why

    KxcINT32 maxClientCount, clientBaseNumber, connectionType, lastError, connectionSpeed;
    KxcClientCommWin** clients; // owned table, not its clients
    KxcUnknownSender* unknownSenderListener;
    KxcClientLost* clientLost;
};

/// What the core runs once a frame.
class KXC_API KxcCommunication
{
public:
    virtual ~KxcCommunication();
    virtual KxcINT32 runScheduler() = 0; ///< serves all connections
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

    KxcINT32 runScheduler() override; ///< the engine calls it once a frame. @return -1

    /// Installs the handler of its connection type.
    /// @return the handler's index (Internet 1, Bluetooth 0), whose former handler is replaced; -3 for an unknown type
    KxcINT32 addCommunicationHandler(KxcCommunicationHandler* handler);
    KxcCommunicationHandler* getCommunicationHandler(KxcINT32 index) const; ///< null when there is none
    /// The one that was there, or null; it is the game's.
    KxcCommunicationHandler* removeCommunicationHandler(KxcINT32 index);

    KxcINT32 addClient(KxcClientCommWin* client);      ///< its id; -1 when the table is full; -2 without a handler
    KxcClientCommWin* removeClient(KxcINT32 clientId); ///< the client, which is the game's; null when nobody has the id
    KxcClientCommWin* getClient(KxcINT32 clientId);    ///< null when nobody has the id
    KxcINT32 getRoundTripTime(KxcINT32 clientId);      ///< in milliseconds, or -1
    /// A frame to write a message into. @param slot  a KXCSLOT_ value @return null when all frames are in use
    KxcObjectDataFrame* getPacketFrame(KxcINT32 clientId, KxcINT32 slot);
    /// As KxcClientCommWin::getRecentStateFrame. @return null also when nobody has the id
    KxcObjectDataFrame* getRecentStateFrame(KxcINT32 clientId, KxcINT32 id);
    void removeRecentStateFrame(KxcINT32 clientId, KxcINT32 id); ///< as KxcClientCommWin::removeRecentStateFrame

    void setDataReceiver(KxcDataReceiver* receiver); ///< the default receiver; null drops what nobody wants
    KxcINT32 addDataReceiver(KxcUINT32 receiverId, KxcDataReceiver* receiver); ///< 1; 0 when memory runs out
    KxcDataReceiver* getDataReceiver(KxcUINT32 receiverId);                    ///< null for an id that nobody has
    KxcDataReceiver* removeDataReceiver(KxcUINT32 receiverId);                 ///< the one that was there, or null
    KxcINT32 getError() { return 0; }                                          ///< 0

protected:
    KxcCommunicationScheduler();
    KxcCommunicationHandler* getSchedulerObjectByType(KxcINT32 type) const;
    KxcCommunicationHandler* getSchedulerObjectByClientId(KxcINT32 id) const;

private:
    KxcCommunicationHandler* handlers[2]; // the game's: Bluetooth, Internet
    KxcObjectDataServant* servant;        // owned
};

/// Makes the core's scheduler, once. Called from a game's init function.
KXC_API void kxcUseNetwork();
