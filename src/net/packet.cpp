// packet.cpp - the buffer of a datagram.
#include <kxcoreemb/data_frame.h>

#include <cstring>
#include <new>

KxcObjectPacketBase* KxcObjectPacketBase::create(INT32 capacity)
{
    if (capacity < kHeaderLength)
        return nullptr;
    KxcObjectPacketBase* packet = new (std::nothrow) KxcObjectPacketBase;
    if (!packet)
        return nullptr;
    packet->buffer = new (std::nothrow) char[static_cast<size_t>(capacity) + 1]();
    packet->capacity = capacity;
    if (packet->buffer)
        return packet;
    delete packet;
    return nullptr;
}

KxcObjectPacketBase::~KxcObjectPacketBase() { delete[] buffer; }

void KxcObjectPacketBase::reset()
{
    memset(buffer, 0, kHeaderLength);
    if (payloadLength > 0) // nobody wrote behind it
        memset(buffer + kHeaderLength, 0, static_cast<size_t>(payloadLength));
    payloadLength = 0;
    sendFlag = 0;
}

void KxcObjectPacketBase::setReceived(INT32 totalLength)
{
    payloadLength = (totalLength < 0 ? 0 : totalLength < capacity ? totalLength : capacity) - kHeaderLength;
}

INT32 KxcObjectPacketBase::addMessage(const char* data, INT32 length)
{
    if (length < 0 || length > 0xFFFF || capacity - getTotalLength() <= length + 2)
        return 0;
    const INT32 at = getTotalLength();
    write16(at, static_cast<UINT16>(length));
    memcpy(buffer + at + 2, data, static_cast<size_t>(length));
    payloadLength += length + 2;
    return 1;
}
