// data_frame.h - what a game writes its messages into (KxcObjectDataFrame), and the datagram they travel in
// (KxcObjectPacketBase).
//
// A frame's life: getPacketFrame() hands it out locked; lock() and write; setReceiverId(), setPacketSize(); unlock().
// The transport sends it and takes it back.
#pragma once

#include <kxcoreemb/base.h>

class KxcObjectFrameStore;

/// A datagram: nine bytes of header, then messages, back to back. Numbers are little-endian.
///
/// Bytes   0: protocol id (UINT32, 1)   4: sequence (UINT16)   6: acknowledgement (UINT16)   8: KXCPACKET_ flags
/// Message a UINT16 length L, then L bytes: the receiver id (UINT32) and the data
class KXC_API KxcObjectPacketBase
{
public:
    static constexpr INT32 kHeaderLength = 9;

    /// @param capacity  bytes, 9 or more @return null when that is refused or memory runs out; the caller deletes it
    static KxcObjectPacketBase* create(INT32 capacity);
    virtual ~KxcObjectPacketBase();
    KxcObjectPacketBase(const KxcObjectPacketBase&) = delete;
    KxcObjectPacketBase& operator=(const KxcObjectPacketBase&) = delete;

    void reset(); ///< all bytes 0, no payload, not to be sent

    char* getBuffer() { return buffer; } ///< the header and what follows, getCapacity() bytes
    const char* getBuffer() const { return buffer; }
    INT32 getCapacity() const { return capacity; }
    INT32 getHeaderLength() const { return kHeaderLength; }
    INT32 getPayloadLength() const { return payloadLength; }
    INT32 getTotalLength() const { return kHeaderLength + payloadLength; }
    const char* getPayload() const { return buffer + kHeaderLength; }
    void setReceived(INT32 totalLength); ///< so many bytes of the buffer were filled, 0 to getCapacity()

    INT32 getSendFlag() const { return sendFlag; } ///< 1: ready to go out
    void setSendFlag(INT32 value) { sendFlag = value; }

    UINT32 getProtocolId() const { return read16(0) | static_cast<UINT32>(read16(2)) << 16; }
    UINT16 getSequence() const { return read16(4); }
    UINT16 getAcknowledgement() const { return read16(6); }
    INT32 getFlags() const { return static_cast<UINT8>(buffer[8]); }
    void setProtocolId(UINT32 id) { write16(0, static_cast<UINT16>(id)), write16(2, static_cast<UINT16>(id >> 16)); }
    void setSequence(UINT16 number) { write16(4, number); }
    void setAcknowledgement(UINT16 number) { write16(6, number); }
    void setFlags(INT32 flags) { buffer[8] = static_cast<char>(flags); }

    /// Appends a message. @return 1; 0 when more room than the message takes is not left
    INT32 addMessage(const char* data, INT32 length);

private:
    KxcObjectPacketBase() = default;
    UINT16 read16(INT32 at) const
    {
        return static_cast<UINT16>(static_cast<UINT8>(buffer[at]) | static_cast<UINT8>(buffer[at + 1]) << 8);
    }
    void write16(INT32 at, UINT16 value)
    {
        buffer[at] = static_cast<char>(value);
        buffer[at + 1] = static_cast<char>(value >> 8);
    }

    char* buffer = nullptr; // owned; one byte more than the capacity, see the receiving engine
    INT32 capacity = 0, payloadLength = 0, sendFlag = 0;
};
typedef KxcObjectPacketBase KxcObjectDataPacket; ///< one whose messages come from frames

/// Bits of KxcObjectPacketBase::getFlags().
enum KXCPACKET : INT32
{
    KXCPACKET_RELIABLE = 1,   ///< delivered only when it arrives in order
    KXCPACKET_ACKREQUEST = 2, ///< answer at once
    KXCPACKET_RESYNC = 4      ///< the acknowledgement is the number to go on from
};

/// How a frame is delivered, for getPacketFrame() and setMessageSlot().
enum KXCSLOT : INT32
{
    KXCSLOT_UNRELIABLE = 0,  ///< sent once
    KXCSLOT_RELIABLE = 1,    ///< sent until it was acknowledged; may arrive more than once
    KXCSLOT_RECENTSTATE = 2, ///< sent once; the newest state with an id takes the place of the older one
    KXCSLOT_URGENT = 3,      ///< reliable, and goes before the others
    KXCSLOT_NONE = 4         ///< never sent; stands for every other value
};

/// One message for one data receiver of a peer.
///
/// Ownership  frames belong to the client that handed them out; the game must not touch one after unlock(), except to
///            lock() it again for a newer content.
/// Threads    the frame thread only.
class KXC_API KxcObjectDataFrame
{
public:
    static constexpr INT32 kReceiverIdLength = 4;

    /// @param size  bytes for the receiver id and the data, 4 or more @return null when it is refused or memory runs
    /// out
    static KxcObjectDataFrame* create(INT32 slot, INT32 size);
    virtual ~KxcObjectDataFrame();
    KxcObjectDataFrame(const KxcObjectDataFrame&) = delete;
    KxcObjectDataFrame& operator=(const KxcObjectDataFrame&) = delete;

    void* lock();  ///< keeps the frame from being sent. @return where the data goes, sizeofBuffer() - 4 bytes
    void unlock(); ///< releases the frame for sending
    INT32 isLock() const { return locked; }
    void setReceiverId(UINT32 id);
    void setPacketSize(INT32 bytes);                  ///< of the data; what the buffer cannot hold is cut off
    INT32 sizeofPacket() const { return usedLength; } ///< the receiver id and the data
    INT32 sizeofBuffer() const { return capacity; }
    const char* getData() const { return buffer; } ///< sizeofPacket() bytes

    void setMessageSlot(INT32 slot); ///< a KXCSLOT_ value; sets the priority that goes with it
    INT32 getMessageSlot() const { return slot; }
    void setPriority(INT32 value) { priority = value; } ///< lower values go first
    INT32 getPriority() const { return priority; }
    void setPacketStatus(INT32 value) { packetStatus = value != 0; } ///< which packet creators may carry it
    INT32 getPacketStatus() const { return packetStatus; }
    void setRecentState(INT32 id); ///< makes it the state with this id
    INT32 getRecentStateId() const { return recentStateId; }
    void setSeqNum(INT32 value) { seqNum = value; }
    INT32 getSeqNum() const { return seqNum; } ///< of the datagram that carried it; -1 while unsent
    void reset();                              ///< back to the state after creation

    /// Appends the frame as a message. @return 1; 0 when it has no data or the packet has not enough room left
    INT32 createPacket(KxcObjectDataPacket* packet) const;

private:
    friend class KxcObjectFrameStore;
    KxcObjectDataFrame();

    char* buffer; // owned
    INT32 capacity, usedLength;
    INT32 seqNum, priority, slot, packetStatus, recentStateId, locked;
    bool handedOut;                      // to the game, which has not released it yet
    bool* releaseSignal;                 // the store's, set by unlock(); null outside of one
    KxcObjectDataFrame *previous, *next; // in the store's list
};
