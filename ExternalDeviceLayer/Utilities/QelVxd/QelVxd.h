// Hardware access from user space: physical memory, the microsecond timer, PCI lookup.
#ifndef QEL_VXD_H
#define QEL_VXD_H

#include "QelTypes.h"

extern "C"
{
// Start and release of the library; both return 1.
KUINT32 InitQELLibrary(void);
KUINT32 ReleaseQELLibrary(void);

// The microsecond timer, on the monotonic clock. The delay keeps the processor busy, for the sake of precision; counter
// and frequency (ticks per second) are written to an unsigned 64-bit integer. All return 1, the counter 0 when the clock
// cannot be read.
KUINT32 tmInit(void);
KUINT32 tmDelay(KUINT32 dwDelay);
KUINT32 tmCounter(void* pvCounter64);
KUINT32 tmFrequency(void* pvFrequency64);

// The Linux bodies of the timer.
KUINT32 QelVxdPrivateLinuxTimer_Delay(KUINT32 dwDelay);
KUINT32 QelVxdPrivateLinuxTimer_Counter(void* pvCounter64);
KUINT32 QelVxdPrivateLinuxTimer_Frequency(void* pvFrequency64);
}

#endif
