// name_lookup.h - a host's name, if the network tells it soon. A network without a name server keeps whoever asks
// waiting for many seconds; a name is not worth that.
#pragma once

#include <kxcoreemb/address.h>

/// Looks names up on a thread of its own. One that takes too long is left to itself, and until it comes back nothing
/// else is asked: such a network would keep the next one waiting as well.
class KxcNameLookup
{
public:
    KxcNameLookup() : overdue(nullptr) {}
    ~KxcNameLookup();
    KxcNameLookup(const KxcNameLookup&) = delete;
    KxcNameLookup& operator=(const KxcNameLookup&) = delete;

    /// Gives the entry the name that belongs to its address. @return 1; -1 when that is not known in time
    INT32 find(KxcInetHostEntry& entry, INT32 patienceMs);

private:
    struct Job;
    Job* overdue; // shared with its thread; null when there is none
};
