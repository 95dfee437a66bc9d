// string_format_test.cpp - the formatter: layouts by table, digits against the C library, bounds by poisoned buffers.
#include <kxcoreemb/string_toolkit.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>

template <class... Arguments>
static std::string formatted(const char* text, Arguments... arguments)
{
    std::unique_ptr<char[]> result(KxcStringToolkit::allocatedFormat(text, arguments...));
    return result.get();
}

TEST(StringFormat, LaysOutWholeNumbers)
{
    const struct
    {
        const char* text;
        INT32 value;
        const char* expected;
    } cases[] = {
        {"%05d", -42, "-0042"},
        {"%5.3d", 7, "  007"},
        {"%-4d|", 7, "7   |"},
        {"%d", INT32_MIN, "-2147483648"},
        {"%+d", 0, "+0"},
        {"%+-6i|", 12, "+12   |"},
        {"%05.1d", -3, "   -3"},
        {"%-05d|", 3, "3    |"},
        {"%.0d", 0, "0"},
        {"%6.4d", -12, " -0012"},
        {"%u", -1, "4294967295"},
        {"%+u", 7, "7"},
        {"%x", 0xBEEF, "beef"},
        {"%X", 0xBEEF, "BEEF"},
        {"%08x", 0xFF, "000000ff"},
        {"%o", 8, "10"},
        {"%b", 10, "1010"},
        {"%.8b", 5, "00000101"},
        {"%#lx", 255, "ff"},
        {"%hd", 70000, "70000"},
        {"%c", 'x', "x"},
        {"%3c|", 'x', "  x|"},
        {"%-3c|", 'x', "x  |"},
        {"100%%", 0, "100%"},
        {"%q", 1, "%q"},
        {"%5", 1, "%5"},
        {"%", 1, "%"},
        {"% d", 1, "% d"},
        {"%-08.3y!", 1, "%-08.3y!"},
        {"a%zb", 1, "a%zb"},
        {"%d%", 4, "4%"},
        {"", 0, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(formatted(c.text, c.value), c.expected) << c.text;
    EXPECT_EQ(formatted("%*d|%-*d|%*d|", 4, 1, 4, 2, -4, 3), "   1|2   |3   |");
    EXPECT_EQ(formatted("%.*d|%.*d|%8.*d", 3, 1, -3, 2, 2, 5), "001|2|      05");
    EXPECT_EQ(formatted("%p", static_cast<void*>(nullptr)), "0");
}

TEST(StringFormat, CutsAndPadsStringsAndNeverReadsBeyondThePrecision)
{
    EXPECT_EQ(formatted("%s|%5s|%-5s|%.2s|%4.1s", "ab", "ab", "ab", "abc", "xyz"), "ab|   ab|ab   |ab|   x");
    EXPECT_EQ(formatted("%s|%.3s|%.*s", static_cast<const char*>(nullptr), "ab", -1, "whole"), "(null)|ab|whole");
    std::unique_ptr<char[]> bare(new char[3]{'a', 'b', 'c'}); // not terminated: AddressSanitizer watches its end
    EXPECT_EQ(formatted("%.3s", bare.get()), "abc");
}

TEST(StringFormat, RoundsHalfUpAtTheLastPrintedDigitOfTheExactValue)
{
    const struct
    {
        const char* text;
        double value;
        const char* expected;
    } cases[] = {
        {"%.0f", 0.5, "1"},
        {"%.0f", 2.5, "3"},
        {"%.0f", -0.5, "-1"},
        {"%.2f", 1.005, "1.00"}, // lies below
        {"%.1f", 0.25, "0.3"},
        {"%.0f", 0.49999999999999994, "0"},
        {"%.0e", 9.5, "1e+01"},
        {"%.3f", 9.9996, "10.000"},
        {"%.2e", 0.0, "0.00e+00"},
        {"%f", -0.0, "-0.000000"},
        {"%G", 1e-5, "1E-05"},
        {"%g", 0.0001, "0.0001"},
        {"%g", 999999.5, "1e+06"},
        {"%g", 100000.0, "100000"},
        {"%.3g", 0.0, "0"},
        {"%010.2f", -1.5, "-000001.50"},
        {"%-8.1f|", 1.0, "1.0     |"},
        {"%+e", 1e300, "+1.000000e+300"},
        {"%.0f", 1e22, "10000000000000000000000"},
        {"%.3e", 5e-324, "4.941e-324"},
        {"%5.1f", HUGE_VAL, "  inf"},
        {"%05E", -HUGE_VAL, " -INF"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(formatted(c.text, c.value), c.expected) << c.text << " of " << c.value;
}

TEST(StringFormat, AgreesWithTheCLibraryWhereverThatDoesNotRoundATie)
{
    std::mt19937_64 random(20);
    char expected[2000], actual[2000], longer[2000];
    for (INT32 i = 0; i < 60000; ++i)
    {
        const UINT64 bits = random();
        double value;
        if (i % 2)
            memcpy(&value, &bits, sizeof value); // every exponent
        else
            value = std::ldexp(static_cast<double>(static_cast<INT64>(bits)), -static_cast<INT32>(random() % 100));
        if (std::isnan(value))
            continue;
        const INT32 precision = static_cast<INT32>(random() % (i % 16 ? 12 : 400));
        std::string text = "%";
        for (const char* flag : {"+", "-", "0"})
            text += random() % 3 ? "" : flag;
        text += std::to_string(1 + random() % 40) + "." + std::to_string(precision) + "feEgG"[random() % 5];
        const INT32 length = snprintf(expected, sizeof expected, text.c_str(), value);
        ASSERT_EQ(KxcStringToolkit::format(actual, sizeof actual, text.c_str(), value), length + 1) << text << value;
        if (strcmp(actual, expected) == 0)
            continue;
        // They may differ in a tie alone, where the exact value ends with a 5, and the C library kept an even digit.
        snprintf(longer, sizeof longer, "%.1100e", std::fabs(value));
        std::string digits(longer, strchr(longer, 'e'));
        digits.erase(digits.find_last_not_of('0') + 1);
        ASSERT_EQ(digits.back(), '5') << text << ": " << actual << " instead of " << expected;
        if (strpbrk(text.c_str(), "gG"))
            continue; // that digit may be a zero which was not printed
        char* last = strpbrk(expected, "eE");
        last = last ? last : expected + length;
        while (*--last == ' ')
        {
        }
        ++*last;
        ASSERT_STREQ(actual, expected) << text;
    }
}

TEST(StringFormat, NeverWritesBeyondTheSizeAndStillTellsTheWholeLength)
{
    char room[8];
    EXPECT_EQ(KxcStringToolkit::format(room, 4, "%d", 12345), 6);
    EXPECT_STREQ(room, "123");
    INT32(*const calls[])
    (char*, INT32) = {
        [](char* out, INT32 size) { return KxcStringToolkit::format(out, size, "plain text"); },
        [](char* out, INT32 size) { return KxcStringToolkit::format(out, size, "%10d", 1); },
        [](char* out, INT32 size) { return KxcStringToolkit::format(out, size, "%-30.20x|", 1); },
        [](char* out, INT32 size) { return KxcStringToolkit::format(out, size, "%c%9s", 'a', "string"); },
        [](char* out, INT32 size) { return KxcStringToolkit::format(out, size, "%30.20f", 1.25); },
        [](char* out, INT32 size) { return KxcStringToolkit::format(out, size, "%.9e and more", 1.25); },
    };
    for (const auto& call : calls)
        for (INT32 size = -1; size <= 8; ++size)
        {
            memset(room, '#', sizeof room);
            ASSERT_GT(call(room, size), 8);
            const INT32 used = size > 0 ? size : 0; // full, as the text is longer
            ASSERT_TRUE(used == 0 || static_cast<INT32>(strlen(room)) == used - 1);
            for (INT32 i = used; i < 8; ++i)
                ASSERT_EQ(room[i], '#') << "call " << &call - calls << " wrote behind size " << size;
        }
}

TEST(StringFormat, TakesTheCallersWordWhereNoSizeIsGiven)
{
    char room[16];
    EXPECT_EQ(KxcStringToolkit::format(room, "%d-%s", 5, "x"), 4);
    EXPECT_STREQ(room, "5-x");
    const char* none = nullptr;
    EXPECT_EQ(KxcStringToolkit::format(room, none), 0);
    EXPECT_STREQ(room, "");
    EXPECT_EQ(KxcStringToolkit::allocatedFormat(none), nullptr);
}

TEST(StringFormat, HugeWidthsCostNothingAndTheLengthSaturates)
{
    char room[4];
    for (const char* text : {"%2147483647d%d", "%99999999999999999999d", "%.2147483647d%d", "%-2147483647d|",
                             "%02147483647dxyz", "%2147483646.1dabc"})
        EXPECT_EQ(KxcStringToolkit::format(room, 4, text, 1, 2), INT32_MAX) << text;
    EXPECT_EQ(KxcStringToolkit::format(room, 4, "%*d", INT32_MIN, 1), INT32_MAX);
    EXPECT_STREQ(room, "1  ");
    EXPECT_EQ(KxcStringToolkit::format(room, 4, "%.2147483647f", 1.5), INT32_MAX);
    EXPECT_STREQ(room, "1.5");
    EXPECT_EQ(formatted("%.2147483647g", 0.1).size(), 57u) << "no digit of 0.1 is missing, and no zero follows them";
    INT32 before = -1, after = -1;
    EXPECT_EQ(KxcStringToolkit::format(nullptr, 0, "ab%n%2147483647d%d%n", &before, 1, 1, &after), INT32_MAX);
    EXPECT_EQ(before, 2);
    EXPECT_EQ(after, INT32_MAX);
    EXPECT_EQ(KxcStringToolkit::format(room, 4, static_cast<const char*>(nullptr)), 0);
    EXPECT_STREQ(room, "");
}
