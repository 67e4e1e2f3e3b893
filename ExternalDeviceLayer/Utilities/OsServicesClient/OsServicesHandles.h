// Handles of the OS services: pointers to blocks whose size the C layer reports and whose content it alone knows.
#ifndef OS_SERVICES_HANDLES_H
#define OS_SERVICES_HANDLES_H

#include "QelTypes.h"

struct SHEvent;
struct SHSignal;

using HEvent  = SHEvent*;
using HSignal = SHSignal*;

#endif
