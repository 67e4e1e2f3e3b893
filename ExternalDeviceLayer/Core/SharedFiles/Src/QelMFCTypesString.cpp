// The buffer of a string: sharing, writing and reallocation.
#include "QelMFCTypesString.h"

#include <algorithm>
#include <new>
#include <utility>

#include "QelMFCTypesAllocator.h"

const KINT32                     CKString::m_aiInitData[4] = {-1, 0, 0, 0};
const CKString::SMetaData* const CKString::m_poDataNil     = reinterpret_cast<const SMetaData*>(m_aiInitData);
const KCHAR8* const              CKString::m_pszNil        = reinterpret_cast<const KCHAR8*>(m_aiInitData + 3);

// A string consists of one pointer to its characters. So the pointer m_pszNil itself serves as an empty string.
const CKString* const CKString::m_poEmptyString = reinterpret_cast<const CKString*>(&m_pszNil);

static_assert(sizeof(CKString) == sizeof(KCHAR8*) && sizeof(CKString::SMetaData) == 12);

CKString::CKString(const KCHAR8* pszText) : CKString()
{
    *this = pszText;
}

CKString::CKString(KCHAR8 ch, KINT32 iCount) : CKString()
{
    if (iCount > 0 && AllocData(iCount))
        QelTools_memset(m_pchData, ch, GetLengthU());
}

CKString::CKString(KCHAR8 ch, KUINT32 uiCount) : CKString(ch, ToSigned(uiCount)) {}

CKString& CKString::operator=(const CKString& rstrSource)
{
    if (m_pchData == rstrSource.m_pchData)
        return *this;

    if (IsLocked() || rstrSource.GetMetaData()->iRefs == -1)
    {
        const bool bWasLocked = IsLocked();
        AssignCopy(rstrSource.GetLength(), rstrSource.m_pchData);
        if (bWasLocked)
            LockBuffer();
        return *this;
    }

    ReleaseData();
    Share(rstrSource);
    return *this;
}

CKString& CKString::operator=(const KCHAR8* pszText)
{
    AssignCopy(LengthOf(pszText), pszText);
    return *this;
}

CKString& CKString::operator=(KCHAR8 ch)
{
    AssignCopy(1, &ch);
    return *this;
}

CKString& CKString::operator+=(const CKString& rstrAdded)
{
    ConcatInPlace(rstrAdded.GetLength(), rstrAdded.m_pchData);
    return *this;
}

CKString& CKString::operator+=(const KCHAR8* pszAdded)
{
    ConcatInPlace(LengthOf(pszAdded), pszAdded);
    return *this;
}

CKString& CKString::operator+=(KCHAR8 chAdded)
{
    ConcatInPlace(1, &chAdded);
    return *this;
}

CKString operator+(const CKString& rstrA, const CKString& rstrB)
{
    CKString strResult;
    strResult.ConcatCopy(rstrA.GetLength(), rstrA, rstrB.GetLength(), rstrB);
    return strResult;
}

CKString operator+(const CKString& rstrA, const KCHAR8* pszB)
{
    CKString strResult;
    strResult.ConcatCopy(rstrA.GetLength(), rstrA, CKString::LengthOf(pszB), pszB);
    return strResult;
}

CKString operator+(const KCHAR8* pszA, const CKString& rstrB)
{
    CKString strResult;
    strResult.ConcatCopy(CKString::LengthOf(pszA), pszA, rstrB.GetLength(), rstrB);
    return strResult;
}

CKString operator+(const CKString& rstrA, KCHAR8 chB)
{
    CKString strResult;
    strResult.ConcatCopy(rstrA.GetLength(), rstrA, 1, &chB);
    return strResult;
}

CKString operator+(KCHAR8 chA, const CKString& rstrB)
{
    CKString strResult;
    strResult.ConcatCopy(1, &chA, rstrB.GetLength(), rstrB);
    return strResult;
}

void CKString::Empty()
{
    if (GetLength() == 0)
        return;

    if (IsLocked())
        SetLength(0);
    else
        Release();
}

KCHAR8* CKString::GetBuffer(KINT32 iMinAllocLength)
{
    QEL_ASSERT(iMinAllocLength >= 0);
    if (iMinAllocLength > GetAllocLength() || GetMetaData()->iRefs > 1)
    {
        // If the size is impossible, the caller still gets a private buffer.
        if (!Reallocate(std::max(GetLength(), iMinAllocLength)))
            CopyBeforeWrite();
    }
    return m_pchData;
}

KCHAR8* CKString::GetBufferSetLength(KINT32 iLength)
{
    GetBuffer(iLength);
    SetLength(iLength);
    return m_pchData;
}

void CKString::ReleaseBuffer(KINT32 iLength)
{
    if (IsNil())
        return;

    CopyBeforeWrite();
    if (iLength == -1)
    {
        // The caller may have filled the whole capacity, so the search for a NUL stops there.
        const auto oWritten = std::string_view(m_pchData, GetAllocLengthU());
        iLength             = static_cast<KINT32>(std::min(oWritten.find('\0'), oWritten.size()));
    }
    QEL_ASSERT(iLength >= 0 && iLength <= GetAllocLength());
    SetLength(iLength);
}

void CKString::FreeExtra()
{
    if (GetLength() != GetAllocLength())
        Reallocate(GetLength());
}

KCHAR8* CKString::LockBuffer()
{
    GetBuffer(0);
    if (!IsNil())
        GetWritableMetaData()->iRefs = -1;
    return m_pchData;
}

void CKString::UnlockBuffer()
{
    QEL_ASSERT(GetMetaData()->iRefs == -1);
    if (IsLocked())
        GetWritableMetaData()->iRefs = 1;
}

// Gives an empty string a buffer and sets its length. The caller must set the characters. Reports an impossible length,
// leaves the string empty and returns false.
bool CKString::AllocData(KINT32 iLength)
{
    const bool bIsPossible = iLength >= 0 && iLength <= MAX_LENGTH;
    QEL_ASSERT(bIsPossible);
    if (!bIsPossible || iLength == 0)
        return bIsPossible;

    const size_t uiSizeInBytes = sizeof(SMetaData) + static_cast<size_t>(iLength) + 1;
    auto*        poMetaData    = ::new (CKAllocator::AllocBlock(uiSizeInBytes)) SMetaData{1, iLength, iLength};
    m_pchData                  = poMetaData->GetStrData();
    m_pchData[iLength]         = '\0';
    return true;
}

// Releases the buffer, but leaves m_pchData pointing to it.
void CKString::ReleaseData()
{
    if (IsNil())
        return;

    SMetaData* poMetaData = GetWritableMetaData();
    QEL_ASSERT(poMetaData->iRefs != 0);
    if (--poMetaData->iRefs <= 0)
        CKAllocator::FreeBlock(poMetaData);
}

void CKString::Release()
{
    ReleaseData();
    m_pchData = const_cast<KCHAR8*>(m_pszNil);
}

void CKString::Swap(CKString& rstrOther)
{
    std::swap(m_pchData, rstrOther.m_pchData);
}

// Copies the text into a new buffer with a capacity of iAllocLength, which must not be below the length. Returns false and
// changes nothing if that capacity is impossible.
bool CKString::Reallocate(KINT32 iAllocLength)
{
    CKString strNew;
    if (!strNew.AllocData(iAllocLength))
        return false;

    QelTools_memcpy(strNew.m_pchData, m_pchData, GetLengthU());
    strNew.SetLength(GetLength());
    Swap(strNew);
    return true;
}

void CKString::CopyBeforeWrite()
{
    if (GetMetaData()->iRefs > 1)
        Reallocate(GetLength());
    QEL_ASSERT(GetMetaData()->iRefs <= 1);
}

// Makes the buffer private and large enough for iLength characters. May drop the text. Returns false and changes nothing
// if that length is impossible.
bool CKString::AllocBeforeWrite(KINT32 iLength)
{
    if (GetMetaData()->iRefs <= 1 && iLength <= GetAllocLength())
        return true;

    CKString strNew;
    if (!strNew.AllocData(iLength))
        return false;
    Swap(strNew);
    return true;
}

void CKString::AssignCopy(KINT32 iLength, const KCHAR8* pszText)
{
    if (iLength == 0 || pszText == nullptr)
    {
        Release();
        return;
    }
    if (pszText == m_pchData)
        return;

    // If pszText lies in this string, it fits. Then only a shared buffer is replaced, and another string keeps that one.
    if (!AllocBeforeWrite(iLength))
        return;
    QelTools_memmove(m_pchData, pszText, static_cast<KUINT32>(iLength));
    SetLength(iLength);
}

// Sets an empty string to the concatenation of two texts.
void CKString::ConcatCopy(KINT32 iLengthA, const KCHAR8* pszA, KINT32 iLengthB, const KCHAR8* pszB)
{
    if (!AllocData(AddLengths(iLengthA, iLengthB)))
        return;

    QelTools_memcpy(m_pchData, OrEmpty(pszA), static_cast<KUINT32>(iLengthA));
    QelTools_memcpy(m_pchData + iLengthA, OrEmpty(pszB), static_cast<KUINT32>(iLengthB));
}

void CKString::ConcatInPlace(KINT32 iLength, const KCHAR8* pszText)
{
    if (iLength == 0)
        return;

    const KINT32 iNewLength = AddLengths(GetLength(), iLength);
    if (GetMetaData()->iRefs <= 1 && iNewLength <= GetAllocLength())
    {
        QelTools_memmove(m_pchData + GetLength(), pszText, static_cast<KUINT32>(iLength));
        SetLength(iNewLength);
        return;
    }

    // pszText may lie in the old buffer. strJoined frees that one when this function returns.
    CKString strJoined;
    strJoined.ConcatCopy(GetLength(), m_pchData, iLength, pszText);
    if (!strJoined.IsNil())
        Swap(strJoined);
}

// Sets the length, cut to the capacity, and the terminator. Does nothing if there is no buffer.
void CKString::SetLength(KINT32 iLength)
{
    if (IsNil())
        return;

    iLength                            = std::clamp(iLength, 0, GetAllocLength());
    GetWritableMetaData()->iDataLength = iLength;
    m_pchData[iLength]                 = '\0';
}
