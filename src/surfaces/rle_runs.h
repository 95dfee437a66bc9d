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
template <class Painter>
inline void walkRuns(const UINT16* code, INT32 first, INT32 end, Painter& paint)
{
    UINT32 color = 0, alpha = 0; // of the last pixel
    INT32 column = 0;
    while (column < end)
    {
        const UINT32 word = *code++;
        if (word == 0)
            return;
        const INT32 count = static_cast<INT32>(word & kLongestRun);
        const INT32 from = column > first ? column : first, skipped = from - column;
        column += count;
        const INT32 visible = (column < end ? column : end) - from;
        switch (word >> kRunKindShift)
        {
        case kRunTransparent:
            break;
        case kRunRepeat:
            if (visible > 0)
                paint.repeat(from - first, color, alpha, visible);
            break;
        case kRunOpaque:
            if (visible > 0)
                paint.opaque(from - first, code + skipped, visible);
            code += count;
            color = code[-1];
            alpha = kOpaqueAlpha;
            break;
        default:
            if (visible > 0)
                paint.translucent(from - first, code + 2 * skipped, visible);
            code += 2 * count;
            color = code[-1];
            alpha = code[-2];
            break;
        }
    }
}

} // namespace
