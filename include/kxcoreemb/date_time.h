// date_time.h - the local calendar time. Engine time in milliseconds is KxcCore::getTick.
#pragma once

#include <kxcoreemb/base.h>

/// A moment in local time.
class KXC_API KxcDateTime
{
public:
    static KxcDateTime* create(); ///< now; the caller deletes it; null when memory runs out
    void update();                ///< now

    KxcUINT16 year, month, day; // month and day of the month count from 1
    KxcUINT16 hour, minute, second, millisecond;

protected:
    KxcDateTime() = default;
};
