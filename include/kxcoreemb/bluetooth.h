// bluetooth.h - the Bluetooth side of the interface. This platform has none: whatever would need it cannot be created.
#pragma once

#include <kxcoreemb/advertiser.h>
#include <kxcoreemb/communication.h>
#include <kxcoreemb/socket.h>

class KXC_API KxcBtAddress : public KxcAddress
{
public:
    static KxcBtAddress* create(); ///< null

    void setAddress(void* data, INT32 size) override;
    const void* getAddress() const override;
    void* getAddress() override;
    INT32 isSame(const KxcAddress& other) const override;

protected:
    KxcBtAddress();
    INT32 init(); ///< 0
};

class KXC_API KxcBtHandler : public KxcCommunicationHandler
{
public:
    static KxcBtHandler* create(INT32 sendCapacity, INT32 receiveCapacity); ///< null
    ~KxcBtHandler() override;
    void closeService() override;
    INT32 outgoing() override;
    INT32 incoming() override;
    void checkActivity() override;
    void unknownSender(const KxcAddress* sender, KxcObjectPacketBase* packet) override;

protected:
    KxcBtHandler();
    INT32 init();               ///< 0
    KxcBtAddress* localAddress; // owned
};

class KXC_API KxcBtClientWin : public KxcClientCommWin
{
public:
    static KxcBtClientWin* create(INT32 maxFrames, INT32 frameSize); ///< null
    KxcObjectDataFrame* getPacketFrame(INT32 slot) override;
    KxcObjectDataFrame* getRecentStateFrame(INT32 id) override;
    void removeRecentStateFrame(INT32 id) override;
    INT32 incoming(KxcObjectPacketBase& packet) override;
    INT32 outgoing(KxcObjectPacketBase& packet) override;
    INT32 bandwidthCheck() override;
    INT32 isClientActive() override;
    INT32 testAddress(const KxcAddress& other) override;
    void setAddress(const KxcAddress& newAddress) override;

protected:
    KxcBtClientWin();
    INT32 init(); ///< 0
};

class KXC_API KxcBtCommService : public KxcCommService
{
public:
    static KxcBtCommService* create(); ///< the caller deletes it
    INT32 lockPiconet();               ///< -2
    INT32 inquiry(const KxcAdvertiser& query, KxcDeviceDiscovery* listener, const KxcUUID* id) override; ///< -1
    void cancelInquiry() override;
    void inquiryResult(KxcLinkedList<KxcAdvertiser*>& found) override;
    INT32 advertise(const KxcAdvertiser& advertiser, const KxcUUID* id) override; ///< -1, like the next
    INT32 updateAdvertise(const KxcAdvertiser& advertiser) override;
    void cancelAdvertise() override;

protected:
    KxcBtCommService();
};

class KXC_API KxcBtHostResolver : public KxcHostResolver
{
public:
    static KxcBtHostResolver* create(); ///< the caller deletes it; its operations answer -1
    INT32 localAddress(KxcAddress& address) override;
    INT32 localName(KxcName& name) override;
    INT32 remoteName(const KxcAddress& address, KxcHostEntry& entry) override;
    INT32 remoteAddress(const KxcName& name, KxcHostEntry& entry) override;

protected:
    KxcBtHostResolver();
};

class KXC_API KxcBtSecurity
{
public:
    static KxcBtSecurity* create(); ///< null
    virtual ~KxcBtSecurity();

protected:
    KxcBtSecurity();
};

class KXC_API KxcRFCOMMSocket : public KxcSocket
{
public:
    static KxcRFCOMMSocket* create(); ///< null

protected:
    KxcRFCOMMSocket();
    INT32 init(); ///< 0
};
