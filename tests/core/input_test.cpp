// input_test.cpp - keys, controls, the pointer and screen buttons, as the controller receives them.
#include "gl/device.h"
#include "support/engine.h"

#include <gtest/gtest.h>

namespace
{

struct LoggingInput : KxcInput
{
    std::string log;
    void onPointerDown(INT32 x, INT32 y) override { add("down", x, y); }
    void onPointerMove(INT32 x, INT32 y) override { add("move", x, y); }
    void onPointerUp(INT32 x, INT32 y) override { add("up", x, y); }
    void onKeyDown(INT32 code) override { add("key+", code); }
    void onKeyUp(INT32 code) override { add("key-", code); }
    void onControlDown(INT32 code) override { add("ctrl+", code); }
    void onControlUp(INT32 code) override { add("ctrl-", code); }

    void add(const char* what, INT32 code) { log += what + std::to_string(code) + " "; }
    void add(const char* what, INT32 x, INT32 y) { log += what + std::to_string(x) + "," + std::to_string(y) + " "; }
    std::string take()
    {
        std::string taken;
        taken.swap(log);
        return taken;
    }
};

/// A frame that is turned on the screen.
struct TurnedDevice : KxcGLDevice
{
    INT32 clear(INT32, KxcFixed, INT32) override { return 0; }
    void mapPointerPosition(INT32& x, INT32& y) override { std::swap(x, y); }
    void mapControlCode(INT32& control) override { control = control == KXCCTRL_LEFT ? KXCCTRL_UP : -1; }
    INT32 getFrameWidth() override { return 1; }
    INT32 getFrameHeight() override { return 1; }
    void present() override {}
    void fillRect(INT32, INT32, INT32, INT32, UINT32) override {}
    void onSurfaceLock() override {}
};

struct Input : testing::Test
{
    Input() { KxcCore::setController(&input); }
    Engine engine;
    LoggingInput input;
};

std::string mapping(UINT32 index)
{
    INT32 control, key;
    KxcCore::getControlMapping(index, control, key);
    return std::to_string(control) + "<" + std::to_string(key);
}

} // namespace

TEST_F(Input, KeysComeFirstAndThenEveryControlTheyAreMappedTo)
{
    embeddedKeyDown(13);
    embeddedKeyUp(13);
    embeddedKeyDown('Q');
    EXPECT_EQ(input.take(), "key+13 ctrl+504 key-13 ctrl-504 key+81 ");
    KxcCore::mapControlCode(KXCCTRL_BUTTON8, 13);
    embeddedKeyDown(13);
    embeddedControlDown(4711);
    embeddedControlUp(4711);
    EXPECT_EQ(input.take(), "key+13 ctrl+504 ctrl+511 ctrl+4711 ctrl-4711 ");
    KxcCore::setController(nullptr);
    embeddedKeyDown(13);
    EXPECT_EQ(input.take(), "");
}

TEST_F(Input, DefaultMappingsAreTheSeventeenPairsInOrder)
{
    const char* const pairs[] = {"501<39",    "500<37",    "503<40",    "502<38",    "504<13",    "505<32",
                                 "506<506",   "512<512",   "513<513",   "504<53254", "505<53255", "506<53253",
                                 "507<53250", "508<53252", "509<53249", "510<53251", "511<53256"};
    ASSERT_EQ(KxcCore::getControlMappingCount(), 17u);
    for (UINT32 i = 0; i < 17; ++i)
        EXPECT_EQ(mapping(i), pairs[i]);
    EXPECT_EQ(mapping(17), "-1<-1");
}

TEST_F(Input, MappingsAreNeverDoubledAndReuseTheLastFreeSlot)
{
    KxcCore::mapControlCode(KXCCTRL_LEFT, 37); // moves to the end of the free slots: its own
    EXPECT_EQ(KxcCore::getControlMappingCount(), 17u);
    EXPECT_EQ(mapping(1), "500<37");
    KxcCore::unmapControlCode(KXCCTRL_DOWN, 40);
    KxcCore::unmapControlCode(KXCCTRL_BUTTON1, 13);
    EXPECT_EQ(KxcCore::getControlMappingCount(), 17u);
    EXPECT_EQ(mapping(4), "-1<-1");
    KxcCore::mapControlCode(600, 1);
    EXPECT_EQ(mapping(4), "600<1");
    KxcCore::mapControlCode(601, 2);
    EXPECT_EQ(mapping(2), "601<2");
    for (INT32 i = 0; i < 100; ++i)
        KxcCore::mapControlCode(700 + i, i);
    EXPECT_EQ(KxcCore::getControlMappingCount(), 117u);
    EXPECT_EQ(mapping(116), "799<99");
    EXPECT_EQ(mapping(4), "600<1") << "growing keeps the pairs";
    KxcCore::resetControlMappings();
    EXPECT_EQ(KxcCore::getControlMappingCount(), 17u);
}

TEST_F(Input, HandlersMayChangeMappingsAndControllerWhileTheyRun)
{
    struct Meddler : LoggingInput
    {
        void onControlDown(INT32 code) override
        {
            LoggingInput::onControlDown(code);
            for (INT32 i = 0; i < 50; ++i)
                KxcCore::mapControlCode(900 + i, 1000 + i);
            if (code == 800)
                KxcCore::setController(nullptr);
        }
    } meddler;
    KxcCore::setController(&meddler);
    KxcCore::mapControlCode(800, 13);
    KxcCore::mapControlCode(801, 13);
    embeddedKeyDown(13);
    EXPECT_EQ(meddler.log, "key+13 ctrl+504 ctrl+800 ");
}

TEST_F(Input, ScreenButtonsPressReleaseAndHandOverBeforeThePointerIsDelivered)
{
    KxcCore::addScreenButton({10, 10, 10, 10}, 'A');
    KxcCore::addScreenButton({30, 10, 10, 10}, 'B');
    const struct
    {
        void (*event)(int, int);
        int x, y;
        const char* expected;
    } steps[] = {
        {embeddedPointerDown, 20, 20, "key+65 down20,20 "}, // the right and bottom edges belong to the button
        {embeddedPointerMove, 15, 15, "move15,15 "},
        {embeddedPointerMove, 30, 10, "key-65 key+66 move30,10 "},
        {embeddedPointerMove, 21, 10, "key-66 move21,10 "},
        {embeddedPointerUp, 21, 10, "up21,10 "},
        {embeddedPointerUp, 10, 10, "up10,10 "},
        {embeddedPointerMove, 10, 10, "key+65 move10,10 "},
        {embeddedPointerUp, 10, 10, "key-65 up10,10 "},
        {embeddedPointerDown, 10, 10, "key+65 down10,10 "},
        {embeddedPointerUp, 35, 15, "key-65 up35,15 "}, // released over another button: that one stays up
        {embeddedPointerDown, INT32_MAX, INT32_MIN, "down2147483647,-2147483648 "},
    };
    for (const auto& step : steps)
    {
        step.event(step.x, step.y);
        EXPECT_EQ(input.take(), step.expected);
    }
    KxcCore::addScreenButton({0, 0, 100, 100}, 13); // the newest wins, and its key is mapped
    embeddedPointerDown(15, 15);
    EXPECT_EQ(input.take(), "key+13 ctrl+504 down15,15 ");
    KxcCore::resetScreenButtons();
    embeddedPointerUp(15, 15);
    EXPECT_EQ(input.take(), "up15,15 ");
}

TEST_F(Input, ButtonsRemovedByAHandlerAreNotTouchedAgain)
{
    struct Remover : LoggingInput
    {
        void onKeyUp(INT32 code) override { LoggingInput::onKeyUp(code), KxcCore::resetScreenButtons(); }
    } remover;
    KxcCore::setController(&remover);
    KxcCore::addScreenButton({0, 0, 5, 5}, 1);
    KxcCore::addScreenButton({10, 0, 5, 5}, 2);
    embeddedPointerDown(2, 2);
    embeddedPointerMove(12, 2);
    embeddedPointerUp(12, 2);
    EXPECT_EQ(remover.log, "key+1 down2,2 key-1 move12,2 up12,2 ");
}

TEST_F(Input, GraphicsDeviceTurnsThePointerAndTheControls)
{
    TurnedDevice device;
    kxcCore->device = &device;
    KxcCore::addScreenButton({5, 0, 1, 1}, 37);
    embeddedPointerDown(0, 5);
    embeddedKeyUp(39);
    EXPECT_EQ(input.take(), "key+37 ctrl+502 down5,0 key-39 ");
    embeddedControlDown(500);
    EXPECT_EQ(input.take(), "ctrl+500 ") << "injected controls are not turned";
    kxcCore->device = nullptr;
}
