// fuzz_format.cpp - the formatter, against the C library's where both mean the same.
//
// The input is a list of conversions: bytes that choose flags, width, precision, letter and room, then the argument.
// What is written must be what measuring promised, cut at the room; and where a conversion means in the C library what
// it means here, it must be what that prints.
#include "fuzz.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

namespace
{

/// Takes the input apart; 0 when it is used up.
struct Input
{
    const UINT8* bytes;
    size_t size;

    UINT32 take(size_t count)
    {
        UINT64 value = 0;
        for (size_t i = 0; i < count; ++i)
            value = value << 8 | (size > 0 ? (--size, *bytes++) : 0);
        low = value;
        return static_cast<UINT32>(value);
    }
    UINT64 take64() { return take(8), low; }
    UINT64 low = 0;
};

struct Conversion
{
    std::string text;
    INT32 stars[2], starCount = 0;
    bool plain = true; // the C library knows it, and takes it to mean the same
};

/// Calls print(destination, size, text, stars..., value), which is either formatter.
template <class Print, class Value>
INT32 printInto(Print print, const Conversion& c, char* destination, INT32 size, Value value)
{
    switch (c.starCount)
    {
    case 0:
        return print(destination, size, c.text.c_str(), value);
    case 1:
        return print(destination, size, c.text.c_str(), c.stars[0], value);
    default:
        return print(destination, size, c.text.c_str(), c.stars[0], c.stars[1], value);
    }
}

/// What is exactly between two results is rounded up here and to an even digit there.
bool isTie(const Conversion& c, double value)
{
    const size_t point = c.text.find('.');
    const char letter = c.text.back();
    if (letter == 'g' || letter == 'G' || c.starCount > 0)
        return true; // no telling where it is cut
    const size_t precision = point == std::string::npos ? 6 : static_cast<size_t>(std::atoi(&c.text[point + 1]));
    char exact[1600];
    std::snprintf(exact, sizeof exact, letter == 'f' ? "%.1100f" : "%.1100e", value);
    const char* digits = std::strchr(exact, '.');
    return digits && digits[1 + precision] == '5' && std::strspn(digits + 2 + precision, "0") >= 1099 - precision;
}

template <class Value>
void tryBoth(const Conversion& c, INT32 room, Value value)
{
    const auto ours = [](char* to, INT32 size, const char* text, auto... values)
    { return KxcStringToolkit::format(to, size, text, values...); };
    const INT32 measured = printInto(ours, c, nullptr, 0, value);
    check(measured >= 1);
    room %= 5000;
    const std::unique_ptr<char[]> cut(new char[static_cast<size_t>(room)]);
    check(printInto(ours, c, cut.get(), room, value) == measured);
    if (room > 0)
        check(static_cast<INT32>(std::strlen(cut.get())) <= room - 1);
    if (measured > 5000)
        return;
    const std::unique_ptr<char[]> whole(new char[static_cast<size_t>(measured)]);
    check(printInto(ours, c, whole.get(), measured, value) == measured);
    if (room > 0 && c.text.back() != 'c') // which may be a NUL
    {
        const size_t fits = static_cast<size_t>(room < measured ? room : measured) - 1;
        check(std::strlen(cut.get()) == fits && std::memcmp(cut.get(), whole.get(), fits) == 0);
    }
    if (!c.plain)
        return;
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-security"
#pragma clang diagnostic ignored "-Wformat-nonliteral"
    const auto theirs = [](char* to, INT32 size, const char* text, auto... values)
    { return std::snprintf(to, static_cast<size_t>(size), text, values...) + 1; };
#pragma clang diagnostic pop
    const std::unique_ptr<char[]> reference(new char[5001]);
    const INT32 length = printInto(theirs, c, reference.get(), 5001, value);
    const bool same = length == measured && std::memcmp(reference.get(), whole.get(), static_cast<size_t>(length)) == 0;
    if constexpr (std::is_same_v<Value, double>)
        check(same || isTie(c, value));
    else
        check(same);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const UINT8* bytes, size_t size)
{
    for (Input in = {bytes, size}; in.size > 0;)
    {
        static const char kFlags[] = "-+0#lLh.*19", kLetters[] = "duixXobscfeEgGnp%qZ";
        Conversion c;
        c.text.assign(in.take(1) % 3, 'a');
        c.text += '%';
        const UINT32 kind = in.take(1), digits = in.take(2);
        const char letter = kLetters[in.take(1) % (sizeof kLetters - 1)];
        const bool number = std::strchr("duixXo", letter) != nullptr, real = std::strchr("feEgG", letter) != nullptr;
        if (kind & 0x80) // anything, in any order
        {
            c.plain = false;
            for (UINT32 i = kind & 7; i > 0; --i)
            {
                const char flag = kFlags[in.take(1) % (sizeof kFlags - 1)];
                if (flag == '*' && c.starCount == 2)
                    continue;
                if (flag == '*')
                    c.stars[c.starCount++] = static_cast<INT32>(in.take(4));
                c.text += flag;
            }
        }
        else
        {
            const UINT32 width = digits >> 8, precision = digits & 0xFF;
            if (kind & 1)
                c.text += '-';
            if (kind & 2 && (letter == 'd' || letter == 'i' || real))
                c.text += '+';
            if (kind & 4 && (number || real))
                c.text += '0';
            if (kind & 8)
                c.text += std::to_string(width + 1);
            else if (kind & 16)
                c.text += '*', c.stars[c.starCount++] = static_cast<INT32>(in.take(4)) % 2000;
            if (kind & 32 && letter != 'c')
                c.text += '.' + std::to_string(number ? precision + 1 : precision); // 0 with a precision of 0 differs
            else if (kind & 64 && (letter == 's' || real))
                c.text += ".*", c.stars[c.starCount++] = static_cast<INT32>(in.take(4)) % 2000;
        }
        c.text += letter;
        const INT32 room = static_cast<INT32>(in.take(2));
        if (real)
        {
            const UINT64 bits = in.take64();
            double value;
            std::memcpy(&value, &bits, sizeof value);
            c.plain = c.plain && value - value == 0; // the C library writes infinite numbers with other padding
            tryBoth(c, room, value);
        }
        else if (letter == 's')
        {
            const size_t length = in.size < 20 ? in.size : 20;
            const std::string text(reinterpret_cast<const char*>(in.bytes), length);
            tryBoth(c, room, text.c_str());
        }
        else if (letter == 'n' || letter == 'p')
        {
            c.plain = false;
            INT32 target = 0;
            tryBoth(c, room, &target);
            check(target >= 0);
        }
        else
        {
            c.plain = c.plain && (number || letter == 'c');
            tryBoth(c, room, static_cast<INT32>(in.take(4)));
        }
    }
    return 0;
}
