#include "QelTools.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

namespace
{
// _ISdigit of <ctype.h> on a little-endian machine. Callers of QelTools_isDigit may test the bit.
constexpr KINT32 DIGIT_CLASS = 2048;

constexpr KCHAR8 ToLowerAscii(KCHAR8 ch)
{
    return ch >= 'A' && ch <= 'Z' ? static_cast<KCHAR8>(ch + ('a' - 'A')) : ch;
}

constexpr KCHAR8 ToUpperAscii(KCHAR8 ch)
{
    return ch >= 'a' && ch <= 'z' ? static_cast<KCHAR8>(ch - ('a' - 'A')) : ch;
}

template <KCHAR8 (*pfnConvert)(KCHAR8)> KCHAR8* ConvertInPlace(KCHAR8* pszString, KUINT32 uiSize)
{
    if (pszString == nullptr)
        return pszString;

    for (KUINT32 i = 0; i < uiSize && pszString[i] != '\0'; ++i)
        pszString[i] = pfnConvert(pszString[i]);
    return pszString;
}
}

KINT32 QelTools_memcmp(const void* pvA, const void* pvB, KUINT32 uiSize)
{
    return std::memcmp(pvA, pvB, uiSize);
}

void* QelTools_memcpy(void* pvDest, const void* pvSrc, KUINT32 uiSize)
{
    return std::memcpy(pvDest, pvSrc, uiSize);
}

void* QelTools_memset(void* pvData, KINT32 uiValue, KUINT32 uiSize)
{
    return std::memset(pvData, uiValue, uiSize);
}

void* QelTools_memmove(void* pvDest, const void* pvSrc, KUINT32 uiSize)
{
    return std::memmove(pvDest, pvSrc, uiSize);
}

KINT32 QelTools_strlen(const KCHAR8* pszString)
{
    return static_cast<KINT32>(std::strlen(pszString));
}

KINT32 QelTools_strcmp(const KCHAR8* pszA, const KCHAR8* pszB)
{
    return std::strcmp(pszA, pszB);
}

KINT32 QelTools_strncmp(const KCHAR8* pszA, const KCHAR8* pszB, KUINT32 uiNum)
{
    return std::strncmp(pszA, pszB, uiNum);
}

KCHAR8* QelTools_strstr(const KCHAR8* pszString, const KCHAR8* pszSearched)
{
    return const_cast<KCHAR8*>(std::strstr(pszString, pszSearched));
}

KCHAR8* QelTools_strchr(const KCHAR8* pszString, KUINT32 uiCharValue)
{
    return const_cast<KCHAR8*>(std::strchr(pszString, static_cast<int>(uiCharValue)));
}

KCHAR8* QelTools_strrchr(const KCHAR8* pszString, KUINT32 uiCharValue)
{
    return const_cast<KCHAR8*>(std::strrchr(pszString, static_cast<int>(uiCharValue)));
}

KCHAR8* QelTools_strtok_s(KCHAR8* pszStr, const KCHAR8* pszDelimiters, KCHAR8** poContext)
{
    return strtok_r(pszStr, pszDelimiters, poContext);
}

KINT32 QelTools_wcslen(const KWCHAR* pwszString)
{
    return static_cast<KINT32>(std::wcslen(pwszString));
}

KINT32 QelTools_atoi(const KCHAR8* pszString)
{
    return static_cast<KINT32>(std::strtol(pszString, nullptr, 10));
}

KINT32 QelTools_isDigit(KINT32 uiCharValue)
{
    return uiCharValue >= '0' && uiCharValue <= '9' ? DIGIT_CLASS : 0;
}

void QelTools_strcpy_s(KCHAR8* pszDest, KUINT32 uiDestSize, const KCHAR8* pszSrc)
{
    std::snprintf(pszDest, uiDestSize, "%s", pszSrc);
}

KINT32 QelTools_vsprintf_s(KCHAR8* pszDest, KUINT32 uiDestSize, const KCHAR8* pszFormat, va_list argList)
{
    return std::vsnprintf(pszDest, uiDestSize, pszFormat, argList);
}

KINT32 QelTools_stricmp(const KCHAR8* pszA, const KCHAR8* pszB)
{
    for (;; ++pszA, ++pszB)
    {
        const KINT32 iA = static_cast<KINT8>(ToLowerAscii(*pszA));
        const KINT32 iB = static_cast<KINT8>(ToLowerAscii(*pszB));
        if (iA == 0 || iA != iB)
            return iA - iB;
    }
}

KCHAR8* QelTools_strupr_s(KCHAR8* pszString, KUINT32 uiSize)
{
    return ConvertInPlace<ToUpperAscii>(pszString, uiSize);
}

KCHAR8* QelTools_strlwr_s(KCHAR8* pszString, KUINT32 uiSize)
{
    return ConvertInPlace<ToLowerAscii>(pszString, uiSize);
}

KCHAR8* QelTools_strrev(KCHAR8* pszString)
{
    if (pszString == nullptr)
        return pszString;

    for (KINT32 iFirst = 0, iLast = QelTools_strlen(pszString) - 1; iFirst < iLast; ++iFirst, --iLast)
        std::swap(pszString[iFirst], pszString[iLast]);
    return pszString;
}

KUINT32 QelTools_RoundedDivision(KUINT32 uiDividend, KUINT32 uiDivider)
{
    if (uiDivider == 0)
        return 0;

    // The smallest remainder that is at least half of the divider.
    const KUINT32 uiRoundUpFrom = uiDivider / 2 + uiDivider % 2;
    return uiDividend / uiDivider + (uiDividend % uiDivider >= uiRoundUpFrom ? 1 : 0);
}

KUINT32 QelTools_RoundedDownDivision(KUINT32 uiDividend, KUINT32 uiDivider)
{
    return uiDivider == 0 ? 0 : uiDividend / uiDivider;
}

KUINT32 QelTools_RoundedUpDivision(KUINT32 uiDividend, KUINT32 uiDivider)
{
    return uiDivider == 0 ? 0 : uiDividend / uiDivider + (uiDividend % uiDivider != 0 ? 1 : 0);
}

KUINT32 QelTools_SquareRoot(KUINT32 uiValue)
{
    if (uiValue < 2)
        return uiValue;

    for (KUINT32 uiRoot = uiValue / 2;;)
    {
        const KUINT32 uiNext = (uiValue / uiRoot + uiRoot) / 2;
        if (uiNext >= uiRoot)
            return uiRoot;
        uiRoot = uiNext;
    }
}

KUINT32 QelTools_GCD(KUINT32 uiA, KUINT32 uiB)
{
    while (uiB != 0)
        uiA = std::exchange(uiB, uiA % uiB);
    return uiA;
}
