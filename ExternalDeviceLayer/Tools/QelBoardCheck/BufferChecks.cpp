// Whether a buffer can be drawn on.
#include <string>

#include "DrawTries.h"

namespace BoardCheck
{
namespace
{
std::string SizeText(KUINT32 uiWidth, KUINT32 uiHeight)
{
    return std::to_string(uiWidth) + " x " + std::to_string(uiHeight);
}

// What is wrong with plane 0, or nothing.
std::string FindPlaneFault(const tagTBuffer_PlaneInfo& roInfo, const tagTVideo_VidParam& roVidParam)
{
    const KUINT32 uiWidth = roInfo.auiWidth[0], uiHeight = roInfo.auiHeight[0], uiPitch = roInfo.auiPitch[0];
    if (uiWidth != roVidParam.uiHActive || uiHeight != roVidParam.uiVActive)
        return "a size of " + SizeText(uiWidth, uiHeight) + " instead of " +
               SizeText(roVidParam.uiHActive, roVidParam.uiVActive);
    if (KUINT64{roInfo.auiWidthInBytes[0]} != KUINT64{uiWidth} * sizeof(KUINT32))
        return "a width of " + std::to_string(uiWidth) + " pixels and of " + std::to_string(roInfo.auiWidthInBytes[0]) +
               " bytes";
    if (KUINT64{roInfo.auiPitchInBytes[0]} != KUINT64{uiPitch} * sizeof(KUINT32))
        return "a pitch of " + std::to_string(uiPitch) + " pixels and of " + std::to_string(roInfo.auiPitchInBytes[0]) +
               " bytes";
    if (uiPitch < uiWidth)
        return "a pitch of " + std::to_string(uiPitch) + " pixels, less than the width";
    return "";
}
}

void RequireRows(Trial& roTrial, const tagTBuffer_PlaneInfo& roInfo, const tagTVideo_VidParam& roVidParam)
{
    const std::string strFault = FindPlaneFault(roInfo, roVidParam);
    if (!strFault.empty())
        roTrial.End(strFault);
}

void TryBuffer(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    roTrial.BeginQuestion();
    Buffer oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    oBuffer.Destroy();
    roTrial.Hold(AS_EXPECTED);
}

void TryPlanes(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    const Buffer oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    roTrial.BeginQuestion();
    const tagTBuffer_PlaneInfo oInfo    = oBuffer.GetPlaneInfo();
    const std::string          strFault = FindPlaneFault(oInfo, roInput.roRequest.oVidParam);
    if (!strFault.empty())
        roTrial.End(strFault);
    roTrial.Hold(SizeText(oInfo.auiWidth[0], oInfo.auiHeight[0]) + ", pitch " + std::to_string(oInfo.auiPitch[0]));
}

void TryPitch(Trial& roTrial, const STrialInput& roInput)
{
    const Device               oDevice(roTrial, roInput.uiDevice);
    const Buffer               oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    const tagTBuffer_PlaneInfo oInfo = oBuffer.GetPlaneInfo();
    RequireRows(roTrial, oInfo, roInput.roRequest.oVidParam);
    roTrial.BeginQuestion();
    if (oInfo.auiPitch[0] == oInfo.auiWidth[0])
        roTrial.End("a pitch equal to the width: unless the rows have no padding, the card is slanted");
    roTrial.Hold(AS_EXPECTED);
}

void TryRows(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    const Buffer oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    RequireRows(roTrial, oBuffer.GetPlaneInfo(), roInput.roRequest.oVidParam);
    roTrial.BeginQuestion();
    Access oAccess(roTrial, oBuffer);
    for (const bool bInverted : {false, true})
    {
        roTrial.At("reading and writing the plane", PLANE_TIME_LIMIT);
        const Pixels auiBefore = ReadPlane(oAccess);
        DrawPattern(oAccess, bInverted);
        const std::string strFault = CompareWithPattern(oAccess, bInverted, auiBefore);
        if (!strFault.empty())
            roTrial.End(strFault);
    }
    oAccess.End();
    roTrial.Hold(AS_EXPECTED);
}

Pixels DrawOnce(Trial& roTrial, const Buffer& roBuffer, bool bInverted, KUINTPTR& ruiPlane)
{
    Access oAccess(roTrial, roBuffer);
    roTrial.At("reading and writing the plane", PLANE_TIME_LIMIT);
    Pixels auiBefore = ReadPlane(oAccess);
    DrawPattern(oAccess, bInverted);
    ruiPlane = oAccess.m_auiPlanes[0];
    oAccess.End();
    return auiBefore;
}

KUINTPTR CompareOnce(Trial& roTrial, const Buffer& roBuffer, bool bInverted, const Pixels& roBefore)
{
    Access oAccess(roTrial, roBuffer);
    roTrial.At("reading the plane in another access", PLANE_TIME_LIMIT);
    const std::string strFault = CompareWithPattern(oAccess, bInverted, roBefore);
    if (!strFault.empty())
        roTrial.End(strFault);
    oAccess.End();
    return oAccess.m_auiPlanes[0];
}

void TrySecondAccess(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    const Buffer oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    RequireRows(roTrial, oBuffer.GetPlaneInfo(), roInput.roRequest.oVidParam);
    KUINTPTR     uiFirst   = 0;
    const Pixels auiBefore = DrawOnce(roTrial, oBuffer, false, uiFirst);
    roTrial.BeginQuestion();
    const KUINTPTR uiSecond = CompareOnce(roTrial, oBuffer, false, auiBefore);
    roTrial.Hold(uiFirst == uiSecond ? "at the same address" : "at another address");
}
}
