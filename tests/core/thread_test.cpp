// thread_test.cpp - threads, thread objects and the re-entrant lock; meant to run under ThreadSanitizer too.
#include <kxcoreemb/date_time.h>
#include <kxcoreemb/thread.h>

#include "platform/platform.h"

#include <ctime>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <vector>

static INT32 returnTheArgument(void* argument) { return *static_cast<INT32*>(argument); }

static void exitDeepDown(INT32 depth, INT32 code)
{
    if (depth > 0)
        exitDeepDown(depth - 1, code);
    else if (code != 0)
        KxcThread::exit(code);
}

TEST(Threads, GiveTheirExitCodeToEveryWaiterAsOftenAsAsked)
{
    INT32 code = -5;
    std::unique_ptr<KxcThread> thread(KxcThread::create(returnTheArgument, &code));
    ASSERT_TRUE(thread);
    std::vector<std::unique_ptr<KxcThread>> waiters;
    for (INT32 i = 0; i < 4; ++i)
        waiters.emplace_back(KxcThread::create(
            [](void* other) -> INT32 { return static_cast<KxcThread*>(other)->waitDeath() * 2; }, thread.get()));
    for (auto& waiter : waiters)
        EXPECT_EQ(waiter->waitDeath(), -10);
    EXPECT_EQ(thread->waitDeath(), -5);
    EXPECT_EQ(thread->waitDeath(), -5);
    EXPECT_EQ(KxcThread::create(nullptr, nullptr), nullptr);
}

TEST(Threads, ExitFromNestedCallsEndsTheThreadWithItsCode)
{
    std::unique_ptr<KxcThread> thread(KxcThread::create(
        [](void*) -> INT32
        {
            exitDeepDown(10, 77);
            return 1;
        },
        nullptr));
    EXPECT_EQ(thread->waitDeath(), 77);
}

TEST(Threads, RunOnWhenTheirHandleIsDeletedAndNeverShareAnId)
{
    struct Shared
    {
        std::unique_ptr<KxcMutex> mutex{KxcMutex::create()};
        std::set<UINT32> ids;
        INT32 finished = 0;
    } shared;
    for (INT32 i = 0; i < 50; ++i)
        delete KxcThread::create(
            [](void* argument) -> INT32
            {
                Shared* all = static_cast<Shared*>(argument);
                all->mutex->lock();
                all->ids.insert(KxcThread::getId());
                ++all->finished;
                all->mutex->unlock();
                return 0;
            },
            &shared);
    for (bool done = false; !done; kxcPlatformSleep(1))
    {
        shared.mutex->lock();
        done = shared.finished == 50;
        shared.mutex->unlock();
    }
    shared.ids.insert(KxcThread::getId());
    EXPECT_EQ(shared.ids.size(), 51u);
    EXPECT_EQ(shared.ids.count(0xFFFFFFFFu), 0u);
    kxcPlatformSleep(20); // the last thread leaves the mutex before the mutex goes
}

struct CountingObject : KxcThreadObject
{
    INT32 runs = 0;
    INT32 run() override { return ++runs; }
};

TEST(ThreadObjects, HaveOneThreadAtATimeAndStartAgainAfterTheWait)
{
    CountingObject object;
    EXPECT_EQ(object.waitDeath(), 0);
    EXPECT_EQ(object.create(), 1);
    EXPECT_EQ(object.create(), 0);
    EXPECT_EQ(object.waitDeath(), 1);
    EXPECT_EQ(object.create(), 1);
    EXPECT_EQ(object.waitDeath(), 2);
    EXPECT_EQ(object.waitDeath(), 0);
}

struct Contended
{
    std::unique_ptr<KxcMutex> mutex{KxcMutex::create()};
    INT32 value = 0, inside = 0, overlaps = 0;
};

TEST(Mutexes, LetOneThreadInHoweverDeeplyItNests)
{
    Contended contended;
    std::vector<std::unique_ptr<KxcThread>> threads;
    for (INT32 i = 0; i < 4; ++i)
        threads.emplace_back(KxcThread::create(
            [](void* argument) -> INT32
            {
                Contended* all = static_cast<Contended*>(argument);
                for (INT32 round = 0; round < 5000; ++round)
                {
                    for (INT32 depth = 0; depth < 3; ++depth)
                        all->mutex->lock();
                    all->overlaps += all->inside++;
                    for (INT32 depth = 0; depth < 2; ++depth)
                        all->mutex->unlock();
                    ++all->value; // still inside: one lock is left
                    --all->inside;
                    all->mutex->unlock();
                }
                return 0;
            },
            &contended));
    for (auto& thread : threads)
        thread->waitDeath();
    EXPECT_EQ(contended.value, 4 * 5000);
    EXPECT_EQ(contended.overlaps, 0);
}

TEST(Mutexes, EndTheProgramWhenAStrangerUnlocks)
{
#ifndef KXC_EMULATED // where a program cannot start itself anew
    GTEST_FLAG_SET(death_test_style, "threadsafe");
#endif
    const char* message = "KxcMutex::unlock\\(\\) called before KxcMutex::lock\\(\\)";
    std::unique_ptr<KxcMutex> mutex(KxcMutex::create());
    EXPECT_EXIT(mutex->unlock(), testing::ExitedWithCode(0), message);
    EXPECT_EXIT(
        {
            mutex->lock();
            KxcThread::create(
                [](void* locked) -> INT32
                {
                    static_cast<KxcMutex*>(locked)->unlock();
                    return 0;
                },
                mutex.get())
                ->waitDeath();
        },
        testing::ExitedWithCode(0), message);
}

TEST(DateTime, HoldsTheLocalTimeOfNow)
{
    std::unique_ptr<KxcDateTime> time(KxcDateTime::create());
    const time_t now = ::time(nullptr);
    const tm local = *localtime(&now);
    const INT64 minutes = ((local.tm_mday * 24) + local.tm_hour) * 60 + local.tm_min;
    EXPECT_NEAR(static_cast<double>((time->day * 24 + time->hour) * 60 + time->minute), static_cast<double>(minutes),
                1);
    EXPECT_EQ(time->year, local.tm_year + 1900);
    EXPECT_EQ(time->month, local.tm_mon + 1);
    EXPECT_LT(time->second, 61);
    EXPECT_LT(time->millisecond, 1000);
}
