// keyed_hash.h - SipHash-1-3 of a short text: names made to collide under one key do not under another, so that no
// archive can turn the index of names into one long chain.
#pragma once

#include <kxcoreemb/base.h>

#include <cstddef>
#include <cstring>

class KxcKeyedHash
{
public:
    /// @param key  what nobody who makes the text can know
    static UINT32 of(const char* text, size_t length, UINT64 key)
    {
        KxcKeyedHash h(key);
        UINT64 word;
        size_t i = 0;
        for (; i + 8 <= length; i += 8)
        {
            memcpy(&word, text + i, 8); // in the machine's order: keys never leave the program
            h.add(word);
        }
        word = 0;
        memcpy(&word, text + i, length - i);
        h.add(word ^ static_cast<UINT64>(length) << 56);
        h.v2 ^= 0xFF;
        for (INT32 round = 0; round < 3; ++round)
            h.mix();
        const UINT64 result = h.v0 ^ h.v1 ^ h.v2 ^ h.v3;
        return static_cast<UINT32>(result ^ result >> 32);
    }

private:
    explicit KxcKeyedHash(UINT64 key)
        : v0(key ^ 0x736F6D6570736575u),
          v1(~key ^ 0x646F72616E646F6Du),
          v2(key ^ 0x6C7967656E657261u),
          v3(~key ^ 0x7465646279746573u)
    {
    }

    void add(UINT64 word)
    {
        v3 ^= word;
        mix();
        v0 ^= word;
    }

    static UINT64 rotated(UINT64 value, INT32 bits) { return value << bits | value >> (64 - bits); }

    void mix()
    {
        v0 += v1;
        v2 += v3;
        v1 = rotated(v1, 13) ^ v0;
        v3 = rotated(v3, 16) ^ v2;
        v0 = rotated(v0, 32);
        v2 += v1;
        v0 += v3;
        v1 = rotated(v1, 17) ^ v2;
        v3 = rotated(v3, 21) ^ v0;
        v2 = rotated(v2, 32);
    }

    UINT64 v0, v1, v2, v3;
};
