// step_clock.h - the time that a run of the scheduler, or one step of a handler, goes by. Reading the clock costs as
// much as serving a client that has nothing to say, so all clients share one reading.
#pragma once

#include <kxcoreemb/core.h>

/// A step lasts as long as the object; steps may nest. Frame thread only.
class KxcStepClock
{
public:
    KxcStepClock()
    {
        if (depth++ == 0)
            known = false;
    }
    ~KxcStepClock() { --depth; }
    KxcStepClock(const KxcStepClock&) = delete;
    KxcStepClock& operator=(const KxcStepClock&) = delete;

    /// Engine milliseconds: those of the step, or the present ones outside of any.
    static INT32 now()
    {
        if (depth == 0)
            return KxcCore::getTick();
        if (!known)
        {
            tick = KxcCore::getTick();
            known = true;
        }
        return tick;
    }

private:
    static inline INT32 depth = 0, tick = 0;
    static inline bool known = false;
};

/// Milliseconds from one engine time to a later one, however far the clock has run.
inline INT32 kxcElapsed(INT32 from, INT32 to)
{
    return static_cast<INT32>(static_cast<UINT32>(to) - static_cast<UINT32>(from));
}
