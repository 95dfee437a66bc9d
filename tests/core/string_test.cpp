// string_test.cpp - matching against plain models, comparisons, copies, number parsing.
#include <kxcoreemb/string_toolkit.h>

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>

typedef KxcStringToolkit Strings;

static bool wildcardModel(const char* pattern, const char* text)
{
    if (*pattern == '*')
        return wildcardModel(pattern + 1, text) || (*text != 0 && wildcardModel(pattern, text + 1));
    if (*pattern == 0 || *text == 0)
        return *pattern == *text;
    return (*pattern == '?' || *pattern == *text) && wildcardModel(pattern + 1, text + 1);
}

TEST(StringMatching, WildcardsMatchAsThePlainRecursiveRuleDoes)
{
    std::mt19937 random(3);
    for (INT32 i = 0; i < 200000; ++i)
    {
        std::string pattern(random() % 7, 0), text(random() % 8, 0);
        for (char& c : pattern)
            c = "ab?**"[random() % 5];
        for (char& c : text)
            c = "ab*"[random() % 3];
        const INT32 expected = wildcardModel(pattern.c_str(), text.c_str());
        ASSERT_EQ(Strings::matchWildcard(pattern.c_str(), text.c_str()), expected) << pattern << " on " << text;
        for (char& c : pattern)
            c = c == 'a' ? 'A' : c;
        ASSERT_EQ(Strings::matchWildcardIgnoreCase(pattern.c_str(), text.c_str()), expected) << pattern << " " << text;
    }
    EXPECT_EQ(Strings::matchWildcardIgnoreCase("*.PCX", "Skin.pcx"), 1);
    EXPECT_EQ(Strings::matchWildcard("*.PCX", "Skin.pcx"), 0);
    EXPECT_EQ(Strings::matchWildcard(nullptr, nullptr), 1);
    EXPECT_EQ(Strings::matchWildcard(nullptr, ""), 0);
    EXPECT_EQ(Strings::matchWildcard("*", nullptr), 0);
}

TEST(StringMatching, ManyStarsStayWithinTheProductOfTheLengths)
{
    std::string pattern, text(20000, 'a');
    for (INT32 i = 0; i < 2000; ++i)
        pattern += "*a";
    EXPECT_EQ(Strings::matchWildcard((pattern + "b").c_str(), text.c_str()), 0); // ages, when every star is retried
    EXPECT_EQ(Strings::matchWildcard(pattern.c_str(), text.c_str()), 1);
}

TEST(StringMatching, CountsAndFindsOccurrences)
{
    EXPECT_EQ(Strings::match("aa", "aaaa"), 2);
    EXPECT_EQ(Strings::match("aa", "aaaaa"), 2);
    EXPECT_EQ(Strings::match("ab", "AB aab ab"), 2);
    EXPECT_EQ(Strings::matchIgnoreCase("aB", "AB aab ab"), 3);
    EXPECT_EQ(Strings::matchIgnoreCase("", ""), 1);
    EXPECT_EQ(Strings::match("", "abc"), 0);
    EXPECT_EQ(Strings::match(nullptr, "abc") + Strings::match("a", nullptr), 0);

    const char* path = "/abc/de";
    EXPECT_EQ(Strings::find(path, "c/"), path + 3);
    EXPECT_EQ(Strings::find(path, nullptr), path);
    EXPECT_EQ(Strings::find("", ""), nullptr);
    EXPECT_EQ(Strings::find(nullptr, "a"), nullptr);
    EXPECT_EQ(Strings::findLast(path, '/'), path + 4);
    EXPECT_EQ(Strings::findLast(path, 0), path + 7);
    EXPECT_EQ(Strings::findLast("/abc", '/'), nullptr);
    EXPECT_EQ(Strings::findLast("abc", 'x'), nullptr);
}

TEST(StringComparison, GivesTheDifferenceOfSignedCharacters)
{
    EXPECT_EQ(Strings::compare("ab", "abc"), -99);
    EXPECT_EQ(Strings::compare("abc", "ab"), 99);
    EXPECT_EQ(Strings::compare("a\x80", "a\x7F"), -128 - 127);
    EXPECT_EQ(Strings::compare(nullptr, "a"), 1);
    EXPECT_EQ(Strings::compare("a", nullptr), -1);
    EXPECT_EQ(Strings::compare(nullptr, nullptr), 0);
    EXPECT_EQ(Strings::compare("a", "A"), 32);
    EXPECT_EQ(Strings::compareIgnoreCase("aZ", "Az"), 0);
    EXPECT_EQ(Strings::compareIgnoreCase("_", "a"), '_' - 'A');
}

template <class Character>
static std::basic_string<Character> taken(Character* text)
{
    std::unique_ptr<Character[]> owner(text);
    return text;
}

TEST(StringCopies, WidenNarrowJoinAndUnescape)
{
    EXPECT_EQ(taken(Strings::copy("abc")), "abc");
    std::unique_ptr<CHAR16[]> wide(Strings::copyToCHAR16("a\x80\xFF"));
    const CHAR16 expected[] = {'a', -128, -1, 0};
    EXPECT_EQ(memcmp(wide.get(), expected, sizeof expected), 0);
    EXPECT_EQ(taken(Strings::copy(wide.get())), "a\x80\xFF");
    EXPECT_EQ(taken(Strings::concat("a", "b", '/')), "a/b");
    EXPECT_EQ(taken(Strings::concat("a", "", 0)), "a");
    EXPECT_EQ(taken(Strings::unescape("a\\nb\\\\n\\t")), "a\nb\\nt");
    EXPECT_EQ(taken(Strings::unescape("end\\")), "end\\");
    char text[] = "aZ[`{@\xE4";
    Strings::toUpperCase(text);
    EXPECT_STREQ(text, "AZ[`{@\xE4");
    Strings::toLowerCase(text);
    EXPECT_STREQ(text, "az[`{@\xE4");
    Strings::toUpperCase(nullptr);
    EXPECT_EQ(Strings::unescape(nullptr), nullptr);
    EXPECT_EQ(Strings::concat(nullptr, "b", 0), nullptr);
    EXPECT_EQ(Strings::getLength(nullptr), 0);
}

TEST(NumberParsing, ReadsWholeNumbersInEveryBaseOrNotAtAll)
{
    const struct
    {
        const char* text;
        INT32 value, success;
    } cases[] = {{"0x1F", 31, 1},       {"#ff", 255, 1},      {"0b101", 5, 1}, {"0O17", 15, 1},
                 {"-42", -42, 1},       {"+7", 7, 1},         {"007", 7, 1},   {"-2147483648", INT32_MIN, 1},
                 {"0xFFFFFFFF", -1, 1}, {"4294967297", 1, 1}, {"-", 0, 1},     {"-0x10", -16, 1},
                 {"12a", 0, 0},         {"", 0, 0},           {"0b102", 0, 0}, {"0o8", 0, 0},
                 {"--1", 0, 0},         {" 1", 0, 0},         {"#g", 0, 0},    {"1.5", 0, 0}};
    for (const auto& c : cases)
    {
        INT32 success = -1;
        EXPECT_EQ(Strings::toINT32(c.text, &success), c.value) << c.text;
        EXPECT_EQ(success, c.success) << c.text;
    }
    EXPECT_EQ(Strings::toINT32(nullptr, nullptr), 0);
}

TEST(NumberParsing, ReadsTheNearestFloatWhateverTheNumberOfDigits)
{
    std::mt19937_64 random(5);
    for (INT32 i = 0; i < 60000; ++i)
    {
        std::string text;
        if (i % 2) // halfway between two floats, exactly or with something far behind
        {
            const UINT32 bits = static_cast<UINT32>(random()) & 0x7F7FFFFF;
            const UINT32 nextBits = bits == 0x7F7FFFFF ? bits : bits + 1;
            FLOAT32 low, high;
            memcpy(&low, &bits, sizeof low);
            memcpy(&high, &nextBits, sizeof high);
            char digits[300];
            snprintf(digits, sizeof digits, "%.170e", (static_cast<double>(low) + high) / 2);
            text = digits;
            if (i % 4 == 1)
                text.insert(text.find('e'), "0001");
        }
        else
        {
            text = random() % 2 ? "-" : "";
            text += std::to_string(random() >> random() % 64) + "." + std::to_string(random() >> random() % 64);
            text += "e" + std::to_string(static_cast<INT32>(random() % 120) - 75);
        }
        INT32 success = 0;
        const FLOAT32 value = Strings::toFLOAT32(text.c_str(), &success), expected = strtof(text.c_str(), nullptr);
        ASSERT_EQ(success, 1) << text;
        ASSERT_EQ(memcmp(&value, &expected, sizeof value), 0) << text << " gave " << value;
    }
}

TEST(NumberParsing, RefusesWhatIsNoNumberAndSurvivesHugeExponents)
{
    for (const char* text : {"", "-", ".", "e5", "1e", "1e+", "1.2.3", " 1", "1 ", "0x10", "1f", "inf", "nan", "1,5"})
    {
        INT32 success = -1;
        EXPECT_EQ(Strings::toFLOAT32(text, &success), 0.0f) << text;
        EXPECT_EQ(success, 0) << text;
    }
    EXPECT_EQ(Strings::toFLOAT32("-.5", nullptr), -0.5f);
    EXPECT_EQ(Strings::toFLOAT32("5.", nullptr), 5.0f);
    EXPECT_EQ(Strings::toFLOAT32("1e99999999999999999999", nullptr), HUGE_VALF);
    EXPECT_EQ(Strings::toFLOAT32("-1e-99999999999999999999", nullptr), 0.0f);
    EXPECT_EQ(Strings::toFLOAT32(("1" + std::string(5000, '0') + "e-5000").c_str(), nullptr), 1.0f);
    EXPECT_EQ(Strings::toFLOAT32(nullptr, nullptr), 0.0f);
}
