// Whether the registers can be relied on, and what gives back what trials left in them.
#include <string>

#include "BoardRegisters.h"
#include "Tries.h"

namespace BoardCheck
{
void TryRunningRegister(Trial& roTrial, const STrialInput& roInput)
{
    const Device    oDevice(roTrial, roInput);
    RunningRegister oRegister(oDevice);
    roTrial.BeginQuestion();
    for (const KUINT32 uiWritten : {1u, 0u, 1u})
    {
        oRegister.Write(uiWritten);
        const KUINT32 uiRead = oDevice.ReadRegister(REG_PROGRESS_BAR_RUNNING);
        if (uiRead != uiWritten)
            roTrial.Fail(std::to_string(uiRead) + " after " + std::to_string(uiWritten) + " was written");
    }
    roTrial.Pass(AS_EXPECTED);
}

void TryProgressRegister(Trial& roTrial, const STrialInput& roInput)
{
    constexpr int READS = 4;
    const Device  oDevice(roTrial, roInput);

    const KUINT32      uiRunning = oDevice.ReadRegister(REG_PROGRESS_BAR_RUNNING);
    RegPROGRESS_UPDATE oBefore   = {.dwValue = oDevice.ReadRegister(REG_PROGRESS_UPDATE)};
    roTrial.BeginQuestion();
    for (int i = 1; i < READS; ++i)
    {
        const RegPROGRESS_UPDATE oNow = {.dwValue = oDevice.ReadRegister(REG_PROGRESS_UPDATE)};
        // An update may go on meanwhile.
        if (oNow.f.uUpdatePct < oBefore.f.uUpdatePct || (oNow.dwValue ^ oBefore.dwValue) >> 8 != 0)
            roTrial.Fail(std::to_string(oNow.dwValue) + " after " + std::to_string(oBefore.dwValue));
        oBefore = oNow;
    }
    if (oDevice.ReadRegister(REG_PROGRESS_BAR_RUNNING) != uiRunning)
        roTrial.Fail("register 6908 changes");
    roTrial.Pass(AS_EXPECTED);
}

void TakeBackRegister(Trial& roTrial, const STrialInput& roInput, KUINT32 uiValue)
{
    roTrial.IgnoreStop();
    const Device oDevice(roTrial, roInput);
    roTrial.Check(TBoard_RegWrite(oDevice.m_hDev, REG_PROGRESS_BAR_RUNNING, uiValue));
    roTrial.Pass(AS_EXPECTED);
}
}
