// net_bench.cpp - what a datagram, an idle run and a client cost, and how late messages are on a bad network.
//
// CPU: two schedulers in one thread over loopback sockets, against the bare socket calls. The clock is driven by hand,
// 60 runs a second, since the transport sends no more often than every millisecond. Latency: the simulated network of
// the tests, 60 runs and 60 messages a second each way, 20 ms each way; the counters are milliseconds.
#include "support/net.h"

#include <kxcoreemb/kxcoreemb.h>

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <malloc.h>
#include <new>

static INT64 s_allocations = 0; // of the library, which uses this operator new alone
void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    ++s_allocations;
    return std::malloc(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept
{
    ++s_allocations;
    return std::malloc(size);
}

namespace
{

constexpr INT32 kMessageBytes = 64;
constexpr INT32 kDatagramBytes = 79; // one such message
constexpr UINT32 kRunMs = 16;

/// Two schedulers that talk to each other over loopback.
struct Pair
{
    DrivenClock clock;
    Engine engine;
    struct Count : KxcDataReceiver
    {
        using KxcDataReceiver::addData;
        void addData(const char*, INT32) override { ++messages; }
        INT64 messages = 0;
    } counts[2];
    std::unique_ptr<KxcCommunicationScheduler> schedulers[2];
    std::unique_ptr<KxcInetHandler> handlers[2];
    std::unique_ptr<KxcInetClientWin> clients[2];

    Pair()
    {
        for (int end = 0; end < 2; ++end)
        {
            schedulers[end].reset(KxcCommunicationScheduler::create());
            handlers[end].reset(KxcInetHandler::create(1400, 1400));
            handlers[end]->openService();
            handlers[end]->setConnectionSpeed(4);
            schedulers[end]->addCommunicationHandler(handlers[end].get());
            schedulers[end]->setDataReceiver(&counts[end]);
        }
        for (int end = 0; end < 2; ++end)
        {
            clients[end].reset(
                KxcInetClientWin::create("127.0.0.1", handlers[1 - end]->getPort(), 600, kMessageBytes + 4));
            clients[end]->changePacketCreator(KXCCREATOR_MANY);
            schedulers[end]->addClient(clients[end].get());
        }
        for (int i = 0; i < 50; ++i) // the first gap and its end, and all that is allocated once
        {
            send(0);
            send(1);
            run();
        }
    }
    void send(int end)
    {
        static const char message[kMessageBytes] = {};
        if (KxcObjectDataFrame* frame = clients[end]->getPacketFrame(KXCSLOT_RELIABLE))
            SimulatedLink::write(frame, message, kMessageBytes);
    }
    void run()
    {
        clock.advance(kRunMs);
        schedulers[0]->runScheduler();
        schedulers[1]->runScheduler();
    }
};

/// Two bare sockets.
struct Sockets
{
    std::unique_ptr<KxcDgramSocket> ends[2];
    KxcInetAddress addresses[2], from;
    char bytes[1500] = {};
    Sockets()
    {
        for (int end = 0; end < 2; ++end)
        {
            UINT32 on = 1;
            addresses[end].setHost("127.0.0.1");
            ends[end].reset(KxcDgramSocket::create());
            ends[end]->open(addresses[end]);
            ends[end]->ioctl(KXCSOCKET_NONBLOCKING, &on);
            ends[end]->getLocalAddress(addresses[end]);
        }
    }
};

void bareSocketCalls(benchmark::State& state)
{
    Sockets sockets;
    for (auto _ : state)
        for (int end = 0; end < 2; ++end)
        {
            sockets.ends[end]->sendTo(sockets.bytes, kDatagramBytes, 0, sockets.addresses[1 - end]);
            sockets.ends[1 - end]->recvFrom(sockets.bytes, sizeof(sockets.bytes), 0, sockets.from);
        }
    state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(bareSocketCalls);

/// Items are datagrams: one message each way in every run.
void datagramsBothEnds(benchmark::State& state)
{
    Pair pair;
    const INT64 before = pair.counts[0].messages + pair.counts[1].messages, allocationsBefore = s_allocations;
    for (auto _ : state)
    {
        pair.send(0);
        pair.send(1);
        pair.run();
    }
    state.SetItemsProcessed(state.iterations() * 2);
    state.counters["allocations"] = static_cast<double>(s_allocations - allocationsBefore);
    state.counters["messagesPerRun"] = static_cast<double>(pair.counts[0].messages + pair.counts[1].messages - before) /
                                       static_cast<double>(state.iterations());
}
BENCHMARK(datagramsBothEnds);

/// Items are messages, in one direction.
void flood(benchmark::State& state)
{
    Pair pair;
    INT64 sent = pair.counts[1].messages;
    for (auto _ : state)
    {
        for (int i = 0; i < state.range(0) && sent - pair.counts[1].messages < 512; ++i, ++sent)
            pair.send(0);
        pair.run();
    }
    state.SetItemsProcessed(pair.counts[1].messages);
}
BENCHMARK(flood)->Arg(1)->Arg(8)->Arg(64);

void emptyReceive(benchmark::State& state)
{
    Sockets sockets;
    for (auto _ : state)
        sockets.ends[0]->recvFrom(sockets.bytes, sizeof(sockets.bytes), 0, sockets.from);
}
BENCHMARK(emptyReceive);

/// Clients that have talked and now have nothing to say; emptyReceive is part of it.
void idleRun(benchmark::State& state)
{
    Pair pair;
    std::vector<std::unique_ptr<KxcInetClientWin>> others;
    for (INT32 i = 1; i < state.range(0); ++i)
    {
        others.emplace_back(KxcInetClientWin::create("127.0.0.1", static_cast<UINT16>(9000 + i), 16, 68));
        pair.schedulers[0]->addClient(others.back().get());
        SimulatedLink::write(others.back()->getPacketFrame(KXCSLOT_UNRELIABLE), "hello", 5);
        pair.clock.advance(10);
        pair.run();
    }
    kxcPlatformClockHook = nullptr; // the real clock belongs to the cost
    for (auto _ : state)
        pair.schedulers[0]->runScheduler();
}
BENCHMARK(idleRun)->Arg(1)->Arg(10);

/// The counter is bytes on the heap for each client.
void clientMemory(benchmark::State& state)
{
    constexpr size_t kClients = 1000; // more than the allocator keeps at hand
    Engine engine;
    std::vector<std::unique_ptr<KxcInetClientWin>> clients(kClients);
    const size_t before = mallinfo2().uordblks;
    for (auto _ : state)
        for (auto& client : clients)
            client.reset(KxcInetClientWin::create("127.0.0.1", 9000, 64, 68));
    state.counters["bytes"] = static_cast<double>((mallinfo2().uordblks - before) / kClients);
}
BENCHMARK(clientMemory)->Iterations(1);

/// 1800 messages each way; the argument is the loss in percent, or -1 for a second of darkness.
void latency(benchmark::State& state)
{
    DrivenClock clock;
    Engine engine;
    std::vector<UINT32> late;
    INT64 repeats = 0, datagrams = 0, bytes = 0, sent = 0;
    for (auto _ : state)
    {
        for (UINT32 seed = 1; seed <= 8; ++seed)
        {
            LinkConditions how;
            how.seed = seed;
            how.loss = state.range(0) > 0 ? static_cast<double>(state.range(0)) / 100 : 0;
            const UINT32 start = clock.nowMs();
            if (state.range(0) < 0)
                how.darkFromMs = start + 5000, how.darkToMs = start + 6000;
            SimulatedLink link(how, 2000, kMessageBytes + 4);
            std::vector<bool> seen[2] = {std::vector<bool>(1800), std::vector<bool>(1800)};
            UINT32 missing = 3600;
            link.received = [&](int end, const char* data, INT32)
            {
                UINT32 message[2]; // its number and the time
                memcpy(message, data, sizeof(message));
                const bool again = seen[end][message[0]];
                seen[end][message[0]] = true;
                repeats += again;
                if (again)
                    return;
                --missing;
                late.push_back(clock.nowMs() - message[1]);
            };
            for (UINT32 run = 0; missing > 0 && run < 10000; ++run)
            {
                clock.nowMs() = start + 1 + run * 50 / 3;
                if (run < 1800)
                    for (int end = 0; end < 2; ++end)
                    {
                        UINT32 message[kMessageBytes / 4] = {run, clock.nowMs()};
                        link.send(end, message, kMessageBytes);
                        ++sent;
                    }
                link.runBoth();
            }
            datagrams += link.datagrams;
            bytes += link.bytes;
            clock.advance(1000);
        }
    }
    std::sort(late.begin(), late.end());
    state.counters["p50"] = late[late.size() / 2];
    state.counters["p99"] = late[late.size() * 99 / 100];
    state.counters["max"] = late.back();
    state.counters["delivered"] = static_cast<double>(late.size()) / static_cast<double>(sent);
    state.counters["repeats"] = static_cast<double>(repeats) / static_cast<double>(sent);
    state.counters["datagramsPerMessage"] = static_cast<double>(datagrams) / static_cast<double>(sent);
    state.counters["bytesPerMessage"] = static_cast<double>(bytes) / static_cast<double>(sent);
}
BENCHMARK(latency)->Arg(0)->Arg(1)->Arg(5)->Arg(20)->Arg(-1)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
