// address.cpp - addresses and the entries of hosts.
#include <kxcoreemb/address.h>

#include <cstring>
#include <new>

namespace
{

constexpr UINT16 kFamily = 2; // IPv4, in the host's byte order

/// Reads a number from 0 to 255 and moves on behind it; below 0 when there is none.
INT32 takeByte(const char*& text)
{
    INT32 value = -1;
    for (; *text >= '0' && *text <= '9'; ++text)
    {
        value = (value < 0 ? 0 : value * 10) + (*text - '0');
        if (value > 255)
            return -1;
    }
    return value;
}

} // namespace

KxcAddress::~KxcAddress() = default;

KxcInetAddress::KxcInetAddress() : KxcAddress(KXCADDRESS_INET, kRecordSize), record()
{
    memcpy(record, &kFamily, sizeof(kFamily));
}

KxcInetAddress* KxcInetAddress::create() { return new (std::nothrow) KxcInetAddress; }

KxcInetAddress* KxcInetAddress::create(const KxcAddress& other)
{
    if (other.getType() != KXCADDRESS_INET)
        return nullptr;
    KxcInetAddress* address = create();
    if (address)
        memcpy(address->record, other.getAddress(), kRecordSize);
    return address;
}

void KxcInetAddress::setAddress(void* data, INT32 bytes)
{
    if (data && bytes >= 0 && bytes <= kRecordSize)
        memcpy(record, data, static_cast<size_t>(bytes));
}

INT32 KxcInetAddress::isSame(const KxcAddress& other) const
{
    return other.getType() == KXCADDRESS_INET && getHost() == static_cast<const KxcInetAddress&>(other).getHost();
}

INT32 KxcInetAddress::isSame(const KxcInetAddress& a, const KxcInetAddress& b)
{
    return memcmp(a.record + 2, b.record + 2, 6) == 0 ? 1 : -1;
}

void KxcInetAddress::setPort(UINT16 port)
{
    record[2] = static_cast<UINT8>(port >> 8);
    record[3] = static_cast<UINT8>(port);
}

UINT16 KxcInetAddress::getPort() const { return static_cast<UINT16>(record[2] << 8 | record[3]); }

void KxcInetAddress::setHost(const char* dotted)
{
    const UINT32 host = inetAddress(dotted);
    if (host != kNoAddress)
        setHost(host);
}

void KxcInetAddress::setHost(UINT32 networkOrder) { memcpy(record + 4, &networkOrder, sizeof(networkOrder)); }

UINT32 KxcInetAddress::getHost() const
{
    UINT32 host;
    memcpy(&host, record + 4, sizeof(host));
    return host;
}

void KxcInetAddress::getHost(char* buffer, INT32& length) const
{
    char text[16];
    INT32 textLength = 0;
    for (INT32 i = 0; i < 4; ++i)
    {
        const UINT8 value = record[4 + i];
        if (i > 0)
            text[textLength++] = '.';
        if (value >= 100)
            text[textLength++] = static_cast<char>('0' + value / 100);
        if (value >= 10)
            text[textLength++] = static_cast<char>('0' + value / 10 % 10);
        text[textLength++] = static_cast<char>('0' + value % 10);
    }
    if (textLength < length)
    {
        memcpy(buffer, text, static_cast<size_t>(textLength));
        length = textLength;
    }
    else if (textLength == length)
        length = 0;
    else if (length > 0)
        memcpy(buffer, text, static_cast<size_t>(length));
}

UINT32 KxcInetAddress::inetAddress(const char* dotted)
{
    UINT8 bytes[4];
    for (INT32 i = 0; dotted && i < 4; ++i)
    {
        const INT32 value = takeByte(dotted);
        if (value < 0 || *dotted != (i < 3 ? '.' : 0))
            return kNoAddress;
        bytes[i] = static_cast<UINT8>(value);
        ++dotted;
    }
    if (!dotted)
        return kNoAddress;
    UINT32 address;
    memcpy(&address, bytes, sizeof(address));
    return address;
}

void KxcName::setName(const char* name, INT32 nameLength)
{
    length = !name || nameLength < 0 ? 0 : nameLength < kMaxLength ? nameLength : kMaxLength;
    if (length > 0)
        memcpy(text, name, static_cast<size_t>(length));
    text[length] = 0;
}

void KxcName::setName(const char* name) { setName(name, name ? static_cast<INT32>(strnlen(name, kMaxLength)) : 0); }

KxcHostEntry::~KxcHostEntry() = default;

KxcInetHostEntry* KxcInetHostEntry::create() { return new (std::nothrow) KxcInetHostEntry; }

void KxcInetHostEntry::setAddress(const KxcAddress& newAddress)
{
    if (newAddress.getType() == KXCADDRESS_INET)
        address = static_cast<const KxcInetAddress&>(newAddress);
}
