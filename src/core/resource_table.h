// resource_table.h - all registered resources, found by handle, and the memory that their data takes.
#pragma once

#include <kxcoreemb/resource_manager.h>

/// The state behind KxcResourceManager; the core owns one. Destroying it frees every record and all data.
class KxcResourceTable
{
public:
    explicit KxcResourceTable(INT32 byteLimit);
    ~KxcResourceTable();
    KxcResourceTable(const KxcResourceTable&) = delete;
    KxcResourceTable& operator=(const KxcResourceTable&) = delete;

    INT32 create(KxcResource* owner, UINT32 size, UINT32 flags);
    void* lock(INT32 handle);
    INT32 unlock(INT32 handle);
    INT32 query(INT32 handle) const;
    void preloadAll();
    INT32 evict(INT32 handle);
    void evictAll();
    INT32 remove(INT32 handle);
    void removeAll();
    void forgetOwner(INT32 handle); ///< the owner is gone and cannot fill the resource any more

private:
    static constexpr UINT32 kBuckets = 128;
    struct Record;
    struct Bucket
    {
        Record *first, *last;
    };

    Record* find(INT32 handle) const;
    INT32 nextHandle();
    bool fits(UINT32 size) const { return m_loadedBytes + size <= m_byteLimit; }
    void makeRoom(UINT32 size);
    bool load(Record& record);
    void freeData(Record& record);
    void erase(Record* record);
    template <class Visit>
    void forEach(Visit visit);

    UINT32 m_handleCounter = 0; // 31 bits
    UINT64 m_registeredBytes = 0;
    UINT64 m_loadedBytes = 0;
    UINT64 m_byteLimit;
    Bucket m_buckets[kBuckets] = {}; // by handle modulo 128, in order of creation
    UINT32 m_removals = 0;           // tells a walk that records went away under it
};
