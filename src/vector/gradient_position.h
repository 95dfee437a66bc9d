// gradient_position.h - where a pixel lies in a gradient: numbers of 24 fraction bits, 0 at its start, 1 at its end.
#pragma once

#include <kxcoreemb/base.h>

constexpr INT32 kGradientBits = 24;
constexpr INT64 kGradientEnd = INT64(1) << kGradientBits;
/// Steps from pixel to pixel that leave room for 2^26 pixels, and are steeper than any eye can tell from an edge.
constexpr INT32 kGradientStepLimit = 34;
constexpr INT32 kGradientLimit = 60;

/// The position in a gradient that goes on with its ends' colours.
inline UINT32 padGradient(INT64 t) { return static_cast<UINT32>(t < 0 ? 0 : t < kGradientEnd ? t : kGradientEnd - 1); }
