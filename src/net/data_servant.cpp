// data_servant.cpp - from a receiver id to the game's receiver.
#include <kxcoreemb/communication.h>

#include <new>

namespace
{

constexpr UINT32 kBuckets = 128;

} // namespace

struct KxcReceiverMap
{
    struct Entry
    {
        UINT32 id;
        KxcDataReceiver* receiver;
        Entry* next;
    };

    /// The link that holds the entry with this id, or the end of its chain.
    Entry** find(UINT32 id)
    {
        Entry** link = &buckets[id % kBuckets];
        while (*link && (*link)->id != id)
            link = &(*link)->next;
        return link;
    }

    Entry* buckets[kBuckets] = {};
};

KxcDataReceiver::~KxcDataReceiver() = default;
void KxcDataReceiver::addData(INT32, const char*, INT32) {}
void KxcDataReceiver::addData(const char*, INT32) {}

KxcObjectDataServant::KxcObjectDataServant() : defaultReceiver(nullptr), receivers(nullptr) {}

KxcObjectDataServant* KxcObjectDataServant::create()
{
    KxcObjectDataServant* servant = new (std::nothrow) KxcObjectDataServant;
    if (!servant)
        return nullptr;
    servant->receivers = new (std::nothrow) KxcReceiverMap;
    if (servant->receivers)
        return servant;
    delete servant;
    return nullptr;
}

KxcObjectDataServant::~KxcObjectDataServant()
{
    for (UINT32 i = 0; receivers && i < kBuckets; ++i)
        while (KxcReceiverMap::Entry* entry = receivers->buckets[i])
        {
            receivers->buckets[i] = entry->next;
            delete entry;
        }
    delete receivers;
}

INT32 KxcObjectDataServant::addDataReceiver(UINT32 receiverId, KxcDataReceiver* receiver)
{
    KxcReceiverMap::Entry** link = receivers->find(receiverId);
    if (!*link)
        *link = new (std::nothrow) KxcReceiverMap::Entry{receiverId, nullptr, nullptr};
    if (!*link)
        return 0;
    (*link)->receiver = receiver;
    return 1;
}

KxcDataReceiver* KxcObjectDataServant::getDataReceiver(UINT32 receiverId) const
{
    const KxcReceiverMap::Entry* entry = *receivers->find(receiverId);
    return entry ? entry->receiver : nullptr;
}

KxcDataReceiver* KxcObjectDataServant::removeDataReceiver(UINT32 receiverId)
{
    KxcReceiverMap::Entry** link = receivers->find(receiverId);
    KxcReceiverMap::Entry* entry = *link;
    if (!entry)
        return nullptr;
    KxcDataReceiver* receiver = entry->receiver;
    *link = entry->next;
    delete entry;
    return receiver;
}

void KxcObjectDataServant::deliver(INT32 clientId, UINT32 receiverId, const char* data, INT32 length) const
{
    KxcDataReceiver* receiver = getDataReceiver(receiverId);
    if (!receiver)
        receiver = defaultReceiver;
    if (!receiver)
        return;
    receiver->addData(data, length);
    receiver->addData(clientId, data, length);
}
