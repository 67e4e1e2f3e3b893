// One display run: from the command line's values to the last register write.
#ifndef DISPLAY_RUN_H
#define DISPLAY_RUN_H

#include "DisplayOutput.h"
#include "QelTypes.h"
#include "StopSignal.h"
#include "Tavrin.h"

// Shows the picture, the animation and the bar on every output of a device. The run ends when the board reports more than
// 99 percent, when the enable time is over, or after a stop signal. It then turns the outputs off and destroys its
// buffer; with an enable time the outputs stay on. The caller keeps every text and record, and they must outlive the call.
//
//   uiDevIndex            index of the device in the library, from 0
//   roProgressBarRect     in pixels; must lie inside the active size, like roAnimRect, even if it is not drawn
//   pszImageFileName      PNG file of the background, or null; the background is black if it cannot be read
//   pszAnimBaseFileName   base name of the PNG frames, or null for the rectangle animation
//   uiAnimStepLoopTimeMs  how long each step waits, in milliseconds
//   uiEnableTime          limit in seconds, 0 for none
//   bProgressBar          draw the bar, and read its percentage from the board
//   bAnimation            draw the animation
//   oVidParam             timings of every output; the picture has their active size
//
// Returns TStatus_OK, TStatus_FAIL, or the negative status of the library's call that failed. A failure that
// ends the run is printed, except those of the firmware check. A picture that cannot be loaded does not end the run.
TStatus DisplayProgressBar(KUINT32 uiDevIndex, const tagTRECT& roProgressBarRect, const char* pszImageFileName,
                           const char* pszAnimBaseFileName, KUINT32 uiAnimStepLoopTimeMs, const tagTRECT& roAnimRect,
                           KUINT32 uiEnableTime, KBOOL32 bProgressBar, KBOOL32 bAnimation, tagTVideo_VidParam& oVidParam);

#endif
