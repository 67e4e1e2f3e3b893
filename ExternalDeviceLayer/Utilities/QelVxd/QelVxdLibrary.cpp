#include "QelVxd.h"

KUINT32 InitQELLibrary(void)
{
    return 1;
}

KUINT32 ReleaseQELLibrary(void)
{
    QelVxdPciLibCleanUp();
    return 1;
}
