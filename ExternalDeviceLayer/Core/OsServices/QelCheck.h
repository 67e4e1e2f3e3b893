// The check convention: how every function reports a condition that does not hold.
//
// A report is the error message "FILE(LINE) Assertion failed", then the hook QelTools_Assert. It never stops the process.
#ifndef QEL_CHECK_H
#define QEL_CHECK_H

#include "QelTypes.h"

// Reports a failed check of that source file and line; pszFile is the path as the compiler was given it.
void QelCheckReport(const KCHAR8* pszFile, KINT32 iLine);

// The abort form: a failed check ends the function at its one clean-up label, Qel_Abort, where every exit joins and
// whatever was made is released in reverse order. The result that carries the failure is set before.
#define QEL_CHECK_OR_ABORT(condition)           \
    do                                          \
    {                                           \
        if (!(condition))                       \
        {                                       \
            QelCheckReport(__FILE__, __LINE__); \
            goto Qel_Abort;                     \
        }                                       \
    } while (false)

// The assertion form: a failed check is reported, and the function carries on.
#define QEL_ASSERT(condition)                   \
    do                                          \
    {                                           \
        if (!(condition))                       \
            QelCheckReport(__FILE__, __LINE__); \
    } while (false)

#endif
