// serial_number.h - comparing numbers that wrap at 65536, as RFC 1982 does: whichever way is shorter.
#pragma once

#include <kxcoreemb/base.h>

/// How far `b` lies before `a`: above 0 when a is the newer one. Exact while they are less than 32768 apart.
inline INT32 kxcSerialDistance(UINT16 a, UINT16 b) { return static_cast<INT16>(static_cast<UINT16>(a - b)); }
