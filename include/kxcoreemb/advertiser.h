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
class KXC_API KxcAdvertiser
{
public:
    static constexpr INT32 kBufferSize = 512;

    KxcAdvertiser();
    virtual ~KxcAdvertiser();
    virtual void setGamePort(UINT16 port); ///< where the game itself is served
    virtual UINT16 getGamePort();
    virtual INT32 setMessageHeader(const char* data, INT32 length); ///< 1; -1 when 511 bytes do not suffice
    virtual void getMessageHeader(char* buffer, INT32& length);
    virtual INT32 setMessageData(const char* data, INT32 length);
    virtual void getMessageData(char* buffer, INT32& length);
    virtual INT32 isAddress(); ///< 1 when it tells where it comes from

    void init(INT32 advertiserType) { type = advertiserType; }
    INT32 getType() const { return type; }                       ///< -1; 1 for the Internet
    void setAdvertisePort(UINT16 port) { advertisePort = port; } ///< where inquiries are heard; 0 at first
    UINT16 getAdvertisePort() const { return advertisePort; }
    const char* getMessage() const { return message; } ///< what goes over the wire, getMessageLength() bytes
    INT32 getMessageLength() const { return messageLength; }

protected:
    INT32 type;
    UINT16 gamePort, advertisePort;
    INT32 headerLength, messageLength;
    char message[kBufferSize];
};

/// An advertisement on the Internet. Its message is a list of elements: type, length of the value, value.
/// The getters copy whole elements: the value follows two bytes of type and length.
class KXC_API KxcInetAdvertiser : public KxcAdvertiser
{
public:
    static KxcInetAdvertiser*
    create(); ///< empty. All of these answer null when memory runs out; the caller deletes them
    static KxcInetAdvertiser* create(const char* message, INT32 length); ///< as received; null beyond 511 bytes
    static KxcInetAdvertiser* create(const KxcAddress& address, const char* message, INT32 length);
    static KxcInetAdvertiser* create(const KxcHostEntry& entry);
    ~KxcInetAdvertiser() override;
    KxcInetAdvertiser(const KxcInetAdvertiser&) = delete;
    KxcInetAdvertiser& operator=(const KxcInetAdvertiser&) = delete;

    void setGamePort(UINT16 port) override;
    UINT16 getGamePort() override; ///< 0 when the message does not tell
    /// @param length  below 254 @return the message's new length; 0 when it does not fit, which changes nothing
    INT32 setMessageHeader(const char* data, INT32 length) override;
    INT32 setMessageData(const char* data, INT32 length) override;
    /// @param length  the buffer's; receives the element's. 0 when there is none or the buffer is too small
    void getMessageHeader(char* buffer, INT32& length) override;
    /// @param length  likewise, except that it stays when the buffer is too small
    void getMessageData(char* buffer, INT32& length) override;
    INT32 isAddress() override;
    KxcInetHostEntry* getHostEntry() const { return hostEntry; } ///< who sent it, with the game port; null if unknown

protected:
    KxcInetAdvertiser();
    INT32 init(const char* bytes, INT32 length); ///< 0 when the bytes do not fit
    /// Puts an element into the list, which stays sorted by type. @param size  the element's, its two bytes included
    INT32 addElement(const char* element, UINT8 size, UINT8 elementType);
    char* getElement(char* list, UINT8 elementType); ///< null when the list, of messageLength bytes, has none
    INT32 getElementLength(const char* list, UINT8 elementType) const;

private:
    INT32 setElement(UINT8 elementType, const char* value, INT32 length);
    const char* findElement(const char* list, INT32 elementType) const;

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
    virtual INT32 inquiry(const KxcAdvertiser& query, KxcDeviceDiscovery* listener, const KxcUUID* id) = 0;
    virtual void cancelInquiry() = 0; ///< the listener is not called again
    virtual void inquiryResult(KxcLinkedList<KxcAdvertiser*>& found) = 0;
    virtual INT32 advertise(const KxcAdvertiser& advertiser, const KxcUUID* id) = 0;
    virtual INT32 updateAdvertise(const KxcAdvertiser& advertiser) = 0;
    virtual void cancelAdvertise() = 0;
    INT32 getType() const { return type; } ///< a connection type

protected:
    explicit KxcCommService(INT32 serviceType) : type(serviceType) {}

    INT32 type;
};

class KXC_API KxcInetCommService : public KxcCommService
{
public:
    static KxcInetCommService* create(); ///< null when its thread cannot be started; the caller deletes it
    ~KxcInetCommService() override;      ///< cancels everything and waits for the thread
    KxcInetCommService(const KxcInetCommService&) = delete;
    KxcInetCommService& operator=(const KxcInetCommService&) = delete;

    /// Asks everybody on the local network, once, by a broadcast of the query's message to its advertise port. On a
    /// machine without a network the machine itself is asked. @return the bytes sent, or -1
    INT32 inquiry(const KxcAdvertiser& query, KxcDeviceDiscovery* listener, const KxcUUID* id) override;
    void cancelInquiry() override;
    void inquiryResult(KxcLinkedList<KxcAdvertiser*>& found) override;
    /// Answers whatever arrives at the advertise port, 100 ms later, by the advertiser's message. @return 1, or -1
    INT32 advertise(const KxcAdvertiser& advertiser, const KxcUUID* id) override;
    INT32 updateAdvertise(const KxcAdvertiser& advertiser) override; ///< changes the message. @return 1, or -1
    void cancelAdvertise() override;

private:
    friend class KxcInetDiscovery;
    KxcInetCommService();

    KxcInetDiscovery* discovery; // owned
    KxcDeviceDiscovery* listener;
};
