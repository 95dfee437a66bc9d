// frame_store.cpp - where a client's frames wait.
#include "net/frame_store.h"

#include <kxcoreemb/inet.h>

#include "net/priority.h"

#include <initializer_list>
#include <new>

namespace
{

constexpr INT32 kFramesAtOnce = 5;
constexpr INT32 kRecycledPriority = 100;
constexpr INT32 kSmallestMessage = 2 + KxcObjectDataFrame::kReceiverIdLength + 1;

/// 0: sent once. 1: sent until acknowledged.
INT32 classOf(INT32 slot) { return slot & 1; }

bool isReserved(const KxcObjectDataFrame* frame)
{
    return frame->getMessageSlot() == KXCSLOT_RECENTSTATE && frame->getRecentStateId() != -1;
}

} // namespace

void KxcObjectFramePriHelp::increase(void* item) { kxcIncreasePriority<KxcObjectDataFrame>(item); }
void KxcObjectFramePriHelp::decrease(void* item) { kxcDecreasePriority<KxcObjectDataFrame>(item); }
INT32 KxcObjectFramePriHelp::priorityCheck(const void* a, const void* b)
{
    return kxcComparePriorities<KxcObjectDataFrame>(a, b);
}

void KxcObjectFrameStore::List::insertAfter(KxcObjectDataFrame* frame, KxcObjectDataFrame* place)
{
    frame->previous = place;
    frame->next = place ? place->next : first;
    (place ? place->next : first) = frame;
    (frame->next ? frame->next->previous : last) = frame;
}

void KxcObjectFrameStore::List::remove(KxcObjectDataFrame* frame)
{
    (frame->previous ? frame->previous->next : first) = frame->next;
    (frame->next ? frame->next->previous : last) = frame->previous;
}

KxcObjectFrameStore* KxcObjectFrameStore::create(INT32 maxFrames, INT32 frameSize)
{
    if (frameSize < KxcObjectDataFrame::kReceiverIdLength)
        return nullptr;
    return new (std::nothrow) KxcObjectFrameStore(maxFrames, frameSize);
}

KxcObjectFrameStore::~KxcObjectFrameStore()
{
    for (List* list : {&freeList, &written, &queue})
        while (KxcObjectDataFrame* frame = list->first)
        {
            list->remove(frame);
            delete frame;
        }
}

void KxcObjectFrameStore::handOut(KxcObjectDataFrame* frame, List& from)
{
    from.remove(frame);
    written.append(frame);
    frame->handedOut = true;
}

KxcObjectDataFrame* KxcObjectFrameStore::getPacketFrame(INT32 slot)
{
    // A frame that stands for a state stays with it, even while it is idle.
    KxcObjectDataFrame* frame = freeList.first;
    while (frame && isReserved(frame))
        frame = frame->next;
    if (!frame && count < maxFrames)
        frame = createFrames(slot);
    List* list = &freeList;
    if (!frame) // perhaps the game gave one up by resetting it
    {
        list = &written;
        frame = written.first;
        while (frame && (frame->handedOut || !frame->locked || isReserved(frame)))
            frame = frame->next;
    }
    if (!frame)
        return nullptr;
    handOut(frame, *list);
    frame->setMessageSlot(slot);
    frame->recentStateId = -1;
    return frame;
}

KxcObjectDataFrame* KxcObjectFrameStore::createFrames(INT32 slot)
{
    KxcObjectDataFrame* first = nullptr;
    for (INT32 i = 0; i < kFramesAtOnce && count < maxFrames; ++i)
    {
        KxcObjectDataFrame* frame = KxcObjectDataFrame::create(slot, frameSize);
        if (!frame)
            break;
        frame->releaseSignal = &anyReleased;
        freeList.append(frame);
        ++count;
        first = first ? first : frame;
    }
    return first;
}

KxcObjectDataFrame* KxcObjectFrameStore::findRecentState(INT32 id)
{
    for (List* list : {&freeList, &written, &queue})
        for (KxcObjectDataFrame* frame = list->first; frame; frame = frame->next)
            if (frame->slot == KXCSLOT_RECENTSTATE && frame->recentStateId == id)
            {
                if (list != &queue)
                    handOut(frame, *list);
                return frame;
            }
    return nullptr;
}

void KxcObjectFrameStore::removeRecentState(INT32 id)
{
    for (KxcObjectDataFrame *frame = queue.first, *next; frame; frame = next)
    {
        next = frame->next;
        if (frame->slot != KXCSLOT_RECENTSTATE || frame->recentStateId != id)
            continue;
        queue.remove(frame);
        delete frame;
        --count;
    }
    for (KxcObjectDataFrame* frame = freeList.first; frame; frame = frame->next)
        if (frame->slot == KXCSLOT_RECENTSTATE && frame->recentStateId == id)
            frame->reset(); // free for anything now
}

void KxcObjectFrameStore::recycle(KxcObjectDataFrame* frame)
{
    queue.remove(frame);
    frame->handedOut = frame->locked != 0;
    (frame->handedOut ? written : freeList).append(frame);
    frame->locked = 1;
    frame->seqNum = -1;
}

void KxcObjectFrameStore::enqueue(KxcObjectDataFrame* frame)
{
    written.remove(frame);
    frame->handedOut = false;
    // Most are the least urgent of all: those before them have aged.
    KxcObjectDataFrame* place = queue.last;
    while (place && priorityHelp.priorityCheck(place, frame) < 0)
        place = place->previous;
    queue.insertAfter(frame, place);
}

void KxcObjectFrameStore::acknowledge(UINT16 first, UINT16 last)
{
    const UINT16 range = static_cast<UINT16>(last - first);
    for (KxcObjectDataFrame *frame = queue.first, *next; frame; frame = next)
    {
        next = frame->next;
        if (frame->seqNum != -1 && static_cast<UINT16>(frame->seqNum - first) <= range)
            recycle(frame);
    }
}

void KxcObjectFrameStore::markUnsent()
{
    for (KxcObjectDataFrame* frame = queue.first; frame; frame = frame->next)
        frame->seqNum = -1;
}

void KxcObjectFrameStore::keepUp()
{
    for (KxcObjectDataFrame *frame = queue.first, *next; frame; frame = next)
    {
        next = frame->next;
        if (frame->locked)
            recycle(frame);
        else
            priorityHelp.decrease(frame);
    }
    if (!anyReleased)
        return;
    anyReleased = false;
    for (KxcObjectDataFrame *frame = written.first, *next; frame; frame = next)
    {
        next = frame->next;
        if (!frame->locked)
        {
            priorityHelp.decrease(frame); // like those that it joins, so that their order is the same
            enqueue(frame);
        }
    }
}

INT32 KxcObjectFrameStore::fill(KxcObjectPacketBase& packet, INT32 creatorKind, INT32 frameClass, UINT16 sequence)
{
    const bool takesMany = creatorKind != KXCCREATOR_SINGLE, takesSingle = creatorKind != KXCCREATOR_MANY;
    INT32 filled = 0;
    for (KxcObjectDataFrame *frame = queue.first, *next; frame; frame = next)
    {
        next = frame->next;
        const bool single = frame->packetStatus == 0; // ends the payload
        if (frame->seqNum != -1 || frame->locked || frame->slot == KXCSLOT_NONE || classOf(frame->slot) != frameClass ||
            !(single ? takesSingle : takesMany))
            continue;
        if (packet.getCapacity() - packet.getTotalLength() <= kSmallestMessage)
            break;
        if (!frame->createPacket(&packet))
            continue;
        filled = 1;
        if (frameClass == 0)
        {
            recycle(frame); // sent once, and that was it
            frame->priority = kRecycledPriority;
        }
        else
            frame->seqNum = sequence;
        if (single)
            break;
    }
    return filled;
}
