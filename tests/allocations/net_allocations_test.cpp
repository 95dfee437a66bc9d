// net_allocations_test.cpp - the network while memory runs out.
#include "allocations/every_allocation.h"
#include "net/raw_peer.h"
#include "net/stream_worker.h"

namespace
{

struct Nobody : KxcDataReceiver
{
    void addData(const char*, INT32) override {}
};

struct Deaf : KxcAsyncCallBack
{
    void actionReady(INT32) override {}
    void actionFailed(INT32) override {}
    void actionCancel(INT32) override {}
    void actionReceive(const char*, INT32) override {}
    void actionSend(INT32) override {}
};

struct Silent : KxcDeviceDiscovery
{
    void devicesFound(KxcLinkedList<KxcAdvertiser*>&) override {}
};

struct NetAllocations : testing::Test
{
    Engine engine;
    NetAllocations() { kxcUseNetwork(); }
};

KxcInetAddress loopback()
{
    KxcInetAddress address;
    address.setHost("127.0.0.1");
    return address;
}

} // namespace

TEST_F(NetAllocations, PeersAndTheirMessages)
{
    failEveryAllocation({
        creation("scheduler", 3, [] { return KxcCommunicationScheduler::create(); }),
        creation("servant", 2, [] { return KxcObjectDataServant::create(); }),
        creation("handler", 3, [] { return KxcInetHandler::create(500, 500); }),
        creation("client", 4, [] { return KxcInetClientWin::create("127.0.0.1", 1, 5, 50); }),
        creation("message", 2, [] { return KxcObjectDataFrame::create(0, 50); }),
        creation("packet", 2, [] { return KxcObjectPacketBase::create(50); }),
        {"receiver", 1, kReported,
         [](Attempt& attempt)
         {
             Nobody nobody;
             const std::unique_ptr<KxcObjectDataServant> servant(KxcObjectDataServant::create());
             attempt([&] { return servant->addDataReceiver(5, &nobody) == 1; });
             EXPECT_EQ(servant->getDataReceiver(5), attempt.worked() ? &nobody : nullptr);
         }},
        {"table of clients", 1, kReported,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcInetHandler> handler(KxcInetHandler::create(500, 500));
             attempt([&] { return handler->setMaxClientCount(30) == 1; });
             EXPECT_EQ(handler->getMaxClientCount(), attempt.worked() ? 30 : 10);
         }},
        {"service", 2, kReported,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcInetHandler> handler(KxcInetHandler::create(500, 500));
             attempt([&] { return handler->openService(), handler->getLastError() != KXCCOMMERROR_NOSERVICE; });
             EXPECT_EQ(handler->getPort() != 0, attempt.worked());
         }},
        {"a run", 0, kTolerated,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcInetHandler> handler(KxcInetHandler::create(500, 500));
             const std::unique_ptr<KxcInetClientWin> client(KxcInetClientWin::create("127.0.0.1", 9, 5, 50));
             handler->openService();
             handler->addClientCommWin(client.get());
             RawPeer peer;
             KxcInetAddress to = loopback();
             to.setPort(handler->getPort());
             peer.send(datagram(1, 0, 0, message(5, "x")), to);
             attempt(
                 [&]
                 {
                     if (KxcObjectDataFrame* frame = client->getPacketFrame(KXCSLOT_RELIABLE))
                     {
                         frame->lock();
                         frame->setPacketSize(5);
                         frame->unlock();
                     }
                     handler->incoming();
                     handler->outgoing();
                     return true;
                 });
         }},
    });
}

TEST_F(NetAllocations, AddressesAdvertisersAndSockets)
{
    KxcName host;
    host.setName("localhost");
    const auto resolving = [](const char* name, int least, auto resolve)
    {
        return Operation{name, least, kTolerated,
                         [=](Attempt& attempt)
                         {
                             const std::unique_ptr<KxcInetHostResolver> resolver(KxcInetHostResolver::create());
                             attempt([&] { return resolve(*resolver) == 1; });
                         }};
    };
    failEveryAllocation({
        creation("address", 1, [] { return KxcInetAddress::create(); }),
        creation("host entry", 1, [] { return KxcInetHostEntry::create(); }),
        creation("resolver", 1, [] { return KxcInetHostResolver::create(); }),
        creation("advertiser", 1, [] { return KxcInetAdvertiser::create(); }),
        creation("advertiser with an address", 2, [] { return KxcInetAdvertiser::create(loopback(), "", 0); }),
        creation("datagram socket", 1, [] { return KxcDgramSocket::create(); }),
        creation("stream socket", 1, [] { return KxcStreamSocket::create(); }),
        creation("discovery", 3, [] { return KxcInetCommService::create(); }),
        resolving("address of a name", 0,
                  [=](KxcInetHostResolver& resolver)
                  {
                      KxcInetHostEntry entry;
                      return resolver.remoteAddress(host, entry);
                  }),
        resolving("name of an address", 0,
                  [](KxcInetHostResolver& resolver)
                  {
                      KxcInetHostEntry entry;
                      return resolver.remoteName(loopback(), entry);
                  }),
    });
}

TEST_F(NetAllocations, ThreadsThatWaitForSockets)
{
    failEveryAllocation({
        {"stream worker", 3, kReported, // the core's, which begins with the first request of a run
         [](Attempt& attempt)
         {
             delete kxcCore->streamWorker;
             kxcCore->streamWorker = nullptr;
             Deaf deaf;
             const std::unique_ptr<KxcStreamSocket> listening(KxcStreamSocket::create()),
                 client(KxcStreamSocket::create());
             KxcInetAddress address = loopback();
             EXPECT_EQ(listening->bind(address), 0);
             EXPECT_EQ(listening->getLocalAddress(address), 0);
             listening->listen(4);
             listening->listen(4);
             attempt([&] { return client->open(address, &deaf) == 0; });
         }},
        {"advertise", 0, kTolerated,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcInetCommService> service(KxcInetCommService::create());
             const std::unique_ptr<KxcInetAdvertiser> advertiser(KxcInetAdvertiser::create());
             advertiser->setAdvertisePort(RawPeer().address.getPort());
             attempt([&] { return service->advertise(*advertiser, nullptr) == 1; });
         }},
    });
}
