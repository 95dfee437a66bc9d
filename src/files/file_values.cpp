// file_values.cpp - single values and strings in files: little-endian on every host, so that saved games travel.
#include <kxcoreemb/file.h>

#include <cstring>
#include <new>

namespace
{
template <class Bits>
INT32 writeBits(KxcFile* file, Bits bits)
{
    UINT8 bytes[sizeof(Bits)];
    for (size_t i = 0; i < sizeof bytes; ++i)
        bytes[i] = static_cast<UINT8>(bits >> (8 * i));
    return file->write(bytes, static_cast<INT32>(sizeof bytes), 1);
}

template <class Bits>
INT32 readBits(KxcFile* file, Bits& bits)
{
    UINT8 bytes[sizeof(Bits)];
    const INT32 result = file->read(bytes, static_cast<INT32>(sizeof bytes), 1);
    if (result != 1)
        return result;
    bits = 0;
    for (size_t i = 0; i < sizeof bytes; ++i)
        bits = static_cast<Bits>(bits | static_cast<Bits>(bytes[i]) << (8 * i));
    return 1;
}

/// A string that grows as it is read: one pass, and no more memory than twice what the file holds.
template <class Character>
class Growing
{
public:
    ~Growing() { delete[] text; }

    bool add(Character character)
    {
        if (length == capacity)
        {
            const size_t larger = capacity ? capacity * 2 : 32;
            Character* copy = new (std::nothrow) Character[larger];
            if (!copy)
                return false;
            if (length > 0)
                memcpy(copy, text, length * sizeof(Character));
            delete[] text;
            text = copy;
            capacity = larger;
        }
        text[length++] = character;
        return true;
    }

    Character* release()
    {
        Character* result = text;
        text = nullptr;
        return result;
    }

private:
    Character* text = nullptr;
    size_t length = 0, capacity = 0;
};

template <class Character>
Character* readUnits(KxcFile* file)
{
    Growing<Character> string;
    UINT16 unit;
    do
    {
        if (readBits(file, unit) != 1)
            unit = 0; // the end of the file ends the string as well
        if (!string.add(static_cast<Character>(unit)))
            return nullptr;
    } while (unit != 0);
    return string.release();
}
} // namespace

// Each stored type with the unsigned type that carries its bits.
#define KXC_STORED(NAME, BITS)                     \
    INT32 KxcFile::write##NAME(NAME value)         \
    {                                              \
        BITS bits;                                 \
        memcpy(&bits, &value, sizeof bits);        \
        return writeBits(this, bits);              \
    }                                              \
    INT32 KxcFile::read##NAME(NAME& value)         \
    {                                              \
        BITS bits;                                 \
        const INT32 result = readBits(this, bits); \
        if (result == 1)                           \
            memcpy(&value, &bits, sizeof bits);    \
        return result;                             \
    }                                              \
    NAME KxcFile::read##NAME()                     \
    {                                              \
        NAME value = 0;                            \
        read##NAME(value);                         \
        return value;                              \
    }
KXC_STORED(INT8, UINT8)
KXC_STORED(UINT8, UINT8)
KXC_STORED(INT16, UINT16)
KXC_STORED(UINT16, UINT16)
KXC_STORED(INT32, UINT32)
KXC_STORED(UINT32, UINT32)
KXC_STORED(FLOAT32, UINT32)
KXC_STORED(FLOAT64, UINT64)
#undef KXC_STORED

INT32 KxcFile::writeCHARString(const char* string)
{
    INT32 result = 0;
    for (bool more = string != nullptr; more; ++string)
    {
        result = writeINT16(static_cast<signed char>(*string));
        more = result == 1 && *string != 0;
    }
    return result;
}

INT32 KxcFile::writeCHAR8String(const char* string)
{
    return string ? write(string, static_cast<INT32>(strlen(string) + 1), 1) : 0;
}

INT32 KxcFile::writeCHAR16String(const CHAR16* string)
{
    INT32 result = 0;
    for (bool more = string != nullptr; more; ++string)
    {
        result = writeINT16(*string);
        more = result == 1 && *string != 0;
    }
    return result;
}

char* KxcFile::readCHARString() { return readUnits<char>(this); }
CHAR16* KxcFile::readCHAR16String() { return readUnits<CHAR16>(this); }

char* KxcFile::readCHAR8String()
{
    Growing<char> string;
    INT32 ch;
    do
    {
        ch = getChar();
        if (!string.add(static_cast<char>(ch > 0 ? ch : 0)))
            return nullptr;
    } while (ch > 0);
    return string.release();
}
