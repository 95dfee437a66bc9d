// string_toolkit.h - the engine's string helpers: a bounded formatter that prints the same on every device, wildcard
// and substring matching, comparisons, copies between 8-bit and 16-bit characters, number parsing.
#pragma once

#include <kxcoreemb/base.h>

/// Helpers for NUL-terminated strings of 8-bit characters, and of 16-bit ones where KxcCHAR16 says so. All static.
///
/// Ownership  functions that return a new string allocate it with new[]; the caller releases it with delete[].
/// Failure    a null string is accepted everywhere and gives 0, unless a member says otherwise; a new string is null
///            when memory runs out.
/// Threads    any.
///
/// A format string holds text and conversions: "%", any of the flags and modifiers below in any order, and one letter.
///
///   -       pad on the right, with blanks            +     always write the sign of d and i
///   0       before the width: pad with zeros         .     the precision follows
///   1..9    width, or after "." precision            *     take it from the next KxcINT32 argument (a negative
///   # l L h accepted, without effect                       width left-justifies, a negative precision counts as none)
///
///   c       a character                              x     KxcUINT32: hexadecimal, lower case digits
///   d i     KxcINT32                                 X p   hexadecimal, upper case digits: KxcUINT32, pointer
///   u o b   KxcUINT32: decimal, octal, binary        n     stores the characters so far through a KxcINT32*
///   s       a string, cut at the precision; a null one prints "(null)"
///   f e E g G   a double, 6 decimals when no precision is given; rounded half up at the last printed digit, with the
///           layout of the C library in the "C" locale, whatever the program's locale is
///   %       a percent sign
///
/// The precision of an integer is its least number of digits; with one, the width pads with blanks. Any other letter
/// ends the conversion, which is then copied to the output as it stands.
class KXC_API KxcStringToolkit
{
public:
    /// @{
    /// Writes at most size - 1 characters and a NUL; with a size of 0 or less, or no destination, it only measures.
    /// @return the length of the complete result + 1, also when it was cut; 0 without a format string
    static KxcINT32 formatVarArgs(char* destination, KxcINT32 size, const char* text, va_list arguments);
    static KxcINT32 format(char* destination, KxcINT32 size, const char* text, ...);
    /// @}

    /// @{
    /// The same with a size of 0xFFFFFF: the caller vouches for the room.
    static KxcINT32 formatVarArgs(char* destination, const char* text, va_list arguments);
    static KxcINT32 format(char* destination, const char* text, ...);
    /// @}

    /// @{
    /// Formats into a new string of the size that it needs.
    static char* allocatedFormatVarArgs(const char* text, va_list arguments);
    static char* allocatedFormat(const char* text, ...);
    /// @}

    /// 1 when the whole text matches the pattern: "?" is any one character, "*" any run of them, also an empty one.
    /// Takes at most as many steps as the lengths' product. A null pattern matches a null text only.
    static KxcINT32 matchWildcard(const char* pattern, const char* text);
    static KxcINT32 matchWildcardIgnoreCase(const char* pattern, const char* text); ///< 'a'..'z' equal 'A'..'Z'

    /// @{
    /// Counts the occurrences of the needle that do not overlap. An empty needle occurs in an empty haystack once, and
    /// nowhere else.
    static KxcINT32 match(const char* needle, const char* haystack);
    static KxcINT32 matchIgnoreCase(const char* needle, const char* haystack);
    /// @}

    /// The first occurrence of the substring, or null. A null substring gives the string, an empty string null.
    static const char* find(const char* string, const char* substring);
    /// The last occurrence of the character, where 0 finds the terminator. Null when there is none, and also when the
    /// string's first character is the only one.
    static const char* findLast(const char* string, char character);

    /// @{
    /// 0 when equal; 1 when the first is null, -1 when the second is; else the first difference, as signed characters.
    static KxcINT32 compare(const char* a, const char* b);
    static KxcINT32 compareIgnoreCase(const char* a, const char* b);
    /// @}

    static KxcINT32 getLength(const char* string);        ///< characters before the NUL
    static KxcINT32 getLengthInBytes(const char* string); ///< the same count
    static char* copy(const char* string);                ///< a new string
    static char* copy(const KxcCHAR16* string);           ///< keeps the low byte of every character
    static KxcCHAR16* copyToCHAR16(const char* string);   ///< widens signed characters: 0x80 becomes 0xFF80
    /// The first, the separator unless it is 0, the second; null when either is null.
    static char* concat(const char* first, const char* second, char separator);
    static void toLowerCase(char* string); ///< in place, 'A'..'Z' only
    static void toUpperCase(char* string); ///< in place, 'a'..'z' only
    /// A new string in which "\n" is a line feed, and a backslash before any other character is dropped. A backslash
    /// that ends the string stays.
    static char* unescape(const char* string);

    /// Reads a whole number that fills the string: a sign, "0x" or "#" (hexadecimal), "0o" (octal) or "0b" (binary),
    /// digits; wraps at 32 bits. A sign or a prefix alone is 0.
    /// @param success  null, or receives 1, or 0 when the string is empty or holds anything else; the result is 0 then
    static KxcINT32 toINT32(const char* string, KxcINT32* success);
    /// Reads a decimal number that fills the string: a sign, digits, "." and digits, "e" and an exponent. Every digit
    /// counts; the result is the float nearest to the number, infinite when that is too large.
    /// @param success  null, or receives 1, or 0 when the string holds no digits or anything else; the result is 0 then
    static KxcFLOAT32 toFLOAT32(const char* string, KxcINT32* success);
};
