// string_toolkit.cpp - matching, comparing, copying and number parsing of KxcStringToolkit.
#include "core/decimal.h"
#include <kxcoreemb/string_toolkit.h>

#include <cstring>
#include <new>

namespace
{
struct ExactCase
{
    static char map(char c) { return c; }
};

struct IgnoreCase
{
    static char map(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
};

/// A later star makes an earlier one's choice final, so only the last star is ever returned to: each of its tries
/// walks at most the pattern, and there are at most as many tries as the text has characters.
template <class Case>
INT32 wildcard(const char* pattern, const char* text)
{
    if (!pattern || !text)
        return pattern == text;
    const char* afterStar = nullptr;
    const char* starText = nullptr; // where the run of that star ends for now
    while (*text != 0)
    {
        if (*pattern == '*')
        {
            afterStar = ++pattern;
            starText = text;
        }
        else if (*pattern == '?' || (*pattern != 0 && Case::map(*pattern) == Case::map(*text)))
        {
            ++pattern;
            ++text;
        }
        else if (afterStar)
        {
            pattern = afterStar;
            text = ++starText;
        }
        else
            return 0;
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == 0;
}

template <class Case>
INT32 occurrences(const char* needle, const char* haystack)
{
    if (!needle || !haystack)
        return 0;
    if (*needle == 0)
        return *haystack == 0;
    INT32 count = 0;
    while (*haystack != 0)
    {
        INT32 length = 0;
        while (needle[length] != 0 && Case::map(needle[length]) == Case::map(haystack[length]))
            ++length;
        if (needle[length] == 0)
        {
            ++count;
            haystack += length;
        }
        else
            ++haystack;
    }
    return count;
}

template <class Case>
INT32 difference(const char* a, const char* b)
{
    if (a == b)
        return 0;
    if (!a || !b)
        return a ? -1 : 1;
    while (*a != 0 && Case::map(*a) == Case::map(*b))
    {
        ++a;
        ++b;
    }
    return static_cast<signed char>(Case::map(*a)) - static_cast<signed char>(Case::map(*b));
}

char* allocateString(size_t length) { return new (std::nothrow) char[length + 1]; }

bool isDigit(char c) { return c >= '0' && c <= '9'; }
} // namespace

INT32 KxcStringToolkit::matchWildcard(const char* pattern, const char* text)
{
    return wildcard<ExactCase>(pattern, text);
}

INT32 KxcStringToolkit::matchWildcardIgnoreCase(const char* pattern, const char* text)
{
    return wildcard<IgnoreCase>(pattern, text);
}

INT32 KxcStringToolkit::match(const char* needle, const char* haystack)
{
    return occurrences<ExactCase>(needle, haystack);
}

INT32 KxcStringToolkit::matchIgnoreCase(const char* needle, const char* haystack)
{
    return occurrences<IgnoreCase>(needle, haystack);
}

const char* KxcStringToolkit::find(const char* string, const char* substring)
{
    if (!string || !substring)
        return string;
    return *string == 0 ? nullptr : strstr(string, substring);
}

const char* KxcStringToolkit::findLast(const char* string, char character)
{
    if (!string)
        return nullptr;
    const char* last = strrchr(string, character);
    return last == string ? nullptr : last;
}

INT32 KxcStringToolkit::compare(const char* a, const char* b) { return difference<ExactCase>(a, b); }
INT32 KxcStringToolkit::compareIgnoreCase(const char* a, const char* b) { return difference<IgnoreCase>(a, b); }

INT32 KxcStringToolkit::getLength(const char* string) { return string ? static_cast<INT32>(strlen(string)) : 0; }
INT32 KxcStringToolkit::getLengthInBytes(const char* string) { return getLength(string); }

char* KxcStringToolkit::copy(const char* string)
{
    if (!string)
        return nullptr;
    const size_t length = strlen(string);
    char* result = allocateString(length);
    if (result)
        memcpy(result, string, length + 1);
    return result;
}

char* KxcStringToolkit::copy(const CHAR16* string)
{
    if (!string)
        return nullptr;
    size_t length = 0;
    while (string[length] != 0)
        ++length;
    char* result = allocateString(length);
    for (size_t i = 0; result && i <= length; ++i)
        result[i] = static_cast<char>(string[i] & 0xFF);
    return result;
}

CHAR16* KxcStringToolkit::copyToCHAR16(const char* string)
{
    if (!string)
        return nullptr;
    const size_t length = strlen(string);
    CHAR16* result = new (std::nothrow) CHAR16[length + 1];
    for (size_t i = 0; result && i <= length; ++i)
        result[i] = static_cast<signed char>(string[i]);
    return result;
}

char* KxcStringToolkit::concat(const char* first, const char* second, char separator)
{
    if (!first || !second)
        return nullptr;
    const size_t firstLength = strlen(first), secondLength = strlen(second);
    char* result = allocateString(firstLength + 1 + secondLength);
    if (!result)
        return nullptr;
    char* out = result;
    memcpy(out, first, firstLength);
    out += firstLength;
    if (separator != 0)
        *out++ = separator;
    memcpy(out, second, secondLength + 1);
    return result;
}

void KxcStringToolkit::toLowerCase(char* string)
{
    for (; string && *string != 0; ++string)
        if (*string >= 'A' && *string <= 'Z')
            *string = static_cast<char>(*string - 'A' + 'a');
}

void KxcStringToolkit::toUpperCase(char* string)
{
    for (; string && *string != 0; ++string)
        *string = IgnoreCase::map(*string);
}

char* KxcStringToolkit::unescape(const char* string)
{
    if (!string)
        return nullptr;
    char* result = allocateString(strlen(string));
    if (!result)
        return nullptr;
    char* out = result;
    for (; *string != 0; ++string)
    {
        if (*string != '\\' || string[1] == 0)
            *out++ = *string;
        else
            *out++ = *++string == 'n' ? '\n' : *string;
    }
    *out = 0;
    return result;
}

INT32 KxcStringToolkit::toINT32(const char* string, INT32* success)
{
    if (success)
        *success = 0;
    if (!string || *string == 0)
        return 0;
    const bool negative = *string == '-';
    if (*string == '-' || *string == '+')
        ++string;
    UINT32 base = 10;
    if (*string == '#')
    {
        base = 16;
        ++string;
    }
    else if (*string == '0')
    {
        const char letter = IgnoreCase::map(string[1]);
        base = letter == 'X' ? 16 : letter == 'O' ? 8 : letter == 'B' ? 2 : 10;
        string += base == 10 ? 0 : 2;
    }
    UINT32 magnitude = 0;
    for (; *string != 0; ++string)
    {
        const char letter = IgnoreCase::map(*string);
        UINT32 digit = base;
        if (isDigit(letter))
            digit = static_cast<UINT32>(letter - '0');
        else if (letter >= 'A' && letter <= 'F')
            digit = static_cast<UINT32>(letter - 'A') + 10;
        if (digit >= base)
            return 0;
        magnitude = magnitude * base + digit;
    }
    if (success)
        *success = 1;
    return static_cast<INT32>(negative ? 0u - magnitude : magnitude);
}

FLOAT32 KxcStringToolkit::toFLOAT32(const char* string, INT32* success)
{
    if (success)
        *success = 0;
    if (!string)
        return 0;
    const bool negative = *string == '-';
    if (*string == '-' || *string == '+')
        ++string;

    // Halfway points between floats have fewer than 160 significant digits. Of what lies beyond, it matters only
    // whether there is anything: one digit more stands for it.
    const INT32 kKept = 160;
    char digits[kKept + 1];
    INT32 count = 0;
    INT64 point = 0; // of the number 0.digits
    bool any = false, fraction = false, rest = false;
    for (; isDigit(*string) || (*string == '.' && !fraction); ++string)
    {
        if (*string == '.')
        {
            fraction = true;
            continue;
        }
        any = true;
        if (count == 0 && *string == '0')
            point -= fraction;
        else
        {
            point += !fraction;
            if (count < kKept)
                digits[count++] = *string;
            else
                rest = rest || *string != '0';
        }
    }
    if (!any)
        return 0;
    if (*string == 'e' || *string == 'E')
    {
        ++string;
        const bool below = *string == '-';
        if (*string == '-' || *string == '+')
            ++string;
        if (!isDigit(*string))
            return 0;
        const INT64 kFar = INT64(1) << 40; // farther than any string of digits can bring the point back from
        INT64 exponent = 0;
        for (; isDigit(*string); ++string)
            exponent = exponent < kFar ? exponent * 10 + (*string - '0') : kFar;
        point += below ? -exponent : exponent;
    }
    if (*string != 0)
        return 0;
    if (success)
        *success = 1;

    if (rest)
        digits[count++] = '1';
    while (count > 0 && digits[count - 1] == '0')
        --count;
    const FLOAT32 magnitude = count > 0 ? kxcNearestFloat(digits, count, point) : 0;
    return negative ? -magnitude : magnitude;
}
