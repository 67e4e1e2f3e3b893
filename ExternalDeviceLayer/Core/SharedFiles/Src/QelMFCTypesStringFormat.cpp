// Formatting into a string, and the length estimate for when the formatter fails.
#include "QelMFCTypesString.h"

#include <algorithm>

namespace
{
// A conversion without its letter: "%8.3l" is width 8, precision 3, size 'l'.
struct SModifiers
{
    KINT32 iWidth     = 0;  // 0 if none is given; the same for iPrecision
    KINT32 iPrecision = 0;
    KCHAR8 chSize     = 0;  // 'h', 'l', 'L', LONG_LONG
};
constexpr KCHAR8 LONG_LONG = 'q';

// An argument list that functions can pass on by reference.
struct SArguments
{
    va_list argList;
};

constexpr KINT64 NULL_TEXT_LENGTH = 6;  // "(null)"

// A text with a precision needs no terminator, so it is not read beyond the precision.
template <class TCharacter> KINT64 TextLength(const TCharacter* pszText, KINT32 iPrecision)
{
    if (pszText == nullptr)
        return NULL_TEXT_LENGTH;

    KINT64 iLength = 0;
    while ((iPrecision == 0 || iLength < iPrecision) && pszText[iLength] != 0)
        ++iLength;
    return std::max<KINT64>(iLength, 1);
}

KINT64 FitText(KINT64 iLength, const SModifiers& roModifiers)
{
    if (roModifiers.iPrecision != 0)
        iLength = std::min<KINT64>(iLength, roModifiers.iPrecision);
    return std::max<KINT64>(iLength, roModifiers.iWidth);
}

void SkipInteger(KCHAR8 chSize, KCHAR8 chConversion, SArguments& roArguments)
{
    if (chConversion == 'p')
        va_arg(roArguments.argList, void*);
    else if (chSize == LONG_LONG)
        va_arg(roArguments.argList, long long);
    else if (chSize == 'l')
        va_arg(roArguments.argList, long);
    else
        va_arg(roArguments.argList, int);
}

// A long double is passed elsewhere than a double. Skipping the wrong one would misread the arguments after it.
void SkipFloat(KCHAR8 chSize, SArguments& roArguments)
{
    if (chSize == 'L')
        va_arg(roArguments.argList, long double);
    else
        va_arg(roArguments.argList, double);
}

// Takes the argument of one conversion from the list. Returns the largest number of characters that it may produce.
KINT64 ConversionLength(KCHAR8 chConversion, const SModifiers& roModifiers, SArguments& roArguments)
{
    const KINT32 iPrecision         = roModifiers.iPrecision;
    const KINT64 iWidthAndPrecision = KINT64{roModifiers.iWidth} + iPrecision;

    switch (chConversion)
    {
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
    case 'p': SkipInteger(roModifiers.chSize, chConversion, roArguments); return std::max<KINT64>(32, iWidthAndPrecision);

    case 'e':
    case 'E':
    case 'g':
    case 'G': SkipFloat(roModifiers.chSize, roArguments); return std::max<KINT64>(128, iWidthAndPrecision);

    case 'f':
        SkipFloat(roModifiers.chSize, roArguments);
        return KINT64{iPrecision} + 312;  // the largest double has 309 digits

    case 'c':
    case 'C':
        if (roModifiers.chSize == LONG_LONG)
            break;
        va_arg(roArguments.argList, int);
        return FitText(2, roModifiers);

    case 's':
    case 'S':
        if (roModifiers.chSize == LONG_LONG)
            break;
        if (roModifiers.chSize == 'l' || (chConversion == 'S' && roModifiers.chSize != 'h'))
            return FitText(TextLength(va_arg(roArguments.argList, const KWCHAR*), iPrecision), roModifiers);
        return FitText(TextLength(va_arg(roArguments.argList, const KCHAR8*), iPrecision), roModifiers);

    case 'n':
        if (roModifiers.chSize == LONG_LONG)
            break;
        va_arg(roArguments.argList, void*);
        return 0;

    default: break;
    }

    QEL_ASSERT(false);  // unknown conversion
    return 0;
}

// Reports a negative width or precision and replaces it with 0.
KINT32 NotNegative(KINT32 iNumber)
{
    QEL_ASSERT(iNumber >= 0);
    return std::max(iNumber, 0);
}

KINT32 ReadDigits(const KCHAR8*& rpszFormat)
{
    const KINT32 iNumber = QelTools_atoi(rpszFormat);
    while (QelTools_isDigit(*rpszFormat))
        ++rpszFormat;
    return iNumber;
}

KCHAR8 ReadSize(const KCHAR8*& rpszFormat)
{
    if (rpszFormat[0] == 'l' && rpszFormat[1] == 'l')
    {
        rpszFormat += 2;
        return LONG_LONG;
    }

    if (rpszFormat[0] == 'h' && rpszFormat[1] == 'h')
        ++rpszFormat;

    const KCHAR8 ch = *rpszFormat;
    if (ch == 'z' || ch == 'j' || ch == 't')
    {
        ++rpszFormat;
        return 'l';  // as wide as a long
    }
    if (ch != 'h' && ch != 'l' && ch != 'F' && ch != 'L' && ch != 'N')
        return 0;
    ++rpszFormat;
    return ch;
}
}

void CKString::Format(const KCHAR8* pszFormat, ...)
{
    va_list argList;
    va_start(argList, pszFormat);
    FormatV(pszFormat, argList);
    va_end(argList);
}

void CKString::AppendFormat(const KCHAR8* pszFormat, ...)
{
    va_list argList;
    va_start(argList, pszFormat);
    AppendFormatV(pszFormat, argList);
    va_end(argList);
}

void CKString::FormatV(const KCHAR8* pszFormat, va_list argList)
{
    FormatInto(false, pszFormat, argList);
}

void CKString::AppendFormatV(const KCHAR8* pszFormat, va_list argList)
{
    FormatInto(true, pszFormat, argList);
}

// Formats into the capacity there is. If that is too small, or the formatter fails, formats once more into a larger buffer.
void CKString::FormatInto(bool bIsAppended, const KCHAR8* pszFormat, va_list argList)
{
    QEL_ASSERT(pszFormat != nullptr);
    if (pszFormat == nullptr)
        return;

    va_list argSecond;  // the first attempt uses the list up
    va_copy(argSecond, argList);

    const KINT32 iStart       = bIsAppended ? GetLength() : 0;
    const KINT32 iFirstAlloc  = GetAllocLength();
    KINT32       iAllocLength = iFirstAlloc;
    KINT32       iResult      = FormatBehind(iStart, iAllocLength, pszFormat, argList);
    const bool   bIsEstimated = iResult < 0;
    const KINT32 iAdded       = bIsEstimated ? GetFormattedLength(pszFormat, argSecond) : iResult;

    // If the estimate is 0, there is nothing to append.
    const bool bIsRetried = bIsEstimated ? !bIsAppended || iAdded > 0 : iAdded >= iFirstAlloc - iStart;
    if (bIsRetried)
    {
        const KINT32 iNeeded  = AddLengths(iStart, iAdded);
        const KINT32 iDoubled = AddLengths(iFirstAlloc, iFirstAlloc);
        iAllocLength          = bIsAppended && iNeeded < iDoubled ? std::min(iDoubled, MAX_LENGTH) : AddLengths(iNeeded, 1);

        iResult = FormatBehind(iStart, iAllocLength, pszFormat, argSecond);
        QEL_ASSERT(bIsEstimated ? iResult >= 0 : iResult < iAllocLength - iStart);
    }
    ReleaseBuffer(iStart + std::clamp(iResult, 0, std::max(iAllocLength - iStart - 1, 0)));

    va_end(argSecond);
}

// Formats once after the first iStart characters, into a buffer of riAllocLength characters. Reduces riAllocLength if the
// buffer is smaller. Returns the formatter's result: the length of the whole text, or a negative number on failure.
KINT32 CKString::FormatBehind(KINT32 iStart, KINT32& riAllocLength, const KCHAR8* pszFormat, va_list argList)
{
    KCHAR8* pchBuffer = GetBuffer(riAllocLength);
    riAllocLength     = std::min(riAllocLength, GetAllocLength());
    return QelTools_vsprintf_s(pchBuffer + iStart, static_cast<KUINT32>(riAllocLength - iStart), pszFormat, argList);
}

KINT32 CKString::GetFormattedLength(const KCHAR8* pszFormat, va_list argList)
{
    QEL_ASSERT(pszFormat != nullptr);
    pszFormat = OrEmpty(pszFormat);

    SArguments oArguments;
    va_copy(oArguments.argList, argList);

    KINT64 iTotal = 0;
    while (*pszFormat != '\0')
    {
        if (pszFormat[0] != '%' || pszFormat[1] == '%')
        {
            pszFormat += pszFormat[0] == '%' ? 2 : 1;
            ++iTotal;
            continue;
        }

        SModifiers oModifiers;
        for (++pszFormat; *pszFormat != '\0' && QelTools_strchr("#*-+0 ", static_cast<KUINT8>(*pszFormat)); ++pszFormat)
        {
            if (*pszFormat == '#')
                iTotal += 2;  // "0x"
            else if (*pszFormat == '*')
                oModifiers.iWidth = va_arg(oArguments.argList, int);
        }
        if (oModifiers.iWidth == 0)
            oModifiers.iWidth = ReadDigits(pszFormat);
        oModifiers.iWidth = NotNegative(oModifiers.iWidth);

        if (*pszFormat == '.')
        {
            ++pszFormat;
            const bool bIsArgument = *pszFormat == '*';
            oModifiers.iPrecision  = NotNegative(bIsArgument ? va_arg(oArguments.argList, int) : ReadDigits(pszFormat));
            pszFormat += bIsArgument ? 1 : 0;
        }

        oModifiers.chSize = ReadSize(pszFormat);
        iTotal += ConversionLength(*pszFormat, oModifiers, oArguments);
        if (*pszFormat != '\0')  // otherwise the format ends with a lone percent sign
            ++pszFormat;
    }
    va_end(oArguments.argList);

    constexpr KINT64 iMax = std::numeric_limits<KINT32>::max();
    QEL_ASSERT(iTotal <= iMax);
    return static_cast<KINT32>(std::min(iTotal, iMax));
}
