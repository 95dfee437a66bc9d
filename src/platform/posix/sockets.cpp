// sockets.cpp - sockets and host names over BSD sockets.
//
// The engine's address record is converted field by field: systems differ in what comes before the port.
#include "platform/platform.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr size_t kRecordSize = 16;
constexpr INT32 kInetFamily = 2; // in the engine's record

#ifdef MSG_NOSIGNAL
constexpr int kNoSignal = MSG_NOSIGNAL;
#else
constexpr int kNoSignal = 0; // SO_NOSIGPIPE does it, see adopt()
#endif

sockaddr_in toSystem(const void* record)
{
    sockaddr_in address = {};
    const UINT8* bytes = static_cast<const UINT8*>(record);
    address.sin_family = AF_INET;
    memcpy(&address.sin_port, bytes + 2, 2);
    memcpy(&address.sin_addr, bytes + 4, 4);
    return address;
}

void fromSystem(const sockaddr_in& address, void* record)
{
    UINT8* bytes = static_cast<UINT8*>(record);
    const UINT16 family = kInetFamily;
    memset(bytes, 0, kRecordSize);
    memcpy(bytes, &family, 2);
    memcpy(bytes + 2, &address.sin_port, 2);
    memcpy(bytes + 4, &address.sin_addr, 4);
}

sockaddr* generic(sockaddr_in* address) { return reinterpret_cast<sockaddr*>(address); }

/// What every socket of the engine has in common: programs it starts do not inherit it, and a lost peer is no signal.
INT32 adopt(int socket)
{
    if (socket < 0)
        return -1;
    fcntl(socket, F_SETFD, FD_CLOEXEC);
#ifdef SO_NOSIGPIPE
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof(on));
#endif
    return socket;
}

} // namespace

// POSIX sockets need no start.
INT32 kxcPlatformSocketsStart() { return 1; }

void kxcPlatformSocketsStop() {}

INT32 kxcPlatformSocketValue(INT32 index)
{
    static const INT32 values[] = {0,
                                   SOCK_STREAM,
                                   SOCK_DGRAM,
                                   AF_INET,
                                   0,
                                   static_cast<INT32>(FIONBIO),
                                   static_cast<INT32>(FIONREAD),
                                   SOL_SOCKET,
                                   IPPROTO_TCP,
                                   IPPROTO_UDP,
                                   IPPROTO_IP,
                                   SO_BROADCAST,
                                   SO_KEEPALIVE,
                                   SO_REUSEADDR,
                                   SO_SNDBUF,
                                   1,
                                   SO_RCVBUF,
                                   1,
                                   0,
                                   0,
                                   SO_BROADCAST};
    constexpr INT32 count = sizeof(values) / sizeof(values[0]);
    static_assert(count == 21, "one value for each index");
    return index >= 0 && index < count ? values[index] : -1;
}

INT32 kxcPlatformSocketOpen(INT32 family, INT32 type, INT32 protocol) { return adopt(socket(family, type, protocol)); }

void kxcPlatformSocketClose(INT32 socket)
{
    if (socket >= 0)
        close(socket);
}

INT32 kxcPlatformSocketBind(INT32 socket, const void* address)
{
    sockaddr_in local = toSystem(address);
    return bind(socket, generic(&local), sizeof(local));
}

INT32 kxcPlatformSocketListen(INT32 socket, INT32 backlog) { return listen(socket, backlog); }

INT32 kxcPlatformSocketAccept(INT32 socket) { return adopt(accept(socket, nullptr, nullptr)); }

INT32 kxcPlatformSocketConnect(INT32 socket, const void* address)
{
    sockaddr_in peer = toSystem(address);
    if (connect(socket, generic(&peer), sizeof(peer)) == 0)
        return 0;
    return errno == EINPROGRESS || errno == EINTR ? 1 : -1; // interrupted, it goes on all the same
}

INT32 kxcPlatformSocketConnectEnd(INT32 socket)
{
    int error = 0;
    socklen_t length = sizeof(error);
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0 ? 0 : -1;
}

INT32 kxcPlatformSocketSend(INT32 socket, const char* data, INT32 length, INT32 flags)
{
    return length < 0 ? -1 : static_cast<INT32>(send(socket, data, static_cast<size_t>(length), flags | kNoSignal));
}

INT32 kxcPlatformSocketReceive(INT32 socket, char* buffer, INT32 length, INT32 flags)
{
    return length < 0 ? -1 : static_cast<INT32>(recv(socket, buffer, static_cast<size_t>(length), flags));
}

INT32 kxcPlatformSocketSendTo(INT32 socket, const char* data, INT32 length, INT32 flags, const void* address)
{
    sockaddr_in to = toSystem(address);
    return length < 0 ? -1
                      : static_cast<INT32>(sendto(socket, data, static_cast<size_t>(length), flags | kNoSignal,
                                                  generic(&to), sizeof(to)));
}

INT32 kxcPlatformSocketReceiveFrom(INT32 socket, char* buffer, INT32 length, INT32 flags, void* address)
{
    sockaddr_in from = {};
    socklen_t fromLength = sizeof(from);
    if (length < 0)
        return -1;
    const ssize_t received = recvfrom(socket, buffer, static_cast<size_t>(length), flags, generic(&from), &fromLength);
    if (received >= 0)
        fromSystem(from, address);
    return static_cast<INT32>(received);
}

INT32 kxcPlatformSocketGetOption(INT32 socket, INT32 level, INT32 option, void* value, INT32* length)
{
    socklen_t systemLength = static_cast<socklen_t>(*length);
    const INT32 result = getsockopt(socket, level, option, value, &systemLength);
    *length = static_cast<INT32>(systemLength);
    return result;
}

INT32 kxcPlatformSocketSetOption(INT32 socket, INT32 level, INT32 option, const void* value, INT32 length)
{
    return setsockopt(socket, level, option, value, static_cast<socklen_t>(length));
}

INT32 kxcPlatformSocketControl(INT32 socket, INT32 command, UINT32* argument)
{
    int value = static_cast<int>(*argument);
    const INT32 result = ioctl(socket, static_cast<unsigned long>(static_cast<UINT32>(command)), &value);
    *argument = static_cast<UINT32>(value);
    return result;
}

INT32 kxcPlatformSocketLocalAddress(INT32 socket, void* address)
{
    sockaddr_in local = {};
    socklen_t length = sizeof(local);
    if (getsockname(socket, generic(&local), &length) != 0)
        return -1;
    fromSystem(local, address);
    return 0;
}

INT32 kxcPlatformSocketPeerAddress(INT32 socket, void* address)
{
    sockaddr_in peer = {};
    socklen_t length = sizeof(peer);
    if (getpeername(socket, generic(&peer), &length) != 0)
        return -1;
    fromSystem(peer, address);
    return 0;
}

INT32 kxcPlatformSocketWouldWait() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

INT32 kxcPlatformSocketWait(KxcPlatformSocketWatch* watches, INT32 count, INT32 timeoutMs)
{
    constexpr INT32 kMost = 64;
    pollfd entries[kMost];
    if (count > kMost)
        return -1;
    for (INT32 i = 0; i < count; ++i)
        entries[i] = {watches[i].socket, static_cast<short>(watches[i].forWriting ? POLLOUT : POLLIN), 0};
    int ready;
    do // a signal may only lengthen the wait
        ready = poll(entries, static_cast<nfds_t>(count), timeoutMs);
    while (ready < 0 && errno == EINTR);
    for (INT32 i = 0; i < count; ++i)
        watches[i].ready = ready > 0 && entries[i].revents != 0;
    return ready;
}

INT32 kxcPlatformHostAddress(const char* name, UINT32* address)
{
    addrinfo wanted = {}, *found = nullptr;
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_DGRAM; // any one type, or each address comes once for each
    if (getaddrinfo(name, nullptr, &wanted, &found) != 0)
        return 0;
    const bool usable = found->ai_addrlen >= sizeof(sockaddr_in);
    if (usable)
    {
        sockaddr_in first;
        memcpy(&first, found->ai_addr, sizeof(first));
        memcpy(address, &first.sin_addr, sizeof(*address));
    }
    freeaddrinfo(found);
    return usable;
}

INT32 kxcPlatformHostNameOf(UINT32 address, char* name, INT32 size)
{
    sockaddr_in record = {};
    record.sin_family = AF_INET;
    memcpy(&record.sin_addr, &address, sizeof(address));
    return size > 0 && getnameinfo(generic(&record), sizeof(record), name, static_cast<socklen_t>(size), nullptr, 0,
                                   NI_NAMEREQD) == 0;
}

INT32 kxcPlatformHostName(char* name, INT32 size)
{
    if (size <= 0 || gethostname(name, static_cast<size_t>(size)) != 0)
        return 0;
    name[size - 1] = 0; // a name that was cut may lack it
    return 1;
}
