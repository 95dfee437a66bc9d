// raw_peer.h - a peer that speaks in raw datagrams, and a host with the real transport that it speaks to.
#pragma once

#include "net/socket_handle.h"
#include "support/net.h"

#include <gtest/gtest.h>

inline std::string little(UINT32 value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> 8 * i);
    return text;
}
inline std::string datagram(UINT32 sequence, UINT32 acknowledgement, UINT32 flags, const std::string& payload = "")
{
    return little(1, 4) + little(sequence, 2) + little(acknowledgement, 2) + little(flags, 1) + payload;
}
inline std::string message(UINT32 receiverId, const std::string& data)
{
    return little(static_cast<UINT32>(data.size()) + 4, 2) + little(receiverId, 4) + data;
}

/// A bare socket on the loopback address.
struct RawPeer
{
    std::unique_ptr<KxcDgramSocket> socket{KxcDgramSocket::create()};
    KxcInetAddress address;

    RawPeer()
    {
        UINT32 on = 1;
        address.setHost("127.0.0.1");
        EXPECT_EQ(socket->open(address), 0);
        EXPECT_EQ(socket->ioctl(KXCSOCKET_NONBLOCKING, &on), 0);
        EXPECT_EQ(socket->getLocalAddress(address), 0);
    }
    void send(const std::string& bytes, const KxcInetAddress& to)
    {
        EXPECT_EQ(socket->sendTo(bytes.data(), static_cast<INT32>(bytes.size()), 0, to),
                  static_cast<INT32>(bytes.size()));
    }
    /// What has arrived, or "" when that is nothing. Even the loopback network may take a moment when it is busy.
    std::string receive(INT32 waitMs = 3)
    {
        KxcPlatformSocketWatch watch = {kxcSocketHandle(*socket), 0, 0};
        if (kxcPlatformSocketWait(&watch, 1, waitMs) < 1)
            return "";
        char bytes[2000];
        KxcInetAddress from;
        const INT32 length = socket->recvFrom(bytes, sizeof(bytes), 0, from);
        return length < 0 ? "" : std::string(bytes, static_cast<size_t>(length));
    }
};

/// Remembers messages as "id:data".
struct Messages : KxcDataReceiver, std::vector<std::string>
{
    INT32 plain = 0; // calls without a client id
    void addData(const char*, INT32) override { ++plain; }
    void addData(INT32 clientId, const char* data, INT32 length) override
    {
        push_back(std::to_string(clientId) + ":" + std::string(data, static_cast<size_t>(length)));
    }
};

/// The engine on a driven clock, with an open service and a raw peer as its first client.
struct Host
{
    DrivenClock clock;
    Engine engine;
    KxcCommunicationScheduler* scheduler;
    std::unique_ptr<KxcInetHandler> handler;
    RawPeer peer;
    std::unique_ptr<KxcInetClientWin> client;
    Messages messages;
    KxcInetAddress address;

    explicit Host(INT32 capacity = 1400)
    {
        kxcUseNetwork();
        scheduler = KxcCore::getCommunicationScheduler();
        handler.reset(KxcInetHandler::create(capacity, capacity));
        handler->openService();
        EXPECT_EQ(handler->getLastError(), -1);
        handler->setConnectionSpeed(4);
        EXPECT_EQ(scheduler->addCommunicationHandler(handler.get()), 1);
        scheduler->setDataReceiver(&messages);
        address.setHost("127.0.0.1");
        address.setPort(handler->getPort());
        clock.advance(5); // time 0 stands for never
        client = add(peer);
    }
    std::unique_ptr<KxcInetClientWin> add(const RawPeer& to)
    {
        std::unique_ptr<KxcInetClientWin> added(KxcInetClientWin::create("127.0.0.1", to.address.getPort(), 40, 200));
        EXPECT_GE(scheduler->addClient(added.get()), 1000);
        return added;
    }
    void write(INT32 slot, const std::string& data, KxcInetClientWin* to = nullptr)
    {
        KxcObjectDataFrame* frame = (to ? to : client.get())->getPacketFrame(slot);
        ASSERT_TRUE(frame);
        SimulatedLink::write(frame, data.data(), static_cast<INT32>(data.size()));
    }
    /// A run, later enough that no pause is in the way of what is to be sent.
    void run()
    {
        clock.advance(5);
        scheduler->runScheduler();
    }
    /// What the peer hears in a run.
    std::string heard()
    {
        run();
        return peer.receive();
    }
    /// Has the host take what the peer sends.
    void take(const std::string& bytes)
    {
        peer.send(bytes, address);
        for (int i = 0; i < 1000 && handler->incoming() == -1; ++i)
            kxcPlatformSleep(1);
    }
};
