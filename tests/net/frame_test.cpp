// frame_test.cpp - frames and the store that hands them out, queues them and takes them back.
#include "net/frame_store.h"
#include "net/raw_peer.h"

namespace
{

struct Store
{
    std::unique_ptr<KxcObjectFrameStore> frames;
    std::unique_ptr<KxcObjectPacketBase> packet{KxcObjectPacketBase::create(200)};
    explicit Store(INT32 maxFrames) : frames(KxcObjectFrameStore::create(maxFrames, 20)) {}

    KxcObjectDataFrame* write(INT32 slot, const char* text) { return write(frames->getPacketFrame(slot), text); }
    static KxcObjectDataFrame* write(KxcObjectDataFrame* frame, const char* text)
    {
        if (frame)
            SimulatedLink::write(frame, text, static_cast<INT32>(strlen(text)));
        return frame;
    }
    /// Sends one frame of the class. @return its text
    std::string send(INT32 frameClass, UINT16 sequence)
    {
        frames->upkeep();
        packet->reset();
        frames->fill(*packet, KXCCREATOR_SINGLE, frameClass, sequence);
        const std::string payload(packet->getPayload(), static_cast<size_t>(packet->getPayloadLength()));
        return payload.substr(std::min<size_t>(payload.size(), 6));
    }
};

} // namespace

TEST(DataFrame, IsEncodedAsLengthReceiverAndData)
{
    std::unique_ptr<KxcObjectDataFrame> frame(KxcObjectDataFrame::create(KXCSLOT_URGENT, 14));
    std::unique_ptr<KxcObjectPacketBase> exact(KxcObjectPacketBase::create(9 + 16)),
        roomy(KxcObjectPacketBase::create(9 + 17));
    EXPECT_EQ(frame->getPriority(), 50);
    EXPECT_EQ(frame->createPacket(roomy.get()), 0) << "empty";
    memcpy(frame->lock(), "0123456789", 10);
    frame->setReceiverId(0x04030201);
    frame->setPacketSize(10);
    EXPECT_EQ(frame->createPacket(exact.get()), 0) << "more room is needed than the message takes";
    EXPECT_EQ(frame->createPacket(roomy.get()), 1);
    EXPECT_EQ(std::string(roomy->getPayload(), 16), std::string("\x0E\0\1\2\3\4", 6) + "0123456789");
    EXPECT_EQ(frame->createPacket(roomy.get()), 0) << "full";
    frame->setPacketSize(11);
    EXPECT_EQ(frame->sizeofPacket(), 14) << "no more than the buffer holds";
    frame->setPacketSize(-1);
    EXPECT_EQ(frame->sizeofPacket(), 4);
    EXPECT_EQ(KxcObjectDataFrame::create(0, 3), nullptr);
}

TEST(DataFrame, BeginsAndEndsUpInTheSameState)
{
    const INT32 priorities[] = {100, 100, 100, 50, 1000, 1000};
    std::unique_ptr<KxcObjectDataFrame> frame(KxcObjectDataFrame::create(9, 20));
    for (INT32 slot = 0; slot < 6; ++slot)
    {
        frame->setMessageSlot(slot);
        EXPECT_EQ(frame->getMessageSlot(), std::min(slot, 4));
        EXPECT_EQ(frame->getPriority(), priorities[slot]);
    }
    frame->setRecentState(77);
    frame->setPacketStatus(5);
    frame->setSeqNum(3);
    frame->setPacketSize(9);
    frame->unlock();
    EXPECT_EQ(frame->getPacketStatus(), 1);
    EXPECT_EQ(frame->getMessageSlot(), KXCSLOT_RECENTSTATE);
    frame->reset();
    const INT32 state[] = {frame->getSeqNum(),       frame->getPriority(),      frame->getMessageSlot(),
                           frame->getPacketStatus(), frame->getRecentStateId(), frame->isLock(),
                           frame->sizeofPacket()};
    EXPECT_EQ(std::vector<INT32>(std::begin(state), std::end(state)), (std::vector<INT32>{-1, 1000, 4, 0, -1, 1, 4}));
}

TEST(PriorityHelp, PutsLowerValuesFirstAndStopsAtTheEnds)
{
    std::unique_ptr<KxcObjectDataFrame> urgent(KxcObjectDataFrame::create(KXCSLOT_URGENT, 9));
    std::unique_ptr<KxcObjectDataFrame> usual(KxcObjectDataFrame::create(KXCSLOT_RELIABLE, 9));
    KxcObjectFramePriHelp help;
    EXPECT_EQ(help.priorityCheck(usual.get(), urgent.get()), -1);
    EXPECT_EQ(help.priorityCheck(urgent.get(), usual.get()), 1);
    help.increase(urgent.get());
    help.decrease(usual.get());
    EXPECT_EQ(urgent->getPriority() * 1000 + usual->getPriority(), 51099);
    usual->setPriority(51);
    EXPECT_EQ(help.priorityCheck(urgent.get(), usual.get()), 0);
    urgent->setPriority(INT32_MIN);
    help.decrease(urgent.get());
    EXPECT_EQ(urgent->getPriority(), INT32_MIN);
}

TEST(FrameStore, HandsNoFrameOutTwiceAndNoMoreThanItMay)
{
    Store store(3);
    KxcObjectDataFrame* frames[3];
    for (KxcObjectDataFrame*& frame : frames)
        ASSERT_TRUE(frame = store.frames->getPacketFrame(KXCSLOT_RELIABLE));
    EXPECT_NE(frames[0], frames[1]);
    EXPECT_NE(frames[1], frames[2]);
    EXPECT_EQ(store.frames->getPacketFrame(KXCSLOT_RELIABLE), nullptr);
    frames[1]->reset();
    EXPECT_EQ(store.frames->getPacketFrame(KXCSLOT_UNRELIABLE), frames[1]);
    EXPECT_EQ(frames[1]->getPriority(), 100);
    EXPECT_EQ(Store(0).frames->getPacketFrame(0), nullptr);
    EXPECT_EQ(KxcObjectFrameStore::create(5, 3), nullptr);
}

TEST(FrameStore, SendsUrgentFramesFirstAndOldOnesBeforeNew)
{
    Store store(20);
    store.write(KXCSLOT_RELIABLE, "first");
    store.write(KXCSLOT_RELIABLE, "second");
    store.write(KXCSLOT_URGENT, "urgent");
    store.write(KXCSLOT_UNRELIABLE, "unreliable");
    EXPECT_EQ(store.send(1, 1), "urgent");
    for (int i = 0; i < 49; ++i) // both age; a new urgent one overtakes the reliable ones until those are as urgent
        store.frames->upkeep();
    store.write(KXCSLOT_URGENT, "too late");
    EXPECT_EQ(store.send(1, 2), "first");
    EXPECT_EQ(store.send(1, 3), "second");
    EXPECT_EQ(store.send(1, 4), "too late");
    EXPECT_EQ(store.send(1, 5), "");
    EXPECT_EQ(store.send(0, 5), "unreliable");
    EXPECT_EQ(store.send(0, 6), "");
}

TEST(FrameStore, TakesUnreliableFramesBackAtOnceAndReliableOnesWhenAcknowledged)
{
    Store store(1);
    KxcObjectDataFrame* frame = store.write(KXCSLOT_UNRELIABLE, "u");
    EXPECT_EQ(store.send(0, 65535), "u");
    ASSERT_EQ(store.write(KXCSLOT_RELIABLE, "r"), frame);
    EXPECT_EQ(store.send(1, 65535), "r");
    EXPECT_EQ(frame->getSeqNum(), 65535);
    EXPECT_EQ(store.frames->getPacketFrame(0), nullptr);
    EXPECT_EQ(store.send(1, 0), "");
    store.frames->acknowledge(65530, 65534);
    store.frames->markUnsent();
    EXPECT_EQ(store.send(1, 0), "r");
    store.frames->acknowledge(1, 9);
    EXPECT_EQ(store.frames->getPacketFrame(0), nullptr);
    store.frames->acknowledge(65530, 2); // past the wrap
    EXPECT_EQ(store.frames->getPacketFrame(0), frame);
}

TEST(FrameStore, SendsWhatWasWrittenLastIntoAFrameThatIsLockedAgain)
{
    Store store(4);
    KxcObjectDataFrame* frame = store.write(KXCSLOT_RELIABLE, "old");
    store.frames->upkeep();
    frame->lock(); // not sent yet: nothing goes while it is being written
    EXPECT_EQ(store.send(1, 1), "");
    EXPECT_NE(store.frames->getPacketFrame(KXCSLOT_RELIABLE), frame);
    Store::write(frame, "new");
    EXPECT_EQ(store.send(1, 1), "new");
    Store::write(frame, "newer"); // sent, not acknowledged
    store.frames->acknowledge(1, 1);
    EXPECT_EQ(store.send(1, 2), "newer");
    frame->lock();
    store.frames->acknowledge(2, 2);
    frame->unlock();
    store.frames->acknowledge(2, 2);
    EXPECT_EQ(store.send(1, 3), "newer");
}

TEST(FrameStore, KeepsOneFrameForEachState)
{
    Store store(2);
    const auto state = [&store](INT32 id)
    {
        KxcObjectDataFrame* frame = store.frames->findRecentState(id);
        if (!frame && (frame = store.frames->getPacketFrame(KXCSLOT_RECENTSTATE)))
            frame->setRecentState(id);
        return frame;
    };
    KxcObjectDataFrame* first = Store::write(state(1), "old");
    KxcObjectDataFrame* second = Store::write(state(2), "two");
    ASSERT_TRUE(first && second && first != second);
    EXPECT_EQ(state(3), nullptr);
    store.frames->upkeep();
    EXPECT_EQ(Store::write(state(1), "new"), first) << "the newer state takes the older one's place";
    EXPECT_EQ(store.send(0, 1), "new");
    EXPECT_EQ(store.send(0, 2), "two");
    EXPECT_EQ(store.send(0, 3), "");
    EXPECT_EQ(Store::write(state(1), "newest"), first);
    EXPECT_EQ(store.frames->getPacketFrame(KXCSLOT_UNRELIABLE), nullptr) << "states keep their frames while idle";
    store.frames->removeRecentState(2);
    EXPECT_EQ(store.frames->getPacketFrame(KXCSLOT_UNRELIABLE), second);
    store.frames->upkeep();
    store.frames->removeRecentState(1); // from the queue
    EXPECT_EQ(store.send(0, 4), "");
    EXPECT_TRUE(state(3));
}
