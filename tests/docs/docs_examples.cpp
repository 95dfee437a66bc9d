// docs_examples.cpp - runs the C++ that docs/*.md show, within one frame of a game without a display.
//
// What the pages promise, they assert. The files that they name are made beside the program first.
#undef NDEBUG
#include <kxcoreemb/kxcoreemb.h>

#include <cassert>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

struct Example
{
    const char* place;
    void (*run)();
};
#include "docs_examples.inc"

namespace
{

/// A TGA picture, 32 x 32, true colour: a disc on the key colour.
void writePicture(const char* name)
{
    KxcFile* file = KxcFile::open(name, "wb", KXCFILE_DISK_ONLY);
    assert(file);
    const UINT8 header[18] = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 32, 0, 32, 0, 24, 0};
    file->write(header, 1, sizeof(header));
    for (INT32 i = 0; i < 32 * 32; ++i)
    {
        const INT32 x = i % 32 - 16, y = i / 32 - 16;
        const bool inside = x * x + y * y < 200;
        const UINT8 pixel[3] = {UINT8(inside ? 100 : 255), UINT8(inside ? 150 : 0), UINT8(inside ? 200 : 255)};
        file->write(pixel, 1, 3);
    }
    file->close();
}

class Reader : public KxcApp
{
public:
    void onTick() override
    {
        for (const Example& example : kExamples)
        {
            std::printf("%s\n", example.place);
            std::fflush(stdout);
            example.run();
        }
    }
};

long makeReader()
{
    kxcUseDefaults();
    kxcUse2DVectorGraphics();
    kxcUseNetwork();
    return new Reader == nullptr;
}

void setPreferences(KxcAppPrefs& prefs) { prefs.resourceMemoryLimit = 1 << 20; }

/// Frames of a whole game; how many colours the last one shows.
INT32 play(long (*makeGame)(), INT32 frames)
{
    embeddedInit(320, 240, makeGame, setPreferences, nullptr);
    const short* picture = nullptr;
    for (INT32 i = 0; i < frames; ++i)
    {
        picture = embeddedFrame();
        embeddedSoundFrame(nullptr);
    }
    static bool seen[0x10000];
    std::memset(seen, 0, sizeof(seen));
    INT32 colors = 0;
    for (INT32 i = 0; picture && i < 320 * 240; ++i)
    {
        bool& known = seen[static_cast<UINT16>(picture[i])];
        colors += !known;
        known = true;
    }
    embeddedDeinit();
    return colors;
}

long makeFiles()
{
    KxcFile::mkdir("pictures");
    writePicture("pictures/rock.tga");
    return 0;
}

} // namespace

int main()
{
    play(makeFiles, 0);
    play(makeReader, 1);
    page_getting_started::playTenFrames();
    const INT32 colors = play(page_getting_started::makeGame, 5);
    std::printf("getting-started.md: %d colours\n", colors);
    return colors == 2 ? 0 : 1; // the rock, and what is behind it
}
