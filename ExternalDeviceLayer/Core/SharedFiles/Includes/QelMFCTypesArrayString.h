#ifndef QEL_MFC_TYPES_ARRAY_STRING_H
#define QEL_MFC_TYPES_ARRAY_STRING_H

#include "QelMFCTypesArray.h"
#include "QelMFCTypesString.h"

// An array of strings that splits and joins texts. A null text counts as empty.
class CKArrayString : public CKArray<CKString, const CKString&>
{
public:
    // Appends the tokens between runs of separators. No token is empty. Returns the new number of elements.
    KINT32 InitFromString(const KCHAR8* pszText, const KCHAR8* pszSeparators);

    CKString Join(const KCHAR8* pszSeparator) const;
};

#endif
