// bluetooth.cpp - what this platform has of Bluetooth: nothing. Addresses and sockets refuse, and with them whatever
// needs one.
#include <kxcoreemb/bluetooth.h>

#include <new>

namespace
{

/// Deletes an object that could not be made ready.
template <class T>
T* keepIf(INT32 ready, T* object)
{
    if (ready)
        return object;
    delete object;
    return nullptr;
}

} // namespace

KxcBtAddress::KxcBtAddress() : KxcAddress(KXCCONNECTION_BLUETOOTH, 0) {}
KxcBtAddress* KxcBtAddress::create()
{
    KxcBtAddress* address = new (std::nothrow) KxcBtAddress;
    return keepIf(address && address->init(), address);
}
INT32 KxcBtAddress::init() { return 0; }
void KxcBtAddress::setAddress(void*, INT32) {}
const void* KxcBtAddress::getAddress() const { return nullptr; }
void* KxcBtAddress::getAddress() { return nullptr; }
INT32 KxcBtAddress::isSame(const KxcAddress&) const { return 0; }

KxcBtHandler::KxcBtHandler() : localAddress(nullptr) { setConnectionType(KXCCONNECTION_BLUETOOTH); }
KxcBtHandler::~KxcBtHandler() { delete localAddress; }
KxcBtHandler* KxcBtHandler::create(INT32, INT32)
{
    KxcBtHandler* handler = new (std::nothrow) KxcBtHandler;
    return keepIf(handler && handler->init(), handler);
}
INT32 KxcBtHandler::init()
{
    localAddress = KxcBtAddress::create();
    return localAddress && baseInit();
}
void KxcBtHandler::closeService() {}
INT32 KxcBtHandler::outgoing() { return -1; }
INT32 KxcBtHandler::incoming() { return -1; }
void KxcBtHandler::checkActivity() {}
void KxcBtHandler::unknownSender(const KxcAddress*, KxcObjectPacketBase*) {}

KxcBtClientWin::KxcBtClientWin() { setConnectionType(KXCCONNECTION_BLUETOOTH); }
KxcBtClientWin* KxcBtClientWin::create(INT32, INT32)
{
    KxcBtClientWin* client = new (std::nothrow) KxcBtClientWin;
    return keepIf(client && client->init(), client);
}
INT32 KxcBtClientWin::init()
{
    address = KxcBtAddress::create();
    return address != nullptr;
}
KxcObjectDataFrame* KxcBtClientWin::getPacketFrame(INT32) { return nullptr; }
KxcObjectDataFrame* KxcBtClientWin::getRecentStateFrame(INT32) { return nullptr; }
void KxcBtClientWin::removeRecentStateFrame(INT32) {}
INT32 KxcBtClientWin::incoming(KxcObjectPacketBase&) { return -1; }
INT32 KxcBtClientWin::outgoing(KxcObjectPacketBase&) { return -1; }
INT32 KxcBtClientWin::bandwidthCheck() { return 0; }
INT32 KxcBtClientWin::isClientActive() { return -1; }
INT32 KxcBtClientWin::testAddress(const KxcAddress&) { return -1; }
void KxcBtClientWin::setAddress(const KxcAddress&) {}

KxcBtCommService::KxcBtCommService() : KxcCommService(KXCCONNECTION_BLUETOOTH) {}
KxcBtCommService* KxcBtCommService::create() { return new (std::nothrow) KxcBtCommService; }
INT32 KxcBtCommService::lockPiconet() { return -2; }
INT32 KxcBtCommService::inquiry(const KxcAdvertiser&, KxcDeviceDiscovery*, const KxcUUID*) { return -1; }
void KxcBtCommService::cancelInquiry() {}
void KxcBtCommService::inquiryResult(KxcLinkedList<KxcAdvertiser*>&) {}
INT32 KxcBtCommService::advertise(const KxcAdvertiser&, const KxcUUID*) { return -1; }
INT32 KxcBtCommService::updateAdvertise(const KxcAdvertiser&) { return -1; }
void KxcBtCommService::cancelAdvertise() {}

KxcBtHostResolver::KxcBtHostResolver() : KxcHostResolver(KXCCONNECTION_BLUETOOTH) {}
KxcBtHostResolver* KxcBtHostResolver::create() { return new (std::nothrow) KxcBtHostResolver; }
INT32 KxcBtHostResolver::localAddress(KxcAddress&) { return -1; }
INT32 KxcBtHostResolver::localName(KxcName&) { return -1; }
INT32 KxcBtHostResolver::remoteName(const KxcAddress&, KxcHostEntry&) { return -1; }
INT32 KxcBtHostResolver::remoteAddress(const KxcName&, KxcHostEntry&) { return -1; }

KxcBtSecurity::KxcBtSecurity() = default;
KxcBtSecurity::~KxcBtSecurity() = default;
KxcBtSecurity* KxcBtSecurity::create() { return nullptr; }

KxcRFCOMMSocket::KxcRFCOMMSocket() = default;
KxcRFCOMMSocket* KxcRFCOMMSocket::create()
{
    KxcRFCOMMSocket* socket = new (std::nothrow) KxcRFCOMMSocket;
    return keepIf(socket && socket->init(), socket);
}
INT32 KxcRFCOMMSocket::init() { return 0; }
