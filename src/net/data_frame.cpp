// data_frame.cpp - one message on its way to a peer.
#include <kxcoreemb/data_frame.h>

#include <cstring>
#include <new>

namespace
{

constexpr INT32 kPriorityNone = 1000, kPriorityUsual = 100, kPriorityUrgent = 50;
constexpr INT32 kLongestMessage = 0xFFFF; // its length is a UINT16

} // namespace

KxcObjectDataFrame::KxcObjectDataFrame()
    : buffer(nullptr),
      capacity(0),
      usedLength(kReceiverIdLength),
      releaseSignal(nullptr),
      previous(nullptr),
      next(nullptr)
{
    reset();
}

KxcObjectDataFrame* KxcObjectDataFrame::create(INT32 slot, INT32 size)
{
    if (size < kReceiverIdLength)
        return nullptr;
    KxcObjectDataFrame* frame = new (std::nothrow) KxcObjectDataFrame;
    if (!frame)
        return nullptr;
    frame->buffer = new (std::nothrow) char[static_cast<size_t>(size)]();
    frame->capacity = size;
    frame->setMessageSlot(slot);
    if (frame->buffer)
        return frame;
    delete frame;
    return nullptr;
}

KxcObjectDataFrame::~KxcObjectDataFrame() { delete[] buffer; }

void* KxcObjectDataFrame::lock()
{
    locked = 1;
    seqNum = -1; // what is written now has not been sent, whatever was before
    return buffer + kReceiverIdLength;
}

void KxcObjectDataFrame::unlock()
{
    locked = 0;
    if (releaseSignal)
        *releaseSignal = true;
}

void KxcObjectDataFrame::setReceiverId(UINT32 id)
{
    for (INT32 i = 0; i < kReceiverIdLength; ++i)
        buffer[i] = static_cast<char>(id >> 8 * i);
}

void KxcObjectDataFrame::setPacketSize(INT32 bytes)
{
    const INT32 most = (capacity < kLongestMessage ? capacity : kLongestMessage) - kReceiverIdLength;
    usedLength = kReceiverIdLength + (bytes < 0 ? 0 : bytes < most ? bytes : most);
}

void KxcObjectDataFrame::setMessageSlot(INT32 value)
{
    slot = value >= KXCSLOT_UNRELIABLE && value <= KXCSLOT_URGENT ? value : KXCSLOT_NONE;
    priority = slot == KXCSLOT_NONE ? kPriorityNone : slot == KXCSLOT_URGENT ? kPriorityUrgent : kPriorityUsual;
}

void KxcObjectDataFrame::setRecentState(INT32 id)
{
    setMessageSlot(KXCSLOT_RECENTSTATE);
    recentStateId = id;
}

void KxcObjectDataFrame::reset()
{
    seqNum = -1;
    setMessageSlot(KXCSLOT_NONE);
    packetStatus = 0;
    recentStateId = -1;
    locked = 1;
    usedLength = kReceiverIdLength;
    handedOut = false;
}

INT32 KxcObjectDataFrame::createPacket(KxcObjectDataPacket* packet) const
{
    return usedLength > kReceiverIdLength && packet->addMessage(buffer, usedLength);
}
