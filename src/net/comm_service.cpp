// comm_service.cpp - advertising games and asking for them.
#include <kxcoreemb/advertiser.h>
#include <kxcoreemb/communication.h>

#include "net/discovery.h"

#include <new>

namespace
{

/// A datagram socket on a port, or any port for 0, that may send to everybody and never waits; null when that fails.
KxcDgramSocket* openSocket(UINT16 port)
{
    KxcInetAddress local;
    local.setPort(port);
    const INT32 allowed = 1;
    UINT32 on = 1;
    KxcDgramSocket* socket = KxcDgramSocket::create();
    if (socket && socket->open(local) == 0 &&
        socket->setOption(KXCSOCKET_LEVELSOCKET, KXCSOCKET_BROADCAST, &allowed, sizeof(allowed)) == 0 &&
        socket->ioctl(KXCSOCKET_NONBLOCKING, &on) == 0)
        return socket;
    delete socket;
    return nullptr;
}

} // namespace

KxcDeviceDiscovery::~KxcDeviceDiscovery() = default;
KxcCommService::~KxcCommService() = default;

KxcInetCommService::KxcInetCommService() : KxcCommService(KXCCONNECTION_INET), discovery(nullptr), listener(nullptr) {}

KxcInetCommService* KxcInetCommService::create()
{
    KxcInetCommService* service = new (std::nothrow) KxcInetCommService;
    if (!service)
        return nullptr;
    service->discovery = KxcInetDiscovery::create();
    if (service->discovery)
        return service;
    delete service;
    return nullptr;
}

KxcInetCommService::~KxcInetCommService() { delete discovery; }

INT32 KxcInetCommService::inquiry(const KxcAdvertiser& query, KxcDeviceDiscovery* newListener, const KxcUUID*)
{
    KxcDgramSocket* socket = openSocket(0);
    if (!socket)
        return -1;
    KxcInetAddress everybody;
    everybody.setHost(KxcInetAddress::kNoAddress);
    everybody.setPort(query.getAdvertisePort());
    discovery->startInquiry(socket, this, newListener); // before sending, so that no answer comes too early
    const INT32 sent = socket->sendTo(query.getMessage(), query.getMessageLength(), 0, everybody);
    if (sent >= 0)
        return sent;
    everybody.setHost("127.255.255.255"); // no network: games on this machine can be found nonetheless
    return socket->sendTo(query.getMessage(), query.getMessageLength(), 0, everybody);
}

void KxcInetCommService::cancelInquiry() { discovery->stopInquiry(); }

void KxcInetCommService::inquiryResult(KxcLinkedList<KxcAdvertiser*>& found)
{
    if (listener)
        listener->devicesFound(found);
}

INT32 KxcInetCommService::advertise(const KxcAdvertiser& advertiser, const KxcUUID*)
{
    KxcDgramSocket* socket = openSocket(advertiser.getAdvertisePort());
    if (!socket)
        return -1;
    discovery->startAdvertising(socket, advertiser.getMessage(), advertiser.getMessageLength());
    return 1;
}

INT32 KxcInetCommService::updateAdvertise(const KxcAdvertiser& advertiser)
{
    return discovery->changeAdvertisement(advertiser.getMessage(), advertiser.getMessageLength()) ? 1 : -1;
}

void KxcInetCommService::cancelAdvertise() { discovery->stopAdvertising(); }
