// socket.h - datagram and stream sockets, and the callback of stream operations that take their time.
#pragma once

#include <kxcoreemb/address.h>

class KxcStreamWorker;

/// What sockets call families, types, protocols, levels, options and commands; the platform's own numbers stay hidden.
enum KXCSOCKET : KxcINT32
{
    KXCSOCKET_STREAM = 1,        ///< type
    KXCSOCKET_DATAGRAM = 2,      ///< type
    KXCSOCKET_INET = 3,          ///< family
    KXCSOCKET_NONBLOCKING = 5,   ///< ioctl: 1 never waits, 0 waits
    KXCSOCKET_READABLE = 6,      ///< ioctl: receives the number of bytes that wait
    KXCSOCKET_LEVELSOCKET = 7,   ///< level of the options below
    KXCSOCKET_TCP = 8,           ///< level, protocol
    KXCSOCKET_UDP = 9,           ///< protocol
    KXCSOCKET_IP = 10,           ///< protocol
    KXCSOCKET_BROADCAST = 11,    ///< option, KxcINT32: 1 allows sending to everybody
    KXCSOCKET_KEEPALIVE = 12,    ///< option, KxcINT32
    KXCSOCKET_REUSEADDRESS = 13, ///< option, KxcINT32
    KXCSOCKET_SENDBUFFER = 14,   ///< option, KxcINT32: bytes
    KXCSOCKET_RECVBUFFER = 16    ///< option, KxcINT32: bytes
};

/// Told what became of a stream socket's operation. Called on a thread of the engine's, never with a lock held.
class KXC_API KxcAsyncCallBack
{
public:
    virtual ~KxcAsyncCallBack();
    virtual void actionReady(KxcINT32 value) = 0;  ///< connected, or accepted; 0
    virtual void actionFailed(KxcINT32 value) = 0; ///< -1; the operation has ended
    virtual void actionCancel(KxcINT32 value) = 0; ///< the peer ended the stream; 0
    /// Bytes that arrived; they are gone after the call.
    virtual void actionReceive(const char* data, KxcINT32 length) = 0;
    virtual void actionSend(KxcINT32 length) = 0; ///< so many bytes were handed to the system
};

/// One socket of the system. Numbers that stand for the system's are KXCSOCKET_ values.
///
/// Failure  -1; an index out of range reaches the system as -1, which refuses it.
/// Threads  one at a time.
class KXC_API KxcSocket
{
public:
    virtual ~KxcSocket(); ///< closes it
    KxcSocket(const KxcSocket&) = delete;
    KxcSocket& operator=(const KxcSocket&) = delete;

    /// Makes the system's socket, closing an earlier one. @return 0 or -1
    KxcINT32 open(KxcINT32 familyIndex, KxcINT32 typeIndex, KxcINT32 protocolIndex);
    void close();                 ///< also ends what KxcStreamSocket was asked for
    void* getHandle() const;      ///< the system's handle; all bits set when closed
    void setHandle(void* handle); ///< takes the handle over without closing the earlier one
    /// Reads an option. @param value  receives it @param length  of the value in bytes; receives what was written
    /// @return 0 or -1
    KxcINT32 getOption(KxcINT32 levelIndex, KxcINT32 optionIndex, void* value, KxcINT32* length);
    /// Writes an option. @param length  of the value in bytes @return 0 or -1
    KxcINT32 setOption(KxcINT32 levelIndex, KxcINT32 optionIndex, const void* value, KxcINT32 length);
    /// A command: KXCSOCKET_NONBLOCKING, KXCSOCKET_READABLE. @return 0 or -1
    KxcINT32 ioctl(KxcINT32 commandIndex, KxcUINT32* argument);
    KxcINT32 getLocalAddress(KxcAddress& address); ///< where it is bound
    KxcINT32 getRemoteAddr(KxcAddress& address);   ///< whom it is connected to

protected:
    KxcSocket();
    KxcINT32 handle; // the platform's; -1 when closed

private:
    friend class KxcStreamSocket;
    friend class KxcStreamWorker;
    KxcINT32 backlog;  // of connections that wait to be accepted, as listen() noted it
    bool backlogNoted; // listen() was called
    bool requested;    // the stream worker may know this socket
};

/// A socket for datagrams.
///
/// Ownership  the caller deletes what create() returned, which closes it.
class KXC_API KxcDgramSocket : public KxcSocket
{
public:
    static KxcDgramSocket* create(); ///< without a system's socket yet; null when memory runs out
    using KxcSocket::open;
    KxcINT32 open(const KxcAddress& local); ///< makes the system's socket and binds it. @return 0 or -1
    /// Sends one datagram. @return the bytes sent, or -1
    KxcINT32 sendTo(const char* data, KxcINT32 length, KxcINT32 flags, const KxcAddress& to);
    /// Takes one datagram; what the buffer cannot hold is lost. @return its bytes, or -1: also when a socket that never
    /// waits has nothing to read.
    KxcINT32 recvFrom(char* buffer, KxcINT32 length, KxcINT32 flags, KxcAddress& from);

private:
    KxcDgramSocket() = default;
};

/// A socket for a stream of bytes. With a callback it does not wait: the outcome is told by a thread of the engine's,
/// which needs a core and serves ten sockets at a time.
///
/// Threads  the callback may use the socket it was called for, but not delete it: a socket that is deleted or closed
///          waits for a callback that runs, and no callback comes after that.
class KXC_API KxcStreamSocket : public KxcSocket
{
public:
    static KxcStreamSocket* create(KxcINT32 reserved = 0); ///< an IPv4 stream; null when the system has none left
    ~KxcStreamSocket() override;
    using KxcSocket::open;

    KxcINT32 bind(KxcAddress& local); ///< to an address of this host. @return 0 or -1
    /// The first call notes the backlog for open() and answers 0; further calls listen at once.
    KxcINT32 listen(KxcINT32 backlog);
    /// Connects. @return 0, and the callback's actionReady(0) or actionFailed(-1) follows; -1 when that failed at once
    KxcINT32 open(const KxcAddress& remote, KxcAsyncCallBack* callback);
    /// Takes the next connection that arrives at `listening`, then actionReady(0) or actionFailed(-1). @return 0 or -1
    KxcINT32 open(KxcSocket& listening, KxcAsyncCallBack* callback);

    KxcINT32 recv(char* buffer, KxcINT32 length,
                  KxcINT32 flags); ///< the bytes that came; 0 at the end of the stream; -1
    KxcINT32 send(const char* data, KxcINT32 length, KxcINT32 flags); ///< the bytes that went, or -1
    /// From now on hands what arrives to the callback (actionReceive), until the stream ends (actionCancel) or breaks
    /// (actionFailed). @return 0, also when it already does; -1 when ten sockets are served
    KxcINT32 recv(KxcAsyncCallBack* callback);
    /// Sends what the system takes at once; actionSend tells how much. Also begins to hand over what arrives.
    /// @return the bytes sent, or -1
    KxcINT32 send(const char* data, KxcINT32 length, KxcAsyncCallBack* callback);

private:
    friend class KxcStreamWorker;
    KxcStreamSocket() = default;
    static KxcStreamWorker* worker(); // the core's, which begins to work now; null without a core
    KxcINT32 stopWaiting();           // never waits from now on; 0 or -1
};
