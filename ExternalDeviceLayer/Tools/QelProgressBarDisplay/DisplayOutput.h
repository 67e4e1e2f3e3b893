// One video output: shows a buffer, or is turned off.
#ifndef DISPLAY_OUTPUT_H
#define DISPLAY_OUTPUT_H

#include "QelTypes.h"
#include "Tavrin.h"

// Shows the buffer on one output with the given timings, or turns one output off. The buffer stays the caller's. Both get a
// handle of the output and release it again, whatever fails.
//
// Return TStatus_OK, or the negative status of the call that failed, which is reported. If TVideoOut_GetHandle gives no
// handle, they report nothing and return its status, which may be positive.
TStatus EnableDisplay(TDevice_Handle hDev, TBuffer_Handle hBuffer, tagTVideo_VidParam& roVidParam, KUINT32 uiVideoOutIndex);
TStatus DisableDisplay(TDevice_Handle hDev, KUINT32 uiVideoOutIndex);

#endif
