// handler.cpp - the table of a handler's clients.
#include <kxcoreemb/communication.h>

#include "net/speed_code.h"

#include <new>

namespace
{

KxcClientCommWin** createTable(INT32 count)
{
    return count < 0 ? nullptr : new (std::nothrow) KxcClientCommWin*[static_cast<size_t>(count)]();
}

} // namespace

KxcCommunicationHandler::KxcCommunicationHandler()
    : maxClientCount(10),
      clientBaseNumber(0),
      connectionType(0),
      lastError(-1),
      connectionSpeed(kxcDefaultSpeed),
      clients(nullptr),
      unknownSenderListener(nullptr),
      clientLost(nullptr)
{
}

KxcCommunicationHandler::~KxcCommunicationHandler() { delete[] clients; }

INT32 KxcCommunicationHandler::baseInit()
{
    clients = createTable(maxClientCount);
    return clients != nullptr;
}

INT32 KxcCommunicationHandler::addClientCommWin(KxcClientCommWin* client)
{
    if (!client || maxClientCount == 0)
        return -1;
    for (INT32 i = 0; i < maxClientCount; ++i)
        if (!clients[i])
        {
            clients[i] = client;
            client->setClientId(clientBaseNumber + i);
            return client->getClientId();
        }
    lastError = KXCCOMMERROR_TABLEFULL;
    return -1;
}

INT32 KxcCommunicationHandler::slotOf(INT32 id, INT32& error) const
{
    const INT64 slot = static_cast<INT64>(id) - clientBaseNumber;
    if (slot < 0 || slot >= maxClientCount)
        error = KXCCOMMERROR_BADCLIENTID;
    else if (!clients[slot])
        error = KXCCOMMERROR_NOCLIENT;
    else
        return static_cast<INT32>(slot);
    return -1;
}

KxcClientCommWin* KxcCommunicationHandler::removeClientCommWin(INT32 id)
{
    KxcClientCommWin* client = getClientCommWin(id);
    if (client)
        clients[id - clientBaseNumber] = nullptr;
    return client;
}

KxcClientCommWin* KxcCommunicationHandler::getClientCommWin(INT32 id)
{
    const INT32 slot = slotOf(id, lastError);
    return slot < 0 ? nullptr : clients[slot];
}

INT32 KxcCommunicationHandler::setMaxClientCount(INT32 count)
{
    if (count < maxClientCount && getClientCount() > count)
    {
        lastError = KXCCOMMERROR_TOOMANY;
        return -1;
    }
    KxcClientCommWin** table = createTable(count);
    if (!table)
    {
        lastError = KXCCOMMERROR_OUTOFMEMORY;
        return -1;
    }
    for (INT32 i = 0; i < count && i < maxClientCount; ++i)
        table[i] = clients[i];
    delete[] clients;
    clients = table;
    maxClientCount = count;
    return 1;
}

INT32 KxcCommunicationHandler::getClientCount() const
{
    INT32 count = 0;
    for (INT32 i = 0; i < maxClientCount; ++i)
        count += clients[i] != nullptr;
    return count;
}

INT32 KxcCommunicationHandler::setClientLastError(INT32 id, INT32 error)
{
    INT32 failure = 0;
    const INT32 slot = slotOf(id, failure);
    if (slot < 0)
        return failure;
    clients[slot]->setLastError(error);
    return error;
}

INT32 KxcCommunicationHandler::getClientLastError(INT32 id) const
{
    INT32 failure = 0;
    const INT32 slot = slotOf(id, failure);
    return slot < 0 ? failure : clients[slot]->getLastError();
}

INT32 KxcCommunicationHandler::testAddress(const KxcAddress& address)
{
    for (INT32 i = 0; i < maxClientCount; ++i)
        if (clients[i])
        {
            if (clients[i]->testAddress(address) != -1)
                return i;
            lastError = -1;
        }
    return -1;
}

void KxcCommunicationHandler::setConnectionSpeed(INT32 code)
{
    connectionSpeed = kxcSpeedOfCode(code, connectionSpeed);
}
