// main.cpp - runs the showcase in a window, or without a display through the embedding functions.
#include "game.h"
#include "picture_file.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{

constexpr INT32 kWidth = 480, kHeight = 320;
constexpr INT32 kHeadlessStepMs = 16;

constexpr char kUsage[] =
    "usage: showcase [--device NAME] [--headless [--frames N] [--out FOLDER]]\n"
    "\n"
    "Arrow keys, the pointer or the buttons on the screen fly the glider; Return throws back what\n"
    "it caught. V changes between landscape and map, P switches perspective correction, W draws\n"
    "wires, N takes the next graphics device, O turns the frame, M stops the music, B opens a\n"
    "workshop for pictures; Tab opens a menu of these. F12 saves a picture; Escape ends.\n"
    "  --device NAME  a graphics device: ReferenceARM, DefaultFSAA, DefaultUpsample,\n"
    "                 DefaultProfiler, ZBuffer\n"
    "  --headless    run without a display: play by itself, write some frames as PNG files\n"
    "  --frames N    how many frames (300)\n"
    "  --out FOLDER  where the PNG files go (the current folder)\n";

INT32 g_fixedStepMs; // see Game
std::string g_device = "ReferenceARM";
Game* g_game;

long makeGame()
{
    kxcUseGLDefaultFSAA();
    kxcUseGLDefaultUpsample();
    kxcUseGLDefaultProfiler();
    kxcUseGLZBuffer();
    kxcUseDefaults();
    kxcUse2DVectorGraphics();
    g_game = new Game(g_fixedStepMs, g_device.c_str());
    return g_game->ready() || g_fixedStepMs > 0 ? 0 : 1; // runHeadless() looks itself, for the exit code
}

void setPreferences(KxcAppPrefs& prefs)
{
    prefs.title = "kxcoreemb showcase";
    prefs.resourceMemoryLimit = 1 << 20; // for the textures
}

/// What the headless player does, frame by frame of a round of 300.
struct Action
{
    INT32 frame;
    void (*act)();
};
constexpr Action kActions[] = {
    {10, [] { embeddedKeyDown(39); }}, // the right arrow key
    {80, [] { embeddedKeyUp(39); }},
    {90, [] { embeddedPointerDown(66, 214); }}, // the screen button "up"
    {100, [] { embeddedKeyDown('B'); }},        // the workshop
    {110, [] { embeddedKeyDown('B'); }},
    {150, [] { embeddedPointerUp(66, 214); }},
    {160, [] { embeddedPointerDown(60, 60); }}, // fly to a place
    {161, [] { embeddedPointerUp(60, 60); }},
    {165, [] { embeddedKeyDown(9); }}, // the menu
    {168, [] { embeddedControlDown(KXCCTRL_DOWN); }},
    {169, [] { embeddedControlUp(KXCCTRL_DOWN); }},
    {195, [] { embeddedKeyDown(9); }},
    {200, [] { embeddedKeyDown('V'); }}, // the map from above
    {240, [] { embeddedKeyDown(13); }},  // Return
    {241, [] { embeddedKeyUp(13); }},
    {250, [] { embeddedControlDown(KXCCTRL_DOWN); }},
    {290, [] { embeddedControlUp(KXCCTRL_DOWN); }},
    {295, [] { embeddedKeyDown('V'); }},
};

/// Whether a frame shows something: more than a few different colours.
bool looksAlive(const short* frame)
{
    bool seen[0x10000] = {};
    int colors = 0;
    for (INT32 i = 0; i < kWidth * kHeight; ++i)
    {
        bool& known = seen[static_cast<UINT16>(frame[i])];
        colors += !known;
        known = true;
    }
    return colors > 50;
}

int runHeadless(INT32 frames, const std::string& folder)
{
    g_fixedStepMs = kHeadlessStepMs;
    embeddedInit(kWidth, kHeight, makeGame, setPreferences, nullptr);
    if (!g_game->ready())
        return embeddedDeinit(), 1;
    const KxcFixed startX = g_game->world().heroX(), startY = g_game->world().heroY();

    bool good = true;
    double seconds = 0;
    for (INT32 i = 0; i < frames; ++i)
    {
        for (const Action& action : kActions)
            if (action.frame == i % 300)
                action.act();
        const auto start = std::chrono::steady_clock::now();
        const short* frame = embeddedFrame();
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (i % 100 == 70 || i % 300 == 105 || i == frames - 1)
        {
            char name[32];
            std::snprintf(name, sizeof(name), "/showcase%04d.png", i);
            const std::string path = folder + name;
            good = looksAlive(frame) && kxcWriteFrame(path.c_str(), kWidth, kHeight, frame) && good;
            std::printf("%s\n", path.c_str());
        }
    }
    const World& world = g_game->world();
    const bool heard = frames <= 60 || g_game->sound().loudest() > 1000;
    const bool moved = frames <= 20 || world.heroX() != startX || world.heroY() != startY;
    std::printf("%d frames of %d x %d, %.0f frames per second, %d caught\n", frames, kWidth, kHeight,
                seconds > 0 ? frames / seconds : 0, world.score());
    embeddedDeinit();
    if (!good || !moved || !heard)
        std::fprintf(stderr, "showcase: %s\n",
                     !good    ? "a frame is empty or was not written"
                     : !moved ? "the glider did not move"
                              : "nothing was to be heard");
    return good && moved && heard ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    bool headless = false;
    INT32 frames = 300;
    std::string folder = ".";
    for (int i = 1; i < argc; ++i)
    {
        const std::string argument = argv[i];
        if (argument == "--help" || argument == "-h")
            return std::fputs(kUsage, stdout), 0;
        if (argument == "--headless")
            headless = true;
        else if (argument == "--device" && i + 1 < argc)
            g_device = argv[++i];
        else if (argument == "--frames" && i + 1 < argc && std::atoi(argv[i + 1]) > 0)
            frames = std::atoi(argv[++i]);
        else if (argument == "--out" && i + 1 < argc)
            folder = argv[++i];
        else
            return std::fputs(kUsage, stderr), 2;
    }
    if (headless)
        return runHeadless(frames, folder);
    const int result = realWinMain(kWidth, kHeight, nullptr, 1, makeGame, setPreferences, nullptr);
    std::fprintf(stderr, "showcase: no window; try --headless\n"); // a run that opened one ended inside
    return result != 0 ? result : 1;
}
