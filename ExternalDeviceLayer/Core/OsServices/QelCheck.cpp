#include "QelCheck.h"

#include "OsServices.h"
#include "QelTools.h"

void QelCheckReport(const KCHAR8* pszFile, KINT32 iLine)
{
    OsServices::WriteErrorMsg("%s(%d) Assertion failed\n", OsServices::GetFileNameOnlySubSring(pszFile), iLine);
    QelTools_Assert(FALSE, pszFile, iLine);
}
