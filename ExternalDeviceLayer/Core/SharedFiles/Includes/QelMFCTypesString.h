#ifndef QEL_MFC_TYPES_STRING_H
#define QEL_MFC_TYPES_STRING_H

#include <compare>
#include <cstdarg>
#include <functional>
#include <limits>
#include <string_view>

#include "QelCheck.h"
#include "QelTools.h"
#include "QelTypes.h"

// A text of 8-bit characters, always terminated, whose buffer is shared between copies until one of them writes.
//
//  - A buffer is one block, exactly as large as asked for: a header, the characters, a terminator. The empty string
//    holds none: it points at constant data that is never written, counted or freed.
//  - Copies share, whoever writes takes a private buffer first. Counts are plain: a string and all that share its
//    buffer belong to one thread at a time.
//  - A locked buffer has one owner. Copies from it are deep, and what is assigned to it is copied into it. It stays locked
//    when it has room for that, and also when a longer CKString makes it grow. The empty text releases it. Every other
//    reallocation, that for a longer text of characters too, makes a buffer that is not locked.
//  - Appending makes no slack; only AppendFormat at least doubles.
//  - Texts may be null (empty) but where a table says otherwise, and may lie in the string itself; not so the arguments
//    of a format, which is formatted straight into the buffer.
//  - A broken contract is reported, and then does nothing or is cut to what there is.
// clang-format off
class CKString
{
public:
    // In front of the characters of every buffer.
    struct SMetaData
    {
        KINT32 iRefs;         // strings that share the buffer; -1: locked, or the empty string's
        KINT32 iDataLength;   // characters before the terminator
        KINT32 iAllocLength;  // characters that fit, the terminator not counted

        KCHAR8*       GetStrData()       { return reinterpret_cast<KCHAR8*>(this + 1); }
        const KCHAR8* GetStrData() const { return reinterpret_cast<const KCHAR8*>(this + 1); }
    };

    class CIterator;

    CKString() : m_pchData(const_cast<KCHAR8*>(m_pszNil)) {}
    CKString(const CKString& rstrSource);
    CKString(const KCHAR8* pszText);
    CKString(KCHAR8 ch, KINT32 iCount);   // a negative count is 0
    CKString(KCHAR8 ch, KUINT32 uiCount);
    ~CKString();

    CKString& operator=(const CKString& rstrSource);
    CKString& operator=(const KCHAR8* pszText);
    CKString& operator=(KCHAR8 ch);
    CKString& operator+=(const CKString& rstrAdded);
    CKString& operator+=(const KCHAR8* pszAdded);
    CKString& operator+=(KCHAR8 chAdded);

    friend CKString operator+(const CKString& rstrA, const CKString& rstrB);
    friend CKString operator+(const CKString& rstrA, const KCHAR8* pszB);
    friend CKString operator+(const KCHAR8* pszA, const CKString& rstrB);
    friend CKString operator+(const CKString& rstrA, KCHAR8 chB);
    friend CKString operator+(KCHAR8 chA, const CKString& rstrB);

    // Reading. An index may reach the terminator; one beyond is reported and reads as NUL.
    KINT32           GetLength() const                 { return GetMetaData()->iDataLength; }
    KUINT32          GetLengthU() const                { return static_cast<KUINT32>(GetLength()); }
    KINT32           GetAllocLength() const            { return GetMetaData()->iAllocLength; }
    KUINT32          GetAllocLengthU() const           { return static_cast<KUINT32>(GetAllocLength()); }
    KBOOL32          IsEmpty() const                   { return GetLength() == 0; }
    KCHAR8           GetAt(KINT32 iIndex) const;
    KCHAR8           operator[](KINT32 iIndex) const   { return GetAt(iIndex); }
    KCHAR8           operator[](KUINT32 uiIndex) const { return GetAt(ToSigned(uiIndex)); }
    /* implicit */   operator const KCHAR8*() const    { return m_pchData; }
    const KCHAR8*    c_str() const                     { return m_pchData; }
    const SMetaData* GetMetaData() const               { return reinterpret_cast<const SMetaData*>(m_pchData) - 1; }

    // Comparing: below, at or above 0 as in C. The operators compare the characters, not the pointers that a string
    // converts to.
    KINT32 Compare(const KCHAR8* pszOther) const       { return QelTools_strcmp(m_pchData, OrEmpty(pszOther)); }
    KINT32 CompareNoCase(const KCHAR8* pszOther) const { return QelTools_stricmp(m_pchData, OrEmpty(pszOther)); }

    friend bool operator==(const CKString& rstrA, const CKString& rstrB)  { return rstrA.View() == rstrB.View(); }
    friend bool operator==(const CKString& rstrA, const KCHAR8* pszB)     { return rstrA.View() == OrEmpty(pszB); }
    friend auto operator<=>(const CKString& rstrA, const CKString& rstrB) { return rstrA.View() <=> rstrB.View(); }
    friend auto operator<=>(const CKString& rstrA, const KCHAR8* pszB)    { return rstrA.View() <=> OrEmpty(pszB); }

    // ASCII letters only; every other byte is returned as it is.
    static KCHAR8 ToUpper(KCHAR8 ch) { return ch >= 'a' && ch <= 'z' ? static_cast<KCHAR8>(ch - ('a' - 'A')) : ch; }
    static KCHAR8 ToLower(KCHAR8 ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<KCHAR8>(ch + ('a' - 'A')) : ch; }

    // Searching: an index, or -1. A negative start is reported and counts as 0; a searched text must not be null.
    KINT32 Find(KCHAR8 ch, KINT32 iStart = 0) const;
    KINT32 Find(const KCHAR8* pszText, KINT32 iStart = 0) const;
    KINT32 FindNoCase(KCHAR8 ch, KINT32 iStart = 0) const;
    KINT32 FindNoCase(const KCHAR8* pszText, KINT32 iStart = 0) const;
    KINT32 ReverseFind(KCHAR8 ch) const;
    KINT32 ReverseFindNoCase(KCHAR8 ch) const;
    KINT32 CountOf(KCHAR8 ch) const;
    KINT32 CountOfNoCase(KCHAR8 ch) const;

    // Extracting; what is the whole string shares its buffer. Negative numbers count as 0, a first character beyond the
    // end is reported.
    CKString Mid(KINT32 iFirst, KINT32 iCount) const;
    CKString Mid(KINT32 iFirst) const;
    CKString Left(KINT32 iCount) const;
    CKString Right(KINT32 iCount) const;
    CKString Mid(KUINT32 uiFirst, KUINT32 uiCount) const { return Mid(ToSigned(uiFirst), ToSigned(uiCount)); }
    CKString Mid(KUINT32 uiFirst) const                  { return Mid(ToSigned(uiFirst)); }
    CKString Left(KUINT32 uiCount) const                 { return Left(ToSigned(uiCount)); }
    CKString Right(KUINT32 uiCount) const                { return Right(ToSigned(uiCount)); }

    // Changing in place. An insertion returns the new length and takes any index to the nearest that there is; a
    // deletion returns the length before.
    void      Empty();  // a locked buffer is kept
    void      SetAt(KINT32 iIndex, KCHAR8 ch);
    CKString& TrimLeft(const KCHAR8* pszSet);
    CKString& TrimRight(const KCHAR8* pszSet);
    CKString& Trim(const KCHAR8* pszSet);
    KINT32    Insert(KINT32 iIndex, KCHAR8 ch);
    KINT32    Insert(KINT32 iIndex, const KCHAR8* pszText);
    KINT32    Delete(KINT32 iIndex, KINT32 iCount = 1);
    KINT32    Delete(KUINT32 uiIndex, KUINT32 uiCount = 1) { return Delete(ToSigned(uiIndex), ToSigned(uiCount)); }
    CKString& MakeUpper();    // ASCII letters
    CKString& MakeLower();
    CKString& MakeReverse();

    // Formatting; the format must not be null. What the formatter cannot make leaves an empty string, or nothing
    // appended. The text is formatted straight into the buffer, so no argument may lie in the string itself:
    // s.Format("%s", s.c_str()) reads what it overwrites. Format into another string and assign that.
    [[gnu::format(printf, 2, 3)]] void Format(const KCHAR8* pszFormat, ...);                // no argument of its own text
    [[gnu::format(printf, 2, 0)]] void FormatV(const KCHAR8* pszFormat, va_list argList);        // the same
    [[gnu::format(printf, 2, 3)]] void AppendFormat(const KCHAR8* pszFormat, ...);               // the same
    [[gnu::format(printf, 2, 0)]] void AppendFormatV(const KCHAR8* pszFormat, va_list argList);  // the same

    // Upper bound for the length of the formatted text, for when the formatter does not say it.
    static KINT32 GetFormattedLength(const KCHAR8* pszFormat, va_list argList);

    // The buffer itself. After GetBuffer(n) the caller may write n characters, until ReleaseBuffer fixes the length
    // (-1: up to the first NUL). GetBuffer(0) of the empty string must not be written.
    KCHAR8* GetBuffer(KINT32 iMinAllocLength);
    KCHAR8* GetBuffer(KUINT32 uiMinAllocLength)       { return GetBuffer(ToSigned(uiMinAllocLength)); }
    KCHAR8* GetBufferSetLength(KINT32 iLength);
    KCHAR8* GetBufferSetLength(KUINT32 uiLength)      { return GetBufferSetLength(ToSigned(uiLength)); }
    void    ReleaseBuffer(KINT32 iLength = -1);
    void    FreeExtra();     // capacity becomes length
    KCHAR8* LockBuffer();
    void    UnlockBuffer();

    // The tokens between runs of delimiters; the delimiters are borrowed.
    CIterator Begin(const KCHAR8* pszDelimiters) const;
    CIterator End() const;

    KCHAR8* m_pchData;  // the first character, behind the header; never null

    static const KINT32           m_aiInitData[4];  // the empty string: a header, a word whose first byte is the text
    static const SMetaData* const m_poDataNil;
    static const KCHAR8* const    m_pszNil;
    static const CKString* const  m_poEmptyString;

private:
    static constexpr KINT32 MAX_LENGTH = std::numeric_limits<KINT32>::max() - 1;

    // Sums and unsigned numbers that exceed a length become one that no buffer may have: AllocData reports it.
    static KINT32        ToSigned(KUINT32 uiValue);
    static KINT32        AddLengths(KINT32 iA, KINT32 iB);
    static const KCHAR8* OrEmpty(const KCHAR8* pszText) { return pszText != nullptr ? pszText : m_pszNil; }
    static KINT32        LengthOf(const KCHAR8* pszText);  // more than a string holds for a text of 2 GiB

    bool             IsNil() const        { return m_pchData == m_pszNil; }
    bool             IsLocked() const     { return !IsNil() && GetMetaData()->iRefs < 0; }
    bool             Holds(const KCHAR8* pszText) const;  // the text lies in the string's own buffer
    SMetaData*       GetWritableMetaData() { return reinterpret_cast<SMetaData*>(m_pchData) - 1; }
    std::string_view View() const         { return {m_pchData, GetLengthU()}; }

    void    Share(const CKString& rstrSource);
    bool    AllocData(KINT32 iLength);
    void    ReleaseData();
    void    Release();
    void    Swap(CKString& rstrOther);
    bool    Reallocate(KINT32 iAllocLength);
    void    CopyBeforeWrite();
    bool    AllocBeforeWrite(KINT32 iLength);
    void    AssignCopy(KINT32 iLength, const KCHAR8* pszText);
    void    ConcatCopy(KINT32 iLengthA, const KCHAR8* pszA, KINT32 iLengthB, const KCHAR8* pszB);
    void    ConcatInPlace(KINT32 iLength, const KCHAR8* pszText);
    void    SetLength(KINT32 iLength);
    KINT32  InsertText(KINT32 iIndex, KINT32 iLength, const KCHAR8* pszText);
    [[gnu::format(printf, 3, 0)]]
    void    FormatInto(bool bIsAppended, const KCHAR8* pszFormat, va_list argList);
    [[gnu::format(printf, 4, 0)]]
    KINT32  FormatBehind(KINT32 iStart, KINT32& riAllocLength, const KCHAR8* pszFormat, va_list argList);
};
// clang-format on

// Walks the tokens of a private copy of the text; all null is the end. Iterators that were copied share that text until
// one of them advances.
// clang-format off
class CKString::CIterator
{
public:
    CIterator() = default;
    CIterator(const CKString& rstrText, const KCHAR8* pszDelimiters);
    CIterator(const CIterator& roOther);
    CIterator& operator=(const CIterator& roOther);
    ~CIterator() { Reset(); }

    CIterator& operator++();
    CIterator  operator++(int);
    CKString   operator*() const { return CKString(m_pszToken); }  // empty at the end
    bool       operator==(const CIterator& roOther) const;         // by content
    bool       operator!=(const CIterator& roOther) const { return !(*this == roOther); }

    void Reset();  // to the end

    const KCHAR8* m_pszDelimiters = nullptr;  // borrowed
    CKString*     m_poSource      = nullptr;  // owned; the tokens are cut out of its buffer
    KCHAR8*       m_pszContext    = nullptr;  // where the next token is looked for
    KCHAR8*       m_pszToken      = nullptr;

private:
    void CopySource(const CKString& rstrSource);
    void Advance(KCHAR8* pszFrom);
};
// clang-format on

inline CKString::CKString(const CKString& rstrSource) : CKString()
{
    if (rstrSource.GetMetaData()->iRefs >= 0)
        Share(rstrSource);
    else
        *this = rstrSource;
}

inline CKString::~CKString()
{
    if (!IsNil())
        ReleaseData();
}

inline void CKString::Share(const CKString& rstrSource)
{
    m_pchData = rstrSource.m_pchData;
    ++GetWritableMetaData()->iRefs;
}

inline KCHAR8 CKString::GetAt(KINT32 iIndex) const
{
    QEL_ASSERT(iIndex >= 0 && iIndex <= GetLength());
    return iIndex >= 0 && iIndex <= GetLength() ? m_pchData[iIndex] : '\0';
}

inline bool CKString::Holds(const KCHAR8* pszText) const
{
    const std::less<const KCHAR8*> oIsBefore;
    return !IsNil() && !oIsBefore(pszText, m_pchData) && !oIsBefore(m_pchData + GetAllocLength(), pszText);
}

inline KINT32 CKString::ToSigned(KUINT32 uiValue)
{
    constexpr KUINT32 uiMax = std::numeric_limits<KINT32>::max();
    return static_cast<KINT32>(uiValue < uiMax ? uiValue : uiMax);
}

inline KINT32 CKString::LengthOf(const KCHAR8* pszText)
{
    return ToSigned(static_cast<KUINT32>(QelTools_strlen(OrEmpty(pszText))));
}

inline KINT32 CKString::AddLengths(KINT32 iA, KINT32 iB)
{
    return ToSigned(static_cast<KUINT32>(iA) + static_cast<KUINT32>(iB));
}

#endif
