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
/// Header     bytes 0 to 3 the protocol id, 1; 4 and 5 the sequence; 6 and 7 the acknowledgement; 8 KXCPACKET_ flags
/// Message    a length L in two bytes, then L bytes: the receiver id in four, and the data
/// Ownership  the caller deletes what create() returned.
/// Threads    one at a time.
class KXC_API KxcObjectPacketBase
{
public:
    static constexpr KxcINT32 kHeaderLength = 9; ///< bytes before the messages

    /// An empty datagram.
    /// @param capacity  bytes, 9 or more @return null when that is refused or memory runs out; the caller deletes it
    static KxcObjectPacketBase* create(KxcINT32 capacity);
    virtual ~KxcObjectPacketBase();
    KxcObjectPacketBase(const KxcObjectPacketBase&) = delete;
    KxcObjectPacketBase& operator=(const KxcObjectPacketBase&) = delete;

    void reset(); ///< all bytes 0, no payload, not to be sent

    char* getBuffer() { return buffer; }                        ///< the header and what follows, getCapacity() bytes
    const char* getBuffer() const { return buffer; }            ///< the same, to be read
    KxcINT32 getCapacity() const { return capacity; }           ///< bytes, as created
    KxcINT32 getHeaderLength() const { return kHeaderLength; }  ///< kHeaderLength
    KxcINT32 getPayloadLength() const { return payloadLength; } ///< bytes of all messages
    KxcINT32 getTotalLength() const { return kHeaderLength + payloadLength; } ///< bytes of the datagram
    const char* getPayload() const { return buffer + kHeaderLength; }         ///< the first message
    void setReceived(KxcINT32 totalLength); ///< so many bytes of the buffer were filled, 0 to getCapacity()

    KxcINT32 getSendFlag() const { return sendFlag; }      ///< 1: ready to go out
    void setSendFlag(KxcINT32 value) { sendFlag = value; } ///< 1 when it may go out

    /// @{
    /// Fields of the header, in the host's byte order.
    KxcUINT32 getProtocolId() const { return read16(0) | static_cast<KxcUINT32>(read16(2)) << 16; }
    KxcUINT16 getSequence() const { return read16(4); }
    KxcUINT16 getAcknowledgement() const { return read16(6); }
    KxcINT32 getFlags() const { return static_cast<KxcUINT8>(buffer[8]); }
    /// @}

    /// @{
    /// Writes fields of the header.
    void setProtocolId(KxcUINT32 id)
    {
        write16(0, static_cast<KxcUINT16>(id)), write16(2, static_cast<KxcUINT16>(id >> 16));
    }
    void setSequence(KxcUINT16 number) { write16(4, number); }
    void setAcknowledgement(KxcUINT16 number) { write16(6, number); }
    void setFlags(KxcINT32 flags) { buffer[8] = static_cast<char>(flags); }
    /// @}

    /// Appends a message. @return 1; 0 when more room than the message takes is not left
    KxcINT32 addMessage(const char* data, KxcINT32 length);

private:
    KxcObjectPacketBase() = default;
    KxcUINT16 read16(KxcINT32 at) const
    {
        return static_cast<KxcUINT16>(static_cast<KxcUINT8>(buffer[at]) | static_cast<KxcUINT8>(buffer[at + 1]) << 8);
    }
    void write16(KxcINT32 at, KxcUINT16 value)
    {
        buffer[at] = static_cast<char>(value);
        buffer[at + 1] = static_cast<char>(value >> 8);
    }

    char* buffer = nullptr; // owned; one byte more than the capacity, see the receiving engine
    KxcINT32 capacity = 0, payloadLength = 0, sendFlag = 0;
};
typedef KxcObjectPacketBase KxcObjectDataPacket; ///< one whose messages come from frames

/// Bits of KxcObjectPacketBase::getFlags().
enum KXCPACKET : KxcINT32
{
    KXCPACKET_RELIABLE = 1,   ///< delivered only when it arrives in order
    KXCPACKET_ACKREQUEST = 2, ///< answer at once
    KXCPACKET_RESYNC = 4      ///< the acknowledgement is the number to go on from
};

/// How a frame is delivered, for getPacketFrame() and setMessageSlot().
enum KXCSLOT : KxcINT32
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
    static constexpr KxcINT32 kReceiverIdLength = 4; ///< bytes before the data

    /// A frame on its own; KxcClientCommWin::getPacketFrame() gives those that are sent.
    /// @param size  bytes for the receiver id and the data, 4 or more
    /// @return null when it is refused or memory runs out
    static KxcObjectDataFrame* create(KxcINT32 slot, KxcINT32 size);
    virtual ~KxcObjectDataFrame();
    KxcObjectDataFrame(const KxcObjectDataFrame&) = delete;
    KxcObjectDataFrame& operator=(const KxcObjectDataFrame&) = delete;

    void* lock();  ///< keeps the frame from being sent. @return where the data goes, sizeofBuffer() - 4 bytes
    void unlock(); ///< releases the frame for sending
    KxcINT32 isLock() const { return locked; }           ///< 1 from lock() to unlock(), and at first
    void setReceiverId(KxcUINT32 id);                    ///< whose KxcDataReceiver hears it at the peer
    void setPacketSize(KxcINT32 bytes);                  ///< of the data; what the buffer cannot hold is cut off
    KxcINT32 sizeofPacket() const { return usedLength; } ///< the receiver id and the data
    KxcINT32 sizeofBuffer() const { return capacity; }   ///< bytes for the receiver id and the data
    const char* getData() const { return buffer; }       ///< sizeofPacket() bytes

    void setMessageSlot(KxcINT32 slot);                    ///< a KXCSLOT_ value; sets the priority that goes with it
    KxcINT32 getMessageSlot() const { return slot; }       ///< a KXCSLOT_ value
    void setPriority(KxcINT32 value) { priority = value; } ///< lower values go first
    /// 100 at first, 50 of urgent ones; it falls while the frame waits.
    KxcINT32 getPriority() const { return priority; }
    void setPacketStatus(KxcINT32 value) { packetStatus = value != 0; } ///< which packet creators may carry it
    KxcINT32 getPacketStatus() const { return packetStatus; }           ///< 0 at first
    void setRecentState(KxcINT32 id);                                   ///< makes it the state with this id
    KxcINT32 getRecentStateId() const { return recentStateId; }         ///< -1 for none
    void setSeqNum(KxcINT32 value) { seqNum = value; }                  ///< the transport's
    KxcINT32 getSeqNum() const { return seqNum; } ///< of the datagram that carried it; -1 while unsent
    void reset();                                 ///< back to the state after creation

    /// Appends the frame as a message. @return 1; 0 when it has no data or the packet has not enough room left
    KxcINT32 createPacket(KxcObjectDataPacket* packet) const;

private:
    friend class KxcObjectFrameStore;
    KxcObjectDataFrame();

    char* buffer; // owned
    KxcINT32 capacity, usedLength;
    KxcINT32 seqNum, priority, slot, packetStatus, recentStateId, locked;
    bool handedOut;                      // to the game, which has not released it yet
    bool* releaseSignal;                 // the store's, set by unlock(); null outside of one
    KxcObjectDataFrame *previous, *next; // in the store's list
};
