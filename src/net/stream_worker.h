// stream_worker.h - the thread that waits for stream sockets and tells their callbacks what happened.
//
// Locks: `mutex` guards the requests and is held only for moments; `calling` is held while a callback runs, and taken
// before `mutex` where both are. A socket that is closed takes its request out of the table, then passes through
// `calling`, so that no callback for it runs or will run. Both locks are re-entrant: callbacks may use sockets.
#pragma once

#include <kxcoreemb/linked_list.h>
#include <kxcoreemb/socket.h>

#include "net/socket_worker.h"

class KxcStreamWorker : public KxcSocketWorker
{
public:
    /// What a request waits for.
    enum Kind : INT32
    {
        connecting = 1,
        accepting = 2,
        receiving = 8,
        reserved = 16, ///< for nothing yet: keeps the request for a connection that is being begun
        finished = 32  ///< sends that completed and have not been told of
    };

    static KxcStreamWorker* create(); ///< started; null when the system has no thread, lock or socket left
    ~KxcStreamWorker() override;      ///< waits for the thread

    /// Adds what to wait for to the socket's request. @param listening  for accepting, whose connection is taken
    /// @return 0, or -1 when all requests are in use
    INT32 add(KxcStreamSocket* socket, INT32 kind, KxcAsyncCallBack* callback, KxcSocket* listening = nullptr);
    INT32 isReceiving(const KxcStreamSocket* socket); ///< 1 when it is
    void tellSent(KxcStreamSocket* socket, INT32 length, KxcAsyncCallBack* callback);
    /// Ends the requests that have to do with the socket. Virtual, so that closing a socket does not link the worker.
    virtual void forget(const KxcSocket* socket);

    INT32 run() override;

private:
    static constexpr INT32 kMostRequests = 10;

    struct Sent
    {
        INT32 length;
        KxcAsyncCallBack* callback;
    };
    struct Request
    {
        KxcStreamSocket* socket = nullptr; // null: free
        INT32 kinds = 0;
        UINT32 changes = 0; // so far: tells whether what was waited for is still what is asked for
        KxcSocket* listening = nullptr;
        KxcAsyncCallBack *opener = nullptr, *receiver = nullptr;
        KxcLinkedList<Sent> sent;
    };

    KxcStreamWorker() = default;
    INT32 init();
    Request* find(const KxcStreamSocket* socket); // with `mutex` held, like the next two
    void end(Request& request, INT32 kinds);      // no longer waits for these
    INT32 watch(const Request& request, struct KxcPlatformSocketWatch& watch) const;
    void tellOfSends(Request& request);           // with `calling` held, like the next two
    void serve(Request& request, UINT32 changes); // one that is ready, unless it has changed since
    void receive(Request& request, KxcAsyncCallBack* callback, INT32 length);

    KxcMutex* calling = nullptr; // owned
    Request requests[kMostRequests];
    char bytes[4096]; // what was received last
};
