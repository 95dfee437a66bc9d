// resource_manager.cpp - loads resources when they are locked and evicts the least recently used when memory is short.
//
// An owner's callback may use the manager itself. While it runs, its record is marked as filling, and such a record
// is neither locked, evicted nor removed; walks over the table start a bucket again when a record went away.
#include "core/resource_table.h"

#include "core/core_state.h"

#include <new>

struct KxcResourceTable::Record
{
    Record *next, *previous; // in the bucket
    KxcResource* owner;      // null when it is gone
    INT32 handle;
    UINT32 size;
    bool resident, locked, filling;
    bool filled;   // the owner's callback succeeded on the data
    INT32 lastUse; // tick
    char* data;
};

namespace
{

constexpr UINT32 kFlagResident = 1;
constexpr UINT32 kHandleMask = 0x7FFFFFFF;

} // namespace

KxcResourceTable::KxcResourceTable(INT32 byteLimit) : m_byteLimit(byteLimit > 0 ? static_cast<UINT64>(byteLimit) : 0) {}

KxcResourceTable::~KxcResourceTable()
{
    for (Bucket& bucket : m_buckets)
        while (bucket.first)
            erase(bucket.first);
}

KxcResourceTable::Record* KxcResourceTable::find(INT32 handle) const
{
    Record* record = m_buckets[static_cast<UINT32>(handle) % kBuckets].first;
    while (record && record->handle != handle)
        record = record->next;
    return record;
}

INT32 KxcResourceTable::nextHandle()
{
    do
        m_handleCounter = (m_handleCounter + 1) & kHandleMask;
    while (m_handleCounter == 0 || find(static_cast<INT32>(m_handleCounter)));
    return static_cast<INT32>(m_handleCounter);
}

/// Calls visit with every record, in table order. Visits that remove records may cause others to be visited twice.
template <class Visit>
void KxcResourceTable::forEach(Visit visit)
{
    for (Bucket& bucket : m_buckets)
        for (Record* record = bucket.first; record;)
        {
            const UINT32 removals = m_removals;
            visit(*record);
            record = m_removals == removals ? record->next : bucket.first;
        }
}

/// Evicts at most one resource: the least recently used of those that are as large as what is needed.
void KxcResourceTable::makeRoom(UINT32 size)
{
    Record* oldest = nullptr;
    forEach(
        [&](Record& record)
        {
            const bool evictable = !record.resident && !record.locked && !record.filling && record.data;
            if (evictable && record.size >= size && (!oldest || record.lastUse < oldest->lastUse))
                oldest = &record;
        });
    if (oldest)
        freeData(*oldest);
}

/// Gets the record a buffer, within the budget, and has the owner fill it. @return whether the data is there
bool KxcResourceTable::load(Record& record)
{
    if (!record.data && fits(record.size))
    {
        record.data = new (std::nothrow) char[record.size];
        if (record.data)
            m_loadedBytes += record.size;
    }
    if (record.data && !record.filled && record.owner)
    {
        record.filling = true;
        record.filled = record.owner->callback(record.data) != 0;
        record.filling = false;
    }
    return record.filled;
}

void KxcResourceTable::freeData(Record& record)
{
    if (!record.data)
        return;
    delete[] record.data;
    record.data = nullptr;
    record.filled = false;
    m_loadedBytes -= record.size;
}

void KxcResourceTable::erase(Record* record)
{
    freeData(*record);
    m_registeredBytes -= record->size;
    ++m_removals;
    Bucket& bucket = m_buckets[static_cast<UINT32>(record->handle) % kBuckets];
    (record->previous ? record->previous->next : bucket.first) = record->next;
    (record->next ? record->next->previous : bucket.last) = record->previous;
    delete record;
}

INT32 KxcResourceTable::create(KxcResource* owner, UINT32 size, UINT32 flags)
{
    Record* record = new (std::nothrow) Record();
    if (!record)
        return -1;
    record->owner = owner;
    record->handle = nextHandle();
    record->size = size;
    record->resident = (flags & kFlagResident) != 0;

    Bucket& bucket = m_buckets[static_cast<UINT32>(record->handle) % kBuckets];
    record->previous = bucket.last;
    (bucket.last ? bucket.last->next : bucket.first) = record;
    bucket.last = record;
    m_registeredBytes += size;

    const INT32 handle = record->handle;
    if (record->resident)
    {
        if (!fits(size))
            makeRoom(size);
        load(*record);
    }
    return handle;
}

void* KxcResourceTable::lock(INT32 handle)
{
    Record* record = find(handle);
    if (!record || record->locked || record->filling)
        return nullptr;
    if (!record->data && !fits(record->size))
        makeRoom(record->size);
    if (!load(*record))
        return nullptr;
    record->locked = true;
    return record->data;
}

INT32 KxcResourceTable::unlock(INT32 handle)
{
    Record* record = find(handle);
    if (!record || !record->locked)
        return 0;
    record->locked = false;
    record->lastUse = KxcCore::getTick();
    return 1;
}

INT32 KxcResourceTable::query(INT32 handle) const
{
    const Record* record = find(handle);
    return record && record->filled;
}

void KxcResourceTable::preloadAll()
{
    forEach(
        [this](Record& record)
        {
            if (!record.filled && !record.filling && load(record))
                record.lastUse = KxcCore::getTick();
        });
}

INT32 KxcResourceTable::evict(INT32 handle)
{
    Record* record = find(handle);
    if (!record || record->resident || record->locked || record->filling || !record->data)
        return 0;
    freeData(*record);
    return 1;
}

void KxcResourceTable::evictAll()
{
    forEach([this](Record& record) { evict(record.handle); });
}

INT32 KxcResourceTable::remove(INT32 handle)
{
    Record* record = find(handle);
    if (!record || record->resident || record->filling)
        return 0;
    erase(record);
    return 1;
}

void KxcResourceTable::removeAll()
{
    forEach([this](Record& record) { remove(record.handle); });
}

void KxcResourceTable::forgetOwner(INT32 handle)
{
    if (Record* record = find(handle))
        record->owner = nullptr;
}

namespace
{

KxcResourceTable* table() { return kxcCore ? kxcCore->resources : nullptr; }

} // namespace

INT32 KxcResourceManager::createResource(KxcResource* owner, UINT32 size) { return createResource(owner, size, 0); }

INT32 KxcResourceManager::createResource(KxcResource* owner, UINT32 size, UINT32 flags)
{
    return table() ? table()->create(owner, size, flags) : -1;
}

void* KxcResourceManager::lockResource(INT32 handle) { return table() ? table()->lock(handle) : nullptr; }

INT32 KxcResourceManager::unlockResource(INT32 handle) { return table() ? table()->unlock(handle) : 0; }

INT32 KxcResourceManager::queryResource(INT32 handle) { return table() ? table()->query(handle) : 0; }

INT32 KxcResourceManager::preloadResource(INT32 handle) { return lockResource(handle) ? unlockResource(handle) : 0; }

void KxcResourceManager::preloadResources()
{
    if (table())
        table()->preloadAll();
}

INT32 KxcResourceManager::evictResource(INT32 handle) { return table() ? table()->evict(handle) : 0; }

void KxcResourceManager::evictResources()
{
    if (table())
        table()->evictAll();
}

INT32 KxcResourceManager::removeResource(INT32 handle) { return table() ? table()->remove(handle) : 0; }

void KxcResourceManager::removeResources()
{
    if (table())
        table()->removeAll();
}

INT32 KxcResource::callback(void*) { return 1; }

KxcResource::~KxcResource()
{
    if (!removeResource() && table())
        table()->forgetOwner(m_handle);
}

void KxcResource::createResource(UINT32 size) { createResource(size, 0); }

void KxcResource::createResource(UINT32 size, UINT32 flags)
{
    m_handle = KxcResourceManager::createResource(this, size, flags);
}

void* KxcResource::lockResource() { return KxcResourceManager::lockResource(m_handle); }

INT32 KxcResource::unlockResource() { return KxcResourceManager::unlockResource(m_handle); }

INT32 KxcResource::removeResource() { return KxcResourceManager::removeResource(m_handle); }
