// One display run: from the command line's values to the last register write.
#ifndef DISPLAY_RUN_H
#define DISPLAY_RUN_H

#include <atomic>
#include <csignal>

#include "QelTypes.h"
#include "Tavrin.h"

// Shows the picture, the animation and the bar on every output of a device until the board reports more than 99 percent,
// the enable time is over, or a stop signal came; then takes back what it made. With an enable time the outputs stay on.
//
//   uiDevIndex            among the devices of the library, from 0
//   roProgressBarRect     tested, like roAnimRect, also when it is not drawn
//   pszImageFileName      PNG background, or null; one that cannot be read leaves the picture black
//   pszAnimBaseFileName   base name of the PNG frames, or null: the rectangle animation
//   uiAnimStepLoopTimeMs  the wait of a step
//   uiEnableTime          seconds, 0 for no limit
//   oVidParam             timings of every output; its active size is the picture's
//
// Returns TStatus_OK, TStatus_FAIL, or the status of the library's call that failed.
TStatus DisplayProgressBar(KUINT32 uiDevIndex, const tagTRECT& roProgressBarRect, const char* pszImageFileName,
                           const char* pszAnimBaseFileName, KUINT32 uiAnimStepLoopTimeMs, const tagTRECT& roAnimRect,
                           KUINT32 uiEnableTime, KBOOL32 bProgressBar, KBOOL32 bAnimation, tagTVideo_VidParam& oVidParam);

// Show the buffer on one output, or turn the output off. Both release the output's handle on every path; an output for
// which the library has no handle is left out, with the status of that call.
TStatus EnableDisplay(TDevice_Handle hDev, TBuffer_Handle hBuffer, tagTVideo_VidParam& roVidParam, KUINT32 uiVideoOutIndex);
TStatus DisableDisplay(TDevice_Handle hDev, KUINT32 uiVideoOutIndex);

// Set by the first SIGTERM or SIGINT, and never cleared.
extern std::atomic<KBOOL32> g_bStopSignal;
static_assert(std::atomic<KBOOL32>::is_always_lock_free, "a signal handler writes it");

// Installs SignalHandler for SIGTERM and SIGINT, and makes standard output give every line away as it ends: the handler's
// message goes past the stream, and must not overtake what waits in it.
void SetupSignalHandler();
void SignalHandler(int iSignal, siginfo_t* oSigInfo, void* hContext);

#endif
