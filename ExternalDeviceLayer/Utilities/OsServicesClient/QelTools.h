// The string, memory and integer functions that the device layer calls instead of the C library's.
//
// Sizes and counts are 32-bit, so a length never exceeds 32 bits. Where a function carries the name of a C function it
// does what that one does, and a null text is as little allowed as there, unless said otherwise.
#ifndef QEL_TOOLS_H
#define QEL_TOOLS_H

#include <cstdarg>

#include "QelTypes.h"

extern "C"
{
// The hook of every failed check, with the source file's path as the compiler was given it. It does nothing: a failed
// check never stops the process. It stands in a file of its own, so that a program may bring another.
void QelTools_Assert(KBOOL32 bCond, const KCHAR8* pszFilename, KINT32 iLine);

KINT32 QelTools_memcmp(const void* pvA, const void* pvB, KUINT32 uiSize);
void*  QelTools_memcpy(void* pvDest, const void* pvSrc, KUINT32 uiSize);
void*  QelTools_memset(void* pvData, KINT32 uiValue, KUINT32 uiSize);
void*  QelTools_memmove(void* pvDest, const void* pvSrc, KUINT32 uiSize);

KINT32  QelTools_strlen(const KCHAR8* pszString);
KINT32  QelTools_strcmp(const KCHAR8* pszA, const KCHAR8* pszB);
KINT32  QelTools_strncmp(const KCHAR8* pszA, const KCHAR8* pszB, KUINT32 uiNum);
KCHAR8* QelTools_strstr(const KCHAR8* pszString, const KCHAR8* pszSearched);
KCHAR8* QelTools_strchr(const KCHAR8* pszString, KUINT32 uiCharValue);
KCHAR8* QelTools_strrchr(const KCHAR8* pszString, KUINT32 uiCharValue);
KCHAR8* QelTools_strtok_s(KCHAR8* pszStr, const KCHAR8* pszDelimiters, KCHAR8** poContext);
KINT32  QelTools_wcslen(const KWCHAR* pwszString);

// The decimal number at the start of the text (white space and a sign may lead it), cut to 32 bits; 0 where there is none.
KINT32 QelTools_atoi(const KCHAR8* pszString);

// 2048, the C library's class bit, for a decimal digit, otherwise 0.
KINT32 QelTools_isDigit(KINT32 uiCharValue);

// Copies at most uiDestSize - 1 characters and always terminates; a size of 0 writes nothing.
void QelTools_strcpy_s(KCHAR8* pszDest, KUINT32 uiDestSize, const KCHAR8* pszSrc);

// Formats at most uiDestSize - 1 characters and terminates. Returns the length that the whole text would have had.
[[gnu::format(printf, 3, 0)]] KINT32 QelTools_vsprintf_s(KCHAR8* pszDest, KUINT32 uiDestSize, const KCHAR8* pszFormat,
                                                         va_list argList);

// Compares with ASCII capitals taken as small letters; bytes from 128 up count as negative and are left as they are.
KINT32 QelTools_stricmp(const KCHAR8* pszA, const KCHAR8* pszB);

// Change the ASCII letters among the first uiSize characters in place, up to the terminator; null is passed back.
KCHAR8* QelTools_strupr_s(KCHAR8* pszString, KUINT32 uiSize);
KCHAR8* QelTools_strlwr_s(KCHAR8* pszString, KUINT32 uiSize);

// Reverses in place; null is passed back.
KCHAR8* QelTools_strrev(KCHAR8* pszString);

// Quotients rounded to nearest (halves up), down and up; 0 when the divider is 0.
KUINT32 QelTools_RoundedDivision(KUINT32 uiDividend, KUINT32 uiDivider);
KUINT32 QelTools_RoundedDownDivision(KUINT32 uiDividend, KUINT32 uiDivider);
KUINT32 QelTools_RoundedUpDivision(KUINT32 uiDividend, KUINT32 uiDivider);

// The largest integer whose square does not exceed the value (Newton's iteration from above).
KUINT32 QelTools_SquareRoot(KUINT32 uiValue);

// Greatest common divisor (Euclid); that of a number and 0 is the number.
KUINT32 QelTools_GCD(KUINT32 uiA, KUINT32 uiB);
}

#endif
