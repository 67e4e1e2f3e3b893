// The containers of the device layer: a copy-on-write string, growable arrays and a block allocator.
#ifndef QEL_MFC_TYPES_H
#define QEL_MFC_TYPES_H

#include "QelMFCTypesAllocator.h"
#include "QelMFCTypesArray.h"
#include "QelMFCTypesArrayString.h"
#include "QelMFCTypesElements.h"
#include "QelMFCTypesPlex.h"
#include "QelMFCTypesString.h"

#endif
