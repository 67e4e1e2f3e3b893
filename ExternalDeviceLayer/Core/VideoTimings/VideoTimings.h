// Video timings, as a command line gives them.
#ifndef VIDEO_TIMINGS_H
#define VIDEO_TIMINGS_H

#include <optional>

#include "QelTypes.h"
#include "Tavrin.h"

// 1024 x 768 at 60 Hz, progressive, negative syncs, RGB.
constexpr tagTVideo_VidParam DEFAULT_TIMING = {
    .uiHActive        = 1024,
    .uiVActive        = 768,
    .uiVRate_Hz       = 60,
    .uiHRate_kHz      = 48,
    .uiPixelClock_kHz = 65000,
    .uiHFPorch        = 24,
    .uiHSync          = 136,
    .uiHBPorch        = 160,
    .uiVFPorch        = 3,
    .uiVSync          = 6,
    .uiVBPorch        = 29,
};

// How many values describe a timing: eleven numbers, then eight words.
constexpr int TIMING_VALUES = 19;

// A word that its field does not accept.
struct SUnknownTimingWord
{
    const char* pszField;
    const char* pszWord;  // one of the values
};

// Reads TIMING_VALUES values into the record. Text that is no number reads as 0. Stops at the first word that its field does
// not accept, and returns it. The fields before that word are then written, the others are unchanged.
std::optional<SUnknownTimingWord> ReadVideoTimings(const char* const* ppszValues, tagTVideo_VidParam& roVidParam);

#endif
