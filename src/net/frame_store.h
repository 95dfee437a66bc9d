// frame_store.h - the frames of one client: those that are free, those that a game is writing, and those that wait to
// be sent or acknowledged, in order of urgency.
//
// Every frame is in one of these lists, linked through the frame itself: moving one allocates nothing.
#pragma once

#include <kxcoreemb/communication.h>
#include <kxcoreemb/data_frame.h>

/// The priorities of KxcObjectDataFrame objects.
class KxcObjectFramePriHelp final : public KxcPriorityHelp
{
public:
    void increase(void* item) override;
    void decrease(void* item) override;
    INT32 priorityCheck(const void* a, const void* b) override;
};

class KxcObjectFrameStore
{
public:
    /// @return null when memory runs out or a frame of that size cannot hold a receiver id
    static KxcObjectFrameStore* create(INT32 maxFrames, INT32 frameSize);
    ~KxcObjectFrameStore();
    KxcObjectFrameStore(const KxcObjectFrameStore&) = delete;
    KxcObjectFrameStore& operator=(const KxcObjectFrameStore&) = delete;

    KxcObjectDataFrame* getPacketFrame(INT32 slot); ///< null when all are in use
    /// The frame with this id, wherever it is; null when there is none.
    KxcObjectDataFrame* findRecentState(INT32 id);
    void removeRecentState(INT32 id);

    /// Takes back the frames that went with the datagrams numbered from `first` to `last`, wherever the count wraps.
    void acknowledge(UINT16 first, UINT16 last);
    void markUnsent(); ///< all that wait for an acknowledgement are to be sent again
    /// Released frames join the queue, those locked again leave it, the queue ages.
    void upkeep()
    {
        if (queue.first || anyReleased)
            keepUp();
    }

    /// Puts frames of the class that the creator may carry into the packet. @return 1 when it did
    INT32 fill(KxcObjectPacketBase& packet, INT32 creatorKind, INT32 frameClass, UINT16 sequence);
    bool hasQueue() const { return queue.first != nullptr; } ///< of frames to be sent or acknowledged

private:
    struct List
    {
        KxcObjectDataFrame *first = nullptr, *last = nullptr;
        void insertAfter(KxcObjectDataFrame* frame, KxcObjectDataFrame* place); // null: at the beginning
        void append(KxcObjectDataFrame* frame) { insertAfter(frame, last); }
        void remove(KxcObjectDataFrame* frame);
    };

    KxcObjectFrameStore(INT32 mostFrames, INT32 bytes) : maxFrames(mostFrames), frameSize(bytes) {}
    KxcObjectDataFrame* createFrames(INT32 slot); // a few at a time; the first of them, or null
    void keepUp();
    void handOut(KxcObjectDataFrame* frame, List& from);
    void recycle(KxcObjectDataFrame* frame); // from the queue; one that the game locked again is being written
    void enqueue(KxcObjectDataFrame* frame); // from those being written to its place in the queue

    List freeList, written, queue;
    INT32 count = 0; // of all frames
    const INT32 maxFrames, frameSize;
    bool anyReleased = false; // set by unlock()
    KxcObjectFramePriHelp priorityHelp;
};
