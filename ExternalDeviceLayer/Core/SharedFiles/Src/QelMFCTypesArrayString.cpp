#include "QelMFCTypesArrayString.h"

KINT32 CKArrayString::InitFromString(const KCHAR8* pszText, const KCHAR8* pszSeparators)
{
    const CKString oText(pszText);
    for (CKString::CIterator itToken = oText.Begin(pszSeparators); itToken != oText.End(); ++itToken)
        SetAtGrow(GetSize(), *itToken);
    return GetSize();
}

CKString CKArrayString::Join(const KCHAR8* pszSeparator) const
{
    CKString oJoined;
    for (int i = 0; i < GetSize(); ++i)
    {
        if (i > 0)
            oJoined += pszSeparator;
        oJoined += GetAt(i);
    }
    return oJoined;
}
