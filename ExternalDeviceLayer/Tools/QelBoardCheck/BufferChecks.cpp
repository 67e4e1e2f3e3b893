// Whether a buffer can be drawn on.
#include <string>

#include "Tries.h"

namespace BoardCheck
{
void TryBuffer(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    roTrial.BeginQuestion();
    Buffer oBuffer(oDevice);
    oBuffer.Destroy();
    roTrial.Pass(AS_EXPECTED);
}

void TryPlanes(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    const Buffer oBuffer(oDevice);
    roTrial.BeginQuestion();
    const tagTBuffer_PlaneInfo oInfo = oBuffer.RequireRows();
    if (oInfo.uiPlaneCount != 1)
        roTrial.Fail(std::to_string(oInfo.uiPlaneCount) + " planes");
    if (oInfo.aePlaneFormat[0] != TPixelFormat_R8G8B8A8)
        roTrial.Fail("a plane of format " + std::to_string(oInfo.aePlaneFormat[0]));
    roTrial.Pass("pitch " + std::to_string(oInfo.auiPitch[0]));
}

void TryPitch(Trial& roTrial, const STrialInput& roInput)
{
    const Device               oDevice(roTrial, roInput);
    const Buffer               oBuffer(oDevice);
    const tagTBuffer_PlaneInfo oInfo = oBuffer.RequireRows();
    roTrial.BeginQuestion();
    if (oInfo.auiPitch[0] == oInfo.auiWidth[0])
        roTrial.Fail("a pitch equal to the width: unless the rows have no padding, the card is slanted");
    roTrial.Pass(AS_EXPECTED);
}

void TryRows(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    const Buffer oBuffer(oDevice);
    oBuffer.RequireRows();
    roTrial.BeginQuestion();
    Access oAccess(oBuffer);
    for (const bool bInverted : {false, true})
    {
        roTrial.At("reading and writing the plane", PLANE_TIME_LIMIT);
        const Pixels auiBefore = ReadPlane(oAccess);
        DrawPattern(oAccess, bInverted);
        const std::string strFault = CompareWithPattern(oAccess, bInverted, auiBefore);
        if (!strFault.empty())
            roTrial.Fail(strFault);
    }
    oAccess.End();
    roTrial.Pass(AS_EXPECTED);
}

SDrawn DrawOnce(const Buffer& roBuffer, bool bInverted)
{
    Access oAccess(roBuffer);
    roBuffer.m_roDevice.m_roTrial.At("reading and writing the plane", PLANE_TIME_LIMIT);
    SDrawn oDrawn = {bInverted, oAccess.m_auiPlanes[0], ReadPlane(oAccess)};
    DrawPattern(oAccess, bInverted);
    oAccess.End();
    return oDrawn;
}

KUINTPTR CompareOnce(const Buffer& roBuffer, const SDrawn& roDrawn)
{
    Trial& roTrial = roBuffer.m_roDevice.m_roTrial;
    Access oAccess(roBuffer);
    roTrial.At("reading the plane in another access", PLANE_TIME_LIMIT);
    const std::string strFault = CompareWithPattern(oAccess, roDrawn.bInverted, roDrawn.auiBefore);
    if (!strFault.empty())
        roTrial.Fail(strFault);
    oAccess.End();
    return oAccess.m_auiPlanes[0];
}

void TrySecondAccess(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    const Buffer oBuffer(oDevice);
    const SDrawn oDrawn = DrawOnce(oBuffer, false);
    roTrial.BeginQuestion();
    const KUINTPTR uiSecond = CompareOnce(oBuffer, oDrawn);
    roTrial.Pass(oDrawn.uiPlane == uiSecond ? "at the same address" : "at another address");
}
}
