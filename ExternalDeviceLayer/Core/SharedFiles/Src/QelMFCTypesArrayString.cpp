#include "QelMFCTypesArrayString.h"

KINT32 CKArrayString::InitFromString(const KCHAR8* pszText, const KCHAR8* pszSeparators)
{
    const CKString strText(pszText);
    for (CKString::CIterator oToken = strText.Begin(pszSeparators); oToken != strText.End(); ++oToken)
        SetAtGrow(GetSize(), *oToken);
    return GetSize();
}

CKString CKArrayString::Join(const KCHAR8* pszSeparator) const
{
    CKString strJoined;
    for (int i = 0; i < GetSize(); ++i)
    {
        if (i > 0)
            strJoined += pszSeparator;
        strJoined += GetAt(i);
    }
    return strJoined;
}
