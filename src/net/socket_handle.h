// socket_handle.h - the platform's number of a socket, for waiting.
#pragma once

#include <kxcoreemb/socket.h>

inline INT32 kxcSocketHandle(const KxcSocket& socket)
{
    return static_cast<INT32>(reinterpret_cast<intptr_t>(socket.getHandle()));
}
