// The functions behind the checks, for their table in Checks.cpp. Each makes what it needs from the start.
#ifndef TRIES_H
#define TRIES_H

#include <chrono>

#include "BoardObjects.h"
#include "Checks.h"
#include "PlanePattern.h"

namespace BoardCheck
{
// In LookChecks.cpp.
void TryFile(Trial& roTrial, const STrialInput& roInput);
void TryOperations(Trial& roTrial, const STrialInput& roInput);
void TryLoad(Trial& roTrial, const STrialInput& roInput);
void TryDevices(Trial& roTrial, const STrialInput& roInput);
void TryDevice(Trial& roTrial, const STrialInput& roInput);
void TryFpgas(Trial& roTrial, const STrialInput& roInput);
void TryFirmware(Trial& roTrial, const STrialInput& roInput);
void TryOutputs(Trial& roTrial, const STrialInput& roInput);
void TryRegisters(Trial& roTrial, const STrialInput& roInput);

// In BufferChecks.cpp.
void TryBuffer(Trial& roTrial, const STrialInput& roInput);
void TryPlanes(Trial& roTrial, const STrialInput& roInput);
void TryPitch(Trial& roTrial, const STrialInput& roInput);
void TryRows(Trial& roTrial, const STrialInput& roInput);
void TrySecondAccess(Trial& roTrial, const STrialInput& roInput);

constexpr std::chrono::seconds PLANE_TIME_LIMIT(60);  // memory of a board can be slow

struct SDrawn
{
    bool     bInverted;
    KUINTPTR uiPlane;    // its address in that access
    Pixels   auiBefore;  // what it held before
};

// Draws a pattern in an access of its own.
SDrawn DrawOnce(const Buffer& roBuffer, bool bInverted);

// Ends the trial unless an access of its own shows what was drawn. Returns the address of the plane.
KUINTPTR CompareOnce(const Buffer& roBuffer, const SDrawn& roDrawn);

// In OutputChecks.cpp.
void TryEnable(Trial& roTrial, const STrialInput& roInput);
void TryRelease(Trial& roTrial, const STrialInput& roInput);
void TryDrawing(Trial& roTrial, const STrialInput& roInput);
void HoldOutputs(Trial& roTrial, const STrialInput& roInput);
void TryBusy(Trial& roTrial, const STrialInput& roInput);
void TryDisable(Trial& roTrial, const STrialInput& roInput);
void TryEnableAgain(Trial& roTrial, const STrialInput& roInput);
void TryCard(Trial& roTrial, const STrialInput& roInput);

// In RegisterChecks.cpp.
void TryRunningRegister(Trial& roTrial, const STrialInput& roInput);
void TryProgressRegister(Trial& roTrial, const STrialInput& roInput);
}

#endif
