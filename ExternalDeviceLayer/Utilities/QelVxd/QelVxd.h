// Hardware access from user space: the start and release hooks of the library.
#ifndef QEL_VXD_H
#define QEL_VXD_H

#include "QelTypes.h"

extern "C"
{
// Start and release of the library; both return 1.
KUINT32 InitQELLibrary(void);
KUINT32 ReleaseQELLibrary(void);
}

#endif
