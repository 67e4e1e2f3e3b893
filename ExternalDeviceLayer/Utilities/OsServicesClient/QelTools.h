// The string, memory and integer functions that the device layer calls instead of the C library's.
//
// Sizes and counts have 32 bits. A function with the name of a C function does the same as that one. A text must not be
// null unless its function says so.
#ifndef QEL_TOOLS_H
#define QEL_TOOLS_H

#include <cstdarg>

#include "QelTypes.h"

extern "C"
{
// Every failed check calls this hook, with __FILE__ and __LINE__. It does nothing. It has a file of its own, so a program
// may link another one.
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

// Reads the decimal number at the start of the text, after white space and a sign. Cut to 32 bits. 0 if there is none.
KINT32 QelTools_atoi(const KCHAR8* pszString);

// Returns 2048, the C library's class bit, for a decimal digit, otherwise 0.
KINT32 QelTools_isDigit(KINT32 uiCharValue);

// Copies at most uiDestSize - 1 characters and terminates the copy. Writes nothing if uiDestSize is 0.
void QelTools_strcpy_s(KCHAR8* pszDest, KUINT32 uiDestSize, const KCHAR8* pszSrc);

// Formats at most uiDestSize - 1 characters and terminates them. Returns the length of the whole text, as vsnprintf does.
[[gnu::format(printf, 3, 0)]] KINT32 QelTools_vsprintf_s(KCHAR8* pszDest, KUINT32 uiDestSize, const KCHAR8* pszFormat,
                                                         va_list argList);

// Compares ASCII letters without their case. Characters are signed: bytes from 128 up are below all others.
KINT32 QelTools_stricmp(const KCHAR8* pszA, const KCHAR8* pszB);

// Change the ASCII letters among the first uiSize characters in place. Return pszString, which may be null.
KCHAR8* QelTools_strupr_s(KCHAR8* pszString, KUINT32 uiSize);
KCHAR8* QelTools_strlwr_s(KCHAR8* pszString, KUINT32 uiSize);

// Reverses the text in place. Returns pszString, which may be null.
KCHAR8* QelTools_strrev(KCHAR8* pszString);

// Quotients, rounded to the nearest number (halves up), down and up. 0 if the divider is 0.
KUINT32 QelTools_RoundedDivision(KUINT32 uiDividend, KUINT32 uiDivider);
KUINT32 QelTools_RoundedDownDivision(KUINT32 uiDividend, KUINT32 uiDivider);
KUINT32 QelTools_RoundedUpDivision(KUINT32 uiDividend, KUINT32 uiDivider);

// The largest integer whose square does not exceed the value, by Newton's method.
KUINT32 QelTools_SquareRoot(KUINT32 uiValue);

// The greatest common divisor, by Euclid's algorithm. With 0 it is the other number.
KUINT32 QelTools_GCD(KUINT32 uiA, KUINT32 uiB);
}

#endif
