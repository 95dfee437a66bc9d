// math_tables.h - the tables behind KxcMath; the core owns one set from its construction to its end.
#pragma once

#include "core/core_state.h"

#include <kxcoreemb/fixed.h>

struct KxcMathTables
{
    static constexpr INT32 kQuarterTurn = 16384; // angles come in 65536ths of a turn
    static constexpr INT32 kCordicSteps = 30;
    static constexpr INT32 kLogarithms = 17;
    static constexpr INT32 kExponentials = 20;

    INT32 sine[kQuarterTurn];              // entry i: sin(i * pi / 32768), 30 fraction bits
    INT32 cordicAngles[kCordicSteps];      // entry k: atan(2^-k), 29 fraction bits
    KxcFixed logarithms[kLogarithms];      // entry k: -ln(1 - 2^-(k + 1))
    KxcFixed positivePower[kExponentials]; // entry i: e to the 2^i / 65536
    KxcFixed negativePower[kExponentials]; // entry i: e to the -2^i / 65536
};

/// Computes all entries. @return null when memory runs out; the caller deletes it
KxcMathTables* kxcMathTablesCreate();

/// The core's tables; null without a core.
inline const KxcMathTables* kxcMathTables() { return kxcCore ? kxcCore->mathTables : nullptr; }
