// rle_runs.h - the walk along one encoded row, for whatever draws its runs.
//
// Clipping happens here, a run at a time: painters see visible parts only. Encodings were checked when their sprite was
// made, so the walk never looks for the end of the data. Internal linkage, for the reason given in pixel_format.h.
#pragma once

#include <kxcoreemb/base.h>

namespace
{

constexpr UINT32 kRunTransparent = 0, kRunRepeat = 1, kRunOpaque = 2, kRunTranslucent = 3; // the top two bits
constexpr INT32 kRunKindShift = 14, kLongestRun = 0x3FFF;
constexpr UINT32 kOpaqueAlpha = 32;

/// Calls, for what lies on columns first..end - 1, with x counted from `first`:
///   paint.opaque(x, colors, count), paint.translucent(x, pairs, count), paint.repeat(x, color, alpha, count)
/// Where nothing is clipped, first is 0 and end the sprite's width.
template <bool kClipped, class Painter>
inline void walkRuns(const UINT16* code, INT32 first, INT32 end, Painter& paint)
{
    const UINT16* pixels = code; // behind the last pixel that has not been a repetition
    bool opaque = true;          // was it
    INT32 column = 0;
    while (!kClipped || column < end)
    {
        const UINT32 word = *code++;
        const INT32 count = static_cast<INT32>(word & kLongestRun);
        INT32 from = column, visible = count, skipped = 0;
        column += count;
        if (kClipped)
        {
            from = from > first ? from : first;
            skipped = from - (column - count);
            visible = (column < end ? column : end) - from;
        }
        const UINT32 kind = word >> kRunKindShift;
        if (kind == kRunOpaque)
        {
            if (!kClipped || visible > 0)
                paint.opaque(from - first, code + skipped, visible);
            code += count;
            pixels = code;
            opaque = true;
        }
        else if (kind == kRunTranslucent)
        {
            if (!kClipped || visible > 0)
                paint.translucent(from - first, code + 2 * skipped, visible);
            code += 2 * count;
            pixels = code;
            opaque = false;
        }
        else if (kind == kRunRepeat)
        {
            if (!kClipped || visible > 0)
                paint.repeat(from - first, pixels[-1], opaque ? kOpaqueAlpha : pixels[-2], visible);
        }
        else if (count == 0)
            return;
    }
}

} // namespace
