// The checks that draw: they try what a run relies on, each from the start.
#include <algorithm>
#include <string>

#include "BoardObjects.h"
#include "BoardRegisters.h"
#include "Checks.h"
#include "PlanePattern.h"
#include "TestCard.h"

namespace BoardCheck
{
namespace
{
constexpr std::chrono::seconds PLANE_TIME_LIMIT(60);  // memory of a board can be slow

std::string SizeText(KUINT32 uiWidth, KUINT32 uiHeight)
{
    return std::to_string(uiWidth) + " x " + std::to_string(uiHeight);
}

void TryBuffer(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    roTrial.BeginQuestion();
    Buffer oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    oBuffer.Destroy();
    roTrial.Hold(AS_EXPECTED);
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
    roTrial.BeginQuestion();
    if (oInfo.auiPitch[0] == oInfo.auiWidth[0] || oInfo.auiPitchInBytes[0] == oInfo.auiWidth[0])
        roTrial.End("a pitch equal to the width: unless the rows have no padding, the card is slanted");
    roTrial.Hold(AS_EXPECTED);
}

// Ends the trial if the rows of plane 0 are not safe to be written.
void RequireRows(Trial& roTrial, const tagTBuffer_PlaneInfo& roInfo, const tagTVideo_VidParam& roVidParam)
{
    const std::string strFault = FindPlaneFault(roInfo, roVidParam);
    if (!strFault.empty())
        roTrial.End(strFault);
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
        roTrial.At("the memory of the plane", PLANE_TIME_LIMIT);
        const Pixels auiBefore = ReadPlane(oAccess);
        DrawPattern(oAccess, bInverted);
        const std::string strFault = CompareWithPattern(oAccess, bInverted, auiBefore);
        if (!strFault.empty())
            roTrial.End(strFault);
    }
    oAccess.End();
    roTrial.Hold(AS_EXPECTED);
}

// Draws a pattern in one access and compares it in the next. Returns whether the address is the same.
bool DrawAndCompare(Trial& roTrial, const Buffer& roBuffer, const tagTVideo_VidParam& roVidParam)
{
    RequireRows(roTrial, roBuffer.GetPlaneInfo(), roVidParam);
    Access oFirst(roTrial, roBuffer);
    roTrial.At("the memory of the plane", PLANE_TIME_LIMIT);
    const Pixels auiBefore = ReadPlane(oFirst);
    DrawPattern(oFirst, false);
    oFirst.End();

    roTrial.BeginQuestion();
    Access oSecond(roTrial, roBuffer);
    roTrial.At("the memory of the plane in a second access", PLANE_TIME_LIMIT);
    const std::string strFault = CompareWithPattern(oSecond, false, auiBefore);
    if (!strFault.empty())
        roTrial.End(strFault);
    oSecond.End();
    return oFirst.m_auiPlanes[0] == oSecond.m_auiPlanes[0];
}

void TrySecondAccess(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    const Buffer oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    const bool   bSame = DrawAndCompare(roTrial, oBuffer, roInput.roRequest.oVidParam);
    roTrial.Hold(bSame ? "at the same address" : "at another address");
}

void TryEnable(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput.uiDevice);
    const Buffer  oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    const KUINT32 uiCount = CountOutputs(roTrial, oDevice);
    if (uiCount == 0)
        roTrial.End("no outputs");
    roTrial.BeginQuestion();
    Outputs aoOutputs;
    for (KUINT32 uiOutput = 0; uiOutput < uiCount; ++uiOutput)
    {
        aoOutputs.push_back(std::make_unique<Output>(roTrial, oDevice, uiOutput));
        aoOutputs.back()->Enable(roInput.roRequest.oVidParam, oBuffer);
    }
    roTrial.Hold(std::to_string(uiCount) + (uiCount == 1 ? " output" : " outputs"));
}

void TryRelease(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    const Buffer oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    Output       oOutput(roTrial, oDevice, 0);
    oOutput.Enable(roInput.roRequest.oVidParam, oBuffer);
    roTrial.BeginQuestion();
    oOutput.Release();
    roTrial.Hold(AS_EXPECTED);
}

void TryDrawing(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput.uiDevice);
    const Buffer  oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    const Outputs aoOutputs = ShowOnEveryOutput(roTrial, oDevice, roInput.roRequest.oVidParam, oBuffer);
    roTrial.BeginQuestion();
    DrawAndCompare(roTrial, oBuffer, roInput.roRequest.oVidParam);
    roTrial.Hold(AS_EXPECTED);
}

void HoldOutputs(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput.uiDevice);
    const Buffer  oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    const Outputs aoOutputs = ShowOnEveryOutput(roTrial, oDevice, roInput.roRequest.oVidParam, oBuffer);
    roTrial.WaitForOther();
}

void TryBusy(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput.uiDevice);
    const Buffer  oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    const KUINT32 uiCount = CountOutputs(roTrial, oDevice);
    roTrial.BeginQuestion();
    for (KUINT32 uiOutput = 0; uiOutput < uiCount; ++uiOutput)
    {
        Output        oOutput(roTrial, oDevice, uiOutput);
        const TStatus eStatus = oOutput.TryEnable(roInput.roRequest.oVidParam, oBuffer);
        if (eStatus != TStatus_RESOURCES_BUSY)
            roTrial.End("output " + std::to_string(uiOutput) + ": " + roTrial.GetLastOperation() + " returned " +
                        DescribeStatus(eStatus));
    }
    roTrial.Hold(AS_EXPECTED);
}

void TryDisable(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput.uiDevice);
    const Buffer  oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    const Outputs aoOutputs = ShowOnEveryOutput(roTrial, oDevice, roInput.roRequest.oVidParam, oBuffer);
    roTrial.BeginQuestion();
    for (const auto& poOutput : aoOutputs)
        poOutput->Disable();
    roTrial.Hold(AS_EXPECTED);
}

void TryEnableAgain(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput.uiDevice);
    const Buffer  oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    const Outputs aoOutputs = ShowOnEveryOutput(roTrial, oDevice, roInput.roRequest.oVidParam, oBuffer);
    for (const auto& poOutput : aoOutputs)
        poOutput->Disable();
    roTrial.BeginQuestion();
    for (const auto& poOutput : aoOutputs)
        poOutput->Enable(roInput.roRequest.oVidParam, oBuffer);
    roTrial.Hold(AS_EXPECTED);
}

KUINT32 ReadRegister(Trial& roTrial, const Device& roDevice, KUINT32 uiRegister)
{
    KUINT32 uiValue = 0;
    roTrial.Check(TBoard_RegRead(roDevice.m_hDev, uiRegister, &uiValue));
    return uiValue;
}

// Gives a register back what it held.
class KeptRegister
{
public:
    KeptRegister(Trial& roTrial, const Device& roDevice)
        : m_roTrial(roTrial), m_hDev(roDevice.m_hDev), m_uiKept(ReadRegister(roTrial, roDevice, REG_PROGRESS_BAR_RUNNING))
    {
        m_roTrial.Tell("takes_register", m_uiKept);
    }
    ~KeptRegister()
    {
        try
        {
            if (TBoard_RegWrite(m_hDev, REG_PROGRESS_BAR_RUNNING, m_uiKept) >= TStatus_OK)
                m_roTrial.Tell("gives_register", m_uiKept);
        }
        catch (const TrialEnded&)
        {}
    }
    KeptRegister(const KeptRegister&)            = delete;
    KeptRegister& operator=(const KeptRegister&) = delete;

private:
    Trial&         m_roTrial;
    TDevice_Handle m_hDev;
    KUINT32        m_uiKept;
};

void TryRunningRegister(Trial& roTrial, const STrialInput& roInput)
{
    const Device       oDevice(roTrial, roInput.uiDevice);
    const KeptRegister oKept(roTrial, oDevice);
    roTrial.BeginQuestion();
    for (const KUINT32 uiWritten : {1u, 0u, 1u})
    {
        roTrial.Check(TBoard_RegWrite(oDevice.m_hDev, REG_PROGRESS_BAR_RUNNING, uiWritten));
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
    roTrial.BeginQuestion();
    const KUINT32      uiRunning = ReadRegister(roTrial, oDevice, REG_PROGRESS_BAR_RUNNING);
    RegPROGRESS_UPDATE oBefore   = {.dwValue = ReadRegister(roTrial, oDevice, REG_PROGRESS_UPDATE)};
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

void TryCard(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput.uiDevice);
    const KUINT32 uiCount = CountOutputs(roTrial, oDevice);
    if (uiCount == 0)
        roTrial.End("no outputs");
    std::vector<std::unique_ptr<Buffer>> aoBuffers;
    Outputs                              aoOutputs;
    for (KUINT32 uiOutput = 0; uiOutput < uiCount; ++uiOutput)
    {
        aoBuffers.push_back(std::make_unique<Buffer>(roTrial, oDevice, roInput.roRequest.oVidParam));
        RequireRows(roTrial, aoBuffers.back()->GetPlaneInfo(), roInput.roRequest.oVidParam);
        Access oAccess(roTrial, *aoBuffers.back());
        roTrial.At("the memory of the plane", PLANE_TIME_LIMIT);
        DrawTestCard(oAccess, uiOutput);
        oAccess.End();
        aoOutputs.push_back(std::make_unique<Output>(roTrial, oDevice, uiOutput));
        aoOutputs.back()->Enable(roInput.roRequest.oVidParam, *aoBuffers.back());
        aoOutputs.back()->Release();
        roTrial.BeginQuestion();  // all others at the same time
    }
    roTrial.Wait(std::chrono::seconds(roInput.roRequest.uiCardTimeS));
    roTrial.Hold("look at the outputs: the card says what it shows");
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
