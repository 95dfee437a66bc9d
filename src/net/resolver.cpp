// resolver.cpp - host names to addresses and back.
#include <kxcoreemb/address.h>
#include <kxcoreemb/communication.h>

#include "platform/platform.h"

#include <cstring>
#include <new>

namespace
{

constexpr INT32 kNameSize = 256; // of the longest name the network knows, its terminator included

/// The host of the first address that belongs to the name, into an address of the Internet's; the port stays.
INT32 lookUp(const char* name, KxcAddress& address)
{
    UINT32 host;
    if (address.getType() != KXCADDRESS_INET || !kxcPlatformHostAddress(name, &host))
        return -1;
    static_cast<KxcInetAddress&>(address).setHost(host);
    return 1;
}

} // namespace

KxcHostResolver::~KxcHostResolver() = default;

KxcInetHostResolver::KxcInetHostResolver() : KxcHostResolver(KXCCONNECTION_INET) {}

KxcInetHostResolver* KxcInetHostResolver::create() { return new (std::nothrow) KxcInetHostResolver; }

INT32 KxcInetHostResolver::getHostByString(const char* text, KxcInetAddress& address)
{
    if (!text || address.getType() != KXCADDRESS_INET)
        return -1;
    const UINT32 host = KxcInetAddress::inetAddress(text);
    if (host == KxcInetAddress::kNoAddress)
        return lookUp(text, address);
    // An address is its own answer. The network's list of names has nothing to add, and may take seconds to say so.
    address.setHost(host);
    return 1;
}

INT32 KxcInetHostResolver::localAddress(KxcAddress& address)
{
    char name[kNameSize];
    return kxcPlatformHostName(name, kNameSize) ? lookUp(name, address) : -1;
}

INT32 KxcInetHostResolver::localName(KxcName& name)
{
    char text[kNameSize];
    UINT32 host;
    if (!kxcPlatformHostName(text, kNameSize) || !kxcPlatformHostAddress(text, &host))
        return -1;
    name.setName(text);
    return 1;
}

INT32 KxcInetHostResolver::remoteName(const KxcAddress& address, KxcHostEntry& entry)
{
    char text[kNameSize];
    if (address.getType() != KXCADDRESS_INET ||
        !kxcPlatformHostNameOf(static_cast<const KxcInetAddress&>(address).getHost(), text, kNameSize))
        return -1;
    KxcName name;
    name.setName(text);
    entry.setAddress(address);
    entry.setName(name);
    return 1;
}

INT32 KxcInetHostResolver::remoteAddress(const KxcName& name, KxcHostEntry& entry)
{
    KxcInetAddress address;
    if (lookUp(name.getName(), address) < 0)
        return -1;
    entry.setAddress(address);
    entry.setName(name);
    return 1;
}
