// cfl_memory_test.cpp - how much memory an archive's lie can obtain.
#include "files/file_support.h"
#include "support/failing_new.h"

#include <kxcoreemb/cfl.h>
#include <kxcoreemb/cfl_filter.h>
#include <kxcoreemb/cfl_maker.h>

#include <cstring>

namespace
{
class ArchiveMemory : public Files
{
protected:
    ArchiveMemory() { kxcUseCFLFilterZlib(); }

    static INT32 store(KxcCFLMaker* maker, const char* name, const std::string& text)
    {
        return maker->store(name, reinterpret_cast<const INT8*>(text.data()), static_cast<INT32>(text.size()), 1);
    }
    static KxcFile* memoryFile(const std::string& bytes)
    {
        INT8* data = new INT8[bytes.size()];
        memcpy(data, bytes.data(), bytes.size());
        return KxcFile::open("memory", data, static_cast<UINT32>(bytes.size()));
    }
    /// Whether the archive opens and its entry "a" has the text.
    static bool reads(KxcFile* file, const std::string& text)
    {
        const std::unique_ptr<KxcCFL> directory(KxcCFL::create(file));
        INT32 size = 0;
        const std::unique_ptr<INT8[]> data(directory ? directory->getFile("a", size) : nullptr);
        return data && static_cast<size_t>(size) == text.size() && memcmp(data.get(), text.data(), text.size()) == 0;
    }
    const std::string text = std::string(1000, 't');
};
} // namespace

TEST_F(ArchiveMemory, IsNotGivenForSizesThatTheFileCannotReach)
{
    KxcCFLMaker* maker = KxcCFLMaker::create("a.cfl");
    store(maker, "a", text);
    ASSERT_EQ(maker->finish(1), 1);
    const std::string whole = onDisk("a.cfl");
    for (size_t at = 0; at + 4 <= whole.size(); ++at)
        for (UINT32 lie : {0x7FFFFFFFu, 0xFFFFFFFFu, 0x00100000u, 0x7FFFFF00u})
        {
            std::string changed = whole;
            changed.replace(at, 4, u32(lie));
            KxcFile* file = memoryFile(changed);
            takeLargestAllocation();
            reads(file, text);
            EXPECT_LT(takeLargestAllocation(), whole.size() * 1032) << at << " " << lie;
        }
}
