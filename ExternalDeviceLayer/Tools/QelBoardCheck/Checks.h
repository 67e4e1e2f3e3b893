// The checks: what QelBoardCheck assumes of a board, one row an assumption. This table is the one list of them.
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
    bool                   bDraw       = false;
    bool                   bJson       = false;
    KUINT32                uiCardTimeS = 5;
    tagTVideo_VidParam     oVidParam   = DEFAULT_TIMING;
};

// What a trial is made with.
struct STrialInput
{
    const SRequest& roRequest;
    KUINT32         uiDevice;  // unused by checks of the library
};

using TryCheck = void (*)(Trial& roTrial, const STrialInput& roInput);

struct SCheck
{
    const char* pszName;
    const char* pszExpected;
    TryCheck    pfnTry;
    TryCheck    pfnSecond = nullptr;  // in a second process, while the first waits; its outcome counts
};

// Counts beyond this are no counts.
constexpr KUINT32 MAX_COUNT = 64;

std::span<const SCheck> LibraryChecks();
std::span<const SCheck> DeviceChecks();  // of every device
std::span<const SCheck> DrawChecks();    // of the device that is drawn on

// Gives back what a trial took and could not give back itself, as its facts tell.
void TakeBackOutput(Trial& roTrial, KUINT32 uiDevice, KUINT32 uiOutput);
void TakeBackRegister(Trial& roTrial, KUINT32 uiDevice, KUINT32 uiValue);
}

#endif
