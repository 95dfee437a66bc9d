// resource_manager.h - a budget of memory for data that can be rebuilt on demand.
#pragma once

#include <kxcoreemb/base.h>

class KxcResourceTable;

/// The owner of one resource: it can fill a buffer with the resource's content whenever the manager asks.
///
/// Derive from it, register the resource with createResource, then lock it for as long as its data is used.
/// Ownership  the manager owns the data; the object owns the registration and gives it up when it is destroyed
///            (a resident resource stays registered, so its owner must outlive the core).
/// Threads    the game's thread only.
class KXC_API KxcResource
{
public:
    /// Fills the data, as many bytes as were registered. @return not 0 on success; the base fills nothing and returns 1
    virtual KxcINT32 callback(void* data);
    virtual ~KxcResource();

protected:                   // for derived classes
    KxcResource() = default; ///< registers nothing
    KxcResource(const KxcResource&) = delete;
    KxcResource& operator=(const KxcResource&) = delete;

    /// @{
    /// The KxcResourceManager operation of the same name, for this object's handle.
    void createResource(KxcUINT32 size);
    void createResource(KxcUINT32 size, KxcUINT32 flags);
    void* lockResource();
    KxcINT32 unlockResource();
    KxcINT32 removeResource();
    /// @}

    KxcINT32 m_handle = -1; ///< -1 before createResource, and when it failed
};

/// The manager of all resources; its budget is KxcAppPrefs::resourceMemoryLimit.
///
/// A resource is loaded when it is locked. When the budget is short, the least recently used one that is loaded,
/// unlocked, not resident and at least as large is evicted; one is all that a load may evict.
/// Failure  unknown handles answer 0; so does everything when there is no core.
class KXC_API KxcResourceManager
{
public:
    /// Registers a resource. @param size in bytes @return its handle, positive; -1 when memory runs out
    static KxcINT32 createResource(KxcResource* owner, KxcUINT32 size);
    /// The same with a flag.
    /// @param flags  bit 0: resident, that is loaded now if it fits, and never evicted or removed
    static KxcINT32 createResource(KxcResource* owner, KxcUINT32 size, KxcUINT32 flags);
    /// The data, loaded first if need be, and kept until unlockResource. Locks do not nest.
    /// @return null when it is locked already, does not fit the budget, or its owner could not fill it
    static void* lockResource(KxcINT32 handle);
    static KxcINT32 unlockResource(KxcINT32 handle);  ///< 1 when it was locked
    static KxcINT32 queryResource(KxcINT32 handle);   ///< 1 when its data is in memory
    static KxcINT32 preloadResource(KxcINT32 handle); ///< locks and unlocks; 1 on success
    static void preloadResources();                   ///< loads all that fits without evicting anything
    static KxcINT32 evictResource(KxcINT32 handle); ///< 1 when the data of an unlocked, not resident resource was freed
    static void evictResources();                   ///< all that are unlocked and not resident
    static KxcINT32 removeResource(KxcINT32 handle); ///< forgets one that is not resident; 1 when it did
    static void removeResources();                   ///< all that are not resident
};
