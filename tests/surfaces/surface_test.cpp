// surface_test.cpp - making surfaces, opening their pixels, and what runs out, refuses or belongs to a device.

#include "core/core_state.h"
#include "gl/device.h"
#include "surfaces/surface_descriptor.h"

#include "support/failing_new.h"
#include "support/pixel_reference.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace
{

using Surface = std::unique_ptr<KxcGLSurface>;
Surface make(INT32 width, INT32 height, INT32 format) { return Surface(KxcGLSurface::create(width, height, format)); }

/// Notes what it is asked to do.
struct FakeDevice : KxcGLDevice
{
    std::string calls;
    INT32 clear(INT32 color, KxcFixed, INT32) override { return calls += "clear " + std::to_string(color) + ";", 0; }
    void fillRect(INT32 x, INT32 y, INT32 width, INT32 height, UINT32 color) override
    {
        for (INT64 value : {INT64{x}, INT64{y}, INT64{width}, INT64{height}, INT64{color}})
            calls += std::to_string(value) + " ";
        calls += ";";
    }
    void onSurfaceLock() override { calls += "lock;"; }
};

} // namespace

TEST(Surface, IsMadeInEveryFormatAndRefusesSizesThatNoStoreHolds)
{
    for (INT32 format = 0; format < KXCSURFACEFORMAT_COUNT; ++format)
    {
        const Surface surface = make(7, 5, format);
        ASSERT_TRUE(surface) << format;
        EXPECT_EQ(surface->getWidth(), 7);
        EXPECT_EQ(surface->getHeight(), 5);
        EXPECT_EQ(surface->getFormat(), format ? format : INT32{KXCSURFACEFORMAT_55X5});
        EXPECT_EQ(surface->getColorKey(), 0);
        void* pixels = nullptr;
        EXPECT_EQ(surface->lock(&pixels, 0, 0), format == 7 ? 7 : format == 0 || reference::is16Bit(format) ? 14 : 28);
        memset(pixels, 0xAA, format == 7 ? 512 + 35 : format == 0 || reference::is16Bit(format) ? 70 : 140);
    }
    for (INT32 size : {INT32_MIN, -1, 0})
        EXPECT_FALSE(make(size, 5, 8) || make(5, size, 8));
    EXPECT_FALSE(make(INT32_MAX, INT32_MAX, 8) || make(65536, 65536, 7) || make(INT32_MAX, 1, 2));
    EXPECT_FALSE(make(5, 5, -1) || make(5, 5, 11) || make(5, 5, INT32_MAX));
    const Surface surface = make(1, 1, 8);
    surface->setColorKey(0xFF00FF);
    EXPECT_EQ(surface->getColorKey(), 0xFF00FF);
}

TEST(Surface, LeaksNothingWhenMemoryRunsOut)
{
    for (INT32 successes = 0; successes < 3; ++successes)
    {
        failAllocationAfter(successes);
        EXPECT_FALSE(make(8, 8, 8)) << "after " << successes;
    }
    failAllocationAfter(3);
    const Surface surface = make(8, 8, 8);
    ASSERT_TRUE(surface);
    failAllocationAfter(0);
    void* pixels = &pixels;
    EXPECT_EQ(surface->lock(&pixels, 4, 0), 0);
    EXPECT_EQ(pixels, nullptr);
    EXPECT_EQ(surface->lock(&pixels, 4, 0), 32) << "a refused lock leaves the surface unlocked";
    UINT16 store[4];
    failAllocationAfter(1);
    EXPECT_EQ(KxcGLSurfaceDescriptor::createSurface(2, 2, 8, store, 0), nullptr);
    failAllocationAfter(-1);
}

TEST(Surface, LocksOnceInAnyFormatAndWritesTheCopyBack)
{
    reference::Noise noise;
    for (INT32 own : reference::kFormats)
        for (INT32 foreign : reference::kFormats)
            for (INT32 flags : {0, INT32{KXCLOCK_READONLY}})
            {
                const Surface surface = make(5, 3, own);
                std::vector<UINT32> old(15);
                void *pixels = nullptr, *again = &again;
                const auto at = [&pixels](INT32 format, size_t i) {
                    return reference::is16Bit(format) ? static_cast<UINT16*>(pixels)[i]
                                                      : static_cast<UINT32*>(pixels)[i];
                };
                const auto put = [&pixels](INT32 format, size_t i, UINT32 pixel)
                {
                    if (reference::is16Bit(format))
                        static_cast<UINT16*>(pixels)[i] = static_cast<UINT16>(pixel);
                    else
                        static_cast<UINT32*>(pixels)[i] = pixel;
                };
                surface->lock(&pixels, own, 0);
                for (size_t i = 0; i < old.size(); ++i)
                    put(own, i, old[i] = noise.pixel(own));
                surface->unlock();
                ASSERT_EQ(surface->lock(&pixels, foreign, flags), reference::is16Bit(foreign) ? 10 : 20);
                EXPECT_EQ(surface->lock(&again, foreign, flags), 0);
                EXPECT_EQ(again, nullptr);
                std::vector<UINT32> written(15);
                for (size_t i = 0; i < old.size(); ++i)
                {
                    ASSERT_EQ(at(foreign, i), reference::convert(old[i], own, foreign)) << own << " as " << foreign;
                    put(foreign, i, written[i] = noise.pixel(foreign));
                }
                surface->unlock();
                surface->unlock(); // has nothing left to do
                surface->lock(&pixels, 0, 0);
                for (size_t i = 0; i < old.size(); ++i)
                    ASSERT_EQ(at(own, i),
                              flags && own != foreign ? old[i] : reference::convert(written[i], foreign, own));
            }
}

TEST(Surface, OpensPalettesOnlyAsTheyAreAndRefusesWhatItsFlagsRefuse)
{
    void* pixels = nullptr;
    const Surface paletted = make(4, 4, 7), plain = make(4, 4, 8);
    EXPECT_EQ(paletted->lock(nullptr, 0, 0), 0);
    EXPECT_EQ(paletted->lock(&pixels, 4, 0), 0);
    EXPECT_EQ(paletted->lock(&pixels, 7, 0), 4);
    for (INT32 format : {7, -1, 11, INT32_MAX})
        EXPECT_EQ(plain->lock(&pixels, format, 0), 0) << format;
    KxcGLSurfaceDescriptor& descriptor = *KxcGLSurfaceDescriptor::of(plain.get());
    descriptor.flags = KXCSURFACEFLAG_LOCKREFUSED;
    EXPECT_EQ(plain->lock(&pixels, 0, 0), 0);
    descriptor.flags = 0;
    plain->lock(&pixels, 4, KXCLOCK_READONLY); // freed with the surface, still locked
    EXPECT_EQ(descriptor.flags, UINT32{KXCSURFACEFLAG_READONLY});
    plain->unlock();
    EXPECT_EQ(descriptor.flags, 0u);
    EXPECT_EQ(descriptor.lockFormat, -1);
}

TEST(Surface, LeavesTheFramesPixelsToTheDeviceThatDrawsThem)
{
    UINT16 store[16] = {};
    const Surface frame(KxcGLSurfaceDescriptor::createSurface(4, 4, 8, store, KXCSURFACEFLAG_DEVICE));
    const Surface source(KxcGLSurfaceDescriptor::createSurface(4, 4, 8, store, KXCSURFACEFLAG_DEVICESOURCE));
    const Surface target = make(4, 4, 8);
    frame->clear(0xFFFFFFFF); // without a core it is a surface like any other
    EXPECT_EQ(store[15], 0xFFDF);

    FakeDevice device;
    KxcCoreState core{};
    core.device = &device;
    kxcCore = &core;
    frame->clear(0x80123456);
    frame->drawFilledRect(-1, 2, 300, 4, 0x40010203);
    EXPECT_EQ(device.calls, "clear " + std::to_string(static_cast<INT32>(0x80123456)) + ";-1 2 300 4 1073807875 ;");
    EXPECT_EQ(store[15], 0xFFDF);
    void* pixels = nullptr;
    device.calls.clear();
    frame->lock(&pixels, 0, 0);
    EXPECT_EQ(pixels, store);
    frame->unlock();
    target->drawImage(source.get());
    target->drawImage(source.get(), 4, 0); // beside the target: nothing is read
    EXPECT_EQ(device.calls, "lock;lock;");
    core.device = nullptr;
    frame->clear(0);
    kxcCore = nullptr;
    EXPECT_EQ(store[15], 0);
}
