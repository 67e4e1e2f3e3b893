// The checks that draw or write, and what takes back what they leave.
#include <string>

#include "BoardObjects.h"
#include "BoardRegisters.h"
#include "Checks.h"
#include "DrawTries.h"

namespace BoardCheck
{
namespace
{
void TryRunningRegister(Trial& roTrial, const STrialInput& roInput)
{
    const Device    oDevice(roTrial, roInput.uiDevice);
    RunningRegister oRegister(roTrial, oDevice);
    roTrial.BeginQuestion();
    for (const KUINT32 uiWritten : {1u, 0u, 1u})
    {
        oRegister.Write(uiWritten);
        const KUINT32 uiRead = ReadRegister(roTrial, oDevice, REG_PROGRESS_BAR_RUNNING);
        if (uiRead != uiWritten)
            roTrial.End(std::to_string(uiRead) + " after " + std::to_string(uiWritten) + " was written");
    }
    roTrial.Hold(AS_EXPECTED);
}

void TryProgressRegister(Trial& roTrial, const STrialInput& roInput)
{
    constexpr int READS = 4;
    const Device  oDevice(roTrial, roInput.uiDevice);

    const KUINT32      uiRunning = ReadRegister(roTrial, oDevice, REG_PROGRESS_BAR_RUNNING);
    RegPROGRESS_UPDATE oBefore   = {.dwValue = ReadRegister(roTrial, oDevice, REG_PROGRESS_UPDATE)};
    roTrial.BeginQuestion();
    for (int i = 1; i < READS; ++i)
    {
        const RegPROGRESS_UPDATE oNow = {.dwValue = ReadRegister(roTrial, oDevice, REG_PROGRESS_UPDATE)};
        // An update may go on meanwhile.
        if (oNow.f.uUpdatePct < oBefore.f.uUpdatePct || (oNow.dwValue ^ oBefore.dwValue) >> 8 != 0)
            roTrial.End(std::to_string(oNow.dwValue) + " after " + std::to_string(oBefore.dwValue));
        oBefore = oNow;
    }
    if (ReadRegister(roTrial, oDevice, REG_PROGRESS_BAR_RUNNING) != uiRunning)
        roTrial.End("register 6908 changes");
    roTrial.Hold(AS_EXPECTED);
}

constexpr SCheck DRAW_CHECKS[] = {
    {"buffer", "a buffer of format 52 is made and destroyed", TryBuffer},
    {"planes", "the size, the pitch and the number of planes fit the timings", TryPlanes},
    {"pitch", "the pitch is larger than the width", TryPitch},
    {"rows", "every byte of every row is read back as written", TryRows},
    {"second-access", "a second access shows what the first drew", TrySecondAccess},
    {"enable", "every output shows a buffer", TryEnable},
    {"release", "the handle of an enabled output is released", TryRelease},
    {"drawing", "a shown buffer can be drawn on after the release", TryDrawing},
    {"busy", "a second process is told that the output is busy", HoldOutputs, TryBusy},
    {"disable", "every output is disabled", TryDisable},
    {"enable-again", "a disabled output can be enabled again", TryEnableAgain},
    {"running-register", "register 6908 holds what is written", TryRunningRegister},
    {"progress-register", "register 7932 is read without side effect", TryProgressRegister},
    {"card", "the outputs show a test card", TryCard},
};
}

std::span<const SCheck> DrawChecks()
{
    return DRAW_CHECKS;
}

void TakeBackOutput(Trial& roTrial, KUINT32 uiDevice, KUINT32 uiOutput)
{
    roTrial.Hold("");  // from here on a stop is not heeded
    const Device oDevice(roTrial, uiDevice);
    Output       oOutput(roTrial, oDevice, uiOutput);
    oOutput.Disable();
}

void TakeBackRegister(Trial& roTrial, KUINT32 uiDevice, KUINT32 uiValue)
{
    roTrial.Hold("");
    const Device oDevice(roTrial, uiDevice);
    TBoard_RegWrite(oDevice.m_hDev, REG_PROGRESS_BAR_RUNNING, uiValue);
}
}
