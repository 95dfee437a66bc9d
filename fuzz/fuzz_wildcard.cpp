// fuzz_wildcard.cpp - wildcard matching against a table of which parts match which, and the numbers that strings hold.
//
// The first byte tells how much of the input is the pattern.
#include "fuzz.h"

#include <cmath>
#include <string>
#include <vector>

namespace
{

/// Whether the pattern's first i characters match the text's first k, for all of them, row by row.
bool matches(const std::string& pattern, const std::string& text)
{
    std::vector<char> row(text.size() + 1);
    row[0] = true;
    for (const char p : pattern)
    {
        char before = row[0]; // of the row above, one to the left
        row[0] = row[0] && p == '*';
        for (size_t k = 1; k <= text.size(); ++k)
        {
            const char above = row[k];
            row[k] = p == '*' ? above || row[k - 1] : before && (p == '?' || p == text[k - 1]);
            before = above;
        }
    }
    return row[text.size()];
}

std::string lowered(std::string text)
{
    KxcStringToolkit::toLowerCase(text.data());
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const UINT8* bytes, size_t size)
{
    const std::string all(reinterpret_cast<const char*>(bytes), size);
    const size_t split = size > 0 ? 1 + bytes[0] % size : 0;
    // c_str() ends at the first NUL; so do these.
    const std::string pattern = size > 0 ? all.substr(1, split - 1).c_str() : "", text = all.substr(split).c_str();
    check((KxcStringToolkit::matchWildcard(pattern.c_str(), text.c_str()) != 0) == matches(pattern, text));
    check((KxcStringToolkit::matchWildcardIgnoreCase(pattern.c_str(), text.c_str()) != 0) ==
          matches(lowered(pattern), lowered(text)));

    INT32 valid;
    const FLOAT32 number = KxcStringToolkit::toFLOAT32(text.c_str(), &valid);
    if (valid) // then the C library reads it as well, and to the same bits
        check(number == std::strtof(text.c_str(), nullptr));
    KxcStringToolkit::toINT32(text.c_str(), &valid);
    const char* found = pattern.empty() ? nullptr : KxcStringToolkit::find(text.c_str(), pattern.c_str());
    check(pattern.empty() ||
          (found ? static_cast<size_t>(found - text.c_str()) : std::string::npos) == text.find(pattern));
    char* unescaped = KxcStringToolkit::unescape(text.c_str());
    check(unescaped && KxcStringToolkit::getLength(unescaped) <= static_cast<INT32>(text.size()));
    delete[] unescaped;
    return 0;
}
