// pixel_blender_test.cpp - every blend in every strength against channels blended one by one; the lookups.

#include <kxcoreemb/pixel_blender.h>

#include "support/pixel_reference.h"

#include <gtest/gtest.h>

constexpr INT32 k55X5 = KXCSURFACEFORMAT_55X5, kX888 = KXCSURFACEFORMAT_X888, kPremul = KXCSURFACEFORMAT_PREMUL8888;

/// Pixels of which red takes every value 0..31, and the other channels too, each in an order of its own.
static UINT16 mixed55X5(UINT32 c) { return static_cast<UINT16>(c << 11 | ((c * 7) & 31) << 6 | (31 - c)); }

TEST(PixelBlender, Blends55X5ChannelByChannelAlikeInPixelsRunsPixelAlphasAndColors)
{
    std::vector<UINT16> sources, targets;
    for (UINT32 s = 0; s < 32; ++s)
        for (UINT32 d = 0; d < 32; ++d)
        {
            sources.push_back(mixed55X5(s));
            targets.push_back(mixed55X5(d));
        }
    const INT32 count = static_cast<INT32>(sources.size());
    struct
    {
        INT32 type;
        KxcPixelBlender::BufferBlendingFunction xa;
        void (*color)(UINT32, void*, UINT32, INT32);
    } const extras[] = {
        {KXCBLEND_ALPHA, KxcPixelBlender::blendBufferAlphaXA55X5, KxcPixelBlender::blendColorToBufferAlpha55X5},
        {KXCBLEND_ADD, KxcPixelBlender::blendBufferAddXA55X5, KxcPixelBlender::blendColorToBufferAdd55X5},
        {KXCBLEND_MUL, KxcPixelBlender::blendBufferMulXA55X5, KxcPixelBlender::blendColorToBufferMul55X5},
        {KXCBLEND_INVMUL, KxcPixelBlender::blendBufferInvmulXA55X5, KxcPixelBlender::blendColorToBufferInvmul55X5},
    };
    for (UINT32 a = 0; a <= 32; ++a)
    {
        for (INT32 type = 0; type < KXCBLEND_COUNT; ++type)
        {
            std::vector<UINT16> run = targets;
            KxcPixelBlender::getBufferBlendingFunction(k55X5, k55X5, type)(sources.data(), run.data(), a, count);
            for (size_t i = 0; i < sources.size(); ++i)
            {
                const UINT32 expected = reference::blend55X5(type, sources[i], targets[i], a);
                ASSERT_EQ(KxcPixelBlender::getBlendingFunction(k55X5, k55X5, type)(sources[i], targets[i], a), expected)
                    << "type " << type << ", weight " << a << std::hex << ": " << sources[i] << " onto " << targets[i];
                ASSERT_EQ(run[i], expected) << "in a run";
            }
        }
        for (const auto& extra : extras)
        {
            std::vector<UINT16> pairs, run = targets;
            for (size_t i = 0; i < sources.size(); ++i)
                pairs.insert(pairs.end(), {static_cast<UINT16>(i % 33), sources[i]});
            extra.xa(pairs.data(), run.data(), a, count);
            std::vector<UINT16> colored = targets;
            extra.color(sources[500], colored.data(), a, count);
            for (size_t i = 0; i < sources.size(); ++i)
            {
                ASSERT_EQ(run[i], reference::blend55X5(extra.type, sources[i], targets[i], pairs[2 * i] * a / 32))
                    << "type " << extra.type << ", weight " << a << ", pixel " << i;
                ASSERT_EQ(colored[i], reference::blend55X5(extra.type, sources[500], targets[i], a)) << "as a color";
            }
        }
    }
    UINT16 guarded = 0x0020; // its spare bit is set
    KxcPixelBlender::blendColorToBufferAdd55X5(0xFFDF, &guarded, 0, 1);
    EXPECT_EQ(guarded, 0x0020);
}

TEST(PixelBlender, BlendsPremultipliedPixelsChannelByChannelAlikeInPixelsAndRuns)
{
    reference::Noise noise;
    std::vector<UINT32> sources, targets;
    for (UINT32 alpha = 0; alpha < 256; ++alpha)
        for (UINT32 c = 0; c < 256; c += 3) // every alpha with colours up to it
        {
            sources.push_back(reference::convert(alpha << 24 | c << 16 | (255 - c) << 8 | alpha, 4, kPremul));
            targets.push_back(noise.pixel(kPremul));
        }
    const INT32 count = static_cast<INT32>(sources.size());
    for (UINT32 v : {0u, 1u, 100u, 127u, 128u, 254u, 255u})
        for (INT32 type = 0; type < KXCBLEND_COUNT; ++type)
            for (INT32 target : {kX888, kPremul})
            {
                std::vector<UINT32> run = targets;
                KxcPixelBlender::getBufferBlendingFunction(kPremul, target, type)(sources.data(), run.data(), v, count);
                const auto blend = KxcPixelBlender::getBlendingFunction(kPremul, target, type);
                for (size_t i = 0; i < sources.size(); ++i)
                {
                    const UINT32 expected = reference::blend8888(type, sources[i], targets[i], v, target == kX888);
                    ASSERT_EQ(blend(sources[i], targets[i], v), expected)
                        << "type " << type << ", value " << v << ", onto format " << target << std::hex << ": "
                        << sources[i] << " onto " << targets[i];
                    ASSERT_EQ(run[i], expected) << "in a run";
                }
            }
}

TEST(PixelBlender, KeepsWhatFullAndNoStrengthPromise)
{
    using B = KxcPixelBlender;
    for (UINT32 s = 0; s < 0x10000; s += 31)
        for (UINT32 d : {0x0000u, 0xFFDFu, 0x8410u & 0xFFDFu})
        {
            const UINT32 source = s & 0xFFDF;
            EXPECT_EQ(B::blendAlpha55X5(source, d, 0), d);
            EXPECT_EQ(B::blendAlpha55X5(source, d, 32), source);
            EXPECT_EQ(B::blendMulFast55X5(0xFFDF, source, 0), source);
            EXPECT_EQ(B::blendMulFast55X5(0, source, 0), 0u);
            EXPECT_EQ(B::blendInvmulFast55X5(0, source, 0), source);
            EXPECT_EQ(B::blendInvmulFast55X5(0xFFDF, 0, 0), 0u);
        }
    EXPECT_EQ(B::blendAddFast55X5(0xF800, 0x0800, 32), 0xF800u);
    UINT32 source = ~0u, target = 0;
    for (INT32 count : {0, -1, INT32_MIN})
    {
        B::blendBufferNoneX888(&source, &target, 255, count);
        B::blendBufferAddPremul8888(&source, &target, 255, count);
        B::blendBufferNone55X5(&source, &target, 32, count);
        B::blendBufferAlphaXA55X5(&source, &target, 32, count);
        B::blendColorToBufferAdd55X5(0xFFDF, &target, 32, count);
    }
    EXPECT_EQ(target, 0u);
    EXPECT_EQ(B::blendNoneX888(0, 0x00123456, 0), 0xFF123456u);
}

TEST(PixelBlender, ChoosesWorkingFormatsFunctionsAndValues)
{
    for (INT32 source = 0; source < KXCSURFACEFORMAT_COUNT; ++source)
        for (INT32 target : reference::kFormats)
        {
            const auto plain = [](INT32 f) { return f == 1 || f == 5 || f == 8; };
            const bool alpha = target == 3 || target == 4 || target == 6 || target == 9 || target == 10;
            INT32 blendSource = -1, blendTarget = -1;
            KxcPixelBlender::getBlendingFormat(source, target, blendSource, blendTarget);
            EXPECT_EQ(blendTarget, alpha ? kPremul : plain(source) && plain(target) ? k55X5 : kX888);
            EXPECT_EQ(blendSource, blendTarget == k55X5 ? k55X5 : kPremul) << source << " to " << target;
        }
    using B = KxcPixelBlender;
    for (INT32 type : {INT32_MIN, -1, 9, INT32_MAX})
    {
        EXPECT_EQ(B::getBlendingFunction(k55X5, k55X5, type), B::getBlendingFunction(k55X5, k55X5, 0));
        EXPECT_EQ(B::getBufferBlendingFunction(kPremul, kX888, type), B::getBufferBlendingFunction(kPremul, kX888, 0));
    }
    EXPECT_EQ(B::getBlendingFunction(kX888, kPremul, 1), nullptr);
    EXPECT_EQ(B::getBufferBlendingFunction(k55X5, kX888, 1), nullptr);
    for (INT32 type = -1; type < 10; ++type)
        for (INT32 value : {-5, 0, 1, 100, 128, 255, 300})
        {
            const INT32 clamped = std::clamp(value, 0, 255);
            const UINT32 t = static_cast<UINT32>(clamped + 4) * 32;
            EXPECT_EQ(B::getBlendValue(k55X5, k55X5, type, value), (t + (t >> 8)) >> 8);
            const INT32 expected = type == 2 ? 127 : type == 4 || type == 6 || type == 8 ? 255 : clamped;
            EXPECT_EQ(B::getBlendValue(kPremul, kX888, type, value), static_cast<UINT32>(expected)) << type;
        }
    EXPECT_EQ(B::getBlendValue(k55X5, k55X5, 1, 0), 0u);
    EXPECT_EQ(B::getBlendValue(k55X5, k55X5, 1, 128), 16u);
    EXPECT_EQ(B::getBlendValue(k55X5, k55X5, 1, 255), 32u);
}
