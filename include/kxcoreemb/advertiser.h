// advertiser.h - finding games on the local network: what a host tells about its game (KxcInetAdvertiser), and the
// service that answers inquiries and makes them (KxcInetCommService).
//
// A host: KxcInetAdvertiser::create(), setGamePort(), setMessageData(), setAdvertisePort();
// KxcInetCommService::create(), advertise(). A guest: an advertiser with setAdvertisePort() alone, inquiry(), and a
// KxcDeviceDiscovery to hear of whoever answers.
#pragma once

#include <kxcoreemb/address.h>
#include <kxcoreemb/linked_list.h>

class KxcInetDiscovery;
class KxcUUID;

/// A host's message about its game: a header, a game port and data, at most 511 bytes in all.
///
/// Ownership  whoever made one deletes it; services copy what they need.
/// Failure    a message that does not fit stays as it was.
/// Threads    one at a time.
class KXC_API KxcAdvertiser
{
public:
    static constexpr KxcINT32 kBufferSize = 512; ///< one byte more than the longest message

    KxcAdvertiser();
    virtual ~KxcAdvertiser();
    virtual void setGamePort(KxcUINT16 port); ///< where the game itself is served, in the host's byte order
    virtual KxcUINT16 getGamePort();          ///< 0 when it is not known
    virtual KxcINT32 setMessageHeader(const char* data, KxcINT32 length); ///< 1; -1 when 511 bytes do not suffice
    /// Copies the header. @param length  the buffer's; receives the header's, 0 when it does not fit.
    virtual void getMessageHeader(char* buffer, KxcINT32& length);
    virtual KxcINT32 setMessageData(const char* data, KxcINT32 length); ///< -1: a message without elements has none
    virtual void getMessageData(char* buffer, KxcINT32& length);        ///< likewise: the length becomes 0
    virtual KxcINT32 isAddress();                                       ///< 1 when it tells where it comes from

    void init(KxcINT32 advertiserType) { type = advertiserType; }   ///< of a connection type
    KxcINT32 getType() const { return type; }                       ///< -1; 1 for the Internet
    void setAdvertisePort(KxcUINT16 port) { advertisePort = port; } ///< where inquiries are heard; 0 at first
    KxcUINT16 getAdvertisePort() const { return advertisePort; }    ///< in the host's byte order
    const char* getMessage() const { return message; }          ///< what goes over the wire, getMessageLength() bytes
    KxcINT32 getMessageLength() const { return messageLength; } ///< bytes, at most 511

protected:
    KxcINT32 type;
    KxcUINT16 gamePort, advertisePort;
    KxcINT32 headerLength, messageLength;
    char message[kBufferSize];
};

/// An advertisement on the Internet. Its message is a list of elements: type, length of the value, value.
/// The getters copy whole elements: the value follows two bytes of type and length.
class KXC_API KxcInetAdvertiser : public KxcAdvertiser
{
public:
    /// @{
    /// An advertisement: empty, with a message as it was received (at most 511 bytes), also with who sent it.
    /// @return null when the message is too long or memory runs out; the caller deletes it
    static KxcInetAdvertiser* create();
    static KxcInetAdvertiser* create(const char* message, KxcINT32 length);
    static KxcInetAdvertiser* create(const KxcAddress& address, const char* message, KxcINT32 length);
    static KxcInetAdvertiser* create(const KxcHostEntry& entry);
    /// @}

    ~KxcInetAdvertiser() override;
    KxcInetAdvertiser(const KxcInetAdvertiser&) = delete;
    KxcInetAdvertiser& operator=(const KxcInetAdvertiser&) = delete;

    void setGamePort(KxcUINT16 port) override;
    KxcUINT16 getGamePort() override; ///< 0 when the message does not tell
    /// @{
    /// Puts the application's header, or its data, into the message.
    /// @param length  below 254 @return the message's new length; 0 when it does not fit, which changes nothing
    KxcINT32 setMessageHeader(const char* data, KxcINT32 length) override;
    KxcINT32 setMessageData(const char* data, KxcINT32 length) override;
    /// @}

    /// Copies the header's element.
    /// @param length  the buffer's; receives the element's. 0 when there is none or the buffer is too small
    void getMessageHeader(char* buffer, KxcINT32& length) override;
    /// Copies the data's element.
    /// @param length  likewise, except that it stays when the buffer is too small
    void getMessageData(char* buffer, KxcINT32& length) override;
    KxcINT32 isAddress() override;
    KxcInetHostEntry* getHostEntry() const { return hostEntry; } ///< who sent it, with the game port; null if unknown

protected:
    KxcInetAdvertiser();
    KxcINT32 init(const char* bytes, KxcINT32 length); ///< 0 when the bytes do not fit
    /// Puts an element into the list, which stays sorted by type. @param size  the element's, its two bytes included
    KxcINT32 addElement(const char* element, KxcUINT8 size, KxcUINT8 elementType);
    char* getElement(char* list, KxcUINT8 elementType); ///< null when the list, of messageLength bytes, has none
    KxcINT32 getElementLength(const char* list, KxcUINT8 elementType) const;

private:
    KxcINT32 setElement(KxcUINT8 elementType, const char* value, KxcINT32 length);
    const char* findElement(const char* list, KxcINT32 elementType) const;

    KxcInetHostEntry* hostEntry; // owned
};

/// Hears of the hosts that answer an inquiry.
/// Threads  called on a thread of the engine's that holds the service's lock: it must not call the service, and copies
///          what it wants to keep.
class KXC_API KxcDeviceDiscovery
{
public:
    virtual ~KxcDeviceDiscovery();
    virtual void devicesFound(KxcLinkedList<KxcAdvertiser*>& found) = 0; ///< the list and its items go after the call
};

/// Advertises a game, and asks for others'. What takes time happens on a thread of its own.
///
/// Failure  -1 unless a member says otherwise; what went on before goes on.
/// Threads  one at a time; the listener is called on the service's thread.
class KXC_API KxcCommService
{
public:
    virtual ~KxcCommService();
    /// Asks for games. @param listener  called for each answer, until cancelInquiry(); stays the caller's
    /// @param id  for connections that have one; may be null @return -1 on failure
    virtual KxcINT32 inquiry(const KxcAdvertiser& query, KxcDeviceDiscovery* listener, const KxcUUID* id) = 0;
    virtual void cancelInquiry() = 0; ///< the listener is not called again
    /// What the service calls: hands the answers to the listener.
    virtual void inquiryResult(KxcLinkedList<KxcAdvertiser*>& found) = 0;
    /// Begins to answer inquiries. @return 1, or -1.
    virtual KxcINT32 advertise(const KxcAdvertiser& advertiser, const KxcUUID* id) = 0;
    virtual KxcINT32 updateAdvertise(const KxcAdvertiser& advertiser) = 0; ///< changes the answer. @return 1, or -1
    virtual void cancelAdvertise() = 0;                                    ///< answers no more
    KxcINT32 getType() const { return type; }                              ///< a connection type

protected:
    explicit KxcCommService(KxcINT32 serviceType) : type(serviceType) {}

    KxcINT32 type;
};

/// Games on the local network, by broadcasts over UDP.
class KXC_API KxcInetCommService : public KxcCommService
{
public:
    static KxcInetCommService* create(); ///< null when its thread cannot be started; the caller deletes it
    ~KxcInetCommService() override;      ///< cancels everything and waits for the thread
    KxcInetCommService(const KxcInetCommService&) = delete;
    KxcInetCommService& operator=(const KxcInetCommService&) = delete;

    /// Asks everybody on the local network, once, by a broadcast of the query's message to its advertise port. On a
    /// machine without a network the machine itself is asked. @return the bytes sent, or -1
    KxcINT32 inquiry(const KxcAdvertiser& query, KxcDeviceDiscovery* listener, const KxcUUID* id) override;
    void cancelInquiry() override;
    void inquiryResult(KxcLinkedList<KxcAdvertiser*>& found) override;
    /// Answers whatever arrives at the advertise port, 100 ms later, by the advertiser's message. @return 1, or -1
    KxcINT32 advertise(const KxcAdvertiser& advertiser, const KxcUUID* id) override;
    KxcINT32 updateAdvertise(const KxcAdvertiser& advertiser) override; ///< changes the message. @return 1, or -1
    void cancelAdvertise() override;

private:
    friend class KxcInetDiscovery;
    KxcInetCommService();

    KxcInetDiscovery* discovery; // owned
    KxcDeviceDiscovery* listener;
};
