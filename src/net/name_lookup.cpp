// name_lookup.cpp - asks for a host's name, with little patience.
#include "net/name_lookup.h"

#include <kxcoreemb/thread.h>

#include "platform/platform.h"

#include <atomic>
#include <new>

/// Shared by the thread that looks up and the one that waits; the later one deletes it.
struct KxcNameLookup::Job
{
    KxcInetAddress address;
    char name[256];
    INT32 found = 0;
    std::atomic<INT32> done{0}, users{2};

    static INT32 run(void* argument)
    {
        Job* job = static_cast<Job*>(argument);
        job->found = kxcPlatformHostNameOf(job->address.getHost(), job->name, sizeof(job->name));
        job->done.store(1, std::memory_order_release);
        job->drop();
        return 0;
    }
    bool isDone() const { return done.load(std::memory_order_acquire) != 0; }
    void drop()
    {
        if (users.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
};

KxcNameLookup::~KxcNameLookup()
{
    if (overdue)
        overdue->drop();
}

INT32 KxcNameLookup::find(KxcInetHostEntry& entry, INT32 patienceMs)
{
    if (overdue && !overdue->isDone())
        return -1;
    if (overdue)
        overdue->drop();
    overdue = nullptr;

    Job* job = new (std::nothrow) Job;
    if (!job)
        return -1;
    job->address = *entry.getAddress();
    KxcThread* thread = KxcThread::create(Job::run, job);
    if (!thread)
    {
        delete job;
        return -1;
    }
    delete thread; // it runs on
    for (INT32 waited = 0; waited < patienceMs && !job->isDone(); ++waited)
        kxcPlatformSleep(1);
    if (!job->isDone())
    {
        overdue = job;
        return -1;
    }
    if (job->found)
    {
        KxcName name;
        name.setName(job->name);
        entry.setName(name);
    }
    const INT32 result = job->found ? 1 : -1;
    job->drop();
    return result;
}
