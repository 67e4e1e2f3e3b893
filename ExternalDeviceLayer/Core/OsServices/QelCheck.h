// The check convention: how the functions of the device layer report a failed condition.
//
// A report writes the error message "FILE(LINE) Assertion failed" and calls the hook QelTools_Assert. It never stops the
// process.
#ifndef QEL_CHECK_H
#define QEL_CHECK_H

#include "QelTypes.h"

// Reports a failed check. pszFile is the path of the source file, as in __FILE__.
void QelCheckReport(const KCHAR8* pszFile, KINT32 iLine);

// Reports a failed check and jumps to Qel_Abort, the one label at the end of the function. There the function releases
// what it made, in reverse order. Set the result that the function returns before the check.
#define QEL_CHECK_OR_ABORT(condition)           \
    do                                          \
    {                                           \
        if (!(condition))                       \
        {                                       \
            QelCheckReport(__FILE__, __LINE__); \
            goto Qel_Abort;                     \
        }                                       \
    } while (false)

// Reports a failed check and carries on.
#define QEL_ASSERT(condition)                   \
    do                                          \
    {                                           \
        if (!(condition))                       \
            QelCheckReport(__FILE__, __LINE__); \
    } while (false)

#endif
