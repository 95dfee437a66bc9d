// stream_test.cpp - stream sockets whose operations end on a thread of the engine's.
#include "net/raw_peer.h"

#include <atomic>
#include <mutex>

namespace
{

/// Writes down what it is told, as "ready", "failed", "cancel", "sent 5" and the bytes received.
struct Events : KxcAsyncCallBack
{
    std::mutex mutex;
    std::string log, bytes;
    INT32 sent = 0;
    void add(const char* text)
    {
        const std::lock_guard<std::mutex> held(mutex);
        log += text;
    }
    void actionReady(INT32 value) override { add(value == 0 ? "ready " : "? "); }
    void actionFailed(INT32 value) override { add(value == -1 ? "failed " : "? "); }
    void actionCancel(INT32 value) override { add(value == 0 ? "cancel " : "? "); }
    void actionReceive(const char* data, INT32 length) override
    {
        const std::lock_guard<std::mutex> held(mutex);
        bytes.append(data, static_cast<size_t>(length));
    }
    void actionSend(INT32 length) override
    {
        const std::lock_guard<std::mutex> held(mutex);
        sent += length;
    }
    template <class Condition>
    bool wait(Condition condition)
    {
        for (int i = 0; i < 5000; ++i, kxcPlatformSleep(1))
        {
            const std::lock_guard<std::mutex> held(mutex);
            if (condition())
                return true;
        }
        return false;
    }
    bool waitForLog(const std::string& expected)
    {
        return wait([&] { return log == expected; });
    }
};

struct Streams
{
    Engine engine;
    Events serverEvents, clientEvents; // live longer than the sockets that call them
    std::unique_ptr<KxcStreamSocket> listening{KxcStreamSocket::create()}, server{KxcStreamSocket::create()},
        client{KxcStreamSocket::create()};
    KxcInetAddress address;

    Streams()
    {
        address.setHost("127.0.0.1");
        EXPECT_EQ(listening->bind(address), 0);
        EXPECT_EQ(listening->getLocalAddress(address), 0);
        EXPECT_EQ(listening->listen(4), 0);
    }
    void connect()
    {
        EXPECT_EQ(server->open(*listening, &serverEvents), 0);
        EXPECT_EQ(client->open(address, &clientEvents), 0);
        EXPECT_TRUE(clientEvents.waitForLog("ready "));
        EXPECT_TRUE(serverEvents.waitForLog("ready "));
    }
};

} // namespace

TEST(StreamSockets, ConnectAcceptAndCarryBytesBothWaysUntilOneEnds)
{
    Streams s;
    s.connect();
    KxcInetAddress peer, own;
    EXPECT_EQ(s.server->getRemoteAddr(peer), 0);
    EXPECT_EQ(s.client->getLocalAddress(own), 0);
    EXPECT_EQ(KxcInetAddress::isSame(peer, own), 1) << "the connection is the server's socket now";

    EXPECT_EQ(s.server->recv(&s.serverEvents), 0);
    EXPECT_EQ(s.server->recv(&s.serverEvents), 0);
    EXPECT_EQ(s.client->send("hello ", 6, &s.clientEvents), 6);
    EXPECT_EQ(s.client->send("there", 5, &s.clientEvents), 5);
    EXPECT_TRUE(s.serverEvents.wait([&] { return s.serverEvents.bytes == "hello there"; }));
    EXPECT_TRUE(s.clientEvents.wait([&] { return s.clientEvents.sent == 11; }));
    EXPECT_EQ(s.server->send("welcome", 7, 0), 7);
    EXPECT_TRUE(s.clientEvents.wait([&] { return s.clientEvents.bytes == "welcome"; }));

    const std::string flood(100000, 'f'); // several rounds of the worker
    for (size_t sent = 0; sent < flood.size();)
        sent +=
            static_cast<size_t>(std::max(0, s.server->send(flood.data(), static_cast<INT32>(flood.size() - sent), 0)));
    EXPECT_TRUE(s.clientEvents.wait([&] { return s.clientEvents.bytes.size() == 7 + flood.size(); }));

    s.client.reset();
    EXPECT_TRUE(s.serverEvents.waitForLog("ready cancel "));
    s.server->send("nobody", 6, 0);
    EXPECT_EQ(s.server->send("nobody", 6, 0), -1) << "and no signal ends the program";
}

TEST(StreamSockets, TellWhenThereIsNobodyToConnectTo)
{
    Streams s;
    s.listening.reset();
    const INT32 result = s.client->open(s.address, &s.clientEvents); // -1 when it is known at once
    EXPECT_TRUE(result == -1 || s.clientEvents.waitForLog("failed "));
    std::unique_ptr<KxcStreamSocket> fresh(KxcStreamSocket::create());
    EXPECT_EQ(fresh->open(s.address, nullptr), -1);
    EXPECT_EQ(fresh->recv(nullptr), -1);
    EXPECT_EQ(fresh->open(*s.client, nullptr), -1);
}

TEST(StreamSockets, ServeTenRequestsAndRefuseTheEleventh)
{
    Streams s;
    std::vector<std::unique_ptr<KxcStreamSocket>> waiting;
    for (int i = 0; i < 10; ++i)
    {
        waiting.emplace_back(KxcStreamSocket::create());
        EXPECT_EQ(waiting.back()->open(*s.listening, &s.serverEvents), 0) << i;
    }
    EXPECT_EQ(s.client->open(s.address, &s.clientEvents), -1);
    waiting.pop_back();
    EXPECT_EQ(s.client->open(s.address, &s.clientEvents), 0) << "a deleted socket gives its place up";
    EXPECT_TRUE(s.clientEvents.waitForLog("ready "));
    EXPECT_TRUE(s.serverEvents.waitForLog("ready ")) << "one of nine took it";
}

TEST(StreamSockets, CallNobodyBackAfterTheyAreGone)
{
    for (int round = 0; round < 20; ++round)
    {
        Streams s;
        {
            Events shortLived;
            std::unique_ptr<KxcStreamSocket> server(KxcStreamSocket::create());
            server->open(*s.listening, &shortLived);
            s.client->open(s.address, &s.clientEvents);
            if (round % 2)
                s.listening.reset(); // takes what waits for it along
            if (round % 4 < 2)
                s.client->send("x", 1, &s.clientEvents);
            server.reset();
        }
        if (round % 3 == 0)
            s.client->close();
    }
}

TEST(StreamSockets, MayBeUsedFromTheirCallbacks)
{
    struct Echo : Events
    {
        KxcStreamSocket* socket;
        void actionReady(INT32) override { socket->recv(this); }
        void actionReceive(const char* data, INT32 length) override { socket->send(data, length, this); }
    } echo;
    Streams s;
    echo.socket = s.server.get();
    EXPECT_EQ(s.server->open(*s.listening, &echo), 0);
    EXPECT_EQ(s.client->open(s.address, &s.clientEvents), 0);
    ASSERT_TRUE(s.clientEvents.waitForLog("ready "));
    EXPECT_EQ(s.client->send("ping", 4, &s.clientEvents), 4);
    EXPECT_TRUE(s.clientEvents.wait([&] { return s.clientEvents.bytes == "ping"; }));
    s.server.reset();
    EXPECT_TRUE(s.clientEvents.waitForLog("ready cancel "));
}

TEST(StreamSockets, ServeNobodyWithoutAnEngine)
{
    std::unique_ptr<KxcStreamSocket> socket(KxcStreamSocket::create());
    Events events;
    KxcInetAddress address;
    EXPECT_EQ(socket->open(address, &events), -1);
    EXPECT_EQ(socket->recv(&events), -1);
    {
        Streams s; // the worker ends with the engine, requests or not
        socket->open(*s.listening, &events);
    }
    socket->close();
}
