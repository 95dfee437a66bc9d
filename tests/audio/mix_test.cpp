// mix_test.cpp - the mixer's loops against the model, bit by bit.
#include "audio/mix_kernels.h"
#include "audio/mix_model.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace
{

constexpr UINT32 kLayouts[] = {0x000, 0x200, 0x400, 0x600, 0x800, 0xA00, 0xC00, 0xE00};
constexpr INT32 kVolumes[] = {0, 1, 0x4CCC, 0x8000, 0xFFFF, 0x10000, 0x10001, 0x1B333, 0x7FFFFFFF};
constexpr INT32 kPannings[] = {0, 1, 0x5555, 0x8000, 0xFFFF, 0x10000};

std::mt19937 random;

UINT32 below(UINT32 limit) { return std::uniform_int_distribution<UINT32>(0, limit - 1)(random); }
INT32 intBelow(INT32 limit) { return static_cast<INT32>(below(static_cast<UINT32>(limit))); }

/// Numbers of a layout: noise, with runs of both extremes.
std::vector<UINT8> noise(INT32 samples)
{
    std::vector<UINT8> bytes(static_cast<size_t>(samples) * 4 + kKxcMixSlack);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<UINT8>(i % 64 < 8 ? 0x7F : i % 64 < 16 ? (i & 1) << 7 : below(256u));
    return bytes;
}

struct Case
{
    UINT32 source, target, quality, step;
    INT32 volume, panning, samples, loopStart, loopEnd, playhead, count;
    bool loops;
};

/// Mixes a case twice, into a ring that holds something and whose end lies within the region.
void expectAsTheModel(const Case& c)
{
    std::vector<UINT8> samples = noise(c.samples), ring = noise(c.count + 7), expected = ring;
    KxcAudioState voice;
    voice.reset();
    voice.format = KxcAudioFormat(0, c.source | (c.loops ? UINT32(KXCAUDIO_LOOP) : 0), c.samples);
    voice.data = samples.data();
    voice.capacity = c.samples;
    voice.volume = KxcFixed::fromRaw(c.volume), voice.panning = KxcFixed::fromRaw(c.panning);
    voice.loopStart = c.loopStart, voice.loopEnd = c.loopEnd, voice.playhead = c.playhead;
    voice.fraction = below(65536u), voice.step = c.step;
    KxcAudioState slow = voice;
    KxcMixRegion region = {ring.data(), c.count + 7, c.target, c.count / 2, c.count};
    KxcMixRegion slowRegion = region;
    slowRegion.samples = expected.data();
    const auto describe = [&]
    {
        return testing::Message() << std::hex << "source " << c.source << " target " << c.target << " quality "
                                  << c.quality << " step " << c.step << " volume " << c.volume << " panning "
                                  << c.panning << std::dec << " loop " << c.loopStart << ".." << c.loopEnd << " of "
                                  << c.samples << " from " << c.playhead;
    };
    bool goesOn = true;
    for (INT32 pass = 0; pass < 2 && goesOn; ++pass)
    {
        goesOn = model::mixVoice(slow, slowRegion, c.quality);
        ASSERT_EQ(kxcMixVoice(voice, region, c.quality), goesOn) << describe();
        ASSERT_EQ(ring, expected) << describe();
        if (goesOn)
        {
            ASSERT_EQ(voice.playhead, slow.playhead) << describe();
            ASSERT_EQ(voice.fraction, slow.fraction) << describe();
        }
    }
}

} // namespace

TEST(Mixing, EveryCombinationGivesTheBitsOfTheFormula)
{
    // The steps: below, at and above what the vector loops take with one load and with two; standing still.
    for (UINT32 step : {0u, 1u, 45158u, 65536u, 90316u, 131072u, 150000u, 262144u, 300000u})
        for (UINT32 source : kLayouts)
            for (UINT32 target : kLayouts)
                for (UINT32 quality : {0u, 1u})
                    expectAsTheModel({source, target, quality, step, kVolumes[below(std::size(kVolumes))],
                                      kPannings[below(std::size(kPannings))], 700, 0, 700, 0, 150, true});
    for (INT32 volume : kVolumes)
        for (INT32 panning : kPannings)
            for (UINT32 source : {0xA00u, 0x000u, 0xE00u})
                for (UINT32 target : {0xE00u, 0x400u, 0xA00u})
                    expectAsTheModel({source, target, 1, 45158, volume, panning, 300, 0, 300, 0, 70, true});
}

TEST(Mixing, LoopsEndsAndStepsAcrossThemAreExactAtEveryPlace)
{
    for (INT32 i = 0; i < 4000; ++i)
    {
        Case c = {};
        c.source = kLayouts[below(std::size(kLayouts))];
        c.target = kLayouts[below(std::size(kLayouts))];
        c.quality = below(2u);
        c.step = below(3u) == 0 ? below(1u << 28) : below(200000u); // some jump over many loops at once
        c.volume = 0x9000, c.panning = 0x3000;
        c.samples = 1 + intBelow(below(4u) == 0 ? 2000 : 40);
        c.loopStart = intBelow(c.samples);
        c.loopEnd = c.loopStart + 1 + intBelow(c.samples - c.loopStart);
        c.playhead = intBelow(c.samples); // behind a loop's end, too: it was moved
        c.count = 1 + intBelow(1300);
        c.loops = below(3u) != 0;
        expectAsTheModel(c);
        if (HasFatalFailure())
            return;
    }
}

TEST(Mixing, TheLoopsForNewMachinesGiveTheBitsOfThePlainOnes)
{
    if (&kxcMixKernels() == &kxcMixKernelsBase)
        GTEST_SKIP() << "this machine runs the plain ones";
    const KxcMixKernels& fast = kxcMixKernels();
    const std::vector<UINT8> samples = noise(kKxcMixBlock * 8 + 64); // for the largest step
    for (INT32 i = 0; i < 1500; ++i)
    {
        const UINT32 layout = below(8u), quality = below(2u), channels = below(2u);
        const INT32 count = 1 + intBelow(kKxcMixBlock);
        const KxcMixSource source = {samples.data() + intBelow(16) * 4, below(65536u), below(8 * 65536u)};
        INT16 block[kKxcMixBlock * 2], plainBlock[kKxcMixBlock * 2];
        fast.resample[quality][layout](block, source, count);
        kxcMixKernelsBase.resample[quality][layout](plainBlock, source, count);
        const size_t numbers = static_cast<size_t>(count) * (layout & 2 ? 2 : 1);
        ASSERT_EQ(std::memcmp(block, plainBlock, numbers * 2), 0) << layout << " step " << source.step;

        std::vector<UINT8> target = noise(kKxcMixBlock), plainTarget = target;
        const INT32 volume = intBelow(65537), panning = intBelow(65537);
        fast.mix[channels][layout](target.data(), reinterpret_cast<const INT16*>(samples.data()), count,
                                   {volume, 65536 - panning, panning});
        kxcMixKernelsBase.mix[channels][layout](plainTarget.data(), reinterpret_cast<const INT16*>(samples.data()),
                                                count, {volume, 65536 - panning, panning});
        ASSERT_EQ(target, plainTarget) << layout << " volume " << volume << " panning " << panning;
    }
}

TEST(Mixing, SilenceIsTheMiddleOfEveryFormatAndFillsTheRegionAlone)
{
    for (UINT32 flags : kLayouts)
    {
        std::vector<UINT8> ring(40, 0x55);
        kxcMixSilence({ring.data(), 10, flags, 8, 4});
        const size_t channels = flags & KXCAUDIO_STEREO ? 2 : 1;
        for (size_t i = 0; i < 10 * channels; ++i)
            EXPECT_EQ(model::load(ring.data(), flags, i) == 0, i / channels >= 8 || i / channels < 2) << flags;
    }
}

TEST(Mixing, StepsTruncateAndStayInRange)
{
    EXPECT_EQ(kxcMixStep(22050, 32000), 45158u);
    EXPECT_EQ(kxcMixStep(32000, 32000), 0x10000u);
    EXPECT_EQ(kxcMixStep(1e30f, 1), 0xFFFFFFFFu);
    for (FLOAT32 nothing : {0.0f, -1.0f, std::numeric_limits<FLOAT32>::quiet_NaN()})
        EXPECT_EQ(kxcMixStep(nothing, 32000), 0u);
}
