// main.cpp - runs lan_pong in a window, or without a display, where it plays by itself.
#include "picture_file.h"
#include "pong.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

constexpr char kUsage[] =
    "usage: lan_pong [--host ADDRESS] [--port N] [--advertise-port N] [--play]\n"
    "                [--headless [--frames N] [--out FILE.png]]\n"
    "\n"
    "Finds another lan_pong on the local network, or waits for one. Up and down, or the pointer, move\n"
    "the paddle; Escape ends.\n"
    "  --host ADDRESS      join the game at this address, at the port of --port, without looking\n"
    "  --port N            alone: offer a game at this port, without looking\n"
    "  --advertise-port N  where games are looked for and offered (47010)\n"
    "  --play              move the paddle by itself\n"
    "  --headless          play by itself without a display; what came of it is printed at the end\n"
    "  --frames N          how many frames the host plays (300)\n"
    "  --out FILE.png      the last frame as a picture\n";
constexpr INT32 kFrameMs = 16, kHeadlessFrameMs = 4;
constexpr INT32 kLongestRunMs = 20000; // without a display, waiting included

LinkOptions g_options;
INT32 g_frames = 300, g_frameMs = kFrameMs;
bool g_plays, g_headless;
Pong* g_pong;

long makeGame()
{
    kxcUseDefaults();
    g_pong = new Pong(g_options, g_plays, g_headless ? g_frames : 0, g_frameMs);
    if (g_pong->link().ready())
        return 0;
    std::fprintf(stderr, "lan_pong: port %d cannot be opened; choose another by --port\n", g_options.port);
    return g_headless ? 0 : 1;
}

void setPreferences(KxcAppPrefs& prefs) { prefs.title = "lan_pong"; }

int runHeadless(const std::string& picture)
{
    embeddedInit(Pong::kWidth, Pong::kHeight, makeGame, setPreferences, nullptr);
    const Link& link = g_pong->link();
    const short* frame = nullptr;
    if (link.ready())
    {
        while (!g_pong->over() && KxcCore::getTick() < kLongestRunMs)
            frame = embeddedFrame();
        // The guest must hear of the end, and the host that it did.
        for (const INT32 until = KxcCore::getTick() + 400; KxcCore::getTick() < until;)
            frame = embeddedFrame();
    }
    const bool good = g_pong->over() && link.roundTripMs() < kLongestRunMs;
    std::printf("%s: %d frames, score %d:%d, round trip %d ms, loss %d percent\n", link.status(),
                g_pong->framesPlayed(), link.score().host, link.score().guest, link.roundTripMs(), link.lossPercent());
    const bool shown = picture.empty() || (frame && kxcWriteFrame(picture.c_str(), Pong::kWidth, Pong::kHeight, frame));
    embeddedDeinit();
    if (!good)
        std::fprintf(stderr, "lan_pong: the game did not come to its end; is there another player?\n");
    return good && shown ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    std::string picture;
    for (int i = 1; i < argc; ++i)
    {
        const std::string argument = argv[i];
        const bool more = i + 1 < argc;
        const int number = more ? std::atoi(argv[i + 1]) : 0;
        if (argument == "--help" || argument == "-h")
            return std::fputs(kUsage, stdout), 0;
        if (argument == "--headless")
            g_headless = g_plays = true;
        else if (argument == "--play")
            g_plays = true;
        else if (argument == "--host" && more)
            g_options.host = argv[++i];
        else if (argument == "--out" && more)
            picture = argv[++i];
        else if (argument == "--frames" && number > 0)
            g_frames = number, ++i;
        else if (argument == "--port" && number > 0 && number < 0x10000)
            g_options.port = static_cast<UINT16>(number), ++i;
        else if (argument == "--advertise-port" && number > 0 && number < 0x10000)
            g_options.advertisePort = static_cast<UINT16>(number), ++i;
        else
            return std::fputs(kUsage, stderr), 2;
    }
    if (!g_options.host.empty() && g_options.port == 0)
        return std::fputs(kUsage, stderr), 2;
    if (g_headless)
    {
        g_frameMs = kHeadlessFrameMs;
        g_options.patienceMs = 500;
        return runHeadless(picture);
    }
    const int result = realWinMain(Pong::kWidth, Pong::kHeight, nullptr, 1, makeGame, setPreferences, nullptr);
    std::fprintf(stderr, "lan_pong: no window; try --headless\n"); // a run that opened one ended inside
    return result != 0 ? result : 1;
}
