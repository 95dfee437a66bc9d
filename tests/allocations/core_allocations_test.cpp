// core_allocations_test.cpp - the core's start, files, archives, strings, lists and threads while memory runs out.
#include "allocations/every_allocation.h"
#include "files/file_support.h"

#include <cstring>
#include <sys/wait.h>

namespace
{

std::unique_ptr<INT8[]> bytes(const std::string& text)
{
    std::unique_ptr<INT8[]> copy(new INT8[text.size()]);
    std::memcpy(copy.get(), text.data(), text.size());
    return copy;
}

/// A row of attempts at getting a new[] buffer, or null.
template <class Get>
Operation buffer(const char* name, int least, Get get)
{
    return {name, least, kReported,
            [=](Attempt& attempt)
            {
                decltype(get()) made = nullptr;
                attempt([&] { return (made = get()) != nullptr; });
                delete[] made;
            }};
}

/// A row of attempts at opening a file, which close() ends.
template <class Open>
Operation opening(const char* name, int least, Open open, Expectation expectation = kReported)
{
    return {name, least, expectation,
            [=](Attempt& attempt)
            {
                KxcFile* file = nullptr;
                attempt([&] { return (file = open()) != nullptr; });
                if (file)
                    file->close();
            }};
}

class CoreAllocations : public Files
{
protected:
    CoreAllocations()
    {
        std::filesystem::current_path(root); // where the log goes
        kxcUseCFLFilterZlib();
        put("there.txt", "text");
        put("a.cfl", archiveOf({{"stored.txt", "stored"}, {"both.txt", "x"}}));
        KxcCFLMaker* maker = KxcCFLMaker::create("b.cfl");
        const std::string text(500, 't');
        maker->store("packed.txt", bytes(text).get(), 500, 1);
        maker->finish(1);
    }
    ~CoreAllocations() override { std::filesystem::current_path(previous); }

    const std::filesystem::path previous = std::filesystem::current_path();
};

} // namespace

/// A child process starts the core for each attempt: without memory the start tells so and ends the program.
TEST(CoreAllocationsDeathTest, TheStartShowsAMessageAndEnds)
{
    static constexpr int kStarted = 42;
    for (const bool forGood : {false, true})
    {
        int code = 0, successes = 0;
        for (; code != kStarted; ++successes)
        {
            ASSERT_LT(successes, 100);
            const auto start = [&]
            {
                kxcPlatformMessageBoxHook = [](const char* text, const char*, KxcPlatformIcon)
                { std::fprintf(stderr, "%s\n", text); };
                forGood ? failAllocationsFrom(successes) : failAllocationAfter(successes);
                embeddedInit(
                    64, 48, [] { return kxcUseDefaults(), kxcUseMemoryManager(100000), 0L; }, nullptr, nullptr);
                const bool failed = stopFailing() != 0;
                embeddedDeinit();
                // A component that could not be registered is not there; the core is.
                std::fprintf(stderr, failed ? "without\n" : "complete\n");
                std::exit(failed ? 1 : kStarted);
            };
            const auto ended = [&](int status)
            {
                code = WEXITSTATUS(status);
                return WIFEXITED(status);
            };
            EXPECT_EXIT(start(), ended, "emory|allocate|without|complete") << successes;
            ASSERT_TRUE(code == 0 || code == 1 || code == kStarted) << code << " for " << successes;
        }
        EXPECT_GT(successes, 10);
    }
}

TEST_F(CoreAllocations, FilesOfAllKinds)
{
    const std::string text = "eight characters, then sixteen";
    KxcFile* written = KxcFile::open("strings.bin", "wb", KXCFILE_DISK_ONLY);
    written->writeCHAR8String(std::string(200, 's').c_str());
    written->writeCHARString(std::string(200, 's').c_str());
    written->close();
    ASSERT_EQ(KxcCore::openCFL("a.cfl"), 1);
    const auto reading = [](const char* name, INT32 offset, auto read)
    {
        return Operation{name, 2, kReported,
                         [=](Attempt& attempt)
                         {
                             KxcFile* file = KxcFile::open("strings.bin", "rb", KXCFILE_DISK_ONLY);
                             file->seek(offset, 0);
                             decltype(read(file)) string = nullptr;
                             attempt([&] { return (string = read(file)) != nullptr; });
                             delete[] string;
                             EXPECT_EQ(file->seek(0, 0), 0);
                             file->close();
                         }};
    };
    failEveryAllocation({
        opening("disk", 2, [] { return KxcFile::open("there.txt", "rb", KXCFILE_DISK_FIRST); }),
        opening(
            "new file", 2, [] { return KxcFile::open("new.txt", "wb", KXCFILE_DISK_ONLY); }, kTolerated),
        opening("archive", 3, [] { return KxcFile::openCFLFile("stored.txt", "rb"); }),
        {"memory", 2, kReported,
         [](Attempt& attempt)
         {
             std::unique_ptr<INT8[]> data = bytes("memory");
             KxcFile* file = nullptr;
             if (attempt([&] { return (file = KxcFile::open("m", data.get(), 6)) != nullptr; }))
             {
                 data.release();
                 file->close();
             }
         }},
        buffer("whole file", 3, [] { return KxcFile::getFile("there.txt", KXCFILE_DISK_ONLY); }),
        buffer("whole entry", 3, [] { return KxcFile::getFile("stored.txt", KXCFILE_CFL_ONLY); }),
        {"existence", 1, kReported,
         [](Attempt& attempt) { attempt([] { return KxcFile::fileExists("there.txt") == 2; }); }},
        {"size", 1, kReported,
         [](Attempt& attempt) { attempt([] { return KxcFile::getFileSize("there.txt", KXCFILE_DISK_ONLY) == 4; }); }},
        reading("8-bit string", 0, [](KxcFile* file) { return file->readCHAR8String(); }),
        reading("16-bit string", 201, [](KxcFile* file) { return file->readCHAR16String(); }),
        reading("narrowed string", 201, [](KxcFile* file) { return file->readCHARString(); }),
        {"search", 1, kTolerated,
         [](Attempt& attempt)
         {
             std::unique_ptr<KxcFileFind> find;
             attempt(
                 [&]
                 {
                     find.reset(KxcFileFind::create("*", KXCFILEFIND_DISK | KXCFILEFIND_CFL));
                     while (find && find->next())
                         continue;
                     return true;
                 });
         }},
    });
}

TEST_F(CoreAllocations, Archives)
{
    const auto reading = [](const char* name, int least, const char* archive, const char* entry)
    {
        return Operation{name, least, kReported,
                         [=](Attempt& attempt)
                         {
                             const std::unique_ptr<KxcCFL> directory(KxcCFL::create(archive));
                             std::unique_ptr<INT8[]> data;
                             attempt([&] { return data.reset(directory->getFile(entry)), data != nullptr; });
                             data.reset(directory->getFile(entry));
                             EXPECT_TRUE(data) << "it can be read later";
                         }};
    };
    failEveryAllocation({
        creation("empty", 1, [] { return KxcCFL::create(); }),
        creation("stored", 5, [] { return KxcCFL::create("a.cfl"); }),
        creation("packed", 6, [] { return KxcCFL::create("b.cfl"); }),
        {"another", 5, kReported,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcCFL> directory(KxcCFL::create("b.cfl"));
             const bool opened = attempt([&] { return directory->openLibrary("a.cfl", 0) == 1; });
             EXPECT_EQ(directory->fileExists("both.txt"), opened);
             EXPECT_EQ(directory->fileExists("packed.txt"), 1);
         }},
        {"an open file", 4, kReported,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcCFL> directory(KxcCFL::create());
             KxcFile* file = KxcFile::open("a.cfl", "rb", KXCFILE_DISK_ONLY); // the directory's, whatever happens
             attempt([&] { return directory->openLibrary(file) == 1; });
         }},
        reading("stored entry", 3, "a.cfl", "stored.txt"),
        reading("packed entry", 4, "b.cfl", "packed.txt"),
        {"an entry's bytes", 2, kReported,
         [](Attempt& attempt)
         {
             const std::unique_ptr<KxcCFL> directory(KxcCFL::create("a.cfl"));
             KxcFile* file = nullptr;
             attempt([&] { return (file = directory->getFilePtr("stored.txt")) != nullptr; });
             directory->dropFilePtr(file);
         }},
        {"store", 2, kReported,
         [](Attempt& attempt)
         {
             KxcCFLMaker* maker = KxcCFLMaker::create("new.cfl");
             const std::string text(300, 'x');
             const auto store = [&] { return maker->store("x", bytes(text).get(), 300, 1) > 0; };
             attempt(store);
             EXPECT_TRUE(store());
             EXPECT_EQ(maker->finish(0), 1);
             EXPECT_TRUE(std::unique_ptr<KxcCFL>(KxcCFL::create("new.cfl")));
         }},
        {"finish", 2, kReported,
         [](Attempt& attempt)
         {
             KxcCFLMaker* maker = KxcCFLMaker::create("new.cfl");
             maker->store("x", bytes("x").get(), 1, 0);
             EXPECT_TRUE(attempt([&] { return maker->finish(1) == 1; }) || maker->finish(1) == 1);
             EXPECT_TRUE(std::unique_ptr<KxcCFL>(KxcCFL::create("new.cfl")));
         }},
        {"maker", 3, kReported, // which the core ends, if nobody else does
         [](Attempt& attempt)
         {
             KxcCFLMaker* maker = nullptr;
             attempt([&] { return (maker = KxcCFLMaker::create("new.cfl")) != nullptr; });
             if (maker)
                 maker->finish(0);
         }},
    });
}

TEST_F(CoreAllocations, StringsListsAndTheRest)
{
    static constexpr KxcCHAR16 kWide[] = {'a', 'b', 0};
    const auto nothing = [](void*) { return 0; };
    failEveryAllocation({
        buffer("format", 1, [] { return KxcStringToolkit::allocatedFormat("%d %s", 5, "text"); }),
        buffer("copy", 1, [] { return KxcStringToolkit::copy("text"); }),
        buffer("narrow", 1, [] { return KxcStringToolkit::copy(kWide); }),
        buffer("widen", 1, [] { return KxcStringToolkit::copyToCHAR16("text"); }),
        buffer("concat", 1, [] { return KxcStringToolkit::concat("a", "b", '/'); }),
        buffer("unescape", 1, [] { return KxcStringToolkit::unescape("a\\nb"); }),
        {"list", 3, kReported,
         [](Attempt& attempt)
         {
             KxcLinkedList<int> list;
             attempt([&] { return list.add(1) && list.add(2) && list.add(3); });
             EXPECT_EQ(list.getCount() == 3, attempt.worked());
         }},
        creation("mutex", 2, [] { return KxcMutex::create(); }),
        {"thread", 3, kReported,
         [=](Attempt& attempt)
         {
             std::unique_ptr<KxcThread> thread;
             attempt([&] { return thread.reset(KxcThread::create(nothing, nullptr)), thread != nullptr; });
             if (thread)
                 thread->waitDeath();
         }},
        creation("time", 1, [] { return KxcDateTime::create(); }),
        creation("processor", 1, [] { return KxcCore::getCPUInfo(); }),
        {"log", 2, kTolerated,
         [](Attempt& attempt) { attempt([] { return KxcLogger::log("text", KxcLogger::KXCLOG_INFO), true; }); }},
        {"control", 1, kTolerated,
         [](Attempt& attempt)
         {
             KxcCore::resetControlMappings();
             const auto map = []
             {
                 for (INT32 key = 1000; key < 1040; ++key)
                     KxcCore::mapControlCode(1, key);
                 return KxcCore::getControlMappingCount() >= 57;
             };
             attempt(map);
             KxcCore::resetControlMappings();
             EXPECT_TRUE(map());
         }},
        {"screen button", 1, kTolerated,
         [](Attempt& attempt) {
             attempt([] { return KxcCore::addScreenButton({1, 2, 3, 4}, 5), true; });
         }},
        {"sampler", 3, kTolerated,
         [](Attempt& attempt)
         {
             attempt([] { return KxcProfiler::startSampler("samples", 0), true; });
             KxcProfiler::endSampler();
         }},
    });
    kxcUseGLDefaultProfiler();
    failEveryAllocation({{"device with a log", 5, kTolerated, // or without one
                          [this](Attempt& attempt)
                          {
                              std::filesystem::remove(root + "kxlog000.dat");
                              std::unique_ptr<KxcGL> gl;
                              attempt([&] { return gl.reset(KxcGL::create(0, 0)), true; });
                              EXPECT_EQ(kxcCore->device != nullptr, gl != nullptr);
                          }}});
    // What the core keeps once: each attempt needs a core of its own.
    const auto once = [this](const char* name, int least, Expectation expectation, auto use)
    {
        return Operation{name, least, expectation,
                         [=](Attempt& attempt)
                         {
                             engine.reset();
                             engine = std::make_unique<Engine>();
                             attempt(use);
                         }};
    };
    failEveryAllocation({
        once("event log", 1, kReported, [] { return KxcProfiler::initEventLog(), KxcProfiler::getEventLog(); }),
    });
}
