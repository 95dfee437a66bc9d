// resource_manager_test.cpp - loading on lock, eviction of the least recently used, and owners that misbehave.
#include "support/engine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace
{

UINT32 g_now;

struct Owner : KxcResource
{
    explicit Owner(UINT32 bytes, UINT32 flags = 0) : size(bytes) { createResource(bytes, flags); }
    INT32 callback(void* buffer) override
    {
        ++loads;
        std::memset(buffer, 0x5A, size);
        if (during)
            during(*this);
        return works;
    }
    bool lock() { return (data = static_cast<char*>(lockResource())) != nullptr; }
    bool unlock() { return ++g_now, unlockResource() == 1; }
    bool use() { return lock() && unlock(); }
    bool loaded() const { return KxcResourceManager::queryResource(m_handle) == 1; }
    INT32 handle() const { return m_handle; }

    UINT32 size;
    int loads = 0;
    INT32 works = 1;
    char* data = nullptr;
    void (*during)(Owner&) = nullptr;
};

struct Resources : testing::Test
{
    Resources()
    {
        kxcPlatformClockHook = [] { return g_now; };
        engine = std::make_unique<Engine>(8, 8, [](KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1000; });
    }
    ~Resources() override
    {
        engine.reset();
        kxcPlatformClockHook = nullptr;
    }
    std::unique_ptr<Engine> engine;
};

} // namespace

TEST_F(Resources, LockLoadsOnceAndDoesNotNest)
{
    Owner a(600);
    EXPECT_EQ(a.handle(), 1);
    EXPECT_FALSE(a.loaded());
    EXPECT_FALSE(KxcResourceManager::unlockResource(a.handle()));
    ASSERT_TRUE(a.lock());
    EXPECT_EQ(a.data[599], 0x5A);
    EXPECT_FALSE(a.lock());
    EXPECT_EQ(KxcResourceManager::evictResource(a.handle()), 0) << "locked";
    EXPECT_TRUE(a.unlock());
    EXPECT_FALSE(a.unlock());
    EXPECT_TRUE(a.use());
    EXPECT_EQ(a.loads, 1);
    EXPECT_EQ(KxcResourceManager::evictResource(a.handle()), 1);
    EXPECT_EQ(KxcResourceManager::evictResource(a.handle()), 0);
    EXPECT_TRUE(KxcResourceManager::preloadResource(a.handle()));
    EXPECT_EQ(a.loads, 2);
    for (INT32 unknown : {0, -1, 2, INT32_MIN, 129})
        EXPECT_FALSE(KxcResourceManager::lockResource(unknown) || KxcResourceManager::queryResource(unknown) ||
                     KxcResourceManager::removeResource(unknown));
}

TEST_F(Resources, LeastRecentlyUsedOfSufficientSizeMakesRoom)
{
    Owner small(100), old(300), recent(300), held(250), big(300), huge(1001), resident(50, 1);
    EXPECT_TRUE(resident.loaded());
    for (Owner* owner : {&small, &old, &recent})
        EXPECT_TRUE(owner->use());
    EXPECT_TRUE(held.lock());
    EXPECT_TRUE(big.use()) << "1000 bytes are in use; the older of the two of 300 bytes goes";
    EXPECT_TRUE(small.loaded() && !old.loaded() && recent.loaded() && held.loaded() && resident.loaded());
    EXPECT_FALSE(huge.use());
    EXPECT_TRUE(held.loaded() && big.loaded());
    EXPECT_TRUE(old.use());
    EXPECT_FALSE(recent.loaded());
    EXPECT_EQ(KxcResourceManager::removeResource(resident.handle()), 0);
    EXPECT_EQ(KxcResourceManager::evictResource(resident.handle()), 0);
    KxcResourceManager::evictResources();
    EXPECT_TRUE(resident.loaded() && held.loaded() && !small.loaded() && !big.loaded());
    KxcResourceManager::preloadResources();
    EXPECT_TRUE(small.loaded() && old.loaded() && recent.loaded() && !big.loaded()) << "what fits, in table order";
    KxcResourceManager::removeResources();
    EXPECT_FALSE(held.lock() || held.loaded());
    EXPECT_TRUE(resident.use());
}

TEST_F(Resources, OwnerThatFailsIsAskedAgainIntoTheSameBuffer)
{
    Owner a(400), b(700);
    a.works = 0;
    EXPECT_FALSE(a.lock());
    EXPECT_FALSE(a.lock());
    EXPECT_EQ(a.loads, 2);
    EXPECT_FALSE(a.loaded());
    EXPECT_FALSE(b.use()) << "the buffer still counts, and it is smaller than what is needed";
    a.works = 1;
    EXPECT_TRUE(a.use());
    EXPECT_EQ(a.loads, 3);
    EXPECT_EQ(a.data[0], 0x5A);
}

TEST_F(Resources, CallbacksMayUseTheManagerThemselves)
{
    static Owner* other;
    Owner a(600), b(600);
    std::unique_ptr<Owner> doomed(new Owner(10));
    other = &b;
    a.during = [](Owner& self)
    {
        EXPECT_FALSE(self.lock());
        EXPECT_EQ(KxcResourceManager::removeResource(self.handle()), 0);
        EXPECT_FALSE(other->use()) << "the buffer being filled is not evicted for it";
        KxcResourceManager::removeResource(3);
        KxcResourceManager::removeResource(other->handle());
    };
    KxcResourceManager::preloadResources();
    EXPECT_TRUE(a.loaded());
    EXPECT_FALSE(b.lock());
}

TEST_F(Resources, RecordsOutliveOwnersOnlyWhereTheyAreResident)
{
    INT32 plain, kept;
    {
        Owner a(10), b(10, 1), c(2000, 1);
        plain = a.handle();
        kept = b.handle();
        EXPECT_FALSE(c.loaded()) << "resident, but over the budget";
    }
    EXPECT_EQ(KxcResourceManager::lockResource(plain), nullptr);
    EXPECT_NE(KxcResourceManager::lockResource(kept), nullptr);
    EXPECT_EQ(KxcResourceManager::lockResource(kept + 1), nullptr);
    Owner survivor(5);
    engine.reset();
    EXPECT_FALSE(survivor.lock());
}
