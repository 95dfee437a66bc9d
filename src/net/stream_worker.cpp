// stream_worker.cpp - waits for stream sockets on a thread of its own.
#include "net/stream_worker.h"

#include "platform/platform.h"

#include <new>

KxcStreamWorker* KxcStreamWorker::create()
{
    KxcStreamWorker* worker = new (std::nothrow) KxcStreamWorker;
    if (worker && !worker->init())
    {
        delete worker;
        worker = nullptr;
    }
    return worker;
}

INT32 KxcStreamWorker::init()
{
    calling = KxcMutex::create();
    return calling && start();
}

KxcStreamWorker::~KxcStreamWorker()
{
    stop();
    delete calling;
}

KxcStreamWorker::Request* KxcStreamWorker::find(const KxcStreamSocket* socket)
{
    for (Request& request : requests)
        if (request.socket == socket)
            return &request;
    return nullptr;
}

void KxcStreamWorker::end(Request& request, INT32 kinds)
{
    request.kinds &= ~kinds;
    if (request.kinds != 0)
        return;
    request.socket = nullptr;
    request.listening = nullptr;
    request.sent.clear();
}

INT32 KxcStreamWorker::add(KxcStreamSocket* socket, INT32 kind, KxcAsyncCallBack* callback, KxcSocket* listening)
{
    {
        const KxcHeld held(mutex);
        Request* request = find(socket);
        if (!request)
            request = find(nullptr);
        if (!request)
            return -1;
        request->socket = socket;
        request->kinds = (request->kinds & ~reserved) | kind;
        ++request->changes;
        if (kind == receiving)
            request->receiver = callback;
        else
            request->opener = callback;
        if (listening)
            request->listening = listening;
    }
    wake.signal();
    return 0;
}

INT32 KxcStreamWorker::isReceiving(const KxcStreamSocket* socket)
{
    const KxcHeld held(mutex);
    const Request* request = find(socket);
    return request && (request->kinds & receiving);
}

void KxcStreamWorker::tellSent(KxcStreamSocket* socket, INT32 length, KxcAsyncCallBack* callback)
{
    {
        const KxcHeld held(mutex);
        Request* request = find(socket);
        if (!request) // the stream ended meanwhile
            request = find(nullptr);
        if (!request || !request->sent.add({length, callback}))
            return;
        request->socket = socket;
        request->kinds |= finished;
    }
    wake.signal();
}

void KxcStreamWorker::forget(const KxcSocket* socket)
{
    {
        const KxcHeld held(mutex);
        for (Request& request : requests)
            if (request.socket && (request.socket == socket || request.listening == socket))
                end(request, ~0);
    }
    wake.signal();
    const KxcHeld held(calling); // a callback that has begun comes to its end first
}

INT32 KxcStreamWorker::watch(const Request& request, KxcPlatformSocketWatch& entry) const
{
    if (!request.socket || !(request.kinds & (connecting | accepting | receiving)))
        return 0;
    const bool accepts = (request.kinds & accepting) != 0;
    entry = {accepts ? request.listening->handle : request.socket->handle, (request.kinds & connecting) != 0, 0};
    return 1;
}

INT32 KxcStreamWorker::run()
{
    for (;;)
    {
        KxcPlatformSocketWatch watches[kMostRequests + 1] = {{wake.handle(), 0, 0}};
        UINT32 changes[kMostRequests];
        INT32 watchOf[kMostRequests]; // 0: none
        INT32 count = 1;
        bool anySent = false;
        {
            const KxcHeld held(mutex);
            if (!running)
                return 0;
            for (INT32 i = 0; i < kMostRequests; ++i)
            {
                changes[i] = requests[i].changes;
                anySent = anySent || (requests[i].kinds & finished);
                watchOf[i] = watch(requests[i], watches[count]) ? count++ : 0;
            }
        }
        if (kxcPlatformSocketWait(watches, count, anySent ? 0 : -1) < 0)
            return 1;
        if (watches[0].ready)
            wake.drain();
        for (INT32 i = 0; i < kMostRequests; ++i)
        {
            const KxcHeld held(calling);
            tellOfSends(requests[i]);
            if (watchOf[i] && watches[watchOf[i]].ready)
                serve(requests[i], changes[i]);
        }
    }
}

void KxcStreamWorker::tellOfSends(Request& request)
{
    for (;;)
    {
        Sent sent;
        {
            const KxcHeld held(mutex);
            if (!request.sent.removeFirst(sent))
            {
                if (request.kinds & finished)
                    end(request, finished);
                return;
            }
        }
        sent.callback->actionSend(sent.length);
    }
}

void KxcStreamWorker::serve(Request& request, UINT32 changes)
{
    INT32 outcome, length = 0;
    KxcAsyncCallBack* callback;
    bool opened;
    {
        const KxcHeld held(mutex);
        KxcStreamSocket* socket = request.socket;
        if (!socket || request.changes != changes) // it was closed meanwhile, or is asked for more
            return;
        opened = (request.kinds & (connecting | accepting)) != 0;
        callback = opened ? request.opener : request.receiver;
        if (request.kinds & connecting)
            outcome = kxcPlatformSocketConnectEnd(socket->handle);
        else if (request.kinds & accepting)
        {
            outcome = kxcPlatformSocketAccept(request.listening->handle);
            if (outcome >= 0)
            {
                kxcPlatformSocketClose(socket->handle);
                socket->handle = outcome;
                outcome = socket->stopWaiting();
            }
            else if (kxcPlatformSocketWouldWait()) // another request took the connection
                return;
        }
        else if (request.kinds & receiving)
        {
            length = kxcPlatformSocketReceive(socket->handle, bytes, sizeof(bytes), 0);
            outcome = length < 0 ? -1 : 0;
            if (outcome < 0 && kxcPlatformSocketWouldWait()) // somebody else read it
                return;
        }
        else
            return;
        if (outcome < 0 || (!opened && length == 0))
            end(request, ~0);
        else if (opened)
            end(request, connecting | accepting);
    }
    if (outcome < 0)
        callback->actionFailed(-1);
    else if (opened)
        callback->actionReady(0);
    else if (length == 0)
        callback->actionCancel(0);
    else
        callback->actionReceive(bytes, length);
}
