// pixel_kernels_test.cpp - the loops chosen for this machine give what the portable ones give, and stay in their block.

#include "surfaces/picture_kernels.h"
#include "surfaces/pixel_kernels.h"

#include "support/pixel_reference.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

constexpr INT32 kLongest = 70, kRows = 3;
constexpr size_t kBytes = (kLongest + 8) * kRows * sizeof(UINT32);
struct alignas(64) Bytes
{
    UINT8 data[kBytes];
};

Bytes noise()
{
    static reference::Noise source;
    Bytes bytes;
    for (size_t i = 0; i < kBytes; i += sizeof(UINT32))
    {
        const UINT32 word = source.pixel(KXCSURFACEFORMAT_PREMUL8888);
        memcpy(bytes.data + i, &word, sizeof(word));
    }
    return bytes;
}

/// Compares two kernels on blocks of every width at several alignments, with and without gaps between the rows.
void expectSame(KxcPixelKernels::Kernel chosen, KxcPixelKernels::Kernel base, INT32 sourceBytes, INT32 targetBytes,
                const char* name, INT32 which, UINT32 value, INT32 keyedBytes = 0)
{
    ASSERT_NE(chosen, nullptr) << name << which;
    for (INT32 width = 0; width <= kLongest; ++width)
        for (INT32 shift = 0; shift < 4; ++shift)
        {
            const INT32 pitchPixels = shift ? kLongest + 4 : width;
            Bytes source = noise();
            const Bytes keyed = noise(), before = noise();
            Bytes results[2] = {before, before};
            if (keyedBytes == 0) // so that there are keys among the source's pixels
                memset(source.data + 8, 0xFF, 24);
            for (INT32 i = 0; i < 2; ++i)
            {
                const KxcPixelBlock block = {results[i].data + shift * targetBytes,
                                             pitchPixels * targetBytes,
                                             source.data + (3 - shift) * sourceBytes,
                                             pitchPixels * sourceBytes,
                                             width,
                                             kRows,
                                             value,
                                             0xFFFFFFFF,
                                             keyed.data + shift * keyedBytes,
                                             pitchPixels * keyedBytes};
                (i ? base : chosen)(block);
            }
            ASSERT_EQ(memcmp(results[0].data, results[1].data, kBytes), 0)
                << name << " " << which << ", width " << width << ", shift " << shift;
            for (INT32 i = 0; i < static_cast<INT32>(kBytes); ++i)
            {
                const INT32 pixel = i / targetBytes - shift;
                const bool inside =
                    width > 0 && pixel >= 0 && pixel / pitchPixels < kRows && pixel % pitchPixels < width;
                ASSERT_TRUE(inside || results[1].data[i] == before.data[i])
                    << name << " " << which << " of width " << width << " wrote byte " << i;
            }
        }
}

INT32 bytesOf(INT32 format) { return reference::is16Bit(format) ? 2 : 4; }

} // namespace

TEST(PixelKernels, OfThisMachineEqualThePortableOnesAtEveryLengthAndAlignment)
{
    using K = KxcPixelKernels;
    const K &chosen = kxcPixelKernels(), &base = kxcPixelKernelsBase;
    for (INT32 source : reference::kFormats)
    {
        for (INT32 target : reference::kFormats)
            expectSame(chosen.convert[source][target], base.convert[source][target], bytesOf(source), bytesOf(target),
                       "convert to", target, 0);
        expectSame(chosen.mix[source], base.mix[source], bytesOf(source), bytesOf(source), "mix", source, 0x64C86432);
    }
    for (INT32 type = 0; type < KXCBLEND_COUNT; ++type)
    {
        expectSame(chosen.blend55X5[type], base.blend55X5[type], 2, 2, "blend 55X5", type, 13);
        expectSame(chosen.blendKeyed55X5[type], base.blendKeyed55X5[type], 2, 2, "blend keyed 55X5", type, 13);
    }
    for (INT32 type = 0; type < K::kBlends8888; ++type)
    {
        expectSame(chosen.blendX888[type], base.blendX888[type], 4, 4, "blend X888", type, 100);
        expectSame(chosen.blendPremul8888[type], base.blendPremul8888[type], 4, 4, "blend Premul8888", type, 100);
    }
    for (INT32 size : {K::k16, K::k32})
    {
        const INT32 bytes = size == K::k16 ? 2 : 4;
        for (INT32 keyed : {K::k16, K::k32})
            expectSame(chosen.select[size][keyed], base.select[size][keyed], bytes, bytes, "select", keyed, 0,
                       keyed == K::k16 ? 2 : 4);
        expectSame(chosen.selectX888[size], base.selectX888[size], bytes, bytes, "select X888", size, 0, 4);
        expectSame(chosen.fill[size], base.fill[size], bytes, bytes, "fill", size, 0x12345678);
    }
}

TEST(PixelKernels, SelectAndKeyedBlendsLeaveOutExactlyTheKey)
{
    const KxcPixelKernels& kernels = kxcPixelKernels();
    UINT16 source[4] = {1, 2, 3, 2}, target[4] = {10, 20, 30, 40};
    KxcPixelBlock block = {target, 8, source, 8, 4, 1, 0, 2, source, 8};
    kernels.blendKeyed55X5[KXCBLEND_NONE](block);
    EXPECT_TRUE(target[0] == 1 && target[1] == 20 && target[2] == 3 && target[3] == 40);
    const UINT32 keyed[4] = {0xFF000002, 2, 3, 4};
    UINT16 selected[4] = {10, 20, 30, 40};
    block = {selected, 8, source, 8, 4, 1, 0, 2, keyed, 16};
    kernels.selectX888[KxcPixelKernels::k16](block); // the top byte of X888 does not count
    EXPECT_TRUE(selected[0] == 10 && selected[1] == 20 && selected[2] == 3 && selected[3] == 2);
    kernels.select[KxcPixelKernels::k16][KxcPixelKernels::k32](block);
    EXPECT_EQ(selected[0], 1);
}

TEST(PixelKernels, RowsOfSpritesAndOfTheToolkitEqualThePortableOnesToo)
{
    const KxcPictureKernels* const tables[2] = {&kxcPictureKernels(), &kxcPictureKernelsBase};
    reference::Noise random;
    for (INT32 count = 1; count <= kLongest; ++count)
    {
        const auto sized = static_cast<size_t>(count);
        const Bytes source = noise();
        std::vector<INT32> left(sized), right(sized);
        std::vector<UINT32> weights(sized);
        for (size_t i = 0; i < sized; ++i)
        {
            left[i] = random.between(0, kLongest - 1);
            right[i] = random.between(0, kLongest - 1);
            weights[i] = random.next() % 257;
        }
        for (INT32 size : {KxcPixelKernels::k16, KxcPixelKernels::k32})
        {
            std::vector<UINT32> results[2];
            for (INT32 i = 0; i < 2; ++i)
            {
                std::vector<UINT32> top(2 * sized), bottom(2 * sized), mixed(sized), sums(4 * sized, 7);
                tables[i]->widenRow[size](source.data, {left.data(), right.data(), weights.data(), count}, top.data());
                tables[i]->widenRow[size](source.data + 8, {right.data(), left.data(), weights.data(), count},
                                          bottom.data());
                tables[i]->mixRows[size](top.data(), bottom.data(), weights[0], mixed.data(), count);
                tables[i]->sumRow[size](source.data, weights[0], sums.data(), count);
                for (const auto& part : {top, bottom, mixed, sums})
                    results[i].insert(results[i].end(), part.begin(), part.end());
            }
            ASSERT_EQ(results[0], results[1]) << "size " << size << ", " << count << " pixels";
        }

        // A row of all kinds of runs, that ends where the picture does.
        std::vector<UINT16> words = {3, static_cast<UINT16>(0x8000 + count)};
        const auto add = [&](UINT16 word) { words.push_back(word); };
        for (INT32 i = 0; i < count; ++i)
            add(static_cast<UINT16>(random.next() & 0xFFDF));
        add(0x4000 + 5);
        add(static_cast<UINT16>(0xC000 + count));
        for (INT32 i = 0; i < count; ++i)
        {
            add(static_cast<UINT16>(random.next() % 33));
            add(static_cast<UINT16>(random.next() & 0xFFDF));
        }
        add(0x4000 + 20);
        add(0);
        words.resize(words.size() + 16);
        const INT32 width = 2 * count + 28, line = 0;
        for (INT32 first : {0, 1, 5, width / 2})
        {
            std::vector<UINT16> pictures[2];
            pictures[0].assign(static_cast<size_t>(width - first), 0x1234);
            pictures[1] = pictures[0];
            for (INT32 i = 0; i < 2; ++i)
                tables[i]->layRuns({pictures[i].data(), 0, pictures[i].data() + pictures[i].size(), words.data(), &line,
                                    first, width, 1, first > 0});
            ASSERT_EQ(pictures[0], pictures[1]) << "from " << first << ", " << count << " pixels";
        }
    }
}
