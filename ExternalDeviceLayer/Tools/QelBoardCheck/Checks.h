// The checks: what QelBoardCheck assumes of a board, one row an assumption. The table in Checks.cpp is the one list of them.
#ifndef CHECKS_H
#define CHECKS_H

#include <optional>
#include <span>

#include "QelTypes.h"
#include "Tavrin.h"
#include "Trial.h"
#include "VideoTimings.h"

namespace BoardCheck
{
// What the command line asks for.
struct SRequest
{
    std::optional<KUINT32> ouiDevice;
    bool                   bDraw        = false;
    bool                   bJson        = false;
    KUINT32                uiCardTimeS  = 5;
    KUINT32                uiCallLimitS = 5;  // a call that does not return by then hangs
    tagTVideo_VidParam     oVidParam    = DEFAULT_TIMING;
};

// What a trial is made with.
struct STrialInput
{
    const SRequest& roRequest;
    KUINT32         uiDevice;  // unused by checks of the library
};

using TryCheck = void (*)(Trial& roTrial, const STrialInput& roInput);

enum class EScope
{
    Library,
    Device,  // of every device
    Draw,    // of the device that is drawn on
};

struct SCheck
{
    EScope      eScope;
    const char* pszName;
    const char* pszExpected;
    TryCheck    pfnTry;
    TryCheck    pfnSecond = nullptr;  // in a second process, while the first waits; its outcome counts
};

// A library that counts more than this is taken to be wrong.
constexpr KUINT32 MAX_COUNT = 64;

std::span<const SCheck> GetChecks(EScope eScope);

// Gives back what trials took and could not give back themselves. A stop is not heeded.
void TakeBackOutput(Trial& roTrial, const STrialInput& roInput, KUINT32 uiOutput);
void TakeBackRegister(Trial& roTrial, const STrialInput& roInput, KUINT32 uiValue);
}

#endif
