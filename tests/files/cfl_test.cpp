// cfl_test.cpp - archives: overriding, finding them in other files, and what damage does to them.
#include "files/file_support.h"

#include <kxcoreemb/cfl.h>
#include <kxcoreemb/cfl_filter.h>

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
    const std::string whole = archiveOf({{"first", "some bytes"}, {"second", "more bytes than before"}});
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
