// The token iterator of a string.
#include "QelMFCTypesString.h"

#include <array>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "QelMFCTypesAllocator.h"

namespace
{
// The contents of the four pointers. Null equals only null.
auto TextsOf(const CKString::CIterator& roIterator)
{
    const auto fText = [](const KCHAR8* psz) {
        return psz != nullptr ? std::optional<std::string_view>(psz) : std::nullopt;
    };
    return std::array{fText(roIterator.m_poSource != nullptr ? roIterator.m_poSource->c_str() : nullptr),
                      fText(roIterator.m_pszDelimiters), fText(roIterator.m_pszContext), fText(roIterator.m_pszToken)};
}
}

CKString::CIterator CKString::Begin(const KCHAR8* pszDelimiters) const
{
    return CIterator(*this, OrEmpty(pszDelimiters));
}

CKString::CIterator CKString::End() const
{
    return CIterator();
}

CKString::CIterator::CIterator(const CKString& rstrText, const KCHAR8* pszDelimiters) : m_pszDelimiters(pszDelimiters)
{
    CopySource(rstrText);
    Advance(m_poSource->GetBuffer(rstrText.GetLength()));
}

CKString::CIterator::CIterator(const CIterator& roOther)
{
    *this = roOther;
}

CKString::CIterator& CKString::CIterator::operator=(const CIterator& roOther)
{
    if (this == &roOther)
        return *this;

    Reset();
    if (roOther.m_poSource != nullptr)
        CopySource(*roOther.m_poSource);
    m_pszDelimiters = roOther.m_pszDelimiters;
    m_pszContext    = roOther.m_pszContext;
    m_pszToken      = roOther.m_pszToken;
    return *this;
}

CKString::CIterator& CKString::CIterator::operator++()
{
    if (m_poSource == nullptr)
        return *this;

    // QelTools_strtok_s writes a NUL after the next token, so this iterator first needs a text of its own.
    const auto iDone = m_pszContext - m_poSource->c_str();
    m_pszContext     = m_poSource->GetBuffer(0) + iDone;

    Advance(nullptr);
    return *this;
}

CKString::CIterator CKString::CIterator::operator++(int)
{
    CIterator oBefore(*this);
    ++*this;
    return oBefore;
}

bool CKString::CIterator::operator==(const CIterator& roOther) const
{
    return TextsOf(*this) == TextsOf(roOther);
}

void CKString::CIterator::Reset()
{
    if (m_poSource != nullptr)
    {
        m_poSource->~CKString();
        CKAllocator::FreeBlock(std::exchange(m_poSource, nullptr));
    }
    m_pszDelimiters = nullptr;
    m_pszContext    = nullptr;
    m_pszToken      = nullptr;
}

void CKString::CIterator::CopySource(const CKString& rstrSource)
{
    m_poSource = ::new (CKAllocator::AllocBlock(sizeof(CKString))) CKString(rstrSource);
}

// Moves to the next token at or after pszFrom, or after the last token if pszFrom is null. Without a next token, moves to
// the end.
void CKString::CIterator::Advance(KCHAR8* pszFrom)
{
    m_pszToken = QelTools_strtok_s(pszFrom, m_pszDelimiters, &m_pszContext);
    if (m_pszToken == nullptr)
        Reset();
}
