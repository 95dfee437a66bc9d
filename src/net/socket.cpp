// socket.cpp - sockets and datagram sockets: the system's calls, with indexes translated.
#include <kxcoreemb/socket.h>

#include "core/core_state.h"
#include "net/stream_worker.h"
#include "platform/platform.h"

#include <new>

namespace
{

bool isInet(const KxcAddress& address) { return address.getType() == KXCADDRESS_INET; }

} // namespace

KxcSocket::KxcSocket() : handle(-1), backlog(0), backlogNoted(false), requested(false) {}

KxcSocket::~KxcSocket() { close(); }

INT32 KxcSocket::open(INT32 familyIndex, INT32 typeIndex, INT32 protocolIndex)
{
    close();
    handle = kxcPlatformSocketOpen(kxcPlatformSocketValue(familyIndex), kxcPlatformSocketValue(typeIndex),
                                   kxcPlatformSocketValue(protocolIndex));
    return handle < 0 ? -1 : 0;
}

void KxcSocket::close()
{
    if (requested && kxcCore && kxcCore->streamWorker)
        kxcCore->streamWorker->forget(this);
    requested = false;
    kxcPlatformSocketClose(handle);
    handle = -1;
}

void* KxcSocket::getHandle() const { return reinterpret_cast<void*>(static_cast<intptr_t>(handle)); }

void KxcSocket::setHandle(void* newHandle) { handle = static_cast<INT32>(reinterpret_cast<intptr_t>(newHandle)); }

INT32 KxcSocket::getOption(INT32 levelIndex, INT32 optionIndex, void* value, INT32* length)
{
    return kxcPlatformSocketGetOption(handle, kxcPlatformSocketValue(levelIndex), kxcPlatformSocketValue(optionIndex),
                                      value, length);
}

INT32 KxcSocket::setOption(INT32 levelIndex, INT32 optionIndex, const void* value, INT32 length)
{
    return kxcPlatformSocketSetOption(handle, kxcPlatformSocketValue(levelIndex), kxcPlatformSocketValue(optionIndex),
                                      value, length);
}

INT32 KxcSocket::ioctl(INT32 commandIndex, UINT32* argument)
{
    return argument ? kxcPlatformSocketControl(handle, kxcPlatformSocketValue(commandIndex), argument) : -1;
}

INT32 KxcSocket::getLocalAddress(KxcAddress& address)
{
    return isInet(address) ? kxcPlatformSocketLocalAddress(handle, address.getAddress()) : -1;
}

INT32 KxcSocket::getRemoteAddr(KxcAddress& address)
{
    return isInet(address) ? kxcPlatformSocketPeerAddress(handle, address.getAddress()) : -1;
}

KxcDgramSocket* KxcDgramSocket::create() { return new (std::nothrow) KxcDgramSocket; }

INT32 KxcDgramSocket::open(const KxcAddress& local)
{
    if (!isInet(local) || open(local.getType(), KXCSOCKET_DATAGRAM, 0) != 0)
        return -1;
    if (kxcPlatformSocketBind(handle, local.getAddress()) == 0)
        return 0;
    close();
    return -1;
}

INT32 KxcDgramSocket::sendTo(const char* data, INT32 length, INT32 flags, const KxcAddress& to)
{
    return isInet(to) ? kxcPlatformSocketSendTo(handle, data, length, flags, to.getAddress()) : -1;
}

INT32 KxcDgramSocket::recvFrom(char* buffer, INT32 length, INT32 flags, KxcAddress& from)
{
    return isInet(from) ? kxcPlatformSocketReceiveFrom(handle, buffer, length, flags, from.getAddress()) : -1;
}
