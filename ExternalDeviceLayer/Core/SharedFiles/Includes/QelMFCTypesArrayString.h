#ifndef QEL_MFC_TYPES_ARRAY_STRING_H
#define QEL_MFC_TYPES_ARRAY_STRING_H

#include "QelMFCTypesArray.h"
#include "QelMFCTypesString.h"

// An array of strings that takes a text apart and puts it together. Null texts count as empty.
class CKArrayString : public CKArray<CKString, const CKString&>
{
public:
    // Appends the tokens between runs of separators, without empty ones; returns the number of elements then.
    KINT32 InitFromString(const KCHAR8* pszText, const KCHAR8* pszSeparators);

    CKString Join(const KCHAR8* pszSeparator) const;
};

#endif
