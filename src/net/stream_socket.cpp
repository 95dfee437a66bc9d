// stream_socket.cpp - stream sockets, and their way to the worker.
#include <kxcoreemb/socket.h>

#include "core/core_state.h"
#include "net/stream_worker.h"
#include "platform/platform.h"

#include <new>

KxcAsyncCallBack::~KxcAsyncCallBack() = default;

KxcStreamSocket* KxcStreamSocket::create(INT32)
{
    KxcStreamSocket* socket = new (std::nothrow) KxcStreamSocket;
    if (socket && socket->open(KXCSOCKET_INET, KXCSOCKET_STREAM, 0) != 0)
    {
        delete socket;
        socket = nullptr;
    }
    return socket;
}

/// Here and not only in the base: the worker may use the socket until it was closed.
KxcStreamSocket::~KxcStreamSocket() { close(); }

KxcStreamWorker* KxcStreamSocket::worker()
{
    if (kxcCore && !kxcCore->streamWorker)
        kxcCore->streamWorker = KxcStreamWorker::create();
    return kxcCore ? kxcCore->streamWorker : nullptr;
}

INT32 KxcStreamSocket::stopWaiting()
{
    UINT32 on = 1;
    return ioctl(KXCSOCKET_NONBLOCKING, &on);
}

INT32 KxcStreamSocket::bind(KxcAddress& local)
{
    return local.getType() == KXCADDRESS_INET ? kxcPlatformSocketBind(handle, local.getAddress()) : -1;
}

INT32 KxcStreamSocket::listen(INT32 newBacklog)
{
    backlog = newBacklog;
    if (backlogNoted)
        return kxcPlatformSocketListen(handle, backlog);
    backlogNoted = true;
    return 0;
}

INT32 KxcStreamSocket::open(const KxcAddress& remote, KxcAsyncCallBack* callback)
{
    if (remote.getType() != KXCADDRESS_INET ||
        (handle < 0 && open(KXCSOCKET_INET, KXCSOCKET_STREAM, 0) != 0)) // it was closed before
        return -1;
    KxcStreamWorker* helper = callback ? worker() : nullptr;
    if (callback && (!helper || stopWaiting() != 0))
        return -1;
    if (!callback)
        return kxcPlatformSocketConnect(handle, remote.getAddress()) < 0 ? -1 : 0;
    requested = true;
    if (helper->add(this, KxcStreamWorker::reserved, callback) != 0) // before the peer hears of it
        return -1;
    if (kxcPlatformSocketConnect(handle, remote.getAddress()) >= 0)
        return helper->add(this, KxcStreamWorker::connecting, callback); // told of even when it is there already
    helper->forget(this);
    return -1;
}

INT32 KxcStreamSocket::open(KxcSocket& listening, KxcAsyncCallBack* callback)
{
    KxcStreamWorker* helper = callback ? worker() : nullptr;
    UINT32 on = 1;
    if (!helper || kxcPlatformSocketListen(listening.handle, listening.backlog) != 0 ||
        listening.ioctl(KXCSOCKET_NONBLOCKING, &on) != 0)
        return -1;
    requested = listening.requested = true;
    return helper->add(this, KxcStreamWorker::accepting, callback, &listening);
}

INT32 KxcStreamSocket::recv(char* buffer, INT32 length, INT32 flags)
{
    return kxcPlatformSocketReceive(handle, buffer, length, flags);
}

INT32 KxcStreamSocket::send(const char* data, INT32 length, INT32 flags)
{
    return kxcPlatformSocketSend(handle, data, length, flags);
}

INT32 KxcStreamSocket::recv(KxcAsyncCallBack* callback)
{
    KxcStreamWorker* helper = callback ? worker() : nullptr;
    if (!helper)
        return -1;
    if (helper->isReceiving(this))
        return 0;
    if (stopWaiting() != 0)
        return -1;
    requested = true;
    return helper->add(this, KxcStreamWorker::receiving, callback);
}

INT32 KxcStreamSocket::send(const char* data, INT32 length, KxcAsyncCallBack* callback)
{
    if (recv(callback) != 0)
        return -1;
    const INT32 sent = send(data, length, 0);
    if (sent >= 0)
        worker()->tellSent(this, sent, callback);
    return sent;
}
