// link.cpp - from two players who know nothing of each other to states and scores.
#include "link.h"

#include <cstring>

namespace
{

constexpr INT32 kDatagramBytes = 500, kFrames = 20, kFrameBytes = 16;
constexpr INT32 kAskAgainMs = 400, kTimeoutMs = 3000;
constexpr char kGame[] = "lan_pong 1"; // told apart from other games by this
enum ReceiverId : UINT32
{
    kPaddle = 1,
    kBall = 2,
    kScore = 3,
    kHello = 4
};
constexpr INT16 kFinal = 0x4000; // beside the host's score

INT16 readNumber(const char* bytes)
{
    return static_cast<INT16>(static_cast<UINT8>(bytes[0]) | static_cast<UINT8>(bytes[1]) << 8);
}

} // namespace

Link::Link(const LinkOptions& wanted) : options(wanted), foundMutex(KxcMutex::create())
{
    kxcUseNetwork();
    KxcCommunicationScheduler* scheduler = KxcCore::getCommunicationScheduler();
    const UINT16 port = options.host.empty() ? options.port : UINT16(0);
    handler.reset(KxcInetHandler::create(port, kDatagramBytes, kDatagramBytes));
    if (handler)
        handler->openService();
    if (!scheduler || !foundMutex || !handler || handler->getLastError() == KXCCOMMERROR_NOSERVICE)
    {
        handler.reset();
        return;
    }
    handler->setConnectionSpeed(4);
    handler->setUnknownSenderHandler(this);
    handler->setClientLost(this);
    scheduler->addCommunicationHandler(handler.get());
    const std::pair<UINT32, Receiver*> receivers[] = {
        {kPaddle, &paddle}, {kBall, &ballPlace}, {kScore, &scores}, {kHello, &hellos}};
    for (const auto& entry : receivers)
    {
        entry.second->link = this;
        scheduler->addDataReceiver(entry.first, entry.second);
    }
    search();
}

Link::~Link()
{
    discovery.reset(); // ends its thread, which calls this object
    KxcCommunicationScheduler* scheduler = KxcCore::getCommunicationScheduler();
    if (!scheduler)
        return;
    if (client)
        scheduler->removeClient(client->getClientId());
    if (handler)
        scheduler->removeCommunicationHandler(1);
}

const char* Link::status() const
{
    return heard     ? (hosting ? "HOST" : "GUEST")
           : hosting ? "WAITING FOR A GUEST"
           : client  ? "JOINING"
                     : "LOOKING FOR A GAME";
}

void Link::search()
{
    hosting = heard = false;
    lastScore = Score();
    searchSinceMs = KxcCore::getTick();
    askedMs = searchSinceMs - kAskAgainMs;
    patienceMs = options.patienceMs + handler->getPort() % options.patienceMs; // so that two do not offer at once
    if (!options.host.empty())
    {
        KxcInetAddress address;
        std::unique_ptr<KxcInetHostResolver> resolver(KxcInetHostResolver::create());
        if (resolver && resolver->getHostByString(options.host.c_str(), address) == 1)
        {
            address.setPort(options.port);
            join(address);
        }
    }
    else if (options.port != 0 && !offer())
        hosting = true; // the advertise port is another's, but who knows the port can still join
}

void Link::tick()
{
    if (!ready() || client || hosting || !options.host.empty())
        return;
    foundMutex->lock();
    const bool isThere = found;
    const KxcInetAddress address = foundAddress;
    found = false;
    foundMutex->unlock();
    if (isThere && join(address))
        return;
    const INT32 now = KxcCore::getTick();
    if (now - searchSinceMs > patienceMs)
    {
        searchSinceMs = now;
        if (offer())
            return;
    }
    if (now - askedMs < kAskAgainMs)
        return;
    askedMs = now;
    std::unique_ptr<KxcInetAdvertiser> query(KxcInetAdvertiser::create());
    if (!discovery)
        discovery.reset(KxcInetCommService::create());
    if (!query || !discovery)
        return;
    query->setAdvertisePort(options.advertisePort);
    query->setMessageHeader(kGame, sizeof(kGame) - 1);
    discovery->inquiry(*query, this, nullptr);
}

void Link::devicesFound(KxcLinkedList<KxcAdvertiser*>& list)
{
    for (const auto* node = list.getFirst(); node; node = node->next)
    {
        auto* advertiser = static_cast<KxcInetAdvertiser*>(node->item);
        char header[2 + 255]; // the type and the length go before the text
        INT32 length = sizeof(header);
        advertiser->getMessageHeader(header, length);
        if (length != 2 + sizeof(kGame) - 1 || memcmp(header + 2, kGame, sizeof(kGame) - 1) != 0)
            continue;
        foundMutex->lock();
        foundAddress = *advertiser->getHostEntry()->getAddress();
        found = true;
        foundMutex->unlock();
    }
}

bool Link::offer()
{
    std::unique_ptr<KxcInetAdvertiser> advertiser(KxcInetAdvertiser::create());
    if (!discovery)
        discovery.reset(KxcInetCommService::create());
    if (!advertiser || !discovery)
        return false;
    advertiser->setAdvertisePort(options.advertisePort);
    advertiser->setMessageHeader(kGame, sizeof(kGame) - 1);
    advertiser->setGamePort(handler->getPort());
    hosting = discovery->advertise(*advertiser, nullptr) == 1; // another game on this machine may have the port
    if (hosting)
        discovery->cancelInquiry();
    return hosting;
}

bool Link::join(const KxcInetAddress& address)
{
    client.reset(KxcInetClientWin::create(kFrames, kFrameBytes));
    if (!client)
        return false;
    client->setAddress(address);
    client->changePacketCreator(KXCCREATOR_MANY); // ball and paddle in one datagram
    client->setConnectionTimeout(kTimeoutMs);
    if (KxcCore::getCommunicationScheduler()->addClient(client.get()) < 0)
        client.reset();
    if (client)
        sayHello();
    return client != nullptr;
}

void Link::sayHello() { write(client->getPacketFrame(KXCSLOT_RELIABLE), kHello, {}); }

void Link::dataFromUnknownSender(const KxcAddress* sender, const char*, INT32)
{
    if (!hosting || client)
        return;
    join(*static_cast<const KxcInetAddress*>(sender));
    discovery.reset(); // the table is full
}

void Link::clientLost(INT32 clientId)
{
    KxcCore::getCommunicationScheduler()->removeClient(clientId);
    client.reset();
    search();
}

void Link::Receiver::addData(const char* data, INT32 length)
{
    if (length != 4)
        return;
    value = {readNumber(data), readNumber(data + 2)};
    link->heard = true;
    if (this == &link->scores)
        link->lastScore = {value.x & ~kFinal, value.y, (value.x & kFinal) != 0};
}

KxcObjectDataFrame* Link::write(KxcObjectDataFrame* frame, UINT32 receiverId, Place place)
{
    if (!frame)
        return nullptr;
    char* data = static_cast<char*>(frame->lock());
    data[0] = static_cast<char>(place.x);
    data[1] = static_cast<char>(place.x >> 8);
    data[2] = static_cast<char>(place.y);
    data[3] = static_cast<char>(place.y >> 8);
    frame->setReceiverId(receiverId);
    frame->setPacketSize(4);
    frame->unlock();
    return frame;
}

void Link::sendPaddle(INT32 y)
{
    if (client)
        write(client->getRecentStateFrame(kPaddle), kPaddle, {0, static_cast<INT16>(y)});
}

void Link::sendBall(Place place)
{
    if (client)
        write(client->getRecentStateFrame(kBall), kBall, place);
}

void Link::sendScore(const Score& score)
{
    lastScore = score;
    const INT32 host = score.host | (score.final ? kFinal : 0);
    if (client)
        write(client->getPacketFrame(KXCSLOT_URGENT), kScore,
              {static_cast<INT16>(host), static_cast<INT16>(score.guest)});
}
