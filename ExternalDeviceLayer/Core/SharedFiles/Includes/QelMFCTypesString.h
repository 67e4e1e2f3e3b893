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

// A string of 8-bit characters, always terminated. Copies share one buffer until one of them writes.
//
//  - A buffer is one block of exactly the requested size: a header, the characters and a terminator. The empty string has
//    no buffer. It points to constant data that is never written, counted or freed.
//  - A string takes a private buffer before it writes. The reference counts are not atomic, so use a string and its copies
//    from one thread at a time.
//  - A locked buffer belongs to one string, and copies of that string get their own buffer. An assignment copies into the
//    locked buffer. If the new text is too long, the string gets a larger buffer, which is locked only if a CKString was
//    assigned. Assigning an empty text releases the buffer. Every other reallocation gives a buffer that is not locked.
//  - Appending reserves no spare capacity. Only AppendFormat grows the capacity, at least to double.
//  - A text argument may be null, which counts as empty, unless its function says otherwise. It may lie in the string
//    itself, except as an argument of a format.
//  - A broken contract is reported. The operation then does nothing, or limits its arguments to what is possible.
// clang-format off
class CKString
{
public:
    // The header of a buffer. The characters follow it.
    struct SMetaData
    {
        KINT32 iRefs;         // strings that share the buffer; -1 if it is locked or the empty string
        KINT32 iDataLength;   // characters before the terminator
        KINT32 iAllocLength;  // capacity in characters, without the terminator

        KCHAR8*       GetStrData()       { return reinterpret_cast<KCHAR8*>(this + 1); }
        const KCHAR8* GetStrData() const { return reinterpret_cast<const KCHAR8*>(this + 1); }
    };

    class CIterator;

    CKString() : m_pchData(const_cast<KCHAR8*>(m_pszNil)) {}
    CKString(const CKString& rstrSource);
    CKString(const KCHAR8* pszText);
    CKString(KCHAR8 ch, KINT32 iCount);   // a negative count counts as 0
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

    // Reading. The index of the terminator is valid. An index outside the string is reported and reads as NUL.
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

    // Comparing. The two functions return a number below, at or above 0, as strcmp does. The operators compare characters,
    // not pointers.
    KINT32 Compare(const KCHAR8* pszOther) const       { return QelTools_strcmp(m_pchData, OrEmpty(pszOther)); }
    KINT32 CompareNoCase(const KCHAR8* pszOther) const { return QelTools_stricmp(m_pchData, OrEmpty(pszOther)); }

    friend bool operator==(const CKString& rstrA, const CKString& rstrB)  { return rstrA.View() == rstrB.View(); }
    friend bool operator==(const CKString& rstrA, const KCHAR8* pszB)     { return rstrA.View() == OrEmpty(pszB); }
    friend auto operator<=>(const CKString& rstrA, const CKString& rstrB) { return rstrA.View() <=> rstrB.View(); }
    friend auto operator<=>(const CKString& rstrA, const KCHAR8* pszB)    { return rstrA.View() <=> OrEmpty(pszB); }

    // These change ASCII letters only.
    static KCHAR8 ToUpper(KCHAR8 ch) { return ch >= 'a' && ch <= 'z' ? static_cast<KCHAR8>(ch - ('a' - 'A')) : ch; }
    static KCHAR8 ToLower(KCHAR8 ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<KCHAR8>(ch + ('a' - 'A')) : ch; }

    // Searching. These return an index, or -1. A negative start is reported and counts as 0. pszText must not be null.
    KINT32 Find(KCHAR8 ch, KINT32 iStart = 0) const;
    KINT32 Find(const KCHAR8* pszText, KINT32 iStart = 0) const;
    KINT32 FindNoCase(KCHAR8 ch, KINT32 iStart = 0) const;
    KINT32 FindNoCase(const KCHAR8* pszText, KINT32 iStart = 0) const;
    KINT32 ReverseFind(KCHAR8 ch) const;
    KINT32 ReverseFindNoCase(KCHAR8 ch) const;
    KINT32 CountOf(KCHAR8 ch) const;
    KINT32 CountOfNoCase(KCHAR8 ch) const;

    // Extracting. The result shares the buffer if it is the whole string. Negative numbers count as 0. If iFirst is beyond
    // the end, that is reported and the result is empty.
    CKString Mid(KINT32 iFirst, KINT32 iCount) const;
    CKString Mid(KINT32 iFirst) const;
    CKString Left(KINT32 iCount) const;
    CKString Right(KINT32 iCount) const;
    CKString Mid(KUINT32 uiFirst, KUINT32 uiCount) const { return Mid(ToSigned(uiFirst), ToSigned(uiCount)); }
    CKString Mid(KUINT32 uiFirst) const                  { return Mid(ToSigned(uiFirst)); }
    CKString Left(KUINT32 uiCount) const                 { return Left(ToSigned(uiCount)); }
    CKString Right(KUINT32 uiCount) const                { return Right(ToSigned(uiCount)); }

    // Changing in place. Insert returns the new length, and moves an index outside the string to the nearer end. Delete
    // returns the length before the deletion.
    void      Empty();  // keeps a locked buffer
    void      SetAt(KINT32 iIndex, KCHAR8 ch);
    CKString& TrimLeft(const KCHAR8* pszSet);
    CKString& TrimRight(const KCHAR8* pszSet);
    CKString& Trim(const KCHAR8* pszSet);
    KINT32    Insert(KINT32 iIndex, KCHAR8 ch);
    KINT32    Insert(KINT32 iIndex, const KCHAR8* pszText);
    KINT32    Delete(KINT32 iIndex, KINT32 iCount = 1);
    KINT32    Delete(KUINT32 uiIndex, KUINT32 uiCount = 1) { return Delete(ToSigned(uiIndex), ToSigned(uiCount)); }
    CKString& MakeUpper();    // ASCII letters only
    CKString& MakeLower();
    CKString& MakeReverse();

    // Formatting. The format must not be null. If the formatter fails, Format leaves an empty string, and AppendFormat
    // appends nothing. The text is formatted straight into the buffer, so no argument may lie in the string itself:
    // s.Format("%s", s.c_str()) reads what it overwrites. Format into another string and assign that.
    [[gnu::format(printf, 2, 3)]] void Format(const KCHAR8* pszFormat, ...);
    [[gnu::format(printf, 2, 0)]] void FormatV(const KCHAR8* pszFormat, va_list argList);
    [[gnu::format(printf, 2, 3)]] void AppendFormat(const KCHAR8* pszFormat, ...);
    [[gnu::format(printf, 2, 0)]] void AppendFormatV(const KCHAR8* pszFormat, va_list argList);

    // Returns an upper bound for the length of the formatted text. Needed when the formatter fails.
    static KINT32 GetFormattedLength(const KCHAR8* pszFormat, va_list argList);

    // Direct access. After GetBuffer(n) the caller may write n characters. Then ReleaseBuffer sets the length (-1: up to the
    // first NUL). Do not write to the result of GetBuffer(0) of the empty string.
    KCHAR8* GetBuffer(KINT32 iMinAllocLength);
    KCHAR8* GetBuffer(KUINT32 uiMinAllocLength)       { return GetBuffer(ToSigned(uiMinAllocLength)); }
    KCHAR8* GetBufferSetLength(KINT32 iLength);
    KCHAR8* GetBufferSetLength(KUINT32 uiLength)      { return GetBufferSetLength(ToSigned(uiLength)); }
    void    ReleaseBuffer(KINT32 iLength = -1);
    void    FreeExtra();     // cuts the capacity to the length
    KCHAR8* LockBuffer();
    void    UnlockBuffer();

    // Iterate over the tokens between runs of delimiters. pszDelimiters must outlive the iterators.
    CIterator Begin(const KCHAR8* pszDelimiters) const;
    CIterator End() const;

    KCHAR8* m_pchData;  // the first character, after the header; never null

    static const KINT32           m_aiInitData[4];  // the empty string: a header and a word of zero bytes
    static const SMetaData* const m_poDataNil;
    static const KCHAR8* const    m_pszNil;
    static const CKString* const  m_poEmptyString;

private:
    static constexpr KINT32 MAX_LENGTH = std::numeric_limits<KINT32>::max() - 1;

    // These limit their result to 2147483647. That is one more than MAX_LENGTH, so AllocData reports it.
    static KINT32        ToSigned(KUINT32 uiValue);
    static KINT32        AddLengths(KINT32 iA, KINT32 iB);
    static const KCHAR8* OrEmpty(const KCHAR8* pszText) { return pszText != nullptr ? pszText : m_pszNil; }
    static KINT32        LengthOf(const KCHAR8* pszText);

    bool             IsNil() const        { return m_pchData == m_pszNil; }
    bool             IsLocked() const     { return !IsNil() && GetMetaData()->iRefs == -1; }
    bool             Holds(const KCHAR8* pszText) const;  // whether pszText lies in this buffer
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

// Iterates over the tokens of a private copy of a text. At the end, all four pointers are null. Copies of an iterator share
// the text until one of them advances.
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
    CKString   operator*() const { return CKString(m_pszToken); }  // an empty string at the end
    bool       operator==(const CIterator& roOther) const;         // compares the contents
    bool       operator!=(const CIterator& roOther) const { return !(*this == roOther); }

    void Reset();  // moves to the end

    const KCHAR8* m_pszDelimiters = nullptr;  // not owned
    CKString*     m_poSource      = nullptr;  // owned; its buffer holds the tokens
    KCHAR8*       m_pszContext    = nullptr;  // where the search for the next token starts
    KCHAR8*       m_pszToken      = nullptr;

private:
    void CopySource(const CKString& rstrSource);
    void Advance(KCHAR8* pszFrom);
};
// clang-format on

inline CKString::CKString(const CKString& rstrSource) : CKString()
{
    if (rstrSource.GetMetaData()->iRefs == -1)
        *this = rstrSource;
    else
        Share(rstrSource);
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
