// bluetooth.h - the Bluetooth side of the interface. This platform has none: whatever would need it cannot be created.
#pragma once

#include <kxcoreemb/advertiser.h>
#include <kxcoreemb/communication.h>
#include <kxcoreemb/socket.h>

/// An address of a Bluetooth device.
class KXC_API KxcBtAddress : public KxcAddress
{
public:
    static KxcBtAddress* create(); ///< null

    void setAddress(void* data, KxcINT32 size) override;
    const void* getAddress() const override;
    void* getAddress() override;
    KxcINT32 isSame(const KxcAddress& other) const override;

protected:
    KxcBtAddress();
    KxcINT32 init(); ///< 0
};

/// The service of Bluetooth peers.
class KXC_API KxcBtHandler : public KxcCommunicationHandler
{
public:
    static KxcBtHandler* create(KxcINT32 sendCapacity, KxcINT32 receiveCapacity); ///< null
    ~KxcBtHandler() override;
    void closeService() override;
    KxcINT32 outgoing() override;
    KxcINT32 incoming() override;
    void checkActivity() override;
    void unknownSender(const KxcAddress* sender, KxcObjectPacketBase* packet) override;

protected:
    KxcBtHandler();
    KxcINT32 init();            ///< 0
    KxcBtAddress* localAddress; // owned
};

/// A peer over Bluetooth.
class KXC_API KxcBtClientWin : public KxcClientCommWin
{
public:
    static KxcBtClientWin* create(KxcINT32 maxFrames, KxcINT32 frameSize); ///< null
    KxcObjectDataFrame* getPacketFrame(KxcINT32 slot) override;
    KxcObjectDataFrame* getRecentStateFrame(KxcINT32 id) override;
    void removeRecentStateFrame(KxcINT32 id) override;
    KxcINT32 incoming(KxcObjectPacketBase& packet) override;
    KxcINT32 outgoing(KxcObjectPacketBase& packet) override;
    KxcINT32 bandwidthCheck() override;
    KxcINT32 isClientActive() override;
    KxcINT32 testAddress(const KxcAddress& other) override;
    void setAddress(const KxcAddress& newAddress) override;

protected:
    KxcBtClientWin();
    KxcINT32 init(); ///< 0
};

/// Finds games over Bluetooth: none.
class KXC_API KxcBtCommService : public KxcCommService
{
public:
    static KxcBtCommService* create(); ///< the caller deletes it
    KxcINT32 lockPiconet();            ///< -2
    KxcINT32 inquiry(const KxcAdvertiser& query, KxcDeviceDiscovery* listener, const KxcUUID* id) override; ///< -1
    void cancelInquiry() override;
    void inquiryResult(KxcLinkedList<KxcAdvertiser*>& found) override;
    KxcINT32 advertise(const KxcAdvertiser& advertiser, const KxcUUID* id) override; ///< -1, like the next
    KxcINT32 updateAdvertise(const KxcAdvertiser& advertiser) override;
    void cancelAdvertise() override;

protected:
    KxcBtCommService();
};

/// Names of Bluetooth devices: none.
class KXC_API KxcBtHostResolver : public KxcHostResolver
{
public:
    static KxcBtHostResolver* create(); ///< the caller deletes it; its operations answer -1
    KxcINT32 localAddress(KxcAddress& address) override;
    KxcINT32 localName(KxcName& name) override;
    KxcINT32 remoteName(const KxcAddress& address, KxcHostEntry& entry) override;
    KxcINT32 remoteAddress(const KxcName& name, KxcHostEntry& entry) override;

protected:
    KxcBtHostResolver();
};

/// Pairing of Bluetooth devices.
class KXC_API KxcBtSecurity
{
public:
    static KxcBtSecurity* create(); ///< null
    virtual ~KxcBtSecurity();

protected:
    KxcBtSecurity();
};

/// A stream over Bluetooth.
class KXC_API KxcRFCOMMSocket : public KxcSocket
{
public:
    static KxcRFCOMMSocket* create(); ///< null

protected:
    KxcRFCOMMSocket();
    KxcINT32 init(); ///< 0
};
