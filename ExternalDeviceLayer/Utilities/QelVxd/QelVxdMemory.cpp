#include <initializer_list>

#include "QelVxd.h"

MEMHANDLE memMap64(KUINT64 ullPhysical, KUINT32 uiSize, KUINT32 uiCachingType)
{
    return reinterpret_cast<MEMHANDLE>(QelVxdMapMemoryLinux(static_cast<KUINT32>(ullPhysical),
                                                            static_cast<KUINT32>(ullPhysical >> 32), uiSize, uiCachingType));
}

MEMHANDLE memMapEx(KUINT32 ullPhysical, KUINT32 ulSize, KUINT32 ulCachingType)
{
    return memMap64(ullPhysical, ulSize, ulCachingType);
}

MEMHANDLE memMap(KUINT32 lPhysical, KUINT32 lSize)
{
    for (const KUINT32 uiCachingType : {0u, 1u, 6u})
    {
        if (const MEMHANDLE hMemory = memMapEx(lPhysical, lSize, uiCachingType))
            return hMemory;
    }
    return 0;
}

KUINT32 memUnmap(MEMHANDLE hMemory)
{
    return QelVxdUnmapMemoryLinux(reinterpret_cast<void*>(hMemory));
}
