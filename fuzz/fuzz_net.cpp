// fuzz_net.cpp - feeds a client whatever a network can bring, and lets it answer in between.
//
// The input is a list of datagrams: a byte of their length, a byte of milliseconds that pass before, then the bytes.
// Half of them come with a good header, so that the protocol behind it is reached. The clock is driven by the input.
#include "fuzz.h"

#include "platform/platform.h"

#include <cstring>
#include <memory>

namespace
{

UINT32 g_nowMs = 1000;

/// Every byte that is handed over must be there.
struct Reader : KxcDataReceiver, KxcUnknownSender
{
    UINT32 sum = 0;
    using KxcDataReceiver::addData;
    void addData(const char* data, INT32 length) override
    {
        check(length >= 0);
        for (INT32 i = 0; i < length; ++i)
            sum += static_cast<UINT8>(data[i]);
    }
    void dataFromUnknownSender(const KxcAddress*, const char* data, INT32 length) override { addData(data, length); }
};

struct Client : KxcInetClientWin
{
    static std::unique_ptr<Client> create()
    {
        std::unique_ptr<Client> client(new Client);
        check(client->init(12, 40));
        return client;
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    kxcPlatformClockHook = [] { return g_nowMs; };
    return startCore(nullptr);
}

extern "C" int LLVMFuzzerTestOneInput(const UINT8* bytes, size_t size)
{
    Reader reader;
    std::unique_ptr<KxcObjectDataServant> servant(KxcObjectDataServant::create());
    std::unique_ptr<KxcInetHandler> handler(KxcInetHandler::create(200, 200));
    servant->setDataReceiver(&reader);
    servant->addDataReceiver(7, &reader);
    handler->setUnknownSenderHandler(&reader);
    const std::unique_ptr<Client> client = Client::create();
    client->setObjectDataServant(servant.get());
    const KxcInetAddress sender;
    std::unique_ptr<KxcObjectPacketBase> out(KxcObjectPacketBase::create(200));
    for (size_t at = 0; at + 2 <= size;)
    {
        const size_t length = bytes[at] & 0x7F;
        const bool goodHeader = (bytes[at] & 0x80) != 0;
        g_nowMs += bytes[at + 1];
        at += 2;
        if (length > size - at)
            break;
        // A buffer of its own for each length, so that a byte too far is noticed.
        std::unique_ptr<KxcObjectPacketBase> in(
            KxcObjectPacketBase::create(static_cast<INT32>(length < 9 ? 9 : length)));
        memcpy(in->getBuffer(), bytes + at, length);
        in->setReceived(static_cast<INT32>(length));
        if (goodHeader)
            in->setProtocolId(1);
        at += length;
        check(client->incoming(*in) == static_cast<INT32>(length) - 9);
        handler->unknownSender(&sender, in.get());

        if (KxcObjectDataFrame* frame = client->getPacketFrame(static_cast<INT32>(length % 5)))
        {
            memset(frame->lock(), 'x', length % 36);
            frame->setPacketSize(static_cast<INT32>(length % 36));
            frame->unlock();
        }
        client->changePacketCreator(static_cast<INT32>(length % 4));
        out->reset();
        const INT32 sent = client->outgoing(*out);
        check(sent == 0 || (sent == out->getTotalLength() && out->getProtocolId() == 1));
        check(out->getTotalLength() <= out->getCapacity());
        client->isClientActive();
        check(client->getRecvErrorValue() >= 0 && client->getSendErrorValue() >= 0);
    }
    volatile UINT32 used = reader.sum;
    static_cast<void>(used);
    return 0;
}
