// discovery.cpp - answers inquiries and collects answers on a thread of its own.
#include "net/discovery.h"

#include "net/socket_handle.h"
#include "platform/platform.h"

#include <cstring>
#include <new>

namespace
{

constexpr UINT32 kAnswerDelayMs = 100; // spares the inquirer when many answer at once
constexpr INT32 kDatagramSize = 512;
constexpr INT32 kNamePatienceMs = 250;

} // namespace

KxcInetDiscovery* KxcInetDiscovery::create()
{
    KxcInetDiscovery* discovery = new (std::nothrow) KxcInetDiscovery;
    if (discovery && !discovery->start())
    {
        delete discovery;
        discovery = nullptr;
    }
    return discovery;
}

KxcInetDiscovery::~KxcInetDiscovery()
{
    stop();
    delete advertiseSocket;
    delete inquirySocket;
}

void KxcInetDiscovery::setMessage(const char* message, INT32 length)
{
    if (length > 0)
        memcpy(advertisement, message, static_cast<size_t>(length));
    advertisementLength = length;
}

void KxcInetDiscovery::startAdvertising(KxcDgramSocket* socket, const char* message, INT32 length)
{
    mutex->lock();
    KxcDgramSocket* former = advertiseSocket;
    advertiseSocket = socket;
    setMessage(message, length);
    answerCount = 0;
    mutex->unlock();
    wake.signal();
    delete former;
}

INT32 KxcInetDiscovery::changeAdvertisement(const char* message, INT32 length)
{
    mutex->lock();
    const INT32 advertising = advertiseSocket != nullptr;
    if (advertising)
        setMessage(message, length);
    mutex->unlock();
    wake.signal();
    return advertising;
}

void KxcInetDiscovery::stopAdvertising() { startAdvertising(nullptr, nullptr, 0); }

void KxcInetDiscovery::startInquiry(KxcDgramSocket* socket, KxcInetCommService* newService,
                                    KxcDeviceDiscovery* listener)
{
    mutex->lock();
    KxcDgramSocket* former = inquirySocket;
    inquirySocket = socket;
    service = newService;
    if (service)
        service->listener = listener;
    ++inquiries;
    mutex->unlock();
    wake.signal();
    delete former;
}

void KxcInetDiscovery::stopInquiry() { startInquiry(nullptr, nullptr, nullptr); }

INT32 KxcInetDiscovery::waitMs() const
{
    if (answerCount == 0)
        return -1;
    const INT32 left = static_cast<INT32>(answers[0].dueMs - kxcPlatformMilliseconds());
    return left > 0 ? left : 0;
}

void KxcInetDiscovery::hearInquiry()
{
    char bytes[kDatagramSize]; // whatever it says, it is answered
    Answer answer;
    if (advertiseSocket->recvFrom(bytes, kDatagramSize, 0, answer.to) < 0 || answerCount == kMostAnswers)
        return;
    answer.dueMs = kxcPlatformMilliseconds() + kAnswerDelayMs;
    answers[answerCount++] = answer;
}

void KxcInetDiscovery::sendDueAnswers()
{
    INT32 sent = 0;
    const UINT32 now = kxcPlatformMilliseconds();
    for (; sent < answerCount && static_cast<INT32>(now - answers[sent].dueMs) >= 0; ++sent)
        advertiseSocket->sendTo(advertisement, advertisementLength, 0, answers[sent].to);
    answerCount -= sent;
    for (INT32 i = 0; i < answerCount; ++i)
        answers[i] = answers[i + sent];
}

INT32 KxcInetDiscovery::collectAnswer()
{
    char bytes[kDatagramSize];
    KxcInetAddress sender;
    mutex->lock();
    const UINT32 inquiry = inquiries;
    const INT32 length = inquirySocket ? inquirySocket->recvFrom(bytes, kDatagramSize, 0, sender) : -1;
    mutex->unlock();
    if (length < 0 || length >= KxcAdvertiser::kBufferSize) // not an advertisement
        return 1;

    KxcInetAdvertiser* advertiser = KxcInetAdvertiser::create(sender, bytes, length);
    if (!advertiser)
        return 0;
    KxcInetHostEntry* host = advertiser->getHostEntry();
    host->getAddress()->setPort(advertiser->getGamePort());
    names.find(*host, kNamePatienceMs);

    mutex->lock();
    bool listed = true;
    if (inquiry == inquiries && inquirySocket)
    {
        listed = found.add(advertiser) != 0;
        if (listed)
            service->inquiryResult(found);
        found.clear();
    }
    delete advertiser;
    mutex->unlock();
    return listed;
}

INT32 KxcInetDiscovery::run()
{
    for (;;)
    {
        mutex->lock();
        const bool goOn = running;
        const INT32 timeoutMs = waitMs();
        const KxcDgramSocket *advertising = advertiseSocket, *inquiring = inquirySocket;
        KxcPlatformSocketWatch watches[3] = {{wake.handle(), 0, 0},
                                             {advertising ? kxcSocketHandle(*advertising) : -1, 0, 0},
                                             {inquiring ? kxcSocketHandle(*inquiring) : -1, 0, 0}};
        mutex->unlock();
        if (!goOn)
            return 0;
        if (kxcPlatformSocketWait(watches, 3, timeoutMs) < 0)
            return 1;
        if (watches[0].ready)
            wake.drain();

        mutex->lock();
        if (advertiseSocket && advertiseSocket == advertising && watches[1].ready)
            hearInquiry();
        if (advertiseSocket)
            sendDueAnswers();
        mutex->unlock();
        if (watches[2].ready && !collectAnswer())
            return 1;
    }
}
