// processes_test.cpp - two programs that talk through a third one, which loses, doubles, delays and reorders what they
// send. Real sockets, real time; the fate of the datagrams comes from a seed.
#include "net/raw_peer.h"

#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr UINT32 kMessages = 1500;
constexpr UINT32 kPatienceMs = 20000;

std::string messageOf(UINT32 number) { return little(number, 4) + std::string(number % 60, static_cast<char>(number)); }

/// What one program does: sends all messages and waits for the other's. @return its exit code, 0 when all came unharmed
int converse(const KxcInetAddress& other)
{
    struct Heard : KxcDataReceiver
    {
        using KxcDataReceiver::addData;
        void addData(const char* data, INT32 length) override
        {
            UINT32 number = kMessages;
            memcpy(&number, data, std::min<size_t>(4, static_cast<size_t>(length)));
            good = good && number < kMessages && messageOf(number) == std::string(data, static_cast<size_t>(length));
            if (good && !seen[number])
                seen[number] = true, --missing;
        }
        std::vector<bool> seen = std::vector<bool>(kMessages);
        UINT32 missing = kMessages;
        bool good = true;
    } heard;
    struct Last : KxcDataReceiver
    {
        using KxcDataReceiver::addData;
        void addData(const char* data, INT32 length) override { value.assign(data, static_cast<size_t>(length)); }
        std::string value;
    } done, state;

    embeddedInit(8, 8, nullptr, nullptr, nullptr);
    kxcUseNetwork();
    KxcCommunicationScheduler* scheduler = KxcCore::getCommunicationScheduler();
    std::unique_ptr<KxcInetHandler> handler(KxcInetHandler::create(1400, 1400));
    handler->openService();
    handler->setConnectionSpeed(4);
    scheduler->addCommunicationHandler(handler.get());
    scheduler->addDataReceiver(7, &heard);
    scheduler->addDataReceiver(8, &done);
    scheduler->addDataReceiver(9, &state);
    std::unique_ptr<KxcInetClientWin> client(KxcInetClientWin::create(300, 100));
    client->setAddress(other);
    client->changePacketCreator(KXCCREATOR_MANY);
    scheduler->addClient(client.get());

    const UINT32 start = kxcPlatformMilliseconds();
    UINT32 next = 0, finishedMs = 0;
    bool doneSent = false;
    for (UINT32 run = 0; finishedMs == 0 || kxcPlatformMilliseconds() - finishedMs < 400; ++run) // the last ones travel
    {
        if (kxcPlatformMilliseconds() - start > kPatienceMs || !heard.good)
            return heard.good ? 1 : 2;
        KxcObjectDataFrame* frame;
        if (run % 4 == 0 && (frame = client->getRecentStateFrame(1))) // as in a game, there is always a state
        {
            const std::string now = next < kMessages ? std::to_string(run) : "last";
            SimulatedLink::write(frame, now.data(), static_cast<INT32>(now.size()));
            frame->setReceiverId(9);
        }
        for (int i = 0; i < 10 && next < kMessages && (frame = client->getPacketFrame(KXCSLOT_RELIABLE)); ++i, ++next)
            SimulatedLink::write(frame, messageOf(next).data(), static_cast<INT32>(messageOf(next).size()));
        if (heard.missing == 0 && !doneSent && (frame = client->getPacketFrame(KXCSLOT_URGENT)))
        {
            memcpy(frame->lock(), "x", 1);
            frame->setReceiverId(8);
            frame->setPacketSize(1);
            frame->unlock();
            doneSent = true;
        }
        if (doneSent && done.value == "x" && state.value == "last" && finishedMs == 0)
            finishedMs = kxcPlatformMilliseconds();
        embeddedFrame();
        kxcPlatformSleep(1);
    }
    return 0;
}

/// Stands between two programs: each speaks to one of its sockets, and hears the other from there.
class Proxy
{
public:
    RawPeer sides[2];

    explicit Proxy(const LinkConditions& conditions) : how(conditions), random(conditions.seed) {}
    void run()
    {
        const UINT32 now = kxcPlatformMilliseconds();
        for (int side = 0; side < 2; ++side)
            take(side, now);
        while (!waiting.empty() && static_cast<INT32>(now - waiting.begin()->first) >= 0)
        {
            const auto& [to, bytes] = waiting.begin()->second;
            sides[to].socket->sendTo(bytes.data(), static_cast<INT32>(bytes.size()), 0, programs[to]);
            waiting.erase(waiting.begin());
        }
    }

private:
    bool happens(double probability) { return std::uniform_real_distribution<>(0, 1)(random) < probability; }
    void take(int side, UINT32 now)
    {
        char bytes[2000];
        for (INT32 length; (length = sides[side].socket->recvFrom(bytes, sizeof(bytes), 0, programs[side])) > 0;)
            if (!happens(how.loss) && programs[1 - side].getPort() != 0)
                for (int copies = happens(how.duplicate) ? 2 : 1; copies > 0; --copies)
                    waiting.emplace(now + how.delayMs + (happens(how.reorder) ? how.jitterMs : 0),
                                    std::make_pair(1 - side, std::string(bytes, static_cast<size_t>(length))));
    }

    const LinkConditions how;
    std::mt19937 random;
    KxcInetAddress programs[2];
    std::multimap<UINT32, std::pair<int, std::string>> waiting;
};

} // namespace

TEST(TwoProcesses, LoseNoReliableMessageAndAgreeOnTheLastStateThroughABadNetwork)
{
    std::vector<std::unique_ptr<Proxy>> proxies;
    std::vector<pid_t> programs;
    for (double loss : {0.0, 0.05, 0.2}) // all at the same time
    {
        LinkConditions how;
        how.loss = loss;
        how.delayMs = 2;
        how.jitterMs = 4;
        how.reorder = how.duplicate = loss / 2;
        proxies.emplace_back(new Proxy(how));
        for (RawPeer& side : proxies.back()->sides)
        {
            const pid_t program = fork();
            ASSERT_GE(program, 0);
            if (program == 0)
                _exit(converse(side.address));
            programs.push_back(program);
        }
    }
    for (size_t running = programs.size(); running > 0;)
    {
        for (auto& proxy : proxies)
            proxy->run();
        kxcPlatformSleep(1);
        for (pid_t& program : programs)
        {
            int status = 0;
            if (program == 0 || waitpid(program, &status, WNOHANG) != program)
                continue;
            EXPECT_EQ(status, 0) << "program " << &program - programs.data();
            program = 0;
            --running;
        }
    }
}
