// scheduler_test.cpp - the scheduler's place in the engine, ids and tables, and who receives what.
#include "net/raw_peer.h"
#include "support/failing_new.h"

namespace
{

struct AnyClient : KxcClientCommWin
{
    explicit AnyClient(INT32 type = KXCCONNECTION_INET) { setConnectionType(type); }
    KxcObjectDataFrame* getPacketFrame(INT32) override { return nullptr; }
    KxcObjectDataFrame* getRecentStateFrame(INT32) override { return nullptr; }
    void removeRecentStateFrame(INT32 id) override { removed = id; }
    INT32 incoming(KxcObjectPacketBase&) override { return 0; }
    INT32 outgoing(KxcObjectPacketBase&) override { return 0; }
    INT32 bandwidthCheck() override { return 0; }
    INT32 isClientActive() override { return 1; }
    INT32 testAddress(const KxcAddress&) override { return -1; }
    void setAddress(const KxcAddress&) override {}
    INT32 removed = 0;
};

struct AnyHandler : KxcCommunicationHandler
{
    explicit AnyHandler(INT32 type)
    {
        setConnectionType(type);
        EXPECT_EQ(baseInit(), 1);
    }
    void closeService() override {}
    INT32 outgoing() override { return calls += "out ", 0; }
    INT32 incoming() override { return calls += "in ", 0; }
    void checkActivity() override { calls += "check "; }
    void unknownSender(const KxcAddress*, KxcObjectPacketBase*) override {}
    static inline std::string calls;
};

} // namespace

TEST(Scheduler, RunsOnceAFrameBetweenTheGameAndItsPicture)
{
    EXPECT_EQ(KxcCore::getCommunicationScheduler(), nullptr);
    struct Game : KxcApp, KxcRenderer
    {
        void onTick() override { AnyHandler::calls += "tick "; }
        void render() override { AnyHandler::calls += "render "; }
    };
    AnyHandler inet(KXCCONNECTION_INET), bluetooth(KXCCONNECTION_BLUETOOTH);
    Engine engine;
    auto* game = new Game;
    KxcCore::setRenderer(game);
    EXPECT_EQ(KxcCore::getCommunicationScheduler(), nullptr) << "not before it was asked for";
    kxcUseNetwork();
    KxcCommunicationScheduler* scheduler = KxcCore::getCommunicationScheduler();
    kxcUseNetwork();
    EXPECT_EQ(KxcCore::getCommunicationScheduler(), scheduler);
    EXPECT_EQ(scheduler->addCommunicationHandler(&inet), 1);
    EXPECT_EQ(scheduler->addCommunicationHandler(&bluetooth), 0);
    inet.setConnectionType(2);
    EXPECT_EQ(scheduler->addCommunicationHandler(&inet), -3);
    AnyHandler::calls.clear();
    embeddedFrame();
    EXPECT_EQ(AnyHandler::calls, "tick in out check in out check render ");
    EXPECT_EQ(scheduler->runScheduler(), -1);
    EXPECT_EQ(scheduler->removeCommunicationHandler(0), &bluetooth);
    EXPECT_EQ(scheduler->removeCommunicationHandler(0), nullptr);
    EXPECT_EQ(scheduler->getCommunicationHandler(1), &inet);
    EXPECT_EQ(scheduler->getCommunicationHandler(2), nullptr);
    EXPECT_EQ(scheduler->getCommunicationHandler(-1), nullptr);
}

TEST(Scheduler, GivesOutTheLowestIdOfTheConnectionType)
{
    std::unique_ptr<KxcCommunicationScheduler> scheduler(KxcCommunicationScheduler::create());
    AnyClient clients[11], wireless(KXCCONNECTION_BLUETOOTH), foreign(2);
    EXPECT_EQ(scheduler->addClient(&clients[0]), -2);
    EXPECT_EQ(scheduler->getClient(1000), nullptr);
    AnyHandler inet(KXCCONNECTION_INET), bluetooth(KXCCONNECTION_BLUETOOTH);
    scheduler->addCommunicationHandler(&inet);
    scheduler->addCommunicationHandler(&bluetooth);
    for (INT32 i = 0; i < 10; ++i)
        EXPECT_EQ(scheduler->addClient(&clients[i]), 1000 + i);
    EXPECT_EQ(scheduler->addClient(&clients[10]), -1);
    EXPECT_EQ(inet.getLastError(), KXCCOMMERROR_TABLEFULL);
    EXPECT_EQ(clients[10].getClientId(), -1);
    EXPECT_EQ(clients[10].getObjectDataServant(), nullptr);
    EXPECT_EQ(scheduler->addClient(&wireless), 0);
    EXPECT_EQ(wireless.getObjectDataServant(), clients[0].getObjectDataServant());
    EXPECT_EQ(scheduler->addClient(&foreign), -2);
    EXPECT_EQ(scheduler->removeClient(1000), &clients[0]);
    EXPECT_EQ(scheduler->getClient(1000), nullptr);
    EXPECT_EQ(inet.getLastError(), KXCCOMMERROR_NOCLIENT);
    EXPECT_EQ(scheduler->addClient(&clients[10]), 1000);
    EXPECT_EQ(scheduler->getClient(0), &wireless);
    EXPECT_EQ(scheduler->getClient(999), nullptr);
    EXPECT_EQ(bluetooth.getLastError(), KXCCOMMERROR_BADCLIENTID);
    EXPECT_EQ(scheduler->getRoundTripTime(1010), -1);
    EXPECT_EQ(inet.getLastError(), KXCCOMMERROR_BADCLIENTID);
    EXPECT_EQ(scheduler->getPacketFrame(55, 0), nullptr);
    EXPECT_EQ(scheduler->getRecentStateFrame(55, 0), nullptr);
    scheduler->removeRecentStateFrame(1001, 8);
    EXPECT_EQ(clients[1].removed, 8);

    Messages messages;
    EXPECT_EQ(scheduler->addDataReceiver(4, &messages), 1);
    EXPECT_EQ(scheduler->getDataReceiver(4), &messages);
    EXPECT_EQ(scheduler->getDataReceiver(5), nullptr);
}

TEST(Handler, ResizesItsTableAndTellsWhyNot)
{
    AnyHandler handler(KXCCONNECTION_INET);
    handler.setClientBaseNumber(1000);
    AnyClient clients[4];
    for (AnyClient& client : clients)
        handler.addClientCommWin(&client);
    handler.removeClientCommWin(1000);
    EXPECT_EQ(handler.setMaxClientCount(2), -1);
    EXPECT_EQ(handler.getLastError(), KXCCOMMERROR_TOOMANY);
    EXPECT_EQ(handler.setMaxClientCount(3), 1);
    EXPECT_EQ(handler.getClientCount(), 2) << "the client beyond the end has left";
    failAllocationAfter(0);
    EXPECT_EQ(handler.setMaxClientCount(20), -1);
    failAllocationAfter(-1);
    EXPECT_EQ(handler.getLastError(), KXCCOMMERROR_OUTOFMEMORY);
    EXPECT_EQ(handler.setMaxClientCount(20), 1);
    EXPECT_EQ(handler.getMaxClientCount(), 20);
    EXPECT_EQ(handler.setClientLastError(1001, 5), 5);
    EXPECT_EQ(handler.getClientLastError(1001), 5);
    handler.setLastError(0);
    EXPECT_EQ(handler.getClientLastError(1000), KXCCOMMERROR_NOCLIENT);
    EXPECT_EQ(handler.setClientLastError(INT32_MIN, 5), KXCCOMMERROR_BADCLIENTID);
    EXPECT_EQ(handler.getLastError(), 0) << "only told, not kept";
    EXPECT_EQ(handler.testAddress(KxcInetAddress()), -1);
    EXPECT_EQ(handler.getLastError(), -1);
    AnyHandler empty(KXCCONNECTION_INET);
    empty.setMaxClientCount(0);
    EXPECT_EQ(empty.addClientCommWin(&clients[0]), -1);
    EXPECT_EQ(empty.setMaxClientCount(-1), -1);
}

TEST(Handler, KnowsSpeedsByCodes)
{
    AnyHandler handler(KXCCONNECTION_INET);
    AnyClient client;
    handler.tuneConnectionSpeed(777);
    const INT32 values[][2] = {{5, 777}, {1, 1000}, {2, 1000}, {3, 240000}, {4, 1370000}, {5, 1370000}, {9, 2000}};
    for (const auto& value : values)
    {
        handler.setConnectionSpeed(value[0]);
        EXPECT_EQ(handler.getConnectionSpeed(), value[1]);
        client.setCommSpeed(value[0] == 5 ? 4 : value[0]);
    }
    EXPECT_EQ(client.getCommSpeed(), 2000);
}

TEST(DataServant, DeliversToTheReceiverOfTheIdElseToTheDefaultOne)
{
    std::unique_ptr<KxcObjectDataServant> servant(KxcObjectDataServant::create());
    Messages seven, sevenElsewhere, others;
    servant->deliver(1, 7, "nobody", 6);
    EXPECT_EQ(servant->addDataReceiver(7, &seven), 1);
    EXPECT_EQ(servant->addDataReceiver(7 + 128, &sevenElsewhere), 1);
    servant->deliver(2, 7, "a", 1);
    servant->deliver(3, 135, "b", 1);
    servant->deliver(4, 263, "nobody", 6);
    servant->setDataReceiver(&others);
    servant->deliver(5, 263, "c", 1);
    EXPECT_EQ(servant->removeDataReceiver(7), &seven);
    EXPECT_EQ(servant->removeDataReceiver(7), nullptr);
    EXPECT_EQ(servant->getDataReceiver(135), &sevenElsewhere);
    servant->deliver(6, 7, "d", 1);
    EXPECT_EQ(seven, std::vector<std::string>{"2:a"});
    EXPECT_EQ(sevenElsewhere, std::vector<std::string>{"3:b"});
    EXPECT_EQ(others, (std::vector<std::string>{"5:c", "6:d"}));
    EXPECT_EQ(others.plain, 2);
    EXPECT_EQ(servant->addDataReceiver(135, &seven), 1);
    EXPECT_EQ(servant->getDataReceiver(135), &seven);
    failAllocationAfter(0);
    EXPECT_EQ(servant->addDataReceiver(1, &seven), 0);
    failAllocationAfter(-1);
}
