// memory_manager.h - a heap of a fixed size: one pool of 32-bit words, taken from the system at start-up.
//
// For devices with little memory, and for games that want to know what they need: nothing is taken from the system
// later, what is free is counted to the word, and when the pool is exhausted a picture of it is written to a file.
// On the desktop nothing uses this heap unless the game asks for it:
//
//   kxcUseMemoryManager(4 << 20);                                // in the game's init function
//   void* level = KxcMemoryManager::memAlloc(levelBytes, 0);     // from the bottom of the pool
//   void* scratch = KxcMemoryManager::memAlloc(scratchBytes, 1); // from its top: never between two levels
//   ...
//   KxcMemoryManager::memFree(scratch);
#pragma once

#include <kxcoreemb/base.h>

class KxcMutex;

/// Makes the heap of this run, with a pool of so many bytes, once; the core frees it when it is torn down. A pool that
/// the system cannot give ends the program with a message (KxcCore::systemPanic). @return 1, or 0 without a core or
/// when there is a heap
KXC_API KxcINT32 kxcUseMemoryManager(KxcUINT32 bytes);

/// The form of KxcMemoryManager::setOwner for allocation macros.
KXC_API void memmgrsetowner(const char* file, KxcUINT32 line);

/// What a debug variant of the heap keeps of each block.
struct KxcMemoryManagerDebugData
{
    void* block;      ///< its payload
    const char* file; ///< whose owner allocated it
    KxcINT32 size;    ///< in bytes
    KxcINT16 line;    ///< likewise
};

/// The engine's heap.
///
/// A block is a header word and its payload, at least 16 bytes together, aligned to 4 bytes. Blocks are placed by exact
/// size (up to 72 bytes of payload) or where they fit first; freed ones are merged only when an allocation finds
/// nothing, or on coalesceMemory(). Free blocks up to 19 words live in one list for each size, larger ones in one list
/// ordered by address.
///
/// Threads    all operations may be called from any thread, but getFreeMemory, setOwner and saveMemoryMap only while
///            no other thread uses the heap.
/// Failure    without a heap, all operations answer 0. An exhausted pool is drawn into "memmap0001.bmp" (or the next
///            free number) in the current directory; then the allocation answers null, or ends the program if
///            KxcCore::setOutOfMemoryAction(1) says so.
class KXC_API KxcMemoryManager
{
public:
    KxcMemoryManager() = default;
    ~KxcMemoryManager() { deInitialize(); }
    KxcMemoryManager(const KxcMemoryManager&) = delete;
    KxcMemoryManager& operator=(const KxcMemoryManager&) = delete;

    /// Allocates a block.
    /// @param flags  bit 0: from the top of the pool, else from the bottom
    /// @return at least `size` bytes, undefined; null for a size of 0 and when the pool is exhausted
    static void* memAlloc(KxcUINT32 size, KxcUINT32 flags);
    static void* memCalloc(KxcUINT32 count, KxcUINT32 size); ///< zeroed; count x size wraps at 2^32
    /// Gives a block another size, where it is if possible; what it holds moves with it, as far as it fits. A null
    /// block is allocated, a size of 0 frees it. @return the block; null when the pool is exhausted, where the old
    /// block stays, and for what is no block in use
    static void* memRealloc(void* block, KxcUINT32 size);
    /// Blocks outside the pool are taken for KxcCore::allocateSystemMemory's. @return 1; 0 for null and for free blocks
    static KxcINT32 memFree(void* block);
    static KxcUINT32 memSize(void* block); ///< the bytes of a block with its header; 0 for null and for free blocks
    static KxcUINT32 getFreeMemory();      ///< the bytes of all free blocks, but a word for each block, free or not
    static void coalesceMemory();          ///< merges free blocks that touch each other
    static KxcINT32 checkIntegrity();      ///< 1 when every free block is in the list of its size
    /// Draws the pool, a pixel for each word: headers cyan, used words red, free words black.
    /// @param width  of the picture, in pixels; 0 for 1024
    static void saveMemoryMap(KxcUINT32 width);

    static void setOwner(const char* file, KxcUINT32 line); ///< who allocates next; for a debugger to look at
    static KxcINT32 checkGuardzones();                      ///< 0: this heap has none
    static void printDebugData();                           ///< no effect
    static void debugException(char* format, ...);          ///< likewise

    /// Takes the pool from the system; at least 16 bytes, at most 2^31 - 4. Panics when it has none.
    void initialize(KxcUINT32 bytes);
    void deInitialize(); ///< gives it back; harmless twice

protected:
    void* doMemAlloc(KxcUINT32 size, KxcUINT32 flags);
    void* doMemRealloc(void* block, KxcUINT32 size);
    KxcINT32 doMemFree(void* block);
    KxcUINT32 doMemSize(void* block);
    KxcINT32 doCheckIntegrity();
    void doSetOwner(const char* file, KxcUINT32 line);

    // What a debug variant keeps beside each block; nothing here.
    void doPrintDebugData() {}
    KxcINT32 doCheckGuardzones() { return 0; }
    void addDebugData(void*, KxcUINT32) {}
    void updateDebugData(void*, void*, KxcUINT32) {}
    void removeDebugData(void*) {}
    void* findDebugData(void*) { return nullptr; }
    void addProfileData(KxcUINT32) {}
    KxcUINT32 calculateChecksum(void*) { return 0; }

    typedef KxcUINT32 Node; // of a list: a block's word number, counted from 1; 0 for none

    bool initMemMap();
    void addFreeNode(KxcUINT32* block, bool updateIndex);
    void removeNode(KxcUINT32* block, bool updateIndex);
    void fillIndices(KxcUINT32* block, Node value);
    KxcUINT32* findFreeBlock(KxcUINT32 need, KxcUINT32 flags, bool coalescing);
    KxcUINT32* findFromVariableSize(KxcUINT32 need, KxcUINT32 flags);
    void coalesce(KxcUINT32* block, Node& resume);
    void coalesceAll();
    void drawMemoryMap(KxcUINT32* pixels, KxcUINT32 count);

private:
    struct Lock;
    static void panicWhenAsked(KxcUINT32 size);
    void savePicture(KxcUINT32 width);

    KxcUINT32* at(Node node) const { return m_pool + (node - 1); }
    Node nodeOf(const KxcUINT32* block) const { return static_cast<Node>(block - m_pool) + 1; }
    bool inPool(const void* block) const;
    KxcUINT32 pageOf(const KxcUINT32* block) const;
    KxcUINT32* tree() const;
    KxcUINT32 largest(KxcUINT32 page) const;
    KxcUINT32 largestBeside(KxcUINT32* block) const;
    void replaceNode(KxcUINT32* block, KxcUINT32 size, KxcUINT32* rest);
    void setLargest(KxcUINT32 page, KxcUINT32 size);
    void setFree(KxcUINT32* block, KxcUINT32 size, KxcUINT32 flags);
    void* take(KxcUINT32* block, KxcUINT32 need, KxcUINT32 flags);
    KxcUINT32* split(KxcUINT32* block, KxcUINT32 need);

    KxcUINT32 m_state = 0; // 3 after initialize
    KxcUINT32 m_poolWords = 0, m_usedWords = 0, m_blocks = 0;
    KxcUINT32* m_pool = nullptr;
    Node* m_smallLists = nullptr; // of 4 to 19 words
    Node m_largeHead = 0, m_largeTail = 0;
    /// The first large free block on each page of 8192 bytes or behind it; after these, a tree of the largest on each.
    Node* m_pageIndex = nullptr;
    KxcMutex* m_mutex = nullptr;
    const char* m_ownerFile = nullptr;
    KxcUINT32 m_ownerLine = 0;
    KxcUINT32 m_mapWidth = 1024;
    KxcUINT32 m_reserved[2] = {};
};
