// desktop_test.cpp - whole desktop runs against a host that replays messages and keeps what it was shown.

#include "core/core_state.h"
#include "platform/platform.h"

#include <kxcoreemb/host.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{
const INT32 kWidth = 21, kHeight = 13; // odd, so that a screenshot's rows are padded
const UINT32 kNothingWaiting = 0;      // a message that the replay host answers 0 for: a frame follows
const UINT32 kQuitCode = 7;

struct Replay
{
    std::vector<KxcPlatformMessage> messages;
    size_t next = 0;
    bool opens = true, closed = false;
    INT32 width = 0, height = 0, visible = -1;
    std::string title;
    std::vector<UINT16> shown;
} replay;

const KxcPlatformHost kReplayHost = {
    "replay",
    [](INT32 width, INT32 height, const char* title, INT32 visible) -> INT32
    {
        replay.width = width;
        replay.height = height;
        replay.title = title;
        replay.visible = visible;
        return replay.opens;
    },
    [](KxcPlatformMessage* message) -> INT32
    {
        *message = replay.next < replay.messages.size() ? replay.messages[replay.next]
                                                        : KxcPlatformMessage{KXCMSG_QUIT, kQuitCode, 0};
        ++replay.next;
        return message->type != kNothingWaiting;
    },
    [](const UINT16* pixels)
    { replay.shown.assign(pixels, pixels + static_cast<size_t>(replay.width * replay.height)); },
    [] { replay.closed = true; },
    [](const char*, const char*, KxcPlatformIcon) {}};

std::string gameLog;

__attribute__((format(printf, 1, 2))) void note(const char* format, ...)
{
    char line[64];
    va_list values;
    va_start(values, format);
    std::vsnprintf(line, sizeof line, format, values);
    va_end(values);
    gameLog += line;
}

struct Input : KxcInput
{
    void onPointerDown(INT32 x, INT32 y) override { note("[%d,%d ", x, y); }
    void onPointerMove(INT32 x, INT32 y) override { note("-%d,%d ", x, y); }
    void onPointerUp(INT32 x, INT32 y) override { note("]%d,%d ", x, y); }
    void onKeyDown(INT32 code) override { note("+%d ", code); }
    void onKeyUp(INT32 code) override { note("-%d ", code); }
    void onControlDown(INT32 code) override { note("c+%d ", code); }
    void onControlUp(INT32 code) override { note("c-%d ", code); }
    void onCharEntered(char c) override { note("'%d ", static_cast<unsigned char>(c)); }
} input;

UINT16 framePixel(INT32 x, INT32 y) { return static_cast<UINT16>(x * 2081 + y * 4129); }

struct Renderer : KxcRenderer
{
    void render() override
    {
        for (INT32 i = 0; i < kxcCore->screenWidth * kxcCore->screenHeight; ++i)
            kxcCore->frameBuffer[i] = framePixel(i % kxcCore->screenWidth, i / kxcCore->screenWidth);
    }
    INT32 updateScreen(void*) override { return 1; }
} renderer;

bool stayOpen;

struct Game : KxcApp
{
    void onAppInit() override
    {
        KxcCore::setController(&input);
        KxcCore::setRenderer(&renderer);
    }
    void onTick() override { note("tick "); }
    void onAppDeinit() override { std::fprintf(stderr, "deinit after %s", gameLog.c_str()); }
    INT32 onDeviceStateEvent(INT32 event, INT32 param, void* data) override
    {
        note("event%d,%d,%d ", event, param, data != nullptr);
        return stayOpen ? 0 : KxcApp::onDeviceStateEvent(event, param, data);
    }
};

long initGame()
{
    new Game;
    return 0;
}

UINT32 at(INT32 x, INT32 y) { return static_cast<UINT16>(x) | UINT32(static_cast<UINT16>(y)) << 16; }

// Writes a PCX file of one plane with 256 colours whose pixels tell their position.
UINT16 skinPixel(INT32 x, INT32 y)
{
    UINT32 index = (x * 7 + y * 13) & 0xFF, red = index & 31, green = index >> 3, blue = (index + 9) & 31;
    return static_cast<UINT16>(red << 11 | green << 6 | blue);
}

void writeSkin(INT32 width, INT32 height)
{
    auto low = [](INT32 value) { return static_cast<char>(value & 0xFF); };
    auto high = [](INT32 value) { return static_cast<char>(value >> 8); };
    std::string file(128, '\0');
    const char start[] = {10, 5, 1, 8, 0, 0, 0, 0, low(width - 1), high(width - 1), low(height - 1), high(height - 1)};
    file.replace(0, sizeof start, start, sizeof start);
    file[65] = 1;
    file[66] = low(width);
    file[67] = high(width);
    for (INT32 y = 0; y < height; ++y)
        for (INT32 x = 0; x < width; ++x)
            (file += '\xC1') += low(x * 7 + y * 13); // runs of one
    file += '\x0C';
    for (INT32 i = 0; i < 256; ++i)
        ((file += low((i & 31) << 3)) += low(i >> 3 << 3)) += low(((i + 9) & 31) << 3);
    std::ofstream("kestrix_skin.pcx", std::ios::binary) << file;
}

std::string readFile(const char* name)
{
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class DesktopRun : public testing::Test
{
protected:
    void SetUp() override
    {
        char name[] = "/tmp/kxc_desktop_XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        m_directory = name;
        std::filesystem::current_path(m_directory);
        m_executable = "\\tmp\\" + m_directory.filename().string() + "\\game";
        kxcPlatformExecutablePathHook = m_executable.c_str();
        kxcPlatformHost = &kReplayHost;
        replay = Replay();
        gameLog.clear();
        stayOpen = false;
    }
    void TearDown() override
    {
        end();
        kxcPlatformHost = &kxcPlatformHeadless;
        kxcPlatformExecutablePathHook = nullptr;
        std::filesystem::current_path("/");
        std::filesystem::remove_all(m_directory);
    }
    static void end()
    {
        testing::internal::CaptureStderr();
        if (kxcCoreDesktopTearDown)
            kxcCoreDesktopTearDown();
        embeddedDeinit();
        testing::internal::GetCapturedStderr();
    }
    /// One run from the window's creation through the messages to a quit message; its result.
    static int run(std::vector<KxcPlatformMessage> messages, long (*init)(void) = initGame,
                   void (*prefs)(KxcAppPrefs&) = nullptr)
    {
        replay.messages = std::move(messages);
        char commandLine[] = "level=3";
        return realWinMain(kWidth, kHeight, nullptr, 1, init, prefs, commandLine);
    }

private:
    std::filesystem::path m_directory;
    std::string m_executable;
};
} // namespace

TEST_F(DesktopRun, OpensAWindowAsLargeAsThePreferencesSayAndRunsOneFrameForEachRepaint)
{
    int result =
        run({{KXCMSG_CREATE, 0, 0}, {kNothingWaiting, 0, 0}, {KXCMSG_PAINT, 0, 0}, {kNothingWaiting, 0, 0}}, initGame,
            [](KxcAppPrefs& prefs)
            {
                prefs.screenWidth += 10;
                prefs.screenHeight = 40;
                prefs.title = "A game";
            });
    EXPECT_EQ(result, static_cast<int>(kQuitCode));
    EXPECT_EQ(replay.width, kWidth + 10 + 40);
    EXPECT_EQ(replay.height, 80);
    EXPECT_EQ(replay.title, "A game");
    EXPECT_EQ(gameLog, "tick tick tick ");
    EXPECT_STREQ(KxcCore::getCommandlineString(), "level=3");
    end();
    EXPECT_TRUE(replay.closed);
}

TEST_F(DesktopRun, RunsOnWithoutAPictureOrAnApplication)
{
    EXPECT_EQ(run({{kNothingWaiting, 0, 0}}), static_cast<int>(kQuitCode)); // never told that the window exists
    EXPECT_EQ(gameLog, "tick ");
    EXPECT_TRUE(replay.shown.empty());
    EXPECT_EQ(replay.title, "Kestrix/Windows");
    end();
    replay = Replay();
    EXPECT_EQ(run({{KXCMSG_CREATE, 0, 0},
                   {KXCMSG_ACTIVATE, 1, 0},
                   {KXCMSG_KEYDOWN, 65, 0},
                   {KXCMSG_CHAR, 65, 0},
                   {KXCMSG_LBUTTONDOWN, 1, at(21, 21)},
                   {kNothingWaiting, 0, 0}},
                  [] { return 0L; }),
              static_cast<int>(kQuitCode));
    EXPECT_FALSE(replay.shown.empty());
}

TEST_F(DesktopRun, ReturnsZeroAndKeepsTheGameWhenNoWindowOpens)
{
    replay.opens = false;
    EXPECT_EQ(run({}), 0);
    EXPECT_EQ(replay.next, 0u);
    EXPECT_TRUE(replay.closed);
    EXPECT_NE(KxcCore::getApp(), nullptr);
}

TEST_F(DesktopRun, DeliversKeysCharactersButtonsAndTheWheel)
{
    const struct
    {
        KxcPlatformMessage message;
        const char* log;
    } kCases[] = {
        {{KXCMSG_KEYDOWN, 13, 0}, "+13 c+504 "},
        {{KXCMSG_KEYUP, 13, 0}, "-13 c-504 "},
        {{KXCMSG_KEYDOWN, 65, 0}, "+65 "},
        {{KXCMSG_CHAR, 0xE9, 0}, "'233 "},
        {{KXCMSG_MBUTTONDOWN, 0, 0}, "+506 c+506 "},
        {{KXCMSG_MBUTTONUP, 0, 0}, "-506 c-506 "},
        {{KXCMSG_MOUSEWHEEL, 120u << 16, 0}, "+513 c+513 -513 c-513 "},
        {{KXCMSG_MOUSEWHEEL, 0xFF880000u, 0}, "+512 c+512 -512 c-512 "},
        {{KXCMSG_MOUSEWHEEL, 0x00000001u, 0}, "+512 c+512 -512 c-512 "}, // no turn, only a key held with it
        {{KXCMSG_ACTIVATE, 0, 0}, "event1,1,0 "},
        {{KXCMSG_ACTIVATE, 0x00010000u, 0}, "event1,1,0 "}, // the high word tells that it is minimised
        {{KXCMSG_ACTIVATE, 1, 0}, "event2,0,0 "},
        {{KXCMSG_ACTIVATE, 2, 0}, "event2,0,0 "},
        {{0x0204, 0, at(21, 21)}, ""}, // the right mouse button
    };
    std::vector<KxcPlatformMessage> messages;
    std::string log;
    for (const auto& one : kCases)
    {
        messages.push_back(one.message);
        log += one.log;
    }
    run(messages);
    EXPECT_EQ(gameLog, log);
}

TEST_F(DesktopRun, DeliversThePointerInsideTheScreenAndMovesOnlyWhileTheButtonIsHeld)
{
    for (bool skin : {false, true})
    {
        if (skin)
            writeSkin(kWidth + 40 + 7, kHeight + 40 + 1); // odd rests: the screen sits to the left and above
        INT32 ox = skin ? 23 : 20, oy = 20;
        std::vector<KxcPlatformMessage> messages;
        std::string log;
        for (INT32 y : {-oy - 1, -1, 0, kHeight - 1, kHeight, 32700})
            for (INT32 x : {-ox - 1, -1, 0, kWidth - 1, kWidth, 32700})
            {
                bool inside = x >= 0 && x < kWidth && y >= 0 && y < kHeight;
                std::string place = std::to_string(x) + "," + std::to_string(y) + " ";
                messages.push_back({KXCMSG_LBUTTONDOWN, KXCMSG_LEFTHELD, at(x + ox, y + oy)});
                messages.push_back({KXCMSG_MOUSEMOVE, KXCMSG_LEFTHELD, at(x + ox, y + oy)});
                messages.push_back({KXCMSG_LBUTTONUP, 0, at(x + ox, y + oy)});
                messages.push_back({KXCMSG_MOUSEMOVE, 0, at(x + ox, y + oy)});
                if (inside)
                    log += "[" + place + "-" + place + "]" + place;
            }
        gameLog.clear();
        replay = Replay();
        run(messages);
        EXPECT_EQ(gameLog, log);
        end();
    }
}

// The grey texture, on plain numbers.
static std::vector<UINT16> modelTexture(int width, int height)
{
    std::srand(1);
    std::vector<int> v(static_cast<size_t>(width * height));
    for (int& value : v)
        value = std::rand() % 32;
    for (int pass = 0; pass < 4; ++pass)
        for (size_t i = 2; i < v.size(); ++i)
            v[i - 1] = (v[i - 1] + v[i - 2]) / 2;
    size_t step = static_cast<size_t>(width) + 1;
    for (size_t i = step; i < v.size(); ++i)
        v[i - step] = (v[i - step] - v[i]) / 2 + 15;
    std::vector<UINT16> pixels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            int value = v[pixels.size()];
            if (x < 18 || y < 18 || x > width - 19 || y > height - 19)
                value += 8;
            pixels.push_back(static_cast<UINT16>((value * 2048) | (value * 64) | value));
        }
    return pixels;
}

TEST_F(DesktopRun, ShowsTheFrameInsideASkinThatIsLargeEnoughElseInsideAGreyTexture)
{
    const struct
    {
        INT32 skinWidth, skinHeight; // beyond the screen's size; 0 for no skin
        bool used;
    } kCases[] = {{0, 0, false},   {40, 40, true}, {39, 40, false}, {40, 39, false},
                  {39, 39, false}, {57, 40, true}, {40, 101, true}, {300, 55, true}};
    for (const auto& one : kCases)
    {
        SCOPED_TRACE(testing::Message() << one.skinWidth << " x " << one.skinHeight);
        if (one.skinWidth)
            writeSkin(kWidth + one.skinWidth, kHeight + one.skinHeight);
        const INT32 width = kWidth + (one.used ? one.skinWidth : 40),
                    height = kHeight + (one.used ? one.skinHeight : 40);
        const INT32 ox = (width - kWidth) / 2, oy = (height - kHeight) / 2;
        replay = Replay();
        std::srand(1);
        run({{KXCMSG_CREATE, 0, 0}, {kNothingWaiting, 0, 0}});
        ASSERT_EQ(replay.width, width);
        ASSERT_EQ(replay.height, height);
        std::vector<UINT16> wanted = modelTexture(width, height);
        for (INT32 y = 0, i = 0; y < height; ++y)
            for (INT32 x = 0; x < width; ++x, ++i)
            {
                if (one.used)
                    wanted[static_cast<size_t>(i)] = skinPixel(x, y);
                if (x >= ox && x < ox + kWidth && y >= oy && y < oy + kHeight)
                    wanted[static_cast<size_t>(i)] = framePixel(x - ox, y - oy);
            }
        ASSERT_EQ(replay.shown, wanted);
        end();
    }
}

TEST_F(DesktopRun, FallsBackToTheTextureWhenTheSkinCannotBeReadToItsEnd)
{
    writeSkin(kWidth + 60, kHeight + 60);
    std::filesystem::resize_file("kestrix_skin.pcx", 3000);
    std::srand(1);
    run({{KXCMSG_CREATE, 0, 0}, {kNothingWaiting, 0, 0}});
    std::vector<UINT16> texture = modelTexture(replay.width, replay.height);
    ASSERT_EQ(replay.shown.size(), texture.size());
    EXPECT_TRUE(std::equal(texture.begin(), texture.begin() + replay.width * 20, replay.shown.begin()));
}

TEST_F(DesktopRun, SavesTheScreenUnderTheNextFreeNumberWhenF12IsReleased)
{
    const KxcPlatformMessage press = {KXCMSG_KEYDOWN, 123, 0}, release = {KXCMSG_KEYUP, 123, 0};
    std::ofstream("SS0002.BMP") << "kept"; // a name that differs only in case is taken as well
    run({{KXCMSG_CREATE, 0, 0}, {kNothingWaiting, 0, 0}, press, release, press, release});
    EXPECT_EQ(gameLog, "tick +123 -123 +123 -123 ");
    EXPECT_EQ(readFile("SS0002.BMP"), "kept");

    std::string wanted("BM\x76\x03\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\x15\0\0\0\x0D\0\0\0\x01\0\x18\0\0\0\0\0\0\0\0\0"
                       "\x12\x0B\0\0\x12\x0B\0\0\0\0\0\0\0\0\0\0",
                       54); // 886 bytes in all, pixels from 54 on, 21 x 13, 24 bits, 2834 dots per metre
    for (INT32 y = kHeight - 1; y >= 0; --y)
    {
        for (INT32 x = 0; x < kWidth; ++x)
        {
            UINT32 p = framePixel(x, y);
            wanted +=
                {static_cast<char>(p % 32 * 8), static_cast<char>(p / 32 % 64 * 4), static_cast<char>(p / 2048 * 8)};
        }
        wanted += '\0'; // 63 bytes make 64
    }
    EXPECT_EQ(readFile("ss0001.bmp"), wanted);
    EXPECT_EQ(readFile("ss0003.bmp"), wanted);

    end(); // the numbers go on, also when the files are gone
    std::filesystem::remove("ss0001.bmp");
    replay = Replay();
    run({release});
    EXPECT_FALSE(std::filesystem::exists("ss0001.bmp"));
    EXPECT_TRUE(std::filesystem::exists("ss0004.bmp"));
}

TEST_F(DesktopRun, LeavesClosingToTheApplication)
{
    stayOpen = true;
    EXPECT_EQ(run({{KXCMSG_CLOSE, 0, 0}, {kNothingWaiting, 0, 0}}), static_cast<int>(kQuitCode));
    EXPECT_EQ(gameLog, "event4,2,0 tick ");
}

using DesktopRunDeathTest = DesktopRun;

TEST_F(DesktopRunDeathTest, EndsTheProcessInOrderWhenTheWindowIsClosedOrGone)
{
    const auto kOrderly = testing::ExitedWithCode(0);
    EXPECT_EXIT(run({{KXCMSG_CREATE, 0, 0}, {KXCMSG_CLOSE, 0, 0}}), kOrderly, "deinit after event4,2,0 $");
    EXPECT_EXIT(run({{KXCMSG_CREATE, 0, 0}, {KXCMSG_DESTROY, 0, 0}}), kOrderly, "deinit after $");
    EXPECT_EXIT(run({{KXCMSG_CLOSE, 0, 0}}, [] { return 0L; }), kOrderly, "^$");
}

TEST(Headless, OpensNoWindowAndPrintsMessageBoxes)
{
    testing::internal::CaptureStderr();
    kxcPlatformMessageBox("The disk is full.", "A game", KXCICON_STOP);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "A game: The disk is full.\n");

    static std::string heard;
    kxcPlatformMessageBoxHook = [](const char* text, const char* caption, KxcPlatformIcon icon)
    { heard = std::string(text) + caption + std::to_string(icon); };
    kxcPlatformMessageBox("a", "b", KXCICON_EXCLAMATION);
    kxcPlatformMessageBoxHook = nullptr;
    EXPECT_EQ(heard, "ab1");

    testing::internal::CaptureStderr();
    EXPECT_EQ(kxcPlatformHeadless.open(320, 240, "A game", 1), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("A game"), std::string::npos);
    KxcPlatformMessage message;
    EXPECT_EQ(kxcPlatformHeadless.nextMessage(&message), 0);
    kxcPlatformHeadless.close();
}
