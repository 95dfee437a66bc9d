// date_time.h - the local calendar time. Engine time in milliseconds is KxcCore::getTick.
#pragma once

#include <kxcoreemb/base.h>

/// A moment in local time.
///
/// Threads    any; one at a time for each object.
class KXC_API KxcDateTime
{
public:
    static KxcDateTime* create(); ///< now; the caller deletes it; null when memory runs out
    void update();                ///< now

    KxcUINT16 year;        ///< such as 2004
    KxcUINT16 month;       ///< 1 to 12
    KxcUINT16 day;         ///< of the month, from 1
    KxcUINT16 hour;        ///< 0 to 23
    KxcUINT16 minute;      ///< 0 to 59
    KxcUINT16 second;      ///< 0 to 59
    KxcUINT16 millisecond; ///< 0 to 999

protected:
    KxcDateTime() = default;
};
