// file_test.cpp - names, stores and strategies; warnings; disk files; values and strings; the search for names.
#include "files/file_support.h"

#include <algorithm>
#include <chrono>
#include <cstring>

typedef std::vector<std::string> Names;

TEST_F(Files, AreLookedUpInTheStoresOfTheirStrategy)
{
    put("both", "disk");
    put("disk", "disk");
    putArchive("a.cfl", {{"both", "archive"}, {"archived", "archive"}});
    const struct
    {
        UINT32 strategy;
        const char *both, *disk, *archived;
    } cases[] = {{KXCFILE_DEFAULT, "disk", "disk", "archive"},
                 {KXCFILE_DISK_FIRST, "disk", "disk", "archive"},
                 {KXCFILE_CFL_FIRST, "archive", "disk", "archive"},
                 {KXCFILE_DISK_ONLY, "disk", "disk", "-"},
                 {KXCFILE_CFL_ONLY, "archive", "-", "archive"}};
    const auto whole = [](const char* name, UINT32 strategy)
    {
        std::unique_ptr<INT8[]> data(KxcFile::getFile(name, strategy));
        const INT32 size = KxcFile::getFileSize(name, strategy);
        EXPECT_EQ(data == nullptr, size == 0);
        return data ? std::string(reinterpret_cast<char*>(data.get()), static_cast<size_t>(size)) : "-";
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(content("both", c.strategy), c.both) << c.strategy;
        EXPECT_EQ(content("disk", c.strategy), c.disk) << c.strategy;
        EXPECT_EQ(content("archived", c.strategy), c.archived) << c.strategy;
        EXPECT_EQ(whole("both", c.strategy), c.both) << c.strategy;
        EXPECT_EQ(whole("disk", c.strategy), c.disk) << c.strategy;
        EXPECT_EQ(whole("archived", c.strategy), c.archived) << c.strategy;
    }
    EXPECT_EQ(content("both", 7), "-");
    KxcCore::setFileOpenStrategy(KXCFILE_CFL_FIRST);
    EXPECT_EQ(content("both", KXCFILE_DEFAULT), "archive");
    EXPECT_EQ(KxcFile::fileExists("both"), 3);
    EXPECT_EQ(KxcFile::fileExists("archived"), 1);
    EXPECT_EQ(KxcFile::fileExists("disk"), 2);
    EXPECT_EQ(KxcFile::fileExists("none"), 0);
}

TEST_F(Files, AreNeverWrittenIntoAnArchive)
{
    putArchive("a.cfl", {{"new", "archive"}});
    for (const char* mode : {"wb", "ab", "r+b", "W", "A"})
        EXPECT_EQ(KxcFile::openCFLFile("new", mode), nullptr) << mode;
    KxcFile* file = KxcFile::open("new", "wb", KXCFILE_CFL_FIRST);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->write("abcdef", 2, 3), 3);
    EXPECT_EQ(file->putChar('g'), 'g');
    EXPECT_EQ(file->close(), 0);
    EXPECT_EQ(onDisk("new"), "abcdefg");
}

TEST_F(Files, OnDiskSeekTellAndEndLikeStdio)
{
    put("ten", "0123456789");
    KxcFile* file = KxcFile::openDiskFile("ten", "rb");
    ASSERT_TRUE(file);
    EXPECT_STREQ(file->getFilename(), "ten");
    EXPECT_EQ(file->seek(-5, 2), 0);
    EXPECT_EQ(file->tell(), 5);
    EXPECT_NE(file->seek(-1, 0), 0);
    EXPECT_NE(file->seek(0, 3), 0);
    char buffer[16];
    EXPECT_EQ(file->read(buffer, 2, 2), 2);
    EXPECT_EQ(file->endOfFile(), 0);
    EXPECT_EQ(file->read(buffer, 4, 4), 0) << "one byte is left, no whole element";
    EXPECT_NE(file->endOfFile(), 0);
    EXPECT_EQ(file->getChar(), -1);
    EXPECT_EQ(file->read(nullptr, 1, 1) + file->read(buffer, 0, 1) + file->read(buffer, 1, -1), 0);
    file->close();
    put("empty", "");
    std::unique_ptr<INT8[]> empty(KxcFile::getFile("empty", KXCFILE_DEFAULT));
    EXPECT_TRUE(empty) << "an empty file is there";
}

TEST_F(Files, WarnAboutBackslashesAndCaseAndOpenAllTheSame)
{
    std::filesystem::create_directory(root + "Data");
    put("Data/foo.pcx", "x");
    put("bar.pcx", "y");
    const std::string title = "Brunvik minefield: ";
    const struct
    {
        const char *name, *content, *warning;
    } cases[] = {{"Data/foo.pcx", "x", ""},
                 {"data/FOO.PCX", "x", ""}, // with a folder, the lengths differ
                 {"data\\foo.pcx", "x", "Backslash used in disk filename:\n data\\foo.pcx"},
                 {"BAR.pcx", "y", "Case mismatch in disk file:\ndisk:bar.pcx\ncode:BAR.pcx"},
                 {"bar.pcx", "y", ""},
                 {"ba.pcx", "-", ""},
                 {"Data", "-", ""}, // a folder is no file
                 {"", "-", ""}};
    for (const auto& c : cases)
    {
        shownMessages().clear();
        EXPECT_EQ(content(c.name, KXCFILE_DISK_ONLY), c.content) << c.name;
        EXPECT_EQ(shownMessages(), *c.warning ? Names{title + c.warning} : Names{}) << c.name;
    }
    shownMessages().clear();
    EXPECT_EQ(content(("//" + root + "BAR.PCX").c_str(), KXCFILE_DISK_ONLY), "y") << "raw names are not compared";
    EXPECT_TRUE(shownMessages().empty());
}

TEST_F(Files, ThatExistInAnotherCaseAreTheSameFile)
{
    std::filesystem::create_directory(root + "Save");
    put("Save/One.dat", "old");
    KxcFile* file = KxcFile::openDiskFile("SAVE/ONE.DAT", "wb");
    ASSERT_TRUE(file);
    file->writeCHAR8String("new");
    file->close();
    EXPECT_EQ(onDisk("Save/One.dat"), std::string("new", 4));
    put("Save/ONE.dat", "exact"); // where both exist, the exact spelling wins
    EXPECT_EQ(content("save/ONE.dat", KXCFILE_DISK_ONLY), "exact");
    EXPECT_EQ(KxcFile::remove("Save/ONE.dat"), 0);

    EXPECT_EQ(KxcFile::mkdir("save"), 0);
    EXPECT_EQ(KxcFile::mkdir("save/Deep"), 1);
    EXPECT_TRUE(std::filesystem::exists(root + "Save/Deep"));
    EXPECT_EQ(KxcFile::remove("save/deep"), -1) << "a folder is no file";
    EXPECT_EQ(KxcFile::rmdir("save"), 0) << "it is not empty";
    EXPECT_EQ(KxcFile::rmdir("SAVE/DEEP"), 1);

    EXPECT_EQ(KxcFile::rename("save/one.dat", "save/ONE.dat"), 0);
    EXPECT_EQ(onDisk("Save/ONE.dat"), std::string("new", 4));
    put("Save/two", "2");
    EXPECT_EQ(KxcFile::rename("Save/two", "Save/one.DAT"), -1) << "another file is never replaced";
    EXPECT_EQ(KxcFile::rename("Save/none", "Save/x"), -1);
    EXPECT_EQ(KxcFile::rename("Save/two", "save/Three"), 0);
    EXPECT_EQ(onDisk("Save/Three"), "2");
    EXPECT_EQ(KxcFile::remove("SAVE/THREE"), 0);
    EXPECT_EQ(KxcFile::remove("SAVE/THREE"), -1);
}

TEST_F(Files, AppearAndVanishAlthoughFolderListingsAreKept)
{
    for (INT32 round = 0; round < 3; ++round)
    {
        // A folder that has rested for an hour, so that its listing is kept.
        std::filesystem::last_write_time(root, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
        EXPECT_EQ(content("FILE", KXCFILE_DISK_ONLY), "-");
        EXPECT_EQ(content("FILE", KXCFILE_DISK_ONLY), "-");
        put("file", "x");
        EXPECT_EQ(content("FILE", KXCFILE_DISK_ONLY), "x");
        EXPECT_EQ(KxcFile::remove("FILE"), 0);
    }
}

struct PathMaker : KxcFile
{
    using KxcFile::makeDiskFilenameString;
};

TEST_F(Files, HaveDiskPathsOfAtMost511Bytes)
{
    std::unique_ptr<char[]> path(PathMaker::makeDiskFilenameString("Data/Foo.pcx"));
    EXPECT_EQ(path.get(), executable.substr(0, root.size()) + "Data\\Foo.pcx");
    std::string folder(200, 'f');
    std::filesystem::create_directory(root + folder);
    const std::string fits = folder + "/" + std::string(511 - root.size() - 201 - 100, '/') + std::string(100, 'n');
    KxcFile* file = KxcFile::openDiskFile(fits.c_str(), "wb");
    ASSERT_TRUE(file);
    file->close();
    EXPECT_EQ(KxcFile::fileExists(fits.c_str()), 2);
    const std::string longer = "/" + fits;
    EXPECT_EQ(KxcFile::openDiskFile(longer.c_str(), "wb"), nullptr);
    EXPECT_EQ(PathMaker::makeDiskFilenameString(longer.c_str()), nullptr);
    EXPECT_EQ(KxcFile::mkdir(longer.c_str()), 0);
    EXPECT_EQ(KxcFile::rename(fits.c_str(), longer.c_str()), -1);
    EXPECT_EQ(KxcFile::remove(std::string(100000, 'x').c_str()), -1);
    shownMessages().clear();
    KxcFile::fileExists((std::string(300, '\\') + "x").c_str());
    EXPECT_EQ(shownMessages().size(), 1u) << "a long name makes a long message";
}

TEST_F(Files, RefuseNullNamesAndModes)
{
    EXPECT_EQ(KxcFile::open(nullptr, "rb", KXCFILE_DEFAULT), nullptr);
    EXPECT_EQ(KxcFile::openDiskFile("a", nullptr), nullptr);
    EXPECT_EQ(KxcFile::getFile(nullptr, KXCFILE_DEFAULT), nullptr);
    EXPECT_EQ(KxcFile::getFileSize(nullptr, KXCFILE_CFL_FIRST) + KxcFile::fileExists(nullptr), 0);
    EXPECT_EQ(KxcFile::mkdir(nullptr) + KxcFile::rmdir(nullptr), 0);
    EXPECT_EQ(KxcFile::remove(nullptr) + KxcFile::rename("a", nullptr) + KxcFile::rename(nullptr, "a"), -3);
    EXPECT_EQ(KxcFile::open("a", static_cast<const INT8*>(nullptr), 1), nullptr);
}

static KxcFile* memoryFile(const std::string& bytes)
{
    INT8* data = new INT8[bytes.size()];
    memcpy(data, bytes.data(), bytes.size());
    return KxcFile::open("memory", data, static_cast<UINT32>(bytes.size()));
}

TEST(MemoryFile, ClampsItsPositionAndRefusesWrites)
{
    KxcFile* file = memoryFile("0123456789");
    const struct
    {
        INT32 offset, whence, position;
    } seeks[] = {{-5, 2, 5},          {20, 0, 10}, {3, 0, 3},         {0, 7, 3},           {2, 1, 5}, {-9, 1, 0},
                 {0x7FFFFFFF, 1, 10}, {5, 2, 10},  {INT32_MIN, 2, 0}, {0x7FFFFFFF, 2, 10}, {-5, 2, 5}};
    for (const auto& seek : seeks)
    {
        EXPECT_EQ(file->seek(seek.offset, seek.whence), 0);
        EXPECT_EQ(file->tell(), seek.position) << seek.offset << " from " << seek.whence;
    }
    char buffer[12] = {};
    EXPECT_EQ(file->read(buffer, 4, 3), 1) << "a partial element is copied, but not counted";
    EXPECT_STREQ(buffer, "56789");
    EXPECT_EQ(file->tell(), 10);
    EXPECT_EQ(file->endOfFile(), 1);
    EXPECT_EQ(file->getChar(), -1);
    file->seek(0, 0);
    EXPECT_EQ(file->read(buffer, 0, 5) + file->read(buffer, -1, 5) + file->read(nullptr, 1, 1), 0);
    char all[10];
    EXPECT_EQ(file->read(all, 0x40000000, 4), 0) << "a product beyond 32 bits";
    EXPECT_EQ(file->tell(), 10);
    EXPECT_EQ(file->write("x", 1, 1), -1);
    EXPECT_EQ(file->putChar('x'), -1);
    EXPECT_EQ(file->close(), 0);
}

TEST_F(Files, StoreValuesLittleEndianAndReadThemBack)
{
    KxcFile* file = KxcFile::openDiskFile("values", "w+b");
    EXPECT_EQ(file->writeINT8(-2) + file->writeUINT8(254) + file->writeINT16(-2) + file->writeUINT16(0x1234), 4);
    EXPECT_EQ(file->writeINT32(-2) + file->writeUINT32(0x12345678), 2);
    EXPECT_EQ(file->writeFLOAT32(-1.5f) + file->writeFLOAT64(-1.5), 2);
    file->seek(0, 0);
    EXPECT_EQ(file->readINT8(), -2);
    EXPECT_EQ(file->readUINT8(), 254);
    EXPECT_EQ(file->readINT16(), -2);
    EXPECT_EQ(file->readUINT16(), 0x1234);
    EXPECT_EQ(file->readINT32(), -2);
    EXPECT_EQ(file->readUINT32(), 0x12345678u);
    EXPECT_EQ(file->readFLOAT32(), -1.5f);
    FLOAT64 value = 7;
    EXPECT_EQ(file->readFLOAT64(value), 1);
    EXPECT_EQ(value, -1.5);
    EXPECT_EQ(file->readFLOAT64(value), 0);
    EXPECT_EQ(value, -1.5) << "a failed read changes nothing";
    EXPECT_EQ(file->readINT32(), 0);
    file->close();
    const std::string expected(
        "\xFE\xFE\xFE\xFF\x34\x12\xFE\xFF\xFF\xFF\x78\x56\x34\x12\0\0\xC0\xBF\0\0\0\0\0\0\xF8\xBF", 26);
    EXPECT_EQ(onDisk("values"), expected);
}

TEST_F(Files, StoreStringsAndReadDamagedOnesAsFarAsTheyGo)
{
    const CHAR16 wide[] = {0x1234, -2, 0};
    KxcFile* file = KxcFile::openDiskFile("strings", "w+b");
    EXPECT_EQ(file->writeCHARString("\xE9") + file->writeCHAR8String("ab") + file->writeCHAR16String(wide), 3);
    EXPECT_EQ(file->writeCHARString("") + file->writeCHAR8String(std::string(1000, 'x').c_str()), 2);
    EXPECT_EQ(file->writeCHARString(nullptr) + file->writeCHAR8String(nullptr) + file->writeCHAR16String(nullptr), 0);
    file->seek(0, 0);
    typedef std::unique_ptr<char[]> Text;
    EXPECT_STREQ(Text(file->readCHARString()).get(), "\xE9");
    EXPECT_STREQ(Text(file->readCHAR8String()).get(), "ab");
    std::unique_ptr<CHAR16[]> wideBack(file->readCHAR16String());
    EXPECT_EQ(memcmp(wideBack.get(), wide, sizeof wide), 0);
    EXPECT_STREQ(Text(file->readCHARString()).get(), "");
    EXPECT_EQ(Text(file->readCHAR8String()).get(), std::string(1000, 'x'));
    EXPECT_STREQ(Text(file->readCHAR8String()).get(), "") << "at the end";
    file->close();
    EXPECT_EQ(onDisk("strings").substr(0, 13), std::string("\xE9\xFF\0\0ab\0\x34\x12\xFE\xFF\0\0", 13));

    KxcFile* cut = memoryFile(std::string("a\0b\0c", 5)); // it ends with half a unit
    EXPECT_STREQ(Text(cut->readCHARString()).get(), "ab");
    cut->seek(4, 0);
    EXPECT_STREQ(Text(cut->readCHAR8String()).get(), "c");
    cut->close();
}

TEST_F(Files, AreFoundByPatternFirstInArchivesThenOnDisk)
{
    const auto found = [](const char* pattern, INT32 flags)
    {
        Names names;
        std::unique_ptr<KxcFileFind> finder(KxcFileFind::create(pattern, flags));
        while (const char* name = finder->next())
            names.push_back(name);
        EXPECT_EQ(finder->next(), nullptr);
        return names;
    };
    putArchive("one.cfl", {{"x.tga", "1"}, {"y.tga", "2"}, {"sub/z.tga", "3"}});
    putArchive("two.cfl", {{"new.tga", "4"}, {"x.tga", "5"}});
    put("x.tga", "disk");
    put("B.TGA", "disk");
    std::filesystem::create_directory(root + "sub");
    put("sub/inner.tga", "disk");
    EXPECT_EQ(found("*.tga", KXCFILEFIND_CFL), (Names{"new.tga", "sub/z.tga", "y.tga", "x.tga"}));
    EXPECT_EQ(found("*.tga", KXCFILEFIND_DISK), Names{"x.tga"});
    const INT32 both = KXCFILEFIND_DISK | KXCFILEFIND_CFL;
    EXPECT_EQ(found("?.tga", both), (Names{"y.tga", "x.tga", "x.tga"}));
    EXPECT_EQ(found("?.tga", both | KXCFILEFIND_SKIP_DUPLICATES), (Names{"y.tga", "x.tga"}));
    EXPECT_EQ(found("?.tga", both | KXCFILEFIND_SKIP_DUPLICATES | KXCFILEFIND_IGNORE_CASE),
              (Names{"y.tga", "x.tga", "B.TGA"}));
    Names all = found("*", KXCFILEFIND_DISK);
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, (Names{".", "..", "B.TGA", "one.cfl", "sub", "two.cfl", "x.tga"}));
    EXPECT_EQ(found(nullptr, both), Names{});
    EXPECT_EQ(found("*", 0), Names{});
    delete KxcFileFind::create("*", KXCFILEFIND_CFL); // never asked
    kxcPlatformExecutablePathHook = "\\nowhere\\at\\all";
    EXPECT_EQ(found("*", KXCFILEFIND_DISK), Names{});
}

TEST(FilesWithoutACore, AreThoseOnDisk)
{
    EXPECT_EQ(KxcFile::fileExists("no such file"), 0);
    KxcFile* file = KxcFile::open("///dev/null", "rb", KXCFILE_DEFAULT);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->getChar(), -1);
    file->close();
    EXPECT_EQ(KxcFile::openCFLFile("x", "rb"), nullptr);
    std::unique_ptr<KxcFileFind> finder(KxcFileFind::create("*", KXCFILEFIND_CFL));
    EXPECT_EQ(finder->next(), nullptr);
}
