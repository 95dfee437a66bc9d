// transport_test.cpp - the datagrams of the transport, byte by byte, against a peer driven by hand.
#include "net/raw_peer.h"
#include "support/failing_new.h"

namespace
{

UINT32 field(const std::string& bytes, size_t at, int count)
{
    UINT32 value = 0;
    for (int i = 0; i < count && at + static_cast<size_t>(i) < bytes.size(); ++i)
        value |= static_cast<UINT32>(static_cast<UINT8>(bytes[at + static_cast<size_t>(i)])) << 8 * i;
    return value;
}
UINT32 sequenceOf(const std::string& bytes) { return field(bytes, 4, 2); }
UINT32 flagsOf(const std::string& bytes) { return field(bytes, 8, 1); }

} // namespace

TEST(Transport, FirstDatagramIsAProbeAndCarriesTheMessage)
{
    Host host;
    host.write(KXCSLOT_RELIABLE, "there");
    host.write(KXCSLOT_UNRELIABLE, "hi");
    EXPECT_EQ(host.heard(), datagram(1, 0, 2, message(7, "hi"))) << "the class that is sent once has the first turn";
    EXPECT_EQ(host.heard(), datagram(2, 0, 1, message(7, "there")));
    EXPECT_EQ(host.heard(), "");
    Host quiet;
    quiet.run();
    quiet.take(datagram(0, 0, 2));
    EXPECT_EQ(quiet.heard(), "") << "who never had data does not even acknowledge";
}

TEST(Transport, ProbesWithEveryTwentiethDatagramAndMeasuresTheRoundTrip)
{
    Host host;
    for (UINT32 i = 1; i <= 45; ++i)
    {
        host.write(KXCSLOT_UNRELIABLE, "x");
        const std::string bytes = host.heard();
        EXPECT_EQ(sequenceOf(bytes), i);
        EXPECT_EQ(flagsOf(bytes) & 2, i % 20 == 1 ? 2u : 0u) << i;
        host.clock.advance(i == 21 ? 37 : 3);
        host.take(datagram(0xFFFF & (i - 1), i, 0)); // in order
        EXPECT_EQ(host.scheduler->getRoundTripTime(1000), i >= 21 && i < 41 ? 37 : 3);
    }
}

TEST(Transport, AnswersAProbeAtOnceAndOtherwiseWaitsForNineDatagrams)
{
    Host host;
    host.write(KXCSLOT_UNRELIABLE, "x");
    EXPECT_NE(host.heard(), "");
    for (UINT32 i = 0; i < 9; ++i) // number 0 is no news to acknowledge
    {
        host.take(datagram(i, 1, 0));
        EXPECT_EQ(host.heard(), "") << i;
    }
    host.take(datagram(9, 1, 0));
    EXPECT_EQ(host.heard(), datagram(2, 9, 0));
    host.take(datagram(10, 2, 2));
    EXPECT_EQ(host.heard(), datagram(3, 10, 0));
}

TEST(Transport, PausesAfterEachDatagramAccordingToSizeAndSpeed)
{
    struct Case
    {
        INT32 speedCode;
        UINT32 pauseMs; // after a datagram of 100 bytes
    };
    for (const Case& c : {Case{0, 640}, Case{1, 1280}, Case{3, 5}, Case{4, 0}})
    {
        Host host;
        host.handler->setConnectionSpeed(c.speedCode);
        host.write(KXCSLOT_UNRELIABLE, std::string(100 - 15, 'a'));
        host.write(KXCSLOT_UNRELIABLE, "next");
        EXPECT_EQ(host.heard().size(), 100u);
        host.clock.advance(c.pauseMs);
        host.scheduler->runScheduler();
        EXPECT_EQ(host.peer.receive(), "");
        host.clock.advance(1);
        host.scheduler->runScheduler();
        EXPECT_EQ(host.peer.receive(), datagram(2, 0, 0, message(7, "next"))) << c.speedCode;
    }
}

TEST(Transport, StopsAtFifteenUnacknowledgedAndTriesEverMoreRarely)
{
    Host host;
    for (int i = 0; i < 20; ++i)
        host.write(KXCSLOT_RELIABLE, "x");
    host.take(datagram(0, 0, 0)); // from now on silence is a second
    for (UINT32 i = 1; i <= 15; ++i)
        EXPECT_EQ(sequenceOf(host.heard()), i);
    EXPECT_EQ(host.heard(), "");
    EXPECT_EQ(host.client->countLocalWindow(), 15);
    const UINT32 silentSince = host.clock.nowMs() - 16 * 5;
    UINT32 sequence = 16;
    for (UINT32 silenceMs : {1000u, 2111u, 3345u, 4716u})
    {
        host.clock.nowMs() = silentSince + silenceMs - 1;
        host.scheduler->runScheduler();
        EXPECT_EQ(host.peer.receive(), "") << silenceMs;
        host.clock.advance(1);
        host.scheduler->runScheduler();
        EXPECT_EQ(sequenceOf(host.peer.receive()), sequence++) << silenceMs;
        EXPECT_EQ(host.heard(), "");
    }
    host.take(datagram(1, 19, 0));
    EXPECT_EQ(sequenceOf(host.heard()), 20u);
}

TEST(Transport, AsksToGoOnFromAHigherNumberAfterAGap)
{
    Host host;
    host.write(KXCSLOT_UNRELIABLE, "x");
    host.run();
    for (UINT32 i = 0; i < 3; ++i)
        host.take(datagram(i, 1, 0));
    host.take(datagram(5, 1, 0, message(7, "newer state")));
    host.take(datagram(6, 1, 1, message(7, "must wait")));
    EXPECT_EQ(host.messages, std::vector<std::string>{"1000:newer state"});
    EXPECT_EQ(host.client->getRecvErrorValue(), 100 / 5);
    host.peer.receive();
    for (UINT32 i = 2; i < 5; ++i)
        EXPECT_EQ(host.heard(), datagram(i, 128, 4));
    host.take(datagram(129, 1, 1, message(7, "in order")));
    EXPECT_EQ(host.messages.back(), "1000:in order");
    EXPECT_EQ(host.heard(), datagram(5, 129, 0)) << "many have come since the last acknowledgement";
    EXPECT_EQ(host.heard(), "");
}

TEST(Transport, FirstDatagramOfAPeerIsAGapToo)
{
    Host host;
    host.write(KXCSLOT_UNRELIABLE, "x");
    host.run();
    host.peer.receive();
    host.take(datagram(1, 0, 2, message(7, "hello")));
    EXPECT_EQ(host.messages, std::vector<std::string>{"1000:hello"});
    EXPECT_EQ(host.heard(), datagram(2, 124, 4));
    host.take(datagram(125, 2, 0));
    host.take(datagram(126, 2, 2));
    EXPECT_EQ(host.heard(), datagram(3, 126, 0));
}

TEST(Transport, GoesOnFromThePeersNumberAndSendsAgainWhatWasNotAcknowledged)
{
    Host host;
    for (const char* text : {"one", "two", "three", "four"})
        host.write(KXCSLOT_RELIABLE, text);
    host.write(KXCSLOT_UNRELIABLE, "once");
    for (UINT32 i = 1; i <= 5; ++i)
        EXPECT_EQ(sequenceOf(host.heard()), i);
    host.take(datagram(0, 3, 0)); // "once" went first
    host.run();
    host.take(datagram(1, 128, 4));
    host.take(datagram(2, 128, 4)); // and again, before it was followed
    std::string sent;
    for (UINT32 i = 129; i <= 130; ++i)
    {
        const std::string bytes = host.heard();
        EXPECT_EQ(sequenceOf(bytes), i);
        EXPECT_EQ(flagsOf(bytes), 1u);
        sent += bytes.substr(15) + " ";
        host.take(datagram(i - 126, 128, 4)); // late: asks for what was done
    }
    EXPECT_EQ(sent, "three four ");
    EXPECT_EQ(host.heard(), "");
    EXPECT_EQ(host.client->getSendErrorValue(), 4 * 100 / 7);
    host.take(datagram(5, 130, 0));
    host.run();
    host.take(datagram(6, 300, 4)); // nothing is left to be sent again
    EXPECT_EQ(host.heard(), "");
}

TEST(Transport, DeliversLateStatesButNeverLateOrRepeatedReliableMessages)
{
    Host host;
    host.take(datagram(0, 0, 1, message(7, "a")));
    host.take(datagram(0, 0, 1, message(7, "a"))); // doubled on the way
    host.take(datagram(4, 0, 0, message(7, "e"))); // a gap: 128 is expected
    host.take(datagram(5, 0, 0, message(7, "f"))); // late, but newer than the last
    host.take(datagram(6, 0, 1, message(7, "reliable")));
    host.take(datagram(3, 0, 0, message(7, "d"))); // older
    EXPECT_EQ(host.messages, (std::vector<std::string>{"1000:a", "1000:e", "1000:f"}));
}

TEST(Transport, GoesOnFromZeroWhereTheNumbersEnd)
{
    Host host;
    host.write(KXCSLOT_UNRELIABLE, "x");
    host.run();
    host.peer.receive();
    host.take(datagram(30000, 1, 0));
    host.take(datagram(60000, 1, 0));
    EXPECT_EQ(host.heard(), datagram(2, 60123, 4));
    host.take(datagram(65412, 1, 0));
    EXPECT_EQ(host.heard(), datagram(3, 65535, 4));
    host.take(datagram(0, 1, 0)); // 65535 and one
    host.take(datagram(1, 1, 0));
    host.take(datagram(30000, 1, 0));
    host.take(datagram(60000, 1, 0));
    host.take(datagram(65450, 1, 0));
    EXPECT_EQ(host.heard(), datagram(4, 0, 4));
    host.take(datagram(1, 0, 1, message(7, "on")));
    EXPECT_EQ(host.messages.back(), "1000:on");
    host.take(datagram(2, 0, 2));
    EXPECT_EQ(host.heard(), datagram(5, 2, 0));
}

TEST(Transport, DoesNotMistakeANumberPastTheWrapForTheAnswer)
{
    Host host;
    host.write(KXCSLOT_UNRELIABLE, "x");
    host.run();
    host.peer.receive();
    host.take(datagram(32000, 1, 0));
    host.take(datagram(64000, 1, 0));
    host.take(datagram(65399, 1, 0)); // asks for 65523
    host.take(datagram(65523, 1, 0));
    host.take(datagram(65525, 1, 0));                           // 65524 is missing
    host.take(datagram(0, 1, 1, message(7, "late")));           // the peer has not heard of it and counts on
    host.take(datagram(1, 1, 1, message(7, "not yet proven"))); // to where it is asked to begin
    EXPECT_TRUE(host.messages.empty());
    EXPECT_EQ(host.heard(), datagram(2, 124, 4));
    host.take(datagram(125, 2, 1, message(7, "again")));
    EXPECT_EQ(host.messages, std::vector<std::string>{"1000:again"});
}

TEST(Transport, CountsOnPastTheWrapWhileEverythingIsAcknowledged)
{
    Host host;
    host.write(KXCSLOT_RELIABLE, "x");
    host.heard();
    host.take(datagram(0, 65530, 4));
    for (UINT32 i = 65531; i < 65536 + 40; ++i)
    {
        const std::string bytes = host.heard();
        ASSERT_EQ(sequenceOf(bytes), i & 0xFFFF);
        host.write(KXCSLOT_RELIABLE, std::to_string(i));
        if (i % 3 == 0)
            host.take(datagram(i - 65530, i & 0xFFFF, 0));
        host.take(datagram(0, 65530, 4)); // an old request, doubled on the way
        host.take(datagram(0, i & 0xFFFF, 0));
    }
    host.run();
    host.run();
    EXPECT_LE(host.client->countLocalWindow(), 2);
}

TEST(Transport, GivesTheTurnToWhoeverHasWaitedLongest)
{
    Host host;
    RawPeer second, third;
    const auto secondClient = host.add(second), thirdClient = host.add(third);
    KxcInetClientWin* clients[] = {host.client.get(), secondClient.get(), thirdClient.get()};
    RawPeer* peers[] = {&host.peer, &second, &third};
    for (int round = 0; round < 6; ++round)
        for (KxcInetClientWin* client : clients)
            host.write(KXCSLOT_UNRELIABLE, "x", client);
    for (int turn = 0; turn < 12; ++turn)
    {
        host.run();
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(peers[i]->receive() != "", i == turn % 3) << turn;
    }
    host.scheduler->removeClient(1001); // its slot stays empty, the others keep their ids and turns
    host.run();
    host.run();
    EXPECT_EQ(second.receive(), "");
    EXPECT_NE(third.receive(), "");
}

TEST(Transport, PeerThatCannotBeReachedDoesNotKeepTheOthersWaiting)
{
    Host host;
    std::unique_ptr<KxcInetClientWin> nowhere(KxcInetClientWin::create("127.0.0.1", 0, 5, 50)); // port 0 takes nothing
    ASSERT_EQ(host.scheduler->addClient(nowhere.get()), 1001);
    std::unique_ptr<KxcInetClientWin> unknown(KxcInetClientWin::create(5, 50)); // no address yet
    ASSERT_EQ(host.scheduler->addClient(unknown.get()), 1002);
    nowhere->setPriority(0);
    for (KxcInetClientWin* client : {nowhere.get(), unknown.get()})
        client->setConnectionTimeout(1000);
    for (int i = 0; i < 3; ++i) // there is always more
        host.write(KXCSLOT_RELIABLE, "x", nowhere.get());
    host.write(KXCSLOT_RELIABLE, "x", unknown.get());
    host.write(KXCSLOT_RELIABLE, "y");
    host.run();
    EXPECT_EQ(nowhere->getLastError(), KXCCOMMERROR_NOTCONNECTED);
    EXPECT_EQ(host.heard(), datagram(1, 0, 3, message(7, "y")));
    EXPECT_EQ(unknown->getLastError(), 0);
    RawPeer late;
    unknown->setAddress(late.address);
    host.run();
    host.run();
    EXPECT_EQ(late.receive(), datagram(1, 0, 3, message(7, "x")));
}

TEST(Transport, RunsAllocateNothingOnceAllFramesExist)
{
    Host host;
    for (UINT32 run = 0; run < 60; ++run)
    {
        host.write(run % 2 ? KXCSLOT_RELIABLE : KXCSLOT_UNRELIABLE, "x");
        host.peer.send(datagram(run, run, 2, message(7, "y")), host.address);
        if (run == 30)
            takeLargestAllocation();
        host.run();
        host.messages.clear();
    }
    EXPECT_EQ(takeLargestAllocation(), 0u);
}

TEST(Transport, FillsDatagramsAsTheCreatorSays)
{
    struct Case
    {
        INT32 kind;
        std::vector<std::string> payloads;
    };
    // Frames bear the packet status of the creator at the time they were taken.
    for (const Case& c : {Case{KXCCREATOR_SINGLE, {"c", "d"}}, Case{KXCCREATOR_MANY, {"ab", "e"}},
                          Case{KXCCREATOR_MIXED, {"abc", "d", "e"}}})
    {
        Host host;
        host.client->changePacketCreator(KXCCREATOR_MANY);
        host.write(KXCSLOT_UNRELIABLE, "a");
        host.write(KXCSLOT_UNRELIABLE, "b");
        KxcObjectDataFrame* reliable = host.client->getPacketFrame(KXCSLOT_RELIABLE);
        EXPECT_EQ(reliable->getPacketStatus(), 1);
        SimulatedLink::write(reliable, "e", 1);
        host.client->changePacketCreator(KXCCREATOR_SINGLE);
        host.write(KXCSLOT_UNRELIABLE, "c");
        host.write(KXCSLOT_UNRELIABLE, "d");
        EXPECT_EQ(host.client->changePacketCreator(c.kind), 1);
        for (const std::string& expected : c.payloads)
        {
            const std::string bytes = host.heard();
            std::string texts;
            for (size_t at = 9; at + 6 < bytes.size(); at += 7)
                texts += bytes[at + 6];
            EXPECT_EQ(texts, expected) << c.kind;
            EXPECT_EQ(flagsOf(bytes) & 1, texts == "e" ? 1u : 0u);
        }
        EXPECT_EQ(host.heard(), "") << c.kind;
        EXPECT_EQ(host.client->changePacketCreator(3), -1);
    }
}

TEST(Transport, IgnoresDatagramsThatAreShortOrForeignAndEndsAtLyingLengths)
{
    Host host(100);
    const std::string good = message(7, "good");
    for (const std::string& bytes :
         {std::string(), std::string("\1\0\0\0\5\0\0\0", 8), "\2" + datagram(9, 9, 6, good).substr(1),
          datagram(9, 9, 6, good) + std::string(100, 'x')}) // the last one is longer than the buffer
    {
        host.peer.send(bytes, host.address);
        host.run();
        host.run();
    }
    EXPECT_TRUE(host.messages.empty());
    EXPECT_EQ(host.client->getRecvErrorValue(), 0);
    host.take(datagram(0, 0, 0,
                       good + little(0, 2) + little(3, 2) + "abc" + message(8, "") + good + little(9, 2) + "12345678"));
    EXPECT_EQ(host.messages, (std::vector<std::string>{"1000:good", "1000:", "1000:good"}));
    EXPECT_EQ(host.messages.plain, 3);
    host.take(datagram(1, 0, 0, little(0xFFFF, 2) + "1234"));
    EXPECT_EQ(host.messages.size(), 3u);
}

TEST(Transport, TellsOfSingleMessagesFromUnknownSenders)
{
    struct Unknown : KxcUnknownSender
    {
        std::vector<std::string> heard;
        UINT16 port = 0;
        void dataFromUnknownSender(const KxcAddress* sender, const char* data, INT32 length) override
        {
            heard.emplace_back(data, static_cast<size_t>(length));
            port = static_cast<const KxcInetAddress*>(sender)->getPort();
        }
    } unknown;
    Host host;
    RawPeer stranger;
    stranger.send(datagram(1, 0, 2, message(7, "nobody listens")), host.address);
    host.run();
    host.handler->setUnknownSenderHandler(&unknown);
    const std::string hello = message(7, "hello");
    for (const std::string& bytes : {datagram(1, 0, 2, hello), datagram(1, 0, 2, hello + hello), datagram(1, 0, 2),
                                     datagram(1, 0, 2, little(2, 2) + "ab"), datagram(1, 0, 2, little(1, 2) + "a"),
                                     "\2" + datagram(1, 0, 2, hello).substr(1), std::string("abc")})
    {
        stranger.send(bytes, host.address);
        host.run();
        host.run();
    }
    EXPECT_EQ(unknown.heard, std::vector<std::string>{"hello"});
    EXPECT_EQ(unknown.port, stranger.address.getPort());
    const auto known = host.add(stranger); // told apart from the first client by its port alone
    stranger.send(datagram(1, 0, 0, hello), host.address);
    host.take(datagram(0, 0, 0, hello));
    host.run();
    std::sort(host.messages.begin(), host.messages.end());
    EXPECT_EQ(host.messages, (std::vector<std::string>{"1000:hello", "1001:hello"}));
}

TEST(Transport, ReportsSilentPeersAtEveryRunUntilTheySpeakOrGo)
{
    struct Lost : KxcClientLost
    {
        std::vector<INT32> ids;
        std::unique_ptr<KxcInetClientWin>* victim = nullptr;
        Host* host = nullptr;
        void clientLost(INT32 id) override
        {
            ids.push_back(id);
            if (!victim)
                return;
            host->scheduler->removeClient(id);
            victim->reset();
        }
    } lost;
    Host host;
    host.handler->setClientLost(&lost);
    host.client->setConnectionTimeout(100);
    host.clock.advance(90);
    host.run();
    EXPECT_EQ(host.client->isClientActive(), 1);
    host.run();
    host.run();
    host.run();
    EXPECT_EQ(host.client->getLastError(), KXCCOMMERROR_SILENT);
    EXPECT_EQ(lost.ids, (std::vector<INT32>{1000, 1000}));
    host.take(datagram(0, 0, 0));
    host.run();
    EXPECT_EQ(lost.ids.size(), 2u);
    lost.victim = &host.client;
    lost.host = &host;
    host.clock.advance(200);
    host.run();
    host.run();
    EXPECT_EQ(lost.ids.size(), 3u);
}

TEST(Transport, SurvivesAGameThatEndsEverythingFromACallback)
{
    struct Farewell : KxcDataReceiver
    {
        Host* host;
        using KxcDataReceiver::addData;
        void addData(const char*, INT32) override
        {
            host->handler->closeService();
            host->handler->openService();
            host->handler->closeService();
            host->scheduler->removeClient(1000);
            host->client.reset();
        }
    } farewell;
    Host host;
    farewell.host = &host;
    host.scheduler->addDataReceiver(9, &farewell);
    host.peer.send(datagram(0, 0, 0, message(9, "bye") + message(7, "after")), host.address);
    for (int i = 0; i < 100 && host.client; ++i)
        host.run();
    EXPECT_FALSE(host.client);
    EXPECT_EQ(host.messages, std::vector<std::string>{"1000:after"}) << "a datagram is delivered to its end";
    host.run();
}

TEST(Transport, ServiceThatCannotBeOpenedSaysSoAndSendsNothing)
{
    Host host;
    std::unique_ptr<KxcInetHandler> rival(KxcInetHandler::create(host.handler->getPort(), 500, 500));
    rival->openService(); // the port is taken
    EXPECT_EQ(rival->getLastError(), KXCCOMMERROR_NOSERVICE);
    EXPECT_EQ(rival->incoming(), -1);
    EXPECT_EQ(rival->outgoing(), -1);
    host.handler->closeService();
    host.client->setConnectionTimeout(1000);
    host.write(KXCSLOT_RELIABLE, "x");
    EXPECT_EQ(host.heard(), "");
    EXPECT_EQ(host.client->getLastError(), KXCCOMMERROR_NOTCONNECTED);
    rival->openService();
    EXPECT_NE(rival->getPort(), 0);
    EXPECT_EQ(KxcInetHandler::create(15, 500), nullptr);
    EXPECT_EQ(KxcInetHandler::create(500, INT32_MAX), nullptr);
    EXPECT_EQ(KxcInetClientWin::create("", 1, 1, 50), nullptr);
    EXPECT_EQ(KxcInetClientWin::create("127.0.0.1", 1, 1, 3), nullptr);
}
