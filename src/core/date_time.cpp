// date_time.cpp - the local calendar time, from the platform's clock.
#include <kxcoreemb/date_time.h>

#include "platform/platform.h"

#include <new>

KxcDateTime* KxcDateTime::create()
{
    KxcDateTime* time = new (std::nothrow) KxcDateTime;
    if (time)
        time->update();
    return time;
}

void KxcDateTime::update()
{
    const KxcPlatformTime now = kxcPlatformLocalTime();
    year = now.year;
    month = now.month;
    day = now.day;
    hour = now.hour;
    minute = now.minute;
    second = now.second;
    millisecond = now.millisecond;
}
