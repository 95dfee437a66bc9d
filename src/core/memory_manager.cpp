// memory_manager.cpp - the engine's heap: where blocks are, and how they are found.
//
// A block's header word holds its size in words, three bits from the bottom: 1 in use, 2 the pool's last block, 4 the
// block below is in use. A free block has the next and the previous node of its list in its second and third word,
// and its size once more in its last word, where the block above finds it (the pool's last block does without).
//
// What fits first is found without a walk through the list: behind the index of pages lies a binary tree of the
// largest large block on each page. Its node i has the children 2i and 2i + 1; node 1 is the root, and node 0 holds the
// number of the leaves' first, which is how many leaves there are.
#include "core/bitmap_file.h"
#include "core/core_state.h"

#include <kxcoreemb/memory_manager.h>
#include <kxcoreemb/string_toolkit.h>
#include <kxcoreemb/thread.h>

#include <cstring>
#include <new>

namespace
{

enum HeaderBits : UINT32
{
    kInUse = 1,
    kLast = 2,
    kPreviousInUse = 4
};
constexpr INT32 kSizeShift = 3;
constexpr UINT32 kSmallest = 4, kLarge = 20; // words
constexpr UINT32 kSmallLists = kLarge - kSmallest;
constexpr UINT32 kSpare = 4;         // a rest of so few words stays with the block that it would be split from
constexpr UINT32 kFromTop = 1;       // flag
constexpr INT32 kPageShift = 13 - 2; // from words to pages
constexpr UINT32 kWord = sizeof(UINT32);

UINT32 sizeOf(const UINT32* block) { return *block >> kSizeShift; }
UINT32* above(UINT32* block) { return block + sizeOf(block); }
UINT32& next(UINT32* block) { return block[1]; }
UINT32& previous(UINT32* block) { return block[2]; }
bool isFree(const UINT32* block) { return !(*block & kInUse); }
bool isLast(const UINT32* block) { return *block & kLast; }

/// The words of a block that holds so many bytes, header included.
UINT32 wordsFor(UINT32 bytes)
{
    const UINT32 words = bytes / kWord + (bytes % kWord != 0) + 1;
    return words < kSmallest ? kSmallest : words;
}

UINT32 pagesOf(UINT32 words) { return (words + (1u << kPageShift) - 1) >> kPageShift; }

UINT32 leavesFor(UINT32 pages)
{
    UINT32 leaves = 1;
    while (leaves < pages)
        leaves *= 2;
    return leaves;
}

/// What a picture of the pool is made of.
struct Picture
{
    const UINT32* pixels;
    UINT32 width;
};

void pictureRow(const void* picture, INT32 y, UINT8* out)
{
    const Picture& from = *static_cast<const Picture*>(picture);
    const UINT32* pixel = from.pixels + static_cast<size_t>(y) * from.width;
    for (UINT32 x = 0; x < from.width; ++x, ++pixel)
    {
        *out++ = static_cast<UINT8>(*pixel);
        *out++ = static_cast<UINT8>(*pixel >> 8);
        *out++ = static_cast<UINT8>(*pixel >> 16);
    }
}

KxcMemoryManager* heap() { return kxcCore ? kxcCore->memory : nullptr; }

} // namespace

// --- the operations -------------------------------------------------------------------------------------------------

struct KxcMemoryManager::Lock
{
    explicit Lock(KxcMemoryManager* heap) : mutex(heap && kxcCore->alive ? heap->m_mutex : nullptr)
    {
        if (mutex)
            mutex->lock();
    }
    ~Lock()
    {
        if (mutex)
            mutex->unlock();
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    KxcMutex* mutex;
};

INT32 kxcUseMemoryManager(UINT32 bytes)
{
    if (!kxcCore || kxcCore->memory)
        return 0;
    KxcMemoryManager* made = new (std::nothrow) KxcMemoryManager;
    if (!made)
        return 0;
    made->initialize(bytes);
    kxcCore->memory = made;
    return 1;
}

void memmgrsetowner(const char* file, UINT32 line) { KxcMemoryManager::setOwner(file, line); }

/// Called without the lock: panicking takes the heap down.
void KxcMemoryManager::panicWhenAsked(UINT32 size)
{
    if (!kxcCore || kxcCore->outOfMemoryAction != 1)
        return;
    char text[64];
    KxcStringToolkit::format(text, sizeof(text), "Out of memory - %dB", static_cast<INT32>(size));
    KxcCore::systemPanic(text);
}

void* KxcMemoryManager::memAlloc(UINT32 size, UINT32 flags)
{
    KxcMemoryManager* const manager = heap();
    if (!manager || size == 0)
        return nullptr;
    void* block;
    {
        const Lock lock(manager);
        block = manager->doMemAlloc(size, flags);
    }
    if (!block)
        panicWhenAsked(size);
    return block;
}

void* KxcMemoryManager::memCalloc(UINT32 count, UINT32 size)
{
    const UINT32 bytes = count * size;
    void* block = memAlloc(bytes, 0);
    if (block)
        std::memset(block, 0, bytes);
    return block;
}

void* KxcMemoryManager::memRealloc(void* block, UINT32 size)
{
    KxcMemoryManager* const manager = heap();
    if (!manager)
        return nullptr;
    void* moved;
    bool movable; // not a block that is free already, nor one of somebody else
    {
        const Lock lock(manager);
        movable = !block || manager->doMemSize(block) != 0;
        moved = manager->doMemRealloc(block, size);
    }
    if (!moved && size != 0 && movable)
        panicWhenAsked(size);
    return moved;
}

INT32 KxcMemoryManager::memFree(void* block)
{
    KxcMemoryManager* const manager = heap();
    const Lock lock(manager);
    return manager ? manager->doMemFree(block) : 0;
}

UINT32 KxcMemoryManager::memSize(void* block)
{
    KxcMemoryManager* const manager = heap();
    const Lock lock(manager);
    return manager ? manager->doMemSize(block) : 0;
}

UINT32 KxcMemoryManager::getFreeMemory()
{
    const KxcMemoryManager* const manager = heap();
    return manager ? kWord * (manager->m_poolWords - manager->m_usedWords - manager->m_blocks) : 0;
}

void KxcMemoryManager::coalesceMemory()
{
    KxcMemoryManager* const manager = heap();
    const Lock lock(manager);
    if (manager)
        manager->coalesceAll();
}

INT32 KxcMemoryManager::checkIntegrity()
{
    KxcMemoryManager* const manager = heap();
    const Lock lock(manager);
    return manager ? manager->doCheckIntegrity() : 0;
}

void KxcMemoryManager::saveMemoryMap(UINT32 width)
{
    if (KxcMemoryManager* const manager = heap())
        manager->savePicture(width);
}

void KxcMemoryManager::setOwner(const char* file, UINT32 line)
{
    if (KxcMemoryManager* const manager = heap())
        manager->doSetOwner(file, line);
}

INT32 KxcMemoryManager::checkGuardzones() { return 0; }

void KxcMemoryManager::printDebugData() {}

void KxcMemoryManager::debugException(char*, ...) {}

void KxcMemoryManager::doSetOwner(const char* file, UINT32 line)
{
    m_ownerFile = file;
    m_ownerLine = line;
}

// --- the pool -------------------------------------------------------------------------------------------------------

void KxcMemoryManager::initialize(UINT32 bytes)
{
    deInitialize();
    const UINT32 words = bytes / kWord + (bytes % kWord != 0);
    m_poolWords = words < kSmallest ? kSmallest : words;
    m_usedWords = m_blocks = 0;
    m_mapWidth = 1024;
    const UINT32 pages = pagesOf(m_poolWords);
    m_smallLists = static_cast<Node*>(KxcCore::allocateSystemMemory(kSmallLists * sizeof(Node)));
    m_pageIndex =
        static_cast<Node*>(KxcCore::allocateSystemMemory(static_cast<INT32>((pages + 2 * leavesFor(pages)) * kWord)));
    if (!m_smallLists || !m_pageIndex || !initMemMap() || !(m_mutex = KxcMutex::create()))
    {
        deInitialize();
        const char* gameText = kxcCore ? kxcCore->prefs.outOfMemoryMessage : nullptr;
        char text[80];
        KxcStringToolkit::format(text, sizeof(text), "Not enough memory to launch application. %d KB required.",
                                 static_cast<INT32>(m_poolWords / (1024 / kWord)));
        KxcCore::systemPanic(gameText ? gameText : text);
    }
    tree()[0] = leavesFor(pages);
    addFreeNode(m_pool, true);
    m_state = 3;
}

/// The pool, as one free block.
bool KxcMemoryManager::initMemMap()
{
    if (m_poolWords > INT32_MAX / kWord)
        return false;
    m_pool = static_cast<UINT32*>(KxcCore::allocateSystemMemory(static_cast<INT32>(m_poolWords * kWord)));
    if (!m_pool)
        return false;
    *m_pool = m_poolWords << kSizeShift | kLast | kPreviousInUse;
    m_blocks = 1;
    return true;
}

void KxcMemoryManager::deInitialize()
{
    delete m_mutex;
    KxcCore::freeSystemMemory(m_pageIndex);
    KxcCore::freeSystemMemory(m_smallLists);
    KxcCore::freeSystemMemory(m_pool);
    m_mutex = nullptr;
    m_pageIndex = m_smallLists = m_pool = nullptr;
    m_largeHead = m_largeTail = 0;
    m_state = 0;
}

bool KxcMemoryManager::inPool(const void* block) const
{
    const UINT32* word = static_cast<const UINT32*>(block);
    return word > m_pool && word < m_pool + m_poolWords;
}

/// Makes a free block with these flags, and tells the block above.
void KxcMemoryManager::setFree(UINT32* block, UINT32 size, UINT32 flags)
{
    *block = size << kSizeShift | flags;
    if (flags & kLast)
        return;
    block[size - 1] = size;
    block[size] &= ~static_cast<UINT32>(kPreviousInUse);
}

// --- lists of free blocks -------------------------------------------------------------------------------------------

UINT32 KxcMemoryManager::pageOf(const UINT32* block) const { return static_cast<UINT32>(block - m_pool) >> kPageShift; }

UINT32* KxcMemoryManager::tree() const { return m_pageIndex + pagesOf(m_poolWords); }

UINT32 KxcMemoryManager::largest(UINT32 page) const { return tree()[tree()[0] + page]; }

void KxcMemoryManager::setLargest(UINT32 page, UINT32 size)
{
    UINT32* const node = tree();
    UINT32 i = node[0] + page;
    node[i] = size;
    for (i /= 2; i > 0; i /= 2)
    {
        const UINT32 larger = node[2 * i] > node[2 * i + 1] ? node[2 * i] : node[2 * i + 1];
        if (node[i] == larger)
            return;
        node[i] = larger;
    }
}

/// Index entries behind the block's predecessor, up to the block's own page.
void KxcMemoryManager::fillIndices(UINT32* block, Node value)
{
    const UINT32 own = pageOf(block);
    for (UINT32 page = previous(block) ? pageOf(at(previous(block))) + 1 : 0; page <= own; ++page)
        m_pageIndex[page] = value;
}

void KxcMemoryManager::addFreeNode(UINT32* block, bool updateIndex)
{
    const UINT32 size = sizeOf(block);
    const Node node = nodeOf(block);
    if (size < kLarge)
    {
        Node& head = m_smallLists[size - kSmallest];
        next(block) = head;
        previous(block) = 0;
        if (head)
            previous(at(head)) = node;
        head = node;
        return;
    }
    const UINT32 page = pageOf(block);
    Node behind = m_pageIndex[page];
    while (behind && behind < node)
        behind = next(at(behind));
    const Node before = behind ? previous(at(behind)) : m_largeTail;
    next(block) = behind;
    previous(block) = before;
    (before ? next(at(before)) : m_largeHead) = node;
    (behind ? previous(at(behind)) : m_largeTail) = node;
    if (updateIndex)
        fillIndices(block, node);
    if (size > largest(page))
        setLargest(page, size);
}

void KxcMemoryManager::removeNode(UINT32* block, bool updateIndex)
{
    const UINT32 size = sizeOf(block);
    const Node behind = next(block), before = previous(block);
    const bool large = size >= kLarge;
    (before ? next(at(before)) : large ? m_largeHead : m_smallLists[size - kSmallest]) = behind;
    if (behind)
        previous(at(behind)) = before;
    else if (large)
        m_largeTail = before;
    if (!large)
        return;
    if (updateIndex)
        fillIndices(block, behind);
    if (size == largest(pageOf(block)))
        setLargest(pageOf(block), largestBeside(block));
}

/// Of the large free blocks on a block's page, leaving that one out.
UINT32 KxcMemoryManager::largestBeside(UINT32* block) const
{
    const UINT32 page = pageOf(block);
    UINT32 size = 0;
    for (Node n = previous(block); n && pageOf(at(n)) == page; n = previous(at(n)))
        size = sizeOf(at(n)) > size ? sizeOf(at(n)) : size;
    for (Node n = next(block); n && pageOf(at(n)) == page; n = next(at(n)))
        size = sizeOf(at(n)) > size ? sizeOf(at(n)) : size;
    return size;
}

/// Puts a block of what was the upper part of a large one into its place in the list.
void KxcMemoryManager::replaceNode(UINT32* block, UINT32 size, UINT32* rest)
{
    const Node node = nodeOf(rest), behind = next(block), before = previous(block);
    const UINT32 page = pageOf(block), newPage = pageOf(rest), newSize = sizeOf(rest);
    next(rest) = behind;
    previous(rest) = before;
    (before ? next(at(before)) : m_largeHead) = node;
    (behind ? previous(at(behind)) : m_largeTail) = node;
    fillIndices(rest, node);
    if (size == largest(page))
    {
        const UINT32 others = largestBeside(block);
        setLargest(page, page == newPage && newSize > others ? newSize : others);
    }
    if (newSize > largest(newPage))
        setLargest(newPage, newSize);
}

/// The first of the large blocks that is large enough, from the bottom or from the top.
UINT32* KxcMemoryManager::findFromVariableSize(UINT32 need, UINT32 flags)
{
    const UINT32 pages = pagesOf(m_poolWords), preferred = flags & kFromTop;
    const UINT32* const largestBelow = tree();
    if (largestBelow[1] < need)
        return nullptr;
    UINT32 i = 1;
    while (i < largestBelow[0])
    {
        i = 2 * i + preferred;
        i ^= largestBelow[i] < need;
    }
    const UINT32 page = i - largestBelow[0];
    if (!preferred)
    {
        UINT32* block = at(m_pageIndex[page]);
        while (sizeOf(block) < need)
            block = at(next(block));
        return block;
    }
    const Node behind = page + 1 < pages ? m_pageIndex[page + 1] : 0;
    UINT32* block = at(behind ? previous(at(behind)) : m_largeTail);
    while (sizeOf(block) < need)
        block = at(previous(block));
    return block;
}

UINT32* KxcMemoryManager::findFreeBlock(UINT32 need, UINT32 flags, bool coalescing)
{
    if (need < kLarge && m_smallLists[need - kSmallest])
        return at(m_smallLists[need - kSmallest]);
    if (UINT32* block = findFromVariableSize(need, flags))
        return block;
    for (UINT32 size = need + 1; size < kLarge; ++size)
        if (m_smallLists[size - kSmallest])
            return at(m_smallLists[size - kSmallest]);
    if (!coalescing)
        return nullptr;
    coalesceAll();
    return findFreeBlock(need, flags, false);
}

/// Merges a free block with the free ones above it. @param resume  a node that the caller goes on with; moved on when
///                                                                it is merged
void KxcMemoryManager::coalesce(UINT32* block, Node& resume)
{
    if (isLast(block) || !isFree(above(block)))
        return;
    removeNode(block, true);
    UINT32 size = sizeOf(block), flags = *block & kPreviousInUse;
    while (!(flags & kLast) && isFree(block + size))
    {
        UINT32* merged = block + size;
        if (resume == nodeOf(merged))
            resume = next(merged);
        removeNode(merged, true);
        size += sizeOf(merged);
        flags |= *merged & kLast;
        --m_blocks;
    }
    setFree(block, size, flags);
    addFreeNode(block, true);
}

void KxcMemoryManager::coalesceAll()
{
    for (UINT32 list = 0; list <= kSmallLists; ++list)
        for (Node node = list < kSmallLists ? m_smallLists[list] : m_largeHead; node;)
        {
            UINT32* block = at(node);
            node = next(block);
            coalesce(block, node);
        }
}

// --- blocks ---------------------------------------------------------------------------------------------------------

/// Makes a block a used one of so many words; its rest becomes free and is not in a list yet. @return the rest
UINT32* KxcMemoryManager::split(UINT32* block, UINT32 need)
{
    const UINT32 rest = sizeOf(block) - need, last = *block & kLast;
    *block = need << kSizeShift | (*block & kPreviousInUse) | kInUse;
    setFree(block + need, rest, last | kPreviousInUse);
    ++m_blocks;
    return block + need;
}

/// Makes a free block, or the part of it that is needed, a used one.
void* KxcMemoryManager::take(UINT32* block, UINT32 need, UINT32 flags)
{
    const UINT32 size = sizeOf(block), rest = size - need;
    if (rest <= kSpare)
    {
        removeNode(block, true);
        *block |= kInUse;
        need = size;
    }
    else if (flags & kFromTop)
    {
        removeNode(block, true);
        const UINT32 last = *block & kLast;
        block[rest] = need << kSizeShift | last | kInUse;
        setFree(block, rest, *block & kPreviousInUse);
        addFreeNode(block, true);
        ++m_blocks;
        block += rest;
    }
    else if (rest < kLarge)
    {
        removeNode(block, true);
        addFreeNode(split(block, need), true);
    }
    else
        replaceNode(block, size, split(block, need));
    if (!isLast(block))
        *above(block) |= kPreviousInUse;
    m_usedWords += need;
    return block + 1;
}

void* KxcMemoryManager::doMemAlloc(UINT32 size, UINT32 flags)
{
    if (size == 0)
        return nullptr;
    const UINT32 need = wordsFor(size);
    if (UINT32* block = findFreeBlock(need, flags, true))
        return take(block, need, flags);
    savePicture(m_mapWidth);
    return nullptr;
}

INT32 KxcMemoryManager::doMemFree(void* payload)
{
    if (!payload)
        return 0;
    if (!inPool(payload))
    {
        KxcCore::freeSystemMemory(payload);
        return 1;
    }
    UINT32* const block = static_cast<UINT32*>(payload) - 1;
    if (isFree(block))
        return 0;
    m_usedWords -= sizeOf(block);
    setFree(block, sizeOf(block), *block & (kLast | kPreviousInUse));
    addFreeNode(block, true);
    return 1;
}

UINT32 KxcMemoryManager::doMemSize(void* payload)
{
    if (!payload || !inPool(payload))
        return 0;
    const UINT32* const block = static_cast<UINT32*>(payload) - 1;
    return isFree(block) ? 0 : sizeOf(block) * kWord;
}

void* KxcMemoryManager::doMemRealloc(void* payload, UINT32 size)
{
    if (!payload)
        return doMemAlloc(size, 0);
    if (size == 0)
    {
        doMemFree(payload);
        return nullptr;
    }
    UINT32* block = static_cast<UINT32*>(payload) - 1;
    if (!inPool(payload) || isFree(block))
        return nullptr;
    const UINT32 need = wordsFor(size), old = sizeOf(block);
    if (need <= old)
    {
        if (old - need >= kSmallest)
        {
            addFreeNode(split(block, need), true);
            m_usedWords -= old - need;
        }
        return payload;
    }
    UINT32* const follower = isLast(block) || !isFree(above(block)) ? nullptr : above(block);
    const UINT32 below = *block & kPreviousInUse ? 0 : block[-1];
    UINT32 grown = old;
    if (follower && old + sizeOf(follower) >= need)
    {
        grown += sizeOf(follower);
        removeNode(follower, true);
        *block = grown << kSizeShift | (*block & kPreviousInUse) | (*follower & kLast) | kInUse;
    }
    else if (below && old + below >= need)
    {
        grown += below;
        const UINT32 last = *block & kLast;
        block -= below;
        removeNode(block, true);
        const UINT32 header = grown << kSizeShift | (*block & kPreviousInUse) | last | kInUse;
        std::memmove(block + 1, payload, (old - 1) * kWord);
        *block = header;
    }
    else
    {
        void* moved = doMemAlloc(size, 0);
        if (!moved)
            return nullptr;
        std::memcpy(moved, payload, (old - 1) * kWord);
        doMemFree(payload);
        return moved;
    }
    --m_blocks; // two became one
    if (grown > need + kSpare)
    {
        addFreeNode(split(block, need), true);
        grown = need;
    }
    if (!isLast(block))
        *above(block) |= kPreviousInUse;
    m_usedWords += grown - old;
    return block + 1;
}

// --- looking at it --------------------------------------------------------------------------------------------------

INT32 KxcMemoryManager::doCheckIntegrity()
{
    for (UINT32* block = m_pool;;)
    {
        const UINT32 size = sizeOf(block);
        if (size < kSmallest || size > m_poolWords - static_cast<UINT32>(block - m_pool))
            return 0;
        if (isFree(block))
        {
            Node node = size < kLarge ? m_smallLists[size - kSmallest] : m_pageIndex[pageOf(block)];
            for (UINT32 steps = 0; node != nodeOf(block); node = next(at(node)))
                if (!node || node > m_poolWords || ++steps > m_blocks)
                    return 0;
        }
        if (isLast(block) || isLast(above(block)))
            return 1;
        block = above(block);
    }
}

void KxcMemoryManager::drawMemoryMap(UINT32* pixels, UINT32 count)
{
    constexpr UINT32 kHeader = 0x0000FFFF, kUsed = 0x00C00000, kFree = 0;
    const UINT32* const end = pixels + count;
    for (UINT32* block = m_pool; pixels < end; block = above(block))
    {
        *pixels++ = kHeader;
        for (UINT32 word = 1; word < sizeOf(block) && pixels < end; ++word)
            *pixels++ = isFree(block) ? kFree : kUsed;
        if (isLast(block))
            return;
    }
}

void KxcMemoryManager::savePicture(UINT32 width)
{
    static INT32 counter; // of all pictures of the process
    width = width ? width : m_mapWidth;
    const UINT32 height = m_poolWords / width > 0 ? m_poolWords / width : 1;
    const UINT64 bytes = static_cast<UINT64>(width) * height * kWord;
    void* memory = bytes <= INT32_MAX ? KxcCore::allocateSystemMemory(static_cast<INT32>(bytes)) : nullptr;
    if (!memory)
        return;
    std::memset(memory, 0xA0, static_cast<size_t>(bytes));
    drawMemoryMap(static_cast<UINT32*>(memory), width * height);
    const Picture picture = {static_cast<UINT32*>(memory), width};
    kxcSaveNumberedBitmap("memmap%04d.bmp", counter, static_cast<INT32>(width), static_cast<INT32>(height), pictureRow,
                          &picture);
    KxcCore::freeSystemMemory(memory);
}
