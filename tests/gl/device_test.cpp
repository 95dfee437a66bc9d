// device_test.cpp - choosing a device, its orientation on the screen, and what it draws into.
#include "gl/device.h"
#include "support/engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace
{

/// A variant of any priority, which may fail in several ways.
struct Variant : KxcGLDeviceFactory
{
    Variant(const char* n, INT32 p) : name(n), priority(p) {}
    struct Device : KxcGLDevice
    {
        explicit Device(bool w) : works(w) {}
        INT32 initialize() override { return works ? KxcGLDevice::initialize() : 0; }
        bool works;
    };
    KxcGLDevice* createDevice(UINT32) override { return makes ? new Device(works) : nullptr; }
    INT32 fillDeviceInfo(KxcGLDeviceInfo* info) override
    {
        info->name = name;
        info->priority = priority;
        return name != nullptr;
    }
    const char* name;
    INT32 priority;
    bool makes = true, works = true;
};

struct Blank : KxcRenderer
{
};

std::string created(UINT32 id)
{
    const std::unique_ptr<KxcGL> gl(KxcGL::create(id, 0));
    return !gl ? "none" : KxcGL::getCurrentDeviceInfo() ? KxcGL::getCurrentDeviceInfo()->name : "unnamed";
}

UINT16* frame() { return reinterpret_cast<UINT16*>(embeddedFrame()); }

} // namespace

TEST(Device, IsChosenByPriorityOrById)
{
    Engine engine;
    EXPECT_STREQ(KxcGL::getDeviceInfo()->name, "Stub");
    EXPECT_EQ(KxcGL::getDeviceInfo()->deviceId, 100u);
    EXPECT_EQ(created(0), "Stub");
    Variant *newer = new Variant("newer", 0), *best = new Variant("best", 1), *poor = new Variant("poor", -1),
            *hidden = new Variant(nullptr, 9);
    KxcGLDeviceFactory::registerFactory(newer);
    EXPECT_EQ(created(0), "newer") << "of equal priorities the newest";
    for (Variant* variant : {best, poor, hidden})
        KxcGLDeviceFactory::registerFactory(variant);
    EXPECT_EQ(created(0), "best");
    EXPECT_EQ(created(1), "newer");
    EXPECT_EQ(created(100), "Stub");
    EXPECT_EQ(created(103), "poor");
    EXPECT_EQ(created(104), "unnamed");
    EXPECT_EQ(created(105), "none");
    EXPECT_EQ(KxcGL::getCurrentDeviceInfo(), nullptr);
    best->works = false;
    newer->makes = false;
    EXPECT_EQ(created(0), "none");
    EXPECT_EQ(created(1), "none");

    KxcGL* gl = KxcGL::create(100, 0);
    EXPECT_EQ(KxcGL::create(0, 0), nullptr) << "one at a time";
    EXPECT_EQ(gl->recreate(0, 0), 0);
    EXPECT_EQ(kxcCore->device, nullptr);
    EXPECT_EQ(gl->recreate(100, 0), 1);
    EXPECT_NE(gl->getSecondary(), nullptr);
    embeddedDeinit();
    delete gl; // after the core: its device is gone already
}

TEST(Device, PresentsItsFrameInEveryOrientationAndMapsInputBack)
{
    const struct
    {
        UINT32 flags;
        bool turned;
        INT32 first, second, nextRow; // screen index of frame pixels (0, 0), (1, 0) and (0, 1)
        INT32 x, y;                   // where the frame has screen position (1, 2)
        INT32 left;                   // what "left" becomes
    } cases[] = {
        {0, false, 0, 1, 6, 1, 2, KXCCTRL_LEFT},
        {KXCGLCREATE_LANDSCAPE, false, 0, 1, 6, 1, 2, KXCCTRL_LEFT},
        {KXCGLCREATE_PORTRAIT, true, 18, 12, 19, 4 - 2, 1, KXCCTRL_UP},
        {KXCGLCREATE_UPSIDEDOWN, false, 23, 22, 17, 6 - 1, 4 - 2, KXCCTRL_RIGHT},
        {KXCGLCREATE_PORTRAIT | KXCGLCREATE_UPSIDEDOWN, true, 5, 11, 4, 2, 6 - 1, KXCCTRL_DOWN},
        {KXCGLCREATE_UPSIDEDOWN | KXCGLCREATE_RAWPOINTER, false, 23, 22, 17, 1, 2, KXCCTRL_RIGHT},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << std::hex << c.flags);
        Engine engine(6, 4);
        Blank renderer;
        KxcCore::setRenderer(&renderer);
        const std::unique_ptr<KxcGL> gl(KxcGL::create(0, c.flags));
        EXPECT_EQ(KxcCore::getDeviceWidth(), c.turned ? 4 : 6);
        EXPECT_EQ(KxcCore::getDeviceHeight(), c.turned ? 6 : 4);
        void* pixels;
        gl->getSecondary()->lock(&pixels, 0, 0);
        for (UINT16 i = 0; i < 24; ++i)
            static_cast<UINT16*>(pixels)[i] = UINT16(i << 6);
        gl->getSecondary()->unlock();
        const UINT16* screen = frame();
        EXPECT_EQ(screen[c.first], 0);
        EXPECT_EQ(screen[c.second], 1 << 6);
        EXPECT_EQ(screen[c.nextRow], (c.turned ? 4 : 6) << 6);
        std::vector<UINT16> all(screen, screen + 24);
        std::sort(all.begin(), all.end());
        for (UINT16 i = 0; i < 24; ++i)
            EXPECT_EQ(all[i], i << 6) << "each pixel once";
        INT32 x = 1, y = 2, control = KXCCTRL_LEFT, other = KXCCTRL_BUTTON1;
        kxcCore->device->mapPointerPosition(x, y);
        kxcCore->device->mapControlCode(control);
        kxcCore->device->mapControlCode(other);
        EXPECT_EQ(x, c.x);
        EXPECT_EQ(y, c.y);
        EXPECT_EQ(control, c.left);
        EXPECT_EQ(other, KXCCTRL_BUTTON1);
    }
}

TEST(Device, DrawsIntoItsBackBufferOrAnotherSuitableSurface)
{
    Engine engine(6, 4);
    Blank renderer;
    KxcCore::setRenderer(&renderer);
    const std::unique_ptr<KxcGL> gl(KxcGL::create(0, 0));
    gl->clear(0xFFFFFF, KxcFixed(0), 0);
    EXPECT_EQ(frame()[23], 0xFFFF) << "clearing keeps six bits of green";
    gl->getSecondary()->clear(0xFF00FF00);
    gl->getSecondary()->drawFilledRect(1, 0, 1, 1, 0xFFFF0000);
    EXPECT_EQ(frame()[0], 0x07E0) << "the back buffer is cleared by its device";
    EXPECT_EQ(frame()[1], 0xF800);
    EXPECT_EQ(frame()[2], 0x07E0);

    const std::unique_ptr<KxcGLSurface> odd(KxcGLSurface::create(3, 2, 0)), other(KxcGLSurface::create(2, 2, 0)),
        foreign(KxcGLSurface::create(2, 2, KXCSURFACEFORMAT_565));
    EXPECT_EQ(gl->setRenderTarget(odd.get()), 0);
    EXPECT_EQ(gl->setRenderTarget(foreign.get()), 0);
    KxcGLSurface* back = gl->getSecondary();
    EXPECT_EQ(gl->setRenderTarget(other.get()), 1);
    EXPECT_EQ(gl->getSecondary(), other.get());
    EXPECT_EQ(KxcCore::getDeviceWidth(), 2);
    gl->clear(0xFF, KxcFixed(0), 0);
    back->clear(0xFF000000); // draws on itself, not on the render target
    EXPECT_EQ(frame()[5], 0);
    void* pixels;
    other->lock(&pixels, 0, 0);
    EXPECT_EQ(static_cast<UINT16*>(pixels)[3], 0x1F);
    other->unlock();
    EXPECT_EQ(gl->setRenderTarget(nullptr), 1);
    EXPECT_EQ(gl->getSecondary(), back);

    unsigned char bytes[2], *first = nullptr, *second = nullptr;
    EXPECT_EQ(gl->getPalette(&first, nullptr), -2);
    EXPECT_EQ(gl->setPalette(&bytes[0], nullptr), 0);
    EXPECT_EQ(gl->getPalette(&first, nullptr), 0);
    EXPECT_EQ(first, bytes);
    EXPECT_EQ(gl->getPalette(&first, &second), -2);
}
