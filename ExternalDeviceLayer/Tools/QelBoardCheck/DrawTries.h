// The functions behind the checks that draw, for their table in DrawChecks.cpp. Each makes what it needs from the start.
#ifndef DRAW_TRIES_H
#define DRAW_TRIES_H

#include <chrono>

#include "BoardObjects.h"
#include "Checks.h"
#include "PlanePattern.h"

namespace BoardCheck
{
constexpr std::chrono::seconds PLANE_TIME_LIMIT(60);  // memory of a board can be slow

// In BufferChecks.cpp.
void TryBuffer(Trial& roTrial, const STrialInput& roInput);
void TryPlanes(Trial& roTrial, const STrialInput& roInput);
void TryPitch(Trial& roTrial, const STrialInput& roInput);
void TryRows(Trial& roTrial, const STrialInput& roInput);
void TrySecondAccess(Trial& roTrial, const STrialInput& roInput);

// Ends the trial if the rows of plane 0 are not safe to be written.
void RequireRows(Trial& roTrial, const tagTBuffer_PlaneInfo& roInfo, const tagTVideo_VidParam& roVidParam);

// Draws a pattern in an access of its own. Returns what the plane held before; its address goes to ruiPlane.
Pixels DrawOnce(Trial& roTrial, const Buffer& roBuffer, bool bInverted, KUINTPTR& ruiPlane);

// Ends the trial unless an access of its own shows the pattern. Returns the address of the plane.
KUINTPTR CompareOnce(Trial& roTrial, const Buffer& roBuffer, bool bInverted, const Pixels& roBefore);

// In OutputChecks.cpp.
void TryEnable(Trial& roTrial, const STrialInput& roInput);
void TryRelease(Trial& roTrial, const STrialInput& roInput);
void TryDrawing(Trial& roTrial, const STrialInput& roInput);
void HoldOutputs(Trial& roTrial, const STrialInput& roInput);
void TryBusy(Trial& roTrial, const STrialInput& roInput);
void TryDisable(Trial& roTrial, const STrialInput& roInput);
void TryEnableAgain(Trial& roTrial, const STrialInput& roInput);
void TryCard(Trial& roTrial, const STrialInput& roInput);
}

#endif
