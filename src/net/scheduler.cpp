// scheduler.cpp - the once-a-frame run of all connections.
#include <kxcoreemb/communication.h>

#include "core/core_state.h"
#include "net/step_clock.h"

#include <initializer_list>
#include <new>

namespace
{

constexpr INT32 kFirstInetClientId = 1000;
constexpr INT32 kBluetooth = 0, kInet = 1; // indexes of the handlers

/// The index of a connection type's handler; -1 for an unknown type.
INT32 indexOfType(INT32 type)
{
    return type == KXCCONNECTION_INET ? kInet : type == KXCCONNECTION_BLUETOOTH ? kBluetooth : -1;
}

} // namespace

KxcCommunication::~KxcCommunication() = default;

KxcCommunicationScheduler::KxcCommunicationScheduler() : handlers(), servant(nullptr) {}

KxcCommunicationScheduler::~KxcCommunicationScheduler() { delete servant; }

KxcCommunicationScheduler* KxcCommunicationScheduler::create()
{
    KxcCommunicationScheduler* scheduler = new (std::nothrow) KxcCommunicationScheduler;
    if (!scheduler)
        return nullptr;
    scheduler->servant = KxcObjectDataServant::create();
    if (scheduler->servant)
        return scheduler;
    delete scheduler;
    return nullptr;
}

INT32 KxcCommunicationScheduler::runScheduler()
{
    const KxcStepClock clock;
    for (INT32 index : {kBluetooth, kInet})
    {
        // A callback may take the handler out, so each step looks again.
        if (handlers[index])
            handlers[index]->incoming();
        if (handlers[index])
            handlers[index]->outgoing();
        if (handlers[index])
            handlers[index]->checkActivity();
    }
    return -1;
}

INT32 KxcCommunicationScheduler::addCommunicationHandler(KxcCommunicationHandler* handler)
{
    const INT32 index = handler ? indexOfType(handler->getConnectionType()) : -1;
    if (index < 0)
        return -3;
    handlers[index] = handler;
    handler->setClientBaseNumber(index == kInet ? kFirstInetClientId : 0);
    return index;
}

KxcCommunicationHandler* KxcCommunicationScheduler::getCommunicationHandler(INT32 index) const
{
    return index == kBluetooth || index == kInet ? handlers[index] : nullptr;
}

KxcCommunicationHandler* KxcCommunicationScheduler::removeCommunicationHandler(INT32 index)
{
    KxcCommunicationHandler* handler = getCommunicationHandler(index);
    if (handler)
        handlers[index] = nullptr;
    return handler;
}

KxcCommunicationHandler* KxcCommunicationScheduler::getSchedulerObjectByType(INT32 type) const
{
    return getCommunicationHandler(indexOfType(type));
}

KxcCommunicationHandler* KxcCommunicationScheduler::getSchedulerObjectByClientId(INT32 id) const
{
    return handlers[id < kFirstInetClientId ? kBluetooth : kInet];
}

INT32 KxcCommunicationScheduler::addClient(KxcClientCommWin* client)
{
    KxcCommunicationHandler* handler = client ? getSchedulerObjectByType(client->getConnectionType()) : nullptr;
    if (!handler)
        return -2;
    const INT32 id = handler->addClientCommWin(client);
    if (id != -1)
        client->setObjectDataServant(servant);
    return id;
}

KxcClientCommWin* KxcCommunicationScheduler::removeClient(INT32 clientId)
{
    KxcCommunicationHandler* handler = getSchedulerObjectByClientId(clientId);
    return handler ? handler->removeClientCommWin(clientId) : nullptr;
}

KxcClientCommWin* KxcCommunicationScheduler::getClient(INT32 clientId)
{
    KxcCommunicationHandler* handler = getSchedulerObjectByClientId(clientId);
    return handler ? handler->getClientCommWin(clientId) : nullptr;
}

INT32 KxcCommunicationScheduler::getRoundTripTime(INT32 clientId)
{
    const KxcClientCommWin* client = getClient(clientId);
    return client ? client->getRtt() : -1;
}

KxcObjectDataFrame* KxcCommunicationScheduler::getPacketFrame(INT32 clientId, INT32 slot)
{
    KxcClientCommWin* client = getClient(clientId);
    return client ? client->getPacketFrame(slot) : nullptr;
}

KxcObjectDataFrame* KxcCommunicationScheduler::getRecentStateFrame(INT32 clientId, INT32 id)
{
    KxcClientCommWin* client = getClient(clientId);
    return client ? client->getRecentStateFrame(id) : nullptr;
}

void KxcCommunicationScheduler::removeRecentStateFrame(INT32 clientId, INT32 id)
{
    if (KxcClientCommWin* client = getClient(clientId))
        client->removeRecentStateFrame(id);
}

void KxcCommunicationScheduler::setDataReceiver(KxcDataReceiver* receiver) { servant->setDataReceiver(receiver); }

INT32 KxcCommunicationScheduler::addDataReceiver(UINT32 receiverId, KxcDataReceiver* receiver)
{
    return servant->addDataReceiver(receiverId, receiver);
}

KxcDataReceiver* KxcCommunicationScheduler::getDataReceiver(UINT32 receiverId)
{
    return servant->getDataReceiver(receiverId);
}

KxcDataReceiver* KxcCommunicationScheduler::removeDataReceiver(UINT32 receiverId)
{
    return servant->removeDataReceiver(receiverId);
}

void kxcUseNetwork()
{
    if (kxcCore && !kxcCore->scheduler)
        kxcCore->scheduler = KxcCommunicationScheduler::create();
}
