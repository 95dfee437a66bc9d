// string_format.cpp - the formatter: printf's conversions, bounded, and printing the same on every device.
//
// Output counts every character in 64 bits and writes those that fit, so that a width of two billion costs no more
// than the room that there is. A conversion first finds out its text's parts and their total length, then the field is
// padded around them.
#include "core/decimal.h"
#include <kxcoreemb/string_toolkit.h>

#include <cstring>
#include <new>

namespace
{
const INT32 kLargest = 0x7FFFFFFF;
const INT32 kNoPrecision = -1;

/// The destination.
struct Output
{
    char* next;
    INT64 room;  // characters that still fit, without the terminator
    INT64 count; // characters so far, whether they fit or not

    void put(const char* text, INT64 length)
    {
        const INT64 fits = length < room ? length : room;
        if (fits > 0)
        {
            memcpy(next, text, static_cast<size_t>(fits));
            next += fits;
            room -= fits;
        }
        count += length;
    }

    void fill(char character, INT64 length)
    {
        if (length <= 0)
            return;
        const INT64 fits = length < room ? length : room;
        if (fits > 0)
        {
            memset(next, character, static_cast<size_t>(fits));
            next += fits;
            room -= fits;
        }
        count += length;
    }

    INT32 countSaturated() const { return count < kLargest ? static_cast<INT32>(count) : kLargest; }
};

struct Conversion
{
    bool plus, left, zero;
    INT32 width, precision; // kNoPrecision when there is none
};

/// What stands in a field, in this order; the point and what follows it only in floating-point numbers.
struct Field
{
    char sign; // 0 for none
    const char* text;
    INT64 textLength;
    INT64 zerosBefore; // between sign and text
    char point;        // 0 for none
    const char* fraction;
    INT64 fractionLength, fractionZeros;
    char exponent[8]; // "e+308"
    INT32 exponentLength;
};

void putField(Output& output, const Conversion& conversion, const Field& field, bool zeroFill)
{
    const INT64 length = (field.sign != 0) + field.zerosBefore + field.textLength + (field.point != 0) +
                         field.fractionLength + field.fractionZeros + field.exponentLength;
    const INT64 padding = conversion.width > length ? conversion.width - length : 0;
    zeroFill = zeroFill && !conversion.left;
    if (!zeroFill && !conversion.left)
        output.fill(' ', padding);
    if (field.sign)
        output.put(&field.sign, 1);
    output.fill('0', field.zerosBefore + (zeroFill ? padding : 0));
    output.put(field.text, field.textLength);
    if (field.point)
        output.put(&field.point, 1);
    output.put(field.fraction, field.fractionLength);
    output.fill('0', field.fractionZeros);
    output.put(field.exponent, field.exponentLength);
    if (conversion.left)
        output.fill(' ', padding);
}

template <class Unsigned>
void putInteger(Output& output, const Conversion& conversion, Unsigned value, char sign, UINT32 base,
                const char* digitSet)
{
    char digits[sizeof(Unsigned) * 8];
    INT32 count = 0;
    do
    {
        digits[sizeof digits - static_cast<size_t>(++count)] = digitSet[value % base];
        value = static_cast<Unsigned>(value / base);
    } while (value != 0);
    Field field = {};
    field.sign = sign;
    field.text = digits + sizeof digits - count;
    field.textLength = count;
    field.zerosBefore = conversion.precision > count ? conversion.precision - count : 0;
    putField(output, conversion, field, conversion.zero && conversion.precision == kNoPrecision);
}

void putText(Output& output, const Conversion& conversion, const char* text, INT64 length)
{
    Field field = {};
    field.text = text;
    field.textLength = length;
    putField(output, conversion, field, conversion.zero);
}

/// A decimal's digits with a spare zero in front, cut and rounded half up: only the first digit cut off decides.
struct Rounded
{
    KxcDecimal exact;
    char digits[KxcDecimal::kCapacity + 1];
    INT32 count, point; // as in KxcDecimal

    /// Keeps the digits before index `cut`, which may lie beyond the end.
    void round(INT64 cut)
    {
        digits[0] = '0';
        memcpy(digits + 1, exact.digits, static_cast<size_t>(exact.count));
        point = exact.point + 1;
        count = exact.count + 1;
        if (cut + 1 >= count)
            return;
        count = static_cast<INT32>(cut + 1);
        if (digits[count] < '5')
            return;
        INT32 i = count - 1;
        for (; digits[i] == '9'; --i)
            digits[i] = '0';
        ++digits[i];
    }
};

/// The layout of e: one digit, the fraction, the exponent. @param trim  drops the zeros that end the fraction
void layOutScientific(Field& field, const Rounded& number, INT32 first, INT32 precision, char letter, bool trim)
{
    const bool isZero = first >= number.count;
    INT32 length = isZero ? 0 : number.count - first - 1;
    if (length > precision)
        length = precision;
    field.text = isZero ? "0" : number.digits + first;
    field.textLength = 1;
    field.fraction = number.digits + first + 1;
    while (trim && length > 0 && field.fraction[length - 1] == '0')
        --length;
    field.fractionLength = length;
    field.fractionZeros = trim ? 0 : precision - length;
    field.point = field.fractionLength + field.fractionZeros > 0 ? '.' : 0;

    INT32 exponent = isZero ? 0 : number.point - 1 - first;
    char* out = field.exponent;
    *out++ = letter;
    *out++ = exponent < 0 ? '-' : '+';
    exponent = exponent < 0 ? -exponent : exponent;
    if (exponent >= 100)
        *out++ = static_cast<char>('0' + exponent / 100);
    *out++ = static_cast<char>('0' + exponent / 10 % 10);
    *out++ = static_cast<char>('0' + exponent % 10);
    field.exponentLength = static_cast<INT32>(out - field.exponent);
}

/// The layout of f: all digits before the point, the fraction.
void layOutFixed(Field& field, const Rounded& number, INT32 precision, bool trim)
{
    INT32 start = 0;
    while (start < number.point - 1 && number.digits[start] == '0')
        ++start;
    field.text = number.digits + start;
    field.textLength = number.point - start;
    field.fraction = number.digits + number.point;
    INT32 length = number.count - number.point;
    while (trim && length > 0 && field.fraction[length - 1] == '0')
        --length;
    field.fractionLength = length;
    field.fractionZeros = trim ? 0 : precision - length;
    field.point = field.fractionLength + field.fractionZeros > 0 ? '.' : 0;
}

void putFloat(Output& output, const Conversion& conversion, double value, char letter)
{
    UINT64 bits;
    memcpy(&bits, &value, sizeof bits);
    Field field = {};
    field.sign = bits >> 63 ? '-' : conversion.plus ? '+' : 0;
    bits &= 0x7FFFFFFFFFFFFFFFull;
    const bool upper = letter == 'E' || letter == 'G';
    if (bits >= 0x7FF0000000000000ull)
    {
        const bool infinite = bits == 0x7FF0000000000000ull;
        field.text = infinite ? (upper ? "INF" : "inf") : (upper ? "NAN" : "nan");
        field.textLength = 3;
        putField(output, conversion, field, false);
        return;
    }
    memcpy(&value, &bits, sizeof bits);

    // No double has more digits than kCapacity; what a larger precision asks for are zeros, which are not stored.
    const INT32 asked = conversion.precision == kNoPrecision ? 6 : conversion.precision;
    const INT32 useful = asked < KxcDecimal::kCapacity ? asked : KxcDecimal::kCapacity;
    Rounded number;
    if (letter == 'f')
    {
        number.exact.set(value, useful + 1, 0);
        number.round(static_cast<INT64>(number.exact.point) + asked);
        layOutFixed(field, number, asked, false);
    }
    else
    {
        const bool general = letter == 'g' || letter == 'G';
        const INT32 significant = !general ? useful + 1 : useful > 0 ? useful : 1;
        // For g, the exponent after rounding to the significant digits tells the layout.
        number.exact.set(value, 0, significant + 1);
        const INT32 exactFirst = number.exact.firstSignificant();
        number.round(static_cast<INT64>(exactFirst) + significant);
        INT32 first = 0;
        while (first < number.count && number.digits[first] == '0')
            ++first;
        const INT32 exponent = first < number.count ? number.point - 1 - first : 0;
        if (general && exponent >= -4 && exponent < significant)
        {
            number.round(static_cast<INT64>(number.exact.point) + significant - 1 - exponent);
            layOutFixed(field, number, 0, true);
        }
        else
            layOutScientific(field, number, first, general ? significant - 1 : asked, upper ? 'E' : 'e', general);
    }
    putField(output, conversion, field, conversion.zero);
}

INT32 appendDigit(INT32 number, char digit)
{
    const INT64 value = static_cast<INT64>(number) * 10 + (digit - '0');
    return value < kLargest ? static_cast<INT32>(value) : kLargest;
}

void formatInto(Output& output, const char* text, va_list arguments)
{
    static const char kLower[] = "0123456789abcdef", kUpper[] = "0123456789ABCDEF";
    for (;;)
    {
        const char* percent = text;
        while (*percent != 0 && *percent != '%')
            ++percent;
        output.put(text, percent - text);
        if (*percent == 0)
            return;

        Conversion conversion = {false, false, false, 0, kNoPrecision};
        bool widthSeen = false;
        for (text = percent + 1;; ++text)
        {
            if (*text == '+')
                conversion.plus = true;
            else if (*text == '-')
                conversion.left = true;
            else if (*text == '.')
                conversion.precision = 0;
            else if (*text == '*')
            {
                const INT32 value = va_arg(arguments, INT32);
                if (conversion.precision != kNoPrecision)
                    conversion.precision = value < 0 ? kNoPrecision : value;
                else
                {
                    conversion.left = conversion.left || value < 0;
                    conversion.width = value >= 0 ? value : value < -kLargest ? kLargest : -value;
                    widthSeen = true;
                }
            }
            else if (*text >= '0' && *text <= '9')
            {
                if (conversion.precision != kNoPrecision)
                    conversion.precision = appendDigit(conversion.precision, *text);
                else if (*text == '0' && !widthSeen)
                    conversion.zero = true;
                else
                {
                    conversion.width = appendDigit(conversion.width, *text);
                    widthSeen = true;
                }
            }
            else if (*text != '#' && *text != 'l' && *text != 'L' && *text != 'h')
                break;
        }

        switch (*text)
        {
        case 'c':
        {
            const char character = static_cast<char>(va_arg(arguments, int));
            putText(output, conversion, &character, 1);
            break;
        }
        case 'd':
        case 'i':
        {
            const INT32 value = va_arg(arguments, INT32);
            const UINT32 magnitude = value < 0 ? 0u - static_cast<UINT32>(value) : static_cast<UINT32>(value);
            putInteger(output, conversion, magnitude, value < 0 ? '-' : conversion.plus ? '+' : 0, 10, kLower);
            break;
        }
        case 'u':
            putInteger(output, conversion, va_arg(arguments, UINT32), 0, 10, kLower);
            break;
        case 'x':
            putInteger(output, conversion, va_arg(arguments, UINT32), 0, 16, kLower);
            break;
        case 'X':
            putInteger(output, conversion, va_arg(arguments, UINT32), 0, 16, kUpper);
            break;
        case 'p':
            putInteger(output, conversion, reinterpret_cast<uintptr_t>(va_arg(arguments, void*)), 0, 16, kUpper);
            break;
        case 'o':
            putInteger(output, conversion, va_arg(arguments, UINT32), 0, 8, kLower);
            break;
        case 'b':
            putInteger(output, conversion, va_arg(arguments, UINT32), 0, 2, kLower);
            break;
        case 's':
        {
            const char* string = va_arg(arguments, const char*);
            string = string ? string : "(null)";
            // A string that is cut need not be terminated.
            INT64 length = 0;
            while ((conversion.precision == kNoPrecision || length < conversion.precision) && string[length] != 0)
                ++length;
            putText(output, conversion, string, length);
            break;
        }
        case 'f':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
            putFloat(output, conversion, va_arg(arguments, double), *text);
            break;
        case 'n':
            if (INT32* target = va_arg(arguments, INT32*))
                *target = output.countSaturated();
            break;
        case '%':
            output.put("%", 1);
            break;
        default: // unknown: the conversion stands for itself
            output.put(percent, text - percent);
            if (*text == 0)
                return;
            output.put(text, 1);
        }
        ++text;
    }
}
} // namespace

INT32 KxcStringToolkit::formatVarArgs(char* destination, INT32 size, const char* text, va_list arguments)
{
    const bool writes = destination && size > 0;
    Output output = {destination, writes ? static_cast<INT64>(size) - 1 : 0, 0};
    if (text)
        formatInto(output, text, arguments);
    if (writes)
        *output.next = 0;
    if (!text)
        return 0;
    return output.count < kLargest ? static_cast<INT32>(output.count + 1) : kLargest;
}

INT32 KxcStringToolkit::formatVarArgs(char* destination, const char* text, va_list arguments)
{
    return formatVarArgs(destination, 0xFFFFFF, text, arguments);
}

INT32 KxcStringToolkit::format(char* destination, INT32 size, const char* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    const INT32 length = formatVarArgs(destination, size, text, arguments);
    va_end(arguments);
    return length;
}

INT32 KxcStringToolkit::format(char* destination, const char* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    const INT32 length = formatVarArgs(destination, text, arguments);
    va_end(arguments);
    return length;
}

char* KxcStringToolkit::allocatedFormatVarArgs(const char* text, va_list arguments)
{
    if (!text)
        return nullptr;
    va_list again;
    va_copy(again, arguments);
    const INT32 size = formatVarArgs(nullptr, 0, text, again);
    va_end(again);
    char* result = new (std::nothrow) char[static_cast<size_t>(size)];
    if (result)
        formatVarArgs(result, size, text, arguments);
    return result;
}

char* KxcStringToolkit::allocatedFormat(const char* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    char* result = allocatedFormatVarArgs(text, arguments);
    va_end(arguments);
    return result;
}
