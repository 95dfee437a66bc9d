// pixel_converter_test.cpp - every pair of formats, pixel by pixel and in runs, against channels converted one by one.

#include <kxcoreemb/pixel_converter.h>

#include "support/pixel_reference.h"

#include <gtest/gtest.h>

/// All pixels of a 16-bit format; of the others every value of each channel, among noise.
static std::vector<UINT32> pixelsOf(INT32 format)
{
    std::vector<UINT32> pixels;
    if (reference::is16Bit(format))
        for (UINT32 p = 0; p < 0x10000; ++p)
            pixels.push_back(p);
    else
    {
        reference::Noise noise;
        for (UINT32 alpha = 0; alpha < 256; ++alpha)
            for (UINT32 c = 0; c < 256; c += 5)
                pixels.push_back(alpha << 24 | c << 16 | (c ^ alpha) << 8 | (255 - c));
        for (INT32 i = 0; i < 20000; ++i)
            pixels.push_back(noise.next());
    }
    return pixels;
}

TEST(PixelConverter, ConvertsEveryPairChannelByChannelAlikeInPixelsAndRuns)
{
    for (INT32 source : reference::kFormats)
    {
        const std::vector<UINT32> pixels = pixelsOf(source);
        const INT32 count = static_cast<INT32>(pixels.size());
        std::vector<UINT16> from16(pixels.begin(), pixels.end());
        std::vector<UINT32> from32 = pixels;
        void* from = reference::is16Bit(source) ? static_cast<void*>(from16.data()) : from32.data();
        for (INT32 target : reference::kFormats)
        {
            std::vector<UINT16> to16(pixels.size());
            std::vector<UINT32> to32(pixels.size());
            void* to = reference::is16Bit(target) ? static_cast<void*>(to16.data()) : to32.data();
            KxcPixelConverter::convertBuffer(from, to, count, source, target);
            const auto convert = KxcPixelConverter::getConversionFunction(source, target);
            ASSERT_NE(convert, nullptr);
            for (size_t i = 0; i < pixels.size(); ++i)
            {
                const UINT32 expected = reference::convert(pixels[i], source, target);
                ASSERT_EQ(convert(pixels[i]), expected) << source << " to " << target << ", " << std::hex << pixels[i];
                ASSERT_EQ(reference::is16Bit(target) ? to16[i] : to32[i], expected)
                    << "in a run, " << source << " to " << target << ", " << std::hex << pixels[i];
            }
        }
    }
}

TEST(PixelConverter, GivesTheValuesThatGamesRelyOn)
{
    struct
    {
        INT32 source, target;
        UINT32 pixel, expected;
    } const cases[] = {
        {1, 2, 0xFFFF, 0x00FFFFFF},      {1, 4, 0x0000, 0xFF000000},      {1, 2, 0xF800, 0x00FF0000},
        {2, 8, 0x00FFFFFF, 0xFFDF},      {2, 9, 0x00FFFFFF, 0xFFFF},      {3, 10, 0x7FFF, 0},
        {3, 10, 0xFFFF, 0xFFFFFFFF},     {4, 10, 0x80FFFFFF, 0x80808080}, {4, 3, 0x7F000000, 0x0000},
        {10, 4, 0x00123456, 0x00FFFFFF}, {10, 1, 0x00123456, 0x11AA},     {10, 4, 0x80404040, 0x807F7F7F},
        {10, 3, 0x00123456, 0x7FFF},     {10, 6, 0, 0x03E07C1F},          {10, 9, 0, 0xFFDF},
        {5, 4, 0x07E0F81F, 0xFFF8FCF8},  {5, 2, 0x07E0F81F, 0x00FFFFFF},  {5, 10, 0x07E0F81F, 0xFFFFFFFF},
        {4, 4, 0x12345678, 0x12345678},
    };
    for (const auto& c : cases)
        EXPECT_EQ(KxcPixelConverter::convert(c.pixel, c.source, c.target), c.expected)
            << c.source << " to " << c.target << ", " << std::hex << c.pixel;
    EXPECT_EQ(KxcPixelConverter::convert565ToX888(0xF800), 0xFF0000u);
    EXPECT_EQ(KxcPixelConverter::convertPremul8888To5515(0x80404040), 0x7BEFu | 0x20);
}

TEST(PixelConverter, KnowsNoFormatsBeyondItsTableAndNoPalettes)
{
    for (INT32 other : {INT32_MIN, -1, 0, 7, 11, INT32_MAX})
        for (INT32 format : {1, 7, 10, other})
        {
            EXPECT_EQ(KxcPixelConverter::getConversionFunction(other, format), nullptr) << other << ", " << format;
            EXPECT_EQ(KxcPixelConverter::getConversionFunction(format, other), nullptr) << format << ", " << other;
            EXPECT_EQ(KxcPixelConverter::getBufferConversionFunction(other, format), nullptr) << other;
            EXPECT_EQ(KxcPixelConverter::getBufferConversionFunction(format, other), nullptr) << other;
        }
    UINT32 source = 0x12345678, target = 1;
    EXPECT_EQ(KxcPixelConverter::convert(source, 7, 4), 0u);
    KxcPixelConverter::convertBuffer(&source, &target, 1, 7, 4);
    for (INT32 count : {0, -1, INT32_MIN})
    {
        KxcPixelConverter::convertBuffer(&source, &target, count, 4, 10);
        KxcPixelConverter::copyBuffer32(&source, &target, count);
    }
    EXPECT_EQ(target, 1u);
}

TEST(PixelConverter, TellsInItsTableWhereChannelsAre)
{
    for (INT32 format : reference::kFormats)
    {
        const KxcSurfaceFormatInfo& info = kxcSurfaceFormats[format];
        const reference::Layout& l = reference::layout(format);
        EXPECT_EQ(info.bytesPerPixel, reference::is16Bit(format) ? 2u : 4u);
        EXPECT_EQ(info.bits, l.bits.red | l.bits.green << 8 | l.bits.blue << 16 | l.bits.alpha << 24);
        EXPECT_EQ(info.shifts, l.shifts.red | l.shifts.green << 8 | l.shifts.blue << 16 | l.shifts.alpha << 24);
        EXPECT_EQ(info.redMask, reference::pack({(1u << l.bits.red) - 1, 0, 0, 0}, format));
        EXPECT_EQ(info.greenMask, reference::pack({0, (1u << l.bits.green) - 1, 0, 0}, format));
        EXPECT_EQ(info.blueMask, reference::pack({0, 0, (1u << l.bits.blue) - 1, 0}, format));
        EXPECT_EQ(info.alphaMask, reference::pack({0, 0, 0, (1u << l.bits.alpha) - 1}, format));
    }
}
