// memory_test.cpp - the engine's heap: against a literal model of where blocks go, from two threads, and exhausted.
#include "support/engine.h"

#include <kxcoreemb/memory_manager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{

typedef KxcMemoryManager Heap;

/// Where blocks go, in words from the start of the pool, by walks through plain lists.
struct Model
{
    struct Block
    {
        UINT32 size;
        bool used;
    };
    explicit Model(UINT32 words) : poolWords(words) { addFree(0, words); }

    std::vector<UINT32>& smallList(UINT32 size) { return small[size - 4]; }
    void addFree(UINT32 at, UINT32 size)
    {
        blocks[at] = {size, false};
        size < 20 ? smallList(size).push_back(at) : (void)large.insert(at);
    }
    void removeFree(UINT32 at)
    {
        const UINT32 size = blocks[at].size;
        if (size >= 20)
            large.erase(at);
        else
            smallList(size).erase(std::find(smallList(size).begin(), smallList(size).end(), at));
    }
    bool firstFit(UINT32 need, bool top, UINT32& found)
    {
        const auto fits = [&](UINT32 at) { return blocks[at].size >= need; };
        const auto up = std::find_if(large.begin(), large.end(), fits);
        const auto down = std::find_if(large.rbegin(), large.rend(), fits);
        if (up == large.end())
            return false;
        found = top ? *down : *up;
        return true;
    }
    bool find(UINT32 need, bool top, UINT32& found)
    {
        if (need < 20 && !smallList(need).empty())
        {
            found = smallList(need).back();
            return true;
        }
        if (firstFit(need, top, found))
            return true;
        for (UINT32 size = need + 1; size < 20; ++size)
            if (!smallList(size).empty())
            {
                found = smallList(size).back();
                return true;
            }
        return false;
    }
    /// The node behind one in its list; poolWords for none.
    UINT32 behind(UINT32 at)
    {
        const UINT32 size = blocks[at].size;
        if (size >= 20)
            return large.upper_bound(at) == large.end() ? poolWords : *large.upper_bound(at);
        const auto place = std::find(smallList(size).begin(), smallList(size).end(), at);
        return place == smallList(size).begin() ? poolWords : *(place - 1);
    }
    void coalesceAll()
    {
        for (UINT32 size = 4; size <= 20; ++size)
        {
            UINT32 at = size == 20                ? large.empty() ? poolWords : *large.begin()
                                       : smallList(size).empty() ? poolWords
                                                  : smallList(size).back();
            while (at != poolWords)
            {
                const UINT32 block = at;
                at = behind(block);
                UINT32 merged = blocks[block].size;
                while (block + merged < poolWords && !blocks[block + merged].used)
                {
                    if (merged == blocks[block].size)
                        removeFree(block);
                    const UINT32 neighbour = block + merged;
                    if (at == neighbour)
                        at = behind(neighbour);
                    removeFree(neighbour);
                    merged += blocks[neighbour].size;
                    blocks.erase(neighbour);
                }
                if (merged != blocks[block].size)
                    addFree(block, merged);
            }
        }
    }
    static UINT32 needFor(UINT32 bytes) { return std::max(3u, (bytes + 3) / 4) + 1; }
    /// @return where the block is; poolWords when there is no room
    UINT32 alloc(UINT32 bytes, bool top)
    {
        UINT32 at;
        const UINT32 need = needFor(bytes);
        if (!find(need, top, at))
        {
            coalesceAll();
            if (!find(need, top, at))
                return poolWords;
        }
        const UINT32 size = blocks[at].size, rest = size - need;
        removeFree(at);
        if (rest <= 4)
        {
            blocks[at].used = true;
            return at;
        }
        const UINT32 used = top ? at + rest : at;
        addFree(top ? at : at + need, rest);
        blocks[used] = {need, true};
        return used;
    }
    void free(UINT32 at) { addFree(at, blocks[at].size); }
    UINT32 realloc(UINT32 at, UINT32 bytes)
    {
        const UINT32 need = needFor(bytes), old = blocks[at].size;
        if (need <= old)
        {
            if (old - need >= 4)
            {
                blocks[at].size = need;
                addFree(at + need, old - need);
            }
            return at;
        }
        const auto self = blocks.find(at), above = std::next(self);
        const UINT32 over = above != blocks.end() && !above->second.used ? above->second.size : 0;
        const UINT32 under = at && !std::prev(self)->second.used ? std::prev(self)->second.size : 0;
        UINT32 total = old + over, start = at;
        if (total >= need)
        {
            removeFree(at + old);
            blocks.erase(at + old);
        }
        else if (old + under >= need)
        {
            total = old + under;
            start = at - under;
            removeFree(start);
            blocks.erase(at);
        }
        else
        {
            const UINT32 moved = alloc(bytes, false);
            if (moved != poolWords)
                free(at);
            return moved;
        }
        const UINT32 kept = total > need + 4 ? need : total;
        blocks[start] = {kept, true};
        if (kept < total)
            addFree(start + kept, total - kept);
        return start;
    }
    UINT32 freeBytes() const
    {
        UINT32 words = 0;
        for (const auto& block : blocks)
            words += block.second.used ? 0 : block.second.size;
        return 4 * (words - UINT32(blocks.size()));
    }

    UINT32 poolWords;
    std::map<UINT32, Block> blocks;
    std::array<std::vector<UINT32>, 16> small; // the head is at the back
    std::set<UINT32> large;
};

/// Runs in a folder of its own, where the pictures go.
struct Memory : testing::Test
{
    Memory()
    {
        std::filesystem::create_directories(folder);
        std::filesystem::current_path(folder);
    }
    ~Memory() override
    {
        std::filesystem::current_path(home);
        std::filesystem::remove_all(folder);
    }
    static UINT32 pictures()
    {
        return UINT32(std::distance(std::filesystem::directory_iterator("."), std::filesystem::directory_iterator()));
    }
    std::filesystem::path home = std::filesystem::current_path();
    std::filesystem::path folder = std::filesystem::temp_directory_path() / ("kxc_memory" + std::to_string(getpid()));
    Engine engine{32, 16};
};

} // namespace

TEST_F(Memory, WithoutAHeapEverythingAnswersZero)
{
    EXPECT_EQ(Heap::memAlloc(8, 0), nullptr);
    EXPECT_EQ(Heap::memRealloc(nullptr, 8), nullptr);
    EXPECT_EQ(Heap::memFree(&engine), 0);
    EXPECT_EQ(Heap::memSize(&engine) + Heap::getFreeMemory() + UINT32(Heap::checkIntegrity()), 0u);
    Heap::coalesceMemory();
    Heap::saveMemoryMap(0);
    Heap::setOwner("here", 1);
    EXPECT_EQ(pictures(), 0u);
    EXPECT_EQ(kxcUseMemoryManager(100), 1);
    EXPECT_EQ(kxcUseMemoryManager(100), 0) << "one heap a run";
    EXPECT_EQ(Heap::checkIntegrity(), 1);
    EXPECT_EQ(KxcCore::getFreePoolMemory(), 96u);
}

TEST_F(Memory, PlacesBlocksAsTheModelDoesAndKeepsWhatTheyHold)
{
    struct Held
    {
        UINT32* payload;
        UINT32 at, bytes, tag;
    };
    constexpr UINT32 kWords = 60000;
    ASSERT_EQ(kxcUseMemoryManager(kWords * 4), 1);
    std::mt19937 random(1);
    Model model(kWords);
    UINT32* const first = static_cast<UINT32*>(Heap::memAlloc(1, 0));
    ASSERT_EQ(Heap::memFree(first), 1);
    ASSERT_EQ(Heap::memFree(first), 0);
    model.free(model.alloc(1, false)); // leaves two blocks, too
    UINT32* const pool = first - 1;
    std::vector<Held> held;
    const auto check = [&](const Held& h)
    {
        const UINT32 words = model.blocks[h.at].size;
        ASSERT_EQ(h.payload, pool + h.at + 1);
        ASSERT_EQ(Heap::memSize(h.payload), words * 4);
        for (UINT32 i = 0; i < h.bytes / 4; ++i)
            ASSERT_EQ(h.payload[i], h.tag + i);
    };
    const auto fill = [&](Held& h)
    {
        h.tag = random();
        for (UINT32 i = 0; i < h.bytes / 4; ++i)
            h.payload[i] = h.tag + i;
    };
    bool growing = true;
    for (INT32 step = 0; step < 150000 && !HasFatalFailure(); ++step)
    {
        // grows until something does not fit, then shrinks; mostly small blocks, some of pages
        growing = growing || held.size() < 200;
        const UINT32 bytes = 1 + (random() % 8 ? random() % 100 : random() % 12 ? random() % 1500 : random() % 20000);
        const UINT32 kind = random() % 16;
        if (held.empty() || kind < (growing ? 9u : 5u))
        {
            const bool top = random() % 4 == 0;
            const UINT32 at = model.alloc(bytes, top);
            Held h = {static_cast<UINT32*>(Heap::memAlloc(bytes, top)), at, bytes, 0};
            ASSERT_EQ(h.payload == nullptr, at == kWords);
            growing = growing && h.payload;
            if (!h.payload)
                continue;
            fill(h);
            held.push_back(h);
            continue;
        }
        const size_t place = random() % held.size();
        Held& h = held[place];
        check(h);
        if (kind < 14)
        {
            ASSERT_EQ(Heap::memFree(h.payload), 1);
            model.free(h.at);
            h = held.back();
            held.pop_back();
            continue;
        }
        const UINT32 at = model.realloc(h.at, bytes);
        UINT32* const moved = static_cast<UINT32*>(Heap::memRealloc(h.payload, bytes));
        ASSERT_EQ(moved == nullptr, at == kWords);
        if (moved)
        {
            h = {moved, at, std::min(h.bytes, bytes), h.tag};
            check(h);
            h.bytes = bytes;
            fill(h);
        }
        if (step % 512 == 0)
        {
            ASSERT_EQ(Heap::getFreeMemory(), model.freeBytes());
            ASSERT_EQ(Heap::checkIntegrity(), 1);
        }
        if (step % 20000 == 0)
        {
            Heap::coalesceMemory();
            model.coalesceAll();
        }
    }
    for (const Held& h : held)
        check(h);
    EXPECT_GT(pictures(), 10u) << "it was exhausted many times";
}

TEST_F(Memory, SplitsAndMergesAtTheEdges)
{
    ASSERT_EQ(kxcUseMemoryManager(4 * 100), 1);
    EXPECT_EQ(Heap::memAlloc(0, 0), nullptr);
    char* const a = static_cast<char*>(Heap::memAlloc(1, 0));
    EXPECT_EQ(KxcCore::getMemoryBlockSize(a), 16u);
    char* const top = static_cast<char*>(Heap::memAlloc(40, 1));
    char* const below = static_cast<char*>(Heap::memAlloc(40, 1));
    EXPECT_EQ(top - below, 44);
    // what is left: 100 - 4 - 22 = 74 words, so 69 and 4 spare ones are taken whole
    char* const whole = static_cast<char*>(Heap::memAlloc(4 * 69, 0));
    EXPECT_EQ(Heap::memSize(whole), 4 * 74u);
    EXPECT_EQ(Heap::getFreeMemory(), UINT32(-4 * 4)) << "a word for each of four blocks, and none free";
    EXPECT_EQ(Heap::memRealloc(whole, 4 * 69), whole);
    EXPECT_EQ(Heap::memSize(whole), 4 * 70u) << "four words can be split off";
    EXPECT_EQ(Heap::memRealloc(whole, 4 * 66), whole);
    EXPECT_EQ(Heap::memSize(whole), 4 * 70u) << "three can not";
    EXPECT_EQ(Heap::memRealloc(whole, 0), nullptr);
    const UINT32 before = Heap::getFreeMemory();
    Heap::coalesceMemory();
    EXPECT_EQ(Heap::getFreeMemory(), before + 4);
    EXPECT_EQ(Heap::memFree(nullptr), 0);
    EXPECT_EQ(Heap::memRealloc(a + 400, 8), nullptr) << "not of this heap";
    void* const pages = KxcCore::allocateSystemMemory(100);
    EXPECT_EQ(Heap::memFree(pages), 1);

    UINT8* const zeroed = static_cast<UINT8*>(Heap::memCalloc(7, 9));
    EXPECT_EQ(std::count(zeroed, zeroed + 63, 0), 63);
    EXPECT_EQ(Heap::memAlloc(0xFFFFFFFF, 0), nullptr);
    EXPECT_EQ(Heap::memCalloc(0x10000, 0xFFFF), nullptr);
}

TEST_F(Memory, IsDrawnWhenItIsExhausted)
{
    ASSERT_EQ(kxcUseMemoryManager(4 * 2048 + 4), 1);
    std::ofstream("memmap0001.bmp") << "somebody's";
    UINT32* const block = static_cast<UINT32*>(Heap::memAlloc(4 * 1023, 0));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(Heap::memAlloc(10000, 0), nullptr);
    EXPECT_EQ(Heap::memRealloc(block, 10000), nullptr);
    EXPECT_EQ(Heap::memSize(block), 4096u) << "what could not grow stays";
    std::string picture;
    for (const auto& file : std::filesystem::directory_iterator(".")) // the number goes on through all tests
        if (file.path().filename() != "memmap0001.bmp" && (picture.empty() || file.path() < picture))
            picture = file.path().string();
    std::ifstream file(picture, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    ASSERT_EQ(bytes.size(), 54u + 2 * 3 * 1024);
    EXPECT_EQ(bytes.substr(0, 2), "BM");
    const auto pixel = [&](UINT32 x, UINT32 y) // its bytes as a number; the bottom row comes first
    {
        const UINT8* p = reinterpret_cast<const UINT8*>(bytes.data()) + 54 + ((1 - y) * 1024 + x) * 3;
        return UINT32(p[0] | p[1] << 8 | p[2] << 16);
    };
    EXPECT_EQ(pixel(0, 0), 0x00FFFFu);
    EXPECT_EQ(pixel(1, 0), 0xC00000u);
    EXPECT_EQ(pixel(1023, 0), 0xC00000u);
    EXPECT_EQ(pixel(0, 1), 0x00FFFFu);
    EXPECT_EQ(pixel(1, 1), 0u);
    EXPECT_EQ(pixel(1023, 1), 0u);

    const UINT32 count = pictures();
    Heap::saveMemoryMap(3000); // one row, of which the pool fills 2049 pixels
    EXPECT_EQ(pictures(), count + 1);
    Heap::saveMemoryMap(0x80000000); // too wide
    EXPECT_EQ(pictures(), count + 1);
}

TEST_F(Memory, EndsTheProgramIfAskedTo)
{
    const auto exhaust = [](INT32 action)
    {
        kxcPlatformMessageBoxHook = [](const char* text, const char*, KxcPlatformIcon) { std::fputs(text, stderr); };
        kxcUseMemoryManager(1024);
        KxcCore::setOutOfMemoryAction(action);
        void* block = Heap::memAlloc(8, 0);
        Heap::memFree(block);
        if (!Heap::memRealloc(block, 16)) // a fault of the program, but no lack of memory
            Heap::memAlloc(5000, 0);
        std::fputs("went on", stderr);
        std::exit(3);
    };
    EXPECT_EXIT(exhaust(1), testing::ExitedWithCode(0), "Out of memory - 5000B");
    EXPECT_EXIT(exhaust(2), testing::ExitedWithCode(3), "went on");
    EXPECT_EXIT(
        {
            kxcPlatformMessageBoxHook = [](const char* text, const char*, KxcPlatformIcon)
            { std::fputs(text, stderr); };
            kxcUseMemoryManager(0xFFFFFFFF);
        },
        testing::ExitedWithCode(0), "Not enough memory to launch application. 4194304 KB required.");
}

struct MemoryThreads : testing::Test // under ThreadSanitizer, too
{
    Engine engine{32, 16};
};

TEST_F(MemoryThreads, AllocateSideBySide)
{
    ASSERT_EQ(kxcUseMemoryManager(1 << 20), 1);
    const auto work = [](UINT32 seed)
    {
        std::mt19937 random(seed);
        std::vector<UINT8*> blocks(200);
        for (INT32 step = 0; step < 20000; ++step)
        {
            UINT8*& block = blocks[random() % blocks.size()];
            const UINT32 bytes = 1 + random() % 600;
            if (block && random() % 4 == 0)
                block = static_cast<UINT8*>(Heap::memRealloc(block, bytes));
            else if (block)
            {
                EXPECT_EQ(*block, UINT8(seed));
                Heap::memFree(block);
                block = nullptr;
            }
            else
                block = static_cast<UINT8*>(Heap::memAlloc(bytes, random() & 1));
            if (block)
                *block = UINT8(seed);
            if (step % 4000 == 0)
                Heap::coalesceMemory();
        }
        for (UINT8* block : blocks)
            Heap::memFree(block);
    };
    std::thread other(work, 2u);
    work(1);
    other.join();
    EXPECT_EQ(Heap::checkIntegrity(), 1);
    Heap::coalesceMemory();
    EXPECT_EQ(Heap::getFreeMemory(), (1u << 20) - 4);
}
