// Searching, extracting and changing a string.
#include "QelMFCTypesString.h"

#include <algorithm>

namespace
{
constexpr KINT32 ToIndex(size_t uiPosition)
{
    return uiPosition == std::string_view::npos ? -1 : static_cast<KINT32>(uiPosition);
}

// A NUL inside a string belongs to no set, although strchr would find the terminator of the set.
bool IsInSet(KCHAR8 ch, const KCHAR8* pszSet)
{
    return ch != '\0' && QelTools_strchr(pszSet, static_cast<KUINT8>(ch)) != nullptr;
}

bool IsEmptyText(const KCHAR8* pszText)
{
    return pszText == nullptr || *pszText == '\0';
}
}

KINT32 CKString::Find(KCHAR8 ch, KINT32 iStart) const
{
    QEL_ASSERT(iStart >= 0);
    return ToIndex(View().find(ch, static_cast<size_t>(std::max(iStart, 0))));
}

KINT32 CKString::Find(const KCHAR8* pszText, KINT32 iStart) const
{
    QEL_ASSERT(iStart >= 0);
    QEL_ASSERT(pszText != nullptr);
    return pszText == nullptr ? -1 : ToIndex(View().find(pszText, static_cast<size_t>(std::max(iStart, 0))));
}

KINT32 CKString::FindNoCase(KCHAR8 ch, KINT32 iStart) const
{
    return CKString(*this).MakeUpper().Find(ToUpper(ch), iStart);
}

KINT32 CKString::FindNoCase(const KCHAR8* pszText, KINT32 iStart) const
{
    QEL_ASSERT(pszText != nullptr);
    return pszText == nullptr ? -1 : CKString(*this).MakeUpper().Find(CKString(pszText).MakeUpper(), iStart);
}

KINT32 CKString::ReverseFind(KCHAR8 ch) const
{
    return ToIndex(View().rfind(ch));
}

KINT32 CKString::ReverseFindNoCase(KCHAR8 ch) const
{
    return CKString(*this).MakeUpper().ReverseFind(ToUpper(ch));
}

KINT32 CKString::CountOf(KCHAR8 ch) const
{
    return static_cast<KINT32>(std::count(m_pchData, m_pchData + GetLength(), ch));
}

KINT32 CKString::CountOfNoCase(KCHAR8 ch) const
{
    return static_cast<KINT32>(
        std::count_if(m_pchData, m_pchData + GetLength(), [ch](KCHAR8 chMine) { return ToUpper(chMine) == ToUpper(ch); }));
}

CKString CKString::Mid(KINT32 iFirst, KINT32 iCount) const
{
    iFirst = std::max(iFirst, 0);
    QEL_ASSERT(iFirst <= GetLength());
    if (iFirst > GetLength())
        return CKString();
    iCount = std::clamp(iCount, 0, GetLength() - iFirst);
    if (iFirst == 0 && iCount == GetLength())
        return *this;

    CKString strPart;
    strPart.AssignCopy(iCount, m_pchData + iFirst);
    return strPart;
}

CKString CKString::Mid(KINT32 iFirst) const
{
    return Mid(iFirst, GetLength());
}

CKString CKString::Left(KINT32 iCount) const
{
    return Mid(0, iCount);
}

CKString CKString::Right(KINT32 iCount) const
{
    return Mid(GetLength() - std::clamp(iCount, 0, GetLength()), iCount);
}

void CKString::SetAt(KINT32 iIndex, KCHAR8 ch)
{
    const bool bIsInside = iIndex >= 0 && iIndex < GetLength();
    QEL_ASSERT(bIsInside);
    if (!bIsInside)
        return;

    CopyBeforeWrite();
    m_pchData[iIndex] = ch;
}

CKString& CKString::TrimLeft(const KCHAR8* pszSet)
{
    if (IsEmptyText(pszSet))
        return *this;

    const KINT32 iLength = GetLength();
    KINT32       iCount  = 0;
    while (IsInSet(m_pchData[iCount], pszSet))  // the terminator is in no set
        ++iCount;
    if (iCount == 0)
        return *this;

    KCHAR8* pchBuffer = GetBuffer(iLength);
    QelTools_memmove(pchBuffer, pchBuffer + iCount, static_cast<KUINT32>(iLength - iCount));
    ReleaseBuffer(iLength - iCount);
    return *this;
}

CKString& CKString::TrimRight(const KCHAR8* pszSet)
{
    if (IsEmptyText(pszSet))
        return *this;

    KINT32 iEnd = GetLength();
    while (iEnd > 0 && IsInSet(m_pchData[iEnd - 1], pszSet))
        --iEnd;
    if (iEnd == GetLength())
        return *this;

    ReleaseBuffer(iEnd);
    return *this;
}

CKString& CKString::Trim(const KCHAR8* pszSet)
{
    if (Holds(pszSet))  // trimming would move the set
        return Trim(CKString(pszSet));
    return TrimLeft(pszSet).TrimRight(pszSet);
}

KINT32 CKString::Insert(KINT32 iIndex, KCHAR8 ch)
{
    return InsertText(iIndex, 1, &ch);
}

KINT32 CKString::Insert(KINT32 iIndex, const KCHAR8* pszText)
{
    if (IsEmptyText(pszText))
        return GetLength();

    // The insertion would move or free a text that lies in this string.
    if (Holds(pszText))
        return Insert(iIndex, CKString(pszText));
    return InsertText(iIndex, LengthOf(pszText), pszText);
}

KINT32 CKString::InsertText(KINT32 iIndex, KINT32 iLength, const KCHAR8* pszText)
{
    CopyBeforeWrite();
    const KINT32 iNewLength = AddLengths(GetLength(), iLength);
    if (iNewLength > GetAllocLength() && !Reallocate(iNewLength))
        return GetLength();

    iIndex         = std::clamp(iIndex, 0, GetLength());
    KCHAR8* pchGap = m_pchData + iIndex;
    QelTools_memmove(pchGap + iLength, pchGap, static_cast<KUINT32>(GetLength() - iIndex));
    QelTools_memcpy(pchGap, pszText, static_cast<KUINT32>(iLength));
    SetLength(iNewLength);
    return iNewLength;
}

KINT32 CKString::Delete(KINT32 iIndex, KINT32 iCount)
{
    const KINT32 iLength = GetLength();
    const KINT32 iStart  = std::max(iIndex, 0);

    // The count is limited with the index as given, so a negative index does not shorten the deleted part.
    iCount = static_cast<KINT32>(std::min<KINT64>(iCount, KINT64{iLength} - iIndex));
    if (iCount <= 0 || iCount > iLength)
        return iLength;

    CopyBeforeWrite();
    QelTools_memmove(m_pchData + iStart, m_pchData + iStart + iCount, static_cast<KUINT32>(iLength - iStart - iCount));
    SetLength(iLength - iCount);
    return iLength;
}

CKString& CKString::MakeUpper()
{
    CopyBeforeWrite();
    QelTools_strupr_s(m_pchData, GetLengthU());
    return *this;
}

CKString& CKString::MakeLower()
{
    CopyBeforeWrite();
    QelTools_strlwr_s(m_pchData, GetLengthU());
    return *this;
}

CKString& CKString::MakeReverse()
{
    CopyBeforeWrite();
    QelTools_strrev(m_pchData);
    return *this;
}
