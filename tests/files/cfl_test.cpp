// cfl_test.cpp - archives: overriding, finding them in other files, and what damage does to them.
#include "files/file_support.h"

#include <kxcoreemb/cfl.h>
#include <kxcoreemb/cfl_filter.h>
#include <kxcoreemb/cfl_maker.h>

#include <cstring>

typedef std::unique_ptr<KxcCFL> Directory;

static KxcFile* memoryFile(const std::string& bytes)
{
    INT8* data = new INT8[bytes.size()];
    memcpy(data, bytes.data(), bytes.size());
    return KxcFile::open("memory", data, static_cast<UINT32>(bytes.size()));
}

static std::string entry(KxcCFL* directory, const char* name)
{
    INT32 size = -1;
    std::unique_ptr<INT8[]> data(directory->getFile(name, size));
    return data ? std::string(reinterpret_cast<char*>(data.get()), static_cast<size_t>(size)) : "-";
}

TEST(ArchiveHash, GivesTheKnownValuesThatStoredNamesRestOn)
{
    EXPECT_EQ(KxcCFLDirectoryEntry::calcHash(""), 0);
    EXPECT_EQ(KxcCFLDirectoryEntry::calcHash("a"), 97);
    EXPECT_EQ(KxcCFLDirectoryEntry::calcHash("ab"), 203423842);
    EXPECT_EQ(KxcCFLDirectoryEntry::calcHash("Logo.tga"), 1213274733);
    EXPECT_EQ(KxcCFLDirectoryEntry::calcHash("data/logo.pcx"), -400486147);
}

TEST_F(Files, AreFoundByNameHoweverManyArchivesAreOpened)
{
    std::vector<std::pair<std::string, std::string>> first, second;
    for (int i = 0; i < 150; ++i)
    {
        first.emplace_back("n" + std::to_string(i), "first");
        second.emplace_back("n" + std::to_string(100 + i), "second");
    }
    putArchive("first.cfl", first);
    putArchive("second.cfl", second);
    for (int i = 0; i < 250; ++i)
        EXPECT_EQ(entry(kxcCore->archives, ("n" + std::to_string(i)).c_str()), i < 100 ? "first" : "second") << i;
    EXPECT_FALSE(kxcCore->archives->fileExists("n250"));
}

TEST_F(Files, HaveDirectoryEntriesThatAreStoredRestoredAndReplaced)
{
    typedef std::unique_ptr<KxcCFLDirectoryEntry> Entry;
    putArchive("a.cfl", {{"one", "1"}, {"two", "22"}});
    std::vector<INT8> records;
    INT32 written = 0;
    for (const KxcCFLDirectoryEntry* e = kxcCore->archives->getFirstEntry(); e; e = e->getNext())
    {
        records.resize(records.size() + static_cast<size_t>(e->byteRequirement()));
        e->store(records.data(), written);
    }
    ASSERT_EQ(static_cast<size_t>(written), records.size());
    INT32 read = 0;
    const Entry a(KxcCFLDirectoryEntry::restore(records.data(), read));
    Entry b(KxcCFLDirectoryEntry::restore(records.data(), read));
    EXPECT_EQ(read, written);
    const std::string names = std::string(a->getName()) + b->getName();
    EXPECT_TRUE(names == "onetwo" || names == "twoone") << names;
    EXPECT_TRUE(a->equals(a->getName(), KxcCFLDirectoryEntry::calcHash(a->getName())));
    EXPECT_FALSE(a->equals(b->getName(), KxcCFLDirectoryEntry::calcHash(b->getName())) || a->equals(a->getName(), 0));
    const INT32 size = b->getSize();
    a->replaceEntry(b.release());
    EXPECT_EQ(a->getSize(), size);
}

TEST_F(Files, InLaterArchivesOverrideThoseInEarlierOnes)
{
    putArchive("a.cfl", {{"x", "old x"}, {"y", "y of a"}, {"Logo.tga", "upper"}, {"logo.tga", "lower"}, {"none", ""}});
    putArchive("b.cfl", {{"z", "z of b"}, {"x", "new x"}});
    KxcCFL* directory = kxcCore->archives;
    EXPECT_EQ(entry(directory, "x"), "new x");
    EXPECT_EQ(entry(directory, "y"), "y of a");
    EXPECT_EQ(entry(directory, "Logo.tga") + entry(directory, "logo.tga"), "upperlower");
    EXPECT_EQ(entry(directory, "none"), "-");
    EXPECT_EQ(directory->fileExists("none"), 1);
    EXPECT_EQ(directory->fileExists("LOGO.TGA") + directory->fileExists(nullptr) + directory->getFileSize("absent"), 0);
    INT8 buffer[8] = {};
    EXPECT_EQ(directory->getFile("x", buffer, 3), 3);
    EXPECT_STREQ(reinterpret_cast<char*>(buffer), "new");
    EXPECT_EQ(directory->getFile("x", nullptr, 3) + directory->getFile("x", buffer, -1), 0);
    EXPECT_STREQ(directory->compressionInfoString("x"), "No compression");
    EXPECT_EQ(directory->encryptionInfoString("absent"), nullptr);
    KxcFile* file = directory->getFilePtr("y");
    EXPECT_EQ(directory->getFileOfs("y"), 12 + 4 + 5);
    EXPECT_EQ(file->tell(), directory->getFileOfs("y") + 4);
    EXPECT_EQ(file->getChar(), 'y');
    directory->dropFilePtr(file);
}

TEST_F(Files, OfArchivesAreFoundAtAnOffsetAtTheEndAndInsideOtherArchives)
{
    const std::string archive = archiveOf({{"x", "inside"}});
    put("appended", "a program" + archive);
    put("offset", "12345" + archive + "more");
    for (const char* name : {"appended", "offset"})
    {
        Directory directory(KxcCFL::create(name, *name == 'o' ? 5 : 0));
        ASSERT_TRUE(directory) << name;
        EXPECT_EQ(entry(directory.get(), "x"), "inside");
    }
    EXPECT_EQ(KxcCFL::create("offset"), nullptr) << "neither magic is where it should be";
    EXPECT_EQ(KxcCFL::create("appended", -1), nullptr);
    EXPECT_EQ(KxcCFL::create("absent"), nullptr);

    KxcFile* file = memoryFile("12345" + archive);
    file->seek(5, 0);
    Directory kept(KxcCFL::create(file));
    KxcFile* pointer = kept->getFilePtr("x");
    EXPECT_EQ(pointer, file);
    kept->dropFilePtr(pointer);
    EXPECT_EQ(entry(kept.get(), "x"), "inside");
    EXPECT_EQ(KxcCFL::create(memoryFile("no archive at all")), nullptr);
    EXPECT_EQ(KxcCFL::create(static_cast<KxcFile*>(nullptr)), nullptr);

    putArchive("outer", {{"inner", archive}});
    EXPECT_EQ(KxcCore::openCFL("inner"), 1);
    EXPECT_EQ(content("x", KXCFILE_CFL_ONLY), "inside");
}

TEST_F(Files, OfArchivesThatHoldThemselvesAreRefusedNotSoughtForEver)
{
    putArchive("a", {{"b", archiveOf({{"deep", "1"}})}, {"a", "not an archive"}});
    putArchive("b", {{"a", archiveOf({{"deeper", "2"}})}});
    std::filesystem::remove(root + "a");
    std::filesystem::remove(root + "b"); // now a is sought in b, and b in a
    for (UINT32 strategy : {KXCFILE_DISK_FIRST, KXCFILE_CFL_FIRST, KXCFILE_CFL_ONLY})
    {
        KxcCore::setFileOpenStrategy(static_cast<INT32>(strategy));
        EXPECT_EQ(content("a", KXCFILE_CFL_ONLY), "-");
        EXPECT_EQ(content("deep", KXCFILE_CFL_ONLY), "-");
    }
}

TEST_F(Files, OfDamagedArchivesAreRefusedOrReadInBoundsWhereverTheyAreCutOrChanged)
{
    kxcUseCFLFilterZlib();
    KxcCFLMaker* maker = KxcCFLMaker::create("zlib.cfl");
    for (const char* name : {"first", "second", "third"})
        maker->store(name, reinterpret_cast<const INT8*>("bytes that zlib makes shorter, shorter, shorter"), 47, 1);
    ASSERT_EQ(maker->finish(1), 1);
    const std::string archives[] = {archiveOf({{"first", "some bytes"}, {"second", "more bytes than before"}}),
                                    onDisk("zlib.cfl")};
    const auto visit = [](const std::string& bytes)
    {
        Directory directory(KxcCFL::create(memoryFile(bytes)));
        if (!directory)
            return false;
        for (const KxcCFLDirectoryEntry* e = directory->getFirstEntry(); e; e = e->getNext())
        {
            const std::string data = entry(directory.get(), e->getName());
            EXPECT_TRUE(data == "-" || data.size() == static_cast<size_t>(directory->getFileSize(e->getName())));
            KxcFile* file = directory->getFilePtr(e->getName());
            directory->dropFilePtr(file);
            directory->getFileOfs(e->getName());
        }
        return true;
    };
    for (const std::string& whole : archives)
    {
        EXPECT_TRUE(visit(whole));
        for (size_t length = 0; length + 8 < whole.size(); ++length)
            EXPECT_FALSE(visit(whole.substr(0, length))) << length;
        for (size_t at = 0; at < whole.size(); ++at)
            for (char bit : {'\x01', '\x80', '\xFF', '\x7F'})
            {
                std::string changed = whole;
                changed[at] = static_cast<char>(changed[at] ^ bit);
                visit(changed);
                visit("xxxx" + changed); // found through the trailer
            }
    }
}

TEST_F(Files, OfArchivesThatLieAreRefusedAndChangeNothing)
{
    kxcUseCFLFilterZlib();
    putArchive("good.cfl", {{"x", "old"}});
    const std::string whole = archiveOf({{"x", "new"}, {"y", "other"}});
    const size_t directory = whole.size() - 8 - 30; // two records of 15 bytes
    const auto patched = [&whole](size_t at, UINT32 value) { return std::string(whole).replace(at, 4, u32(value)); };
    // A directory of a million entries that all lie in the same four bytes, as large as zlib allows.
    std::string many;
    for (INT32 i = 0; i < 1000000; ++i)
        many += u32(1) + u32(12) + u32(0) + std::string("\0", 2);
    UINT32 word = 1;
    const std::unique_ptr<KxcCFLResource> packed(KxcCFLResourceFilter::handle(
        reinterpret_cast<const INT8*>(many.data()), static_cast<UINT32>(many.size()), word));
    const std::string bomb = "CFL3" + u32(17) + u32(14000000) + u32(1) + "x" + u32(1) + u32(packed->getLength()) +
                             std::string(reinterpret_cast<const char*>(packed->getData()), packed->getLength());
    const std::pair<const char*, std::string> lies[] = {
        {"a directory longer than it is", patched(8, 31)},
        {"a directory shorter than it is", patched(8, 29)},
        {"a directory without a length", patched(8, 0)},
        {"a directory behind the end", patched(4, 1000)},
        {"a directory at a negative place", patched(4, 0xFFFFFFF0)},
        {"a directory that goes on behind the end", patched(directory - 4, 1000)},
        {"a directory filter that nobody knows", patched(directory - 8, 7)},
        {"a record that runs past the directory", patched(directory + 15 + 12, 0x7A000002)},
        {"a size that no file has", patched(directory, 0x80000000)},
        {"a name that nobody can ask for", std::string(whole).replace(directory + 14, 1, 1, '\0')},
        {"more entries than there is room for", bomb}};
    for (const auto& [lie, bytes] : lies)
    {
        put("liar.cfl", bytes);
        EXPECT_EQ(KxcCore::openCFL("liar.cfl"), 0) << lie;
        EXPECT_EQ(content("x", KXCFILE_CFL_ONLY), "old") << lie;
    }
    const std::pair<const char*, std::string> entryLies[] = {
        {"an entry longer than it is", patched(directory, 4)},
        {"an entry shorter than it is", patched(directory, 2)},
        {"an entry behind the end", patched(directory + 4, 0x7FFFFFFF)},
        {"an entry that goes on behind the end", patched(12, 0x7FFFFFFF)},
        {"a zlib stream that is none", patched(directory + 8, 1)}};
    for (const auto& [lie, bytes] : entryLies)
    {
        put("liar.cfl", bytes);
        EXPECT_EQ(KxcCore::openCFL("liar.cfl"), 1) << lie;
        EXPECT_EQ(content("x", KXCFILE_CFL_ONLY), "-") << lie;
        EXPECT_EQ(content("y", KXCFILE_CFL_ONLY), "other") << lie;
    }
}
