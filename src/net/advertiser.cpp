// advertiser.cpp - what a host tells about its game: a list of elements, each a type, a length and a value.
//
// Lists come from the network as well: every walk stays within the message's length, whatever the elements claim.
#include <kxcoreemb/advertiser.h>
#include <kxcoreemb/communication.h>

#include <cstring>
#include <new>

namespace
{

constexpr INT32 kHeaderElement = 2, kPortElement = 3, kDataElement = 4; // types 0 and 1 are others' business
constexpr INT32 kLastElement = 4;
constexpr INT32 kElementHead = 2; // the type and the length of the value
constexpr INT32 kPortElementLength = kElementHead + 2;
constexpr INT32 kLongestValue = 253;
constexpr INT32 kLongestMessage = KxcAdvertiser::kBufferSize - 1;

INT32 lengthOf(const char* element) { return kElementHead + static_cast<UINT8>(element[1]); }

} // namespace

KxcAdvertiser::KxcAdvertiser() : type(-1), gamePort(0), advertisePort(0), headerLength(0), messageLength(0), message()
{
}

KxcAdvertiser::~KxcAdvertiser() = default;

void KxcAdvertiser::setGamePort(UINT16 port) { gamePort = port; }
UINT16 KxcAdvertiser::getGamePort() { return gamePort; }

INT32 KxcAdvertiser::setMessageHeader(const char* data, INT32 length)
{
    if (length < 0 || length > kLongestMessage)
        return -1;
    if (length > 0)
        memcpy(message, data, static_cast<size_t>(length));
    headerLength = messageLength = length;
    return 1;
}

void KxcAdvertiser::getMessageHeader(char* buffer, INT32& length)
{
    const INT32 room = length;
    length = room < headerLength ? 0 : headerLength;
    if (length > 0)
        memcpy(buffer, message, static_cast<size_t>(length));
}

INT32 KxcAdvertiser::setMessageData(const char*, INT32) { return -1; }
void KxcAdvertiser::getMessageData(char*, INT32& length) { length = 0; }
INT32 KxcAdvertiser::isAddress() { return 0; }

KxcInetAdvertiser::KxcInetAdvertiser() : hostEntry(nullptr) { KxcAdvertiser::init(KXCCONNECTION_INET); }

KxcInetAdvertiser::~KxcInetAdvertiser() { delete hostEntry; }

INT32 KxcInetAdvertiser::init(const char* bytes, INT32 length)
{
    if (length < 0 || length > kLongestMessage)
        return 0;
    if (length > 0)
        memcpy(message, bytes, static_cast<size_t>(length));
    messageLength = length;
    return 1;
}

KxcInetAdvertiser* KxcInetAdvertiser::create() { return create(nullptr, 0); }

KxcInetAdvertiser* KxcInetAdvertiser::create(const char* message, INT32 length)
{
    KxcInetAdvertiser* advertiser = new (std::nothrow) KxcInetAdvertiser;
    if (advertiser && !advertiser->init(message, length))
    {
        delete advertiser;
        advertiser = nullptr;
    }
    return advertiser;
}

KxcInetAdvertiser* KxcInetAdvertiser::create(const KxcAddress& address, const char* message, INT32 length)
{
    KxcInetAdvertiser* advertiser = create(message, length);
    if (!advertiser)
        return nullptr;
    advertiser->hostEntry = KxcInetHostEntry::create();
    if (!advertiser->hostEntry)
    {
        delete advertiser;
        return nullptr;
    }
    advertiser->hostEntry->setAddress(address);
    return advertiser;
}

KxcInetAdvertiser* KxcInetAdvertiser::create(const KxcHostEntry& entry)
{
    KxcInetAdvertiser* advertiser = create(*entry.getAddress(), nullptr, 0);
    if (advertiser)
        advertiser->hostEntry->setName(*entry.getName());
    return advertiser;
}

const char* KxcInetAdvertiser::findElement(const char* list, INT32 elementType) const
{
    for (INT32 at = 0; at + kElementHead <= messageLength; at += lengthOf(list + at))
    {
        if (at + lengthOf(list + at) > messageLength)
            return nullptr;
        if (static_cast<UINT8>(list[at]) == elementType)
            return list + at;
    }
    return nullptr;
}

char* KxcInetAdvertiser::getElement(char* list, UINT8 elementType)
{
    return const_cast<char*>(findElement(list, elementType));
}

INT32 KxcInetAdvertiser::getElementLength(const char* list, UINT8 elementType) const
{
    const char* element = findElement(list, elementType);
    return element ? lengthOf(element) : 0;
}

INT32 KxcInetAdvertiser::addElement(const char* element, UINT8 size, UINT8 elementType)
{
    char rebuilt[kBufferSize];
    INT32 length = 0;
    for (INT32 i = 0; i <= kLastElement; ++i)
    {
        const char* part = i == elementType ? element : findElement(message, i);
        const INT32 partLength = i == elementType ? size : part ? lengthOf(part) : 0;
        if (length + partLength > kLongestMessage)
            return 0;
        if (partLength > 0)
            memcpy(rebuilt + length, part, static_cast<size_t>(partLength));
        length += partLength;
    }
    memcpy(message, rebuilt, static_cast<size_t>(length));
    messageLength = length;
    return length;
}

INT32 KxcInetAdvertiser::setElement(UINT8 elementType, const char* value, INT32 length)
{
    char element[kElementHead + kLongestValue];
    if (length < 0 || length > kLongestValue)
        return 0;
    element[0] = static_cast<char>(elementType);
    element[1] = static_cast<char>(length);
    if (length > 0)
        memcpy(element + kElementHead, value, static_cast<size_t>(length));
    return addElement(element, static_cast<UINT8>(kElementHead + length), elementType);
}

void KxcInetAdvertiser::setGamePort(UINT16 port)
{
    const char value[2] = {static_cast<char>(port), static_cast<char>(port >> 8)};
    setElement(kPortElement, value, sizeof(value));
}

UINT16 KxcInetAdvertiser::getGamePort()
{
    const char* element = findElement(message, kPortElement);
    if (!element || lengthOf(element) != kPortElementLength)
        return 0;
    return static_cast<UINT16>(static_cast<UINT8>(element[2]) | static_cast<UINT8>(element[3]) << 8);
}

INT32 KxcInetAdvertiser::setMessageHeader(const char* data, INT32 length)
{
    return setElement(kHeaderElement, data, length);
}

INT32 KxcInetAdvertiser::setMessageData(const char* data, INT32 length)
{
    return setElement(kDataElement, data, length);
}

void KxcInetAdvertiser::getMessageHeader(char* buffer, INT32& length)
{
    const INT32 elementLength = getElementLength(message, kHeaderElement);
    length = length < elementLength ? 0 : elementLength;
    if (length > 0)
        memcpy(buffer, findElement(message, kHeaderElement), static_cast<size_t>(length));
}

void KxcInetAdvertiser::getMessageData(char* buffer, INT32& length)
{
    const INT32 elementLength = getElementLength(message, kDataElement);
    if (length < elementLength)
        return;
    length = elementLength;
    if (length > 0)
        memcpy(buffer, findElement(message, kDataElement), static_cast<size_t>(length));
}

INT32 KxcInetAdvertiser::isAddress() { return hostEntry != nullptr; }
