// net.h - two peers on a simulated network: time is driven by hand, and what is lost, late or doubled comes from a
// seed.
#pragma once

#include "support/engine.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <random>

/// The engine's clock, driven by hand for as long as this lives. It starts before the engine does.
struct DrivenClock
{
    DrivenClock()
    {
        nowMs() = 1000;
        kxcPlatformClockHook = [] { return nowMs(); };
    }
    ~DrivenClock() { kxcPlatformClockHook = nullptr; }
    static UINT32& nowMs()
    {
        static UINT32 now;
        return now;
    }
    void advance(UINT32 milliseconds) { nowMs() += milliseconds; }
};

struct LinkConditions
{
    double loss = 0, duplicate = 0, reorder = 0; // probabilities
    UINT32 delayMs = 20, jitterMs = 0, seed = 1;
    UINT32 darkFromMs = 0, darkToMs = 0; // nothing passes between these times
};

/// Two clients that talk through such a network. A run of theirs is what the scheduler and the handler make of it, but
/// without sockets and without pauses.
class SimulatedLink
{
public:
    /// Called with the end (0, 1) that received a message.
    std::function<void(int end, const char* data, INT32 length)> received = [](int, const char*, INT32) {};
    INT64 datagrams = 0, bytes = 0; // sent by both

    SimulatedLink(const LinkConditions& conditions, INT32 maxFrames, INT32 frameSize, INT32 creator = KXCCREATOR_MANY)
        : how(conditions),
          random(conditions.seed),
          packet(KxcObjectPacketBase::create(1400))
    {
        for (int end = 0; end < 2; ++end)
        {
            End& e = ends[end];
            e.link = this;
            e.number = end;
            e.servant.reset(KxcObjectDataServant::create());
            e.servant->setDataReceiver(&e);
            e.client.reset(KxcInetClientWin::create(maxFrames, frameSize));
            e.client->changePacketCreator(creator);
            e.client->setObjectDataServant(e.servant.get());
            e.client->setClientId(1000 + end);
        }
    }
    KxcInetClientWin& client(int end) { return *ends[end].client; }

    bool send(int end, const void* data, INT32 length, INT32 slot = KXCSLOT_RELIABLE)
    {
        KxcObjectDataFrame* frame = client(end).getPacketFrame(slot);
        if (frame)
            write(frame, data, length);
        return frame != nullptr;
    }
    static void write(KxcObjectDataFrame* frame, const void* data, INT32 length)
    {
        memcpy(frame->lock(), data, static_cast<size_t>(length));
        frame->setReceiverId(7);
        frame->setPacketSize(length);
        frame->unlock();
    }
    void run(int end)
    {
        const UINT32 now = DrivenClock::nowMs();
        auto& waiting = ends[end].waiting;
        if (!waiting.empty() && waiting.begin()->first <= now)
        {
            const std::string datagram = waiting.begin()->second;
            waiting.erase(waiting.begin());
            packet->reset();
            memcpy(packet->getBuffer(), datagram.data(), datagram.size());
            packet->setReceived(static_cast<INT32>(datagram.size()));
            client(end).incoming(*packet);
        }
        packet->reset();
        if (client(end).outgoing(*packet) < 1)
            return;
        ++datagrams;
        bytes += packet->getTotalLength();
        carry(1 - end, std::string(packet->getBuffer(), static_cast<size_t>(packet->getTotalLength())), now);
    }
    /// Lets an end receive a datagram that the other one did not send.
    void inject(int end, UINT16 sequence, UINT16 acknowledgement, INT32 flags)
    {
        packet->reset();
        packet->setProtocolId(1);
        packet->setSequence(sequence);
        packet->setAcknowledgement(acknowledgement);
        packet->setFlags(flags);
        packet->setReceived(KxcObjectPacketBase::kHeaderLength);
        client(end).incoming(*packet);
    }
    void runBoth()
    {
        run(0);
        run(1);
    }

private:
    struct End : KxcDataReceiver
    {
        using KxcDataReceiver::addData;
        void addData(const char* data, INT32 length) override { link->received(number, data, length); }
        SimulatedLink* link;
        int number;
        std::unique_ptr<KxcObjectDataServant> servant;
        std::unique_ptr<KxcInetClientWin> client;
        std::multimap<UINT32, std::string> waiting; // by the time of arrival
        UINT32 latest = 0;                          // of those that keep their order
    };

    bool happens(double probability) { return std::uniform_real_distribution<>(0, 1)(random) < probability; }
    void carry(int to, const std::string& datagram, UINT32 now)
    {
        const bool dark = now >= how.darkFromMs && now < how.darkToMs;
        if (happens(how.loss) || dark)
            return;
        UINT32 due = now + how.delayMs + (how.jitterMs ? static_cast<UINT32>(random() % (how.jitterMs + 1)) : 0);
        if (happens(how.reorder))
            due += 3 * how.jitterMs + 1;
        else
            due = ends[to].latest = std::max(due, ends[to].latest);
        for (int copies = happens(how.duplicate) ? 2 : 1; copies > 0; --copies)
            ends[to].waiting.emplace(due, datagram);
    }

    const LinkConditions how;
    std::mt19937 random;
    std::unique_ptr<KxcObjectPacketBase> packet;
    End ends[2];
};
