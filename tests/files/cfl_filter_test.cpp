// cfl_filter_test.cpp - the filter registry, chains of filters, zlib's streams, and the archives that makers write.
#include "files/file_support.h"
#include "support/failing_new.h"

#include <kxcoreemb/cfl.h>
#include <kxcoreemb/cfl_filter.h>
#include <kxcoreemb/cfl_maker.h>

#include <algorithm>
#include <cstring>
#include <zlib.h>

namespace
{
const UINT32 kDelta = 0x00010000, kFlip = 0x01000000, kBest = 0xFFFF;

/// A cipher: turns the key's bits over.
struct FlipCipher : KxcCFLResourceFilter
{
    FlipCipher() : KxcCFLResourceFilter(kFlip, "Turns bits over", "Flip") { registerHandler(this); }
    ~FlipCipher() override { ++gone; }
    void process(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength) override
    {
        *out = new INT8[outLength = inLength];
        std::transform(in, in + inLength, *out, [this](INT8 byte) { return static_cast<INT8>(byte ^ key); });
    }
    void reverseProcess(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength) override
    {
        process(in, out, inLength, outLength);
    }
    void setCipherKey(void* bytes) override { key = *static_cast<INT8*>(bytes); }
    INT8 key = 0x20;
    static inline INT32 gone = 0;
};

/// A preprocessor: each byte as the difference to the one before, with a zero at the end to change the length.
struct DeltaFilter : KxcCFLResourceFilter
{
    DeltaFilter() : KxcCFLResourceFilter(kDelta, "Differences", "Delta") { registerHandler(this); }
    void process(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength) override
    {
        *out = new INT8[outLength = inLength + 1]();
        for (UINT32 i = 0; i < inLength; ++i)
            (*out)[i] = static_cast<INT8>(in[i] - (i ? in[i - 1] : 0));
    }
    void reverseProcess(INT8* in, INT8** out, UINT32 inLength, UINT32& outLength) override
    {
        *out = new INT8[outLength = inLength - 1]();
        for (UINT32 i = 0; i < outLength; ++i)
            (*out)[i] = static_cast<INT8>(in[i] + (i ? (*out)[i - 1] : 0));
    }
};

std::string randomBytes(UINT32 count, UINT32 seed)
{
    std::string bytes;
    for (; count > 0; --count)
        bytes += static_cast<char>((seed = seed * 1664525u + 1013904223u) >> 24);
    return bytes;
}

INT32 store(KxcCFLMaker* maker, const char* name, const std::string& text, UINT32 word)
{
    return maker->store(name, reinterpret_cast<const INT8*>(text.data()), static_cast<INT32>(text.size()), word);
}

/// What is stored of the text; the word as it is recorded.
std::string handled(const std::string& text, UINT32& word)
{
    std::unique_ptr<KxcCFLResource> stored(KxcCFLResourceFilter::handle(reinterpret_cast<const INT8*>(text.data()),
                                                                        static_cast<UINT32>(text.size()), word));
    return stored ? std::string(reinterpret_cast<const char*>(stored->getData()), stored->getLength()) : "-";
}

/// What stored bytes decode to when that must have the length (0: any).
std::string unhandled(const std::string& bytes, UINT32 word, UINT32 length = 0)
{
    INT8* copy = new INT8[bytes.size()];
    memcpy(copy, bytes.data(), bytes.size());
    const KxcCFLResource stored(copy, static_cast<UINT32>(bytes.size()));
    std::unique_ptr<INT8[]> data(KxcCFLResourceFilter::unhandle(&stored, word, length));
    return data ? std::string(reinterpret_cast<char*>(data.get()), length) : "-";
}

class Filters : public Files
{
protected:
    Filters() { kxcUseCFLFilterZlib(); }
};
} // namespace

TEST_F(Filters, AreFoundByIdAndGoWithTheCore)
{
    new FlipCipher;
    EXPECT_STREQ(KxcCFLResourceFilter::handlerShortName(kFlip), "Flip");
    EXPECT_STREQ(KxcCFLResourceFilter::handlerShortName(kBest), "best");
    EXPECT_STREQ(KxcCFLResourceFilter::handlerInfoString(kBest), "Finds the best compressor by testing them all");
    EXPECT_STREQ(KxcCFLResourceFilter::handlerShortName(1), "ZLIB");
    EXPECT_STREQ(KxcCFLResourceFilter::handlerShortName(7), "Unknown");
    EXPECT_STREQ(KxcCFLResourceFilter::handlerInfoString(0), "No compression");
    struct : KxcCFLEnumerator
    {
        void handlerFound(UINT32, const char*, const char* shortName) override
        {
            names += std::string(shortName) + ' ';
        }
        std::string names;
    } found;
    KxcCFLResourceFilter::enumerateHandlers(&found);
    EXPECT_EQ(found.names, "Flip ZLIB None ");
    KxcCFLResourceFilter::enumerateHandlers(nullptr);
    KxcCFLResourceFilter::enableHandler(7, 0);
    INT8 key = 1;
    KxcCFLResourceFilter::setKey(7, &key);
    KxcCFLResourceFilter::setKey(1, &key);
    const INT32 goneBefore = FlipCipher::gone;
    engine.reset();
    EXPECT_EQ(FlipCipher::gone, goneBefore + 1);
    UINT32 word = 0;
    EXPECT_EQ(handled("text", word), "-") << "there is no core";
    EXPECT_EQ(unhandled("text", 0), "-");
    EXPECT_STREQ(KxcCFLResourceFilter::handlerShortName(0), "Unknown");
    kxcUseCFLFilterZlib();
    EXPECT_EQ(KxcCFLMaker::create("x.cfl"), nullptr);
}

TEST_F(Filters, BringBackWhatTheyStoredUnderEveryWord)
{
    new FlipCipher;
    new DeltaFilter;
    const std::string contents[] = {"x", std::string(5000, 'a'), randomBytes(16, 1), randomBytes(70000, 2)};
    for (UINT32 compression : {0u, 1u, kBest})
        for (UINT32 preprocessor : {0u, kDelta})
            for (UINT32 cipher : {0u, kFlip})
            {
                const UINT32 word = compression | preprocessor | cipher;
                SCOPED_TRACE(word);
                KxcCFLMaker* maker = KxcCFLMaker::create("a.cfl");
                ASSERT_TRUE(maker);
                for (size_t i = 0; i < std::size(contents); ++i)
                    EXPECT_GT(store(maker, std::to_string(i).c_str(), contents[i], word), 0);
                ASSERT_EQ(maker->finish(word), 1);
                ASSERT_EQ(KxcCore::openCFL("a.cfl"), 1);
                for (size_t i = 0; i < std::size(contents); ++i)
                    EXPECT_EQ(content(std::to_string(i).c_str(), KXCFILE_CFL_ONLY), contents[i]);
                KxcCore::resetCFLDirectory();
            }
}

TEST_F(Filters, ChooseTheSmallestAndRecordIt)
{
    UINT32 word = kBest;
    const std::string packed = handled(std::string(1000, 'a'), word);
    EXPECT_EQ(word, 1u);
    EXPECT_EQ(packed.substr(0, 4), u32(1000));
    const std::string random = randomBytes(16, 3);
    word = kBest | kFlip;
    EXPECT_EQ(handled(random, word), "-") << "no such cipher yet";
    new FlipCipher; // whose output is as short as the shortest, and could not be named as a compressor
    word = kBest | kFlip;
    EXPECT_EQ(handled(random, word).size(), 16u);
    EXPECT_EQ(word, kFlip);
    INT8 key = 0x11;
    KxcCFLResourceFilter::setKey(kFlip, &key);
    word = kFlip | 0xFF00; // no compressor has that id
    EXPECT_EQ(handled(random, word), "-");
    EXPECT_EQ(unhandled("pp", kFlip | 0xFF00), "aa") << "readers ignore the high byte of a compression";
    EXPECT_EQ(unhandled("pp", kFlip | kDelta), "-");
}

TEST_F(Filters, OfZlibRefuseLiesBeforeTheyAllocate)
{
    const std::string text(100000, 'z');
    UINT32 word = 1;
    const std::string packed = handled(text, word);
    EXPECT_EQ(unhandled(packed, 1, 100000), text);
    EXPECT_EQ(unhandled(packed, 1, 99999), "-") << "not the length that was asked for";
    for (UINT32 lie : {0u, 99999u, 0x7FFFFFFFu, 0xFFFFFFFFu, static_cast<UINT32>(packed.size() - 4) * 1032 + 1})
    {
        takeLargestAllocation();
        EXPECT_EQ(unhandled(u32(lie) + packed.substr(4), 1, lie), lie == 99999 ? text.substr(0, lie) : "-") << lie;
        EXPECT_LE(takeLargestAllocation(), packed.size() * 1032) << lie;
    }
    const std::string mixed = randomBytes(5000, 5) + text, whole = handled(mixed, word);
    const std::string cut = unhandled(whole.substr(0, whole.size() - 40), 1);
    EXPECT_EQ(cut, mixed.substr(0, cut.size())) << "what is there, by those who asked for no length";
    EXPECT_GT(cut.size(), 4000u);
    EXPECT_EQ(unhandled(whole.substr(0, whole.size() - 40), 1, static_cast<UINT32>(mixed.size())), "-");
    for (size_t length = 0; length < 6; ++length)
        EXPECT_EQ(unhandled(packed.substr(0, length), 1), "-");
}

TEST_F(Filters, ThatAnEntryNamesButNobodyRegisteredLeaveTheOthersReadable)
{
    new FlipCipher;
    KxcCFLMaker* maker = KxcCFLMaker::create("a.cfl");
    EXPECT_EQ(store(maker, "locked", "secret", kFlip), 6);
    EXPECT_EQ(store(maker, "open", "plain", 0), 5);
    EXPECT_EQ(store(maker, "unknown", "x", 0x00770000), 0);
    EXPECT_EQ(maker->finish(0), 1);
    engine.reset();
    engine = std::make_unique<Engine>();
    ASSERT_EQ(KxcCore::openCFL("a.cfl"), 1);
    EXPECT_EQ(content("locked", KXCFILE_CFL_ONLY), "-");
    EXPECT_EQ(content("open", KXCFILE_CFL_ONLY), "plain");
    EXPECT_EQ(KxcFile::fileExists("unknown"), 0);
    EXPECT_STREQ(kxcCore->archives->encryptionInfoString("locked"), "Unknown");
}

TEST_F(Filters, AndMakersWriteTheFormatByteForByte)
{
    KxcCFLMaker* maker = KxcCFLMaker::create("a.cfl");
    EXPECT_EQ(store(maker, "a", "1", 0), 1);
    EXPECT_EQ(store(maker, "bb", "22", 0), 2);
    EXPECT_EQ(store(maker, "a", "", 0), 0);
    EXPECT_EQ(store(maker, std::string(65536, 'n').c_str(), "x", 0) + store(maker, nullptr, "x", 0), 0);
    EXPECT_EQ(maker->store("c", nullptr, 1, 0) + maker->store("c", reinterpret_cast<const INT8*>("c"), -1, 0), 0);
    EXPECT_EQ(maker->finish(0x01000000), 0) << "no such cipher; nothing was written";
    ASSERT_EQ(maker->finish(0), 1);
    const auto record = [](UINT32 size, UINT32 offset, const std::string& name)
    { return u32(size) + u32(offset) + u32(0) + u32(static_cast<UINT32>(name.size())).substr(0, 2) + name; };
    const std::string directory = record(0, 23, "a") + record(2, 17, "bb") + record(1, 12, "a"); // newest first
    const UINT32 size = static_cast<UINT32>(directory.size());
    EXPECT_EQ(onDisk("a.cfl"), "CFL3" + u32(27) + u32(size) + u32(1) + "1" + u32(2) + "22" + u32(0) + u32(0) +
                                   u32(size) + directory + u32(27 + 8 + size + 8) + "3CFL");
    ASSERT_EQ(KxcCore::openCFL("a.cfl"), 1);
    EXPECT_EQ(content("a", KXCFILE_CFL_ONLY), "1") << "what was stored first";

    EXPECT_EQ(KxcCFLMaker::create("empty.cfl")->finish(0), 1);
    EXPECT_EQ(onDisk("empty.cfl"), "CFL3" + u32(12) + u32(0) + u32(0) + u32(0) + u32(28) + "3CFL");
    EXPECT_EQ(KxcCore::openCFL("empty.cfl"), 0);
    EXPECT_EQ(KxcCFLMaker::create("no folder/x.cfl"), nullptr);
    EXPECT_EQ(KxcCFLMaker::create(nullptr), nullptr);
}

TEST_F(Filters, AndMakersThatDidNotFinishGoWithTheCore)
{
    store(KxcCFLMaker::create("left.cfl"), "x", "text", 1);
    KxcCFLMaker* full = KxcCFLMaker::create("///dev/full");
    ASSERT_TRUE(full) << "the header waits in the stream's buffer";
    EXPECT_EQ(store(full, "x", randomBytes(100000, 4), 0), 0);
    EXPECT_EQ(full->finish(0), 0);
    EXPECT_EQ(full->finish(0), 0);
    engine.reset(); // AddressSanitizer tells whether anything stays
    EXPECT_EQ(onDisk("left.cfl").substr(0, 12), "CFL3CFL3CFL3");
}
