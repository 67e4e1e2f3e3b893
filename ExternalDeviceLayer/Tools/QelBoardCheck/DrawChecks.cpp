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

// Ends the trial if the rows of plane 0 are not safe to be written.
void RequireRows(Trial& roTrial, const tagTBuffer_PlaneInfo& roInfo, const tagTVideo_VidParam& roVidParam)
{
    const std::string strFault = FindPlaneFault(roInfo, roVidParam);
    if (!strFault.empty())
        roTrial.End(strFault);
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

// Draws a pattern in an access of its own. Returns what the plane held before; its address goes to ruiPlane.
Pixels DrawOnce(Trial& roTrial, const Buffer& roBuffer, bool bInverted, KUINTPTR& ruiPlane)
{
    Access oAccess(roTrial, roBuffer);
    roTrial.At("the memory of the plane", PLANE_TIME_LIMIT);
    Pixels auiBefore = ReadPlane(oAccess);
    DrawPattern(oAccess, bInverted);
    ruiPlane = oAccess.m_auiPlanes[0];
    oAccess.End();
    return auiBefore;
}

// Ends the trial unless an access of its own shows the pattern. Returns the address of the plane.
KUINTPTR CompareOnce(Trial& roTrial, const Buffer& roBuffer, bool bInverted, const Pixels& roBefore)
{
    Access oAccess(roTrial, roBuffer);
    roTrial.At("the memory of the plane in another access", PLANE_TIME_LIMIT);
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

// Every output shows the buffer, and its handle is kept.
Outputs EnableEveryOutput(Trial& roTrial, const Device& roDevice, const tagTVideo_VidParam& roVidParam,
                          const Buffer& roBuffer)
{
    Outputs       aoOutputs;
    const KUINT32 uiCount = CountOutputs(roTrial, roDevice);
    for (KUINT32 uiOutput = 0; uiOutput < uiCount; ++uiOutput)
    {
        aoOutputs.push_back(std::make_unique<Output>(roTrial, roDevice, uiOutput));
        aoOutputs.back()->Enable(roVidParam, roBuffer);
    }
    return aoOutputs;
}

void TryEnable(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    const Buffer oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    if (CountOutputs(roTrial, oDevice) == 0)
        roTrial.End("no outputs");
    roTrial.BeginQuestion();
    const Outputs aoOutputs = EnableEveryOutput(roTrial, oDevice, roInput.roRequest.oVidParam, oBuffer);
    roTrial.Hold(std::to_string(aoOutputs.size()) + (aoOutputs.size() == 1 ? " output" : " outputs"));
}

void TryRelease(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput.uiDevice);
    const Buffer  oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    const Outputs aoOutputs = EnableEveryOutput(roTrial, oDevice, roInput.roRequest.oVidParam, oBuffer);
    if (aoOutputs.empty())
        roTrial.End("no outputs");
    roTrial.BeginQuestion();
    for (const auto& poOutput : aoOutputs)
        poOutput->Release();
    roTrial.Hold(AS_EXPECTED);
}

void TryDrawing(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    const Buffer oBuffer(roTrial, oDevice, roInput.roRequest.oVidParam);
    RequireRows(roTrial, oBuffer.GetPlaneInfo(), roInput.roRequest.oVidParam);
    KUINTPTR uiPlane = 0;
    CompareOnce(roTrial, oBuffer, false, DrawOnce(roTrial, oBuffer, false, uiPlane));
    const Outputs aoOutputs = ShowOnEveryOutput(roTrial, oDevice, roInput.roRequest.oVidParam, oBuffer);
    roTrial.BeginQuestion();
    CompareOnce(roTrial, oBuffer, true, DrawOnce(roTrial, oBuffer, true, uiPlane));
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

// The buffer of an output's card.
std::unique_ptr<Buffer> MakeCard(Trial& roTrial, const Device& roDevice, KUINT32 uiOutput,
                                 const tagTVideo_VidParam& roVidParam)
{
    auto poBuffer = std::make_unique<Buffer>(roTrial, roDevice, roVidParam);
    RequireRows(roTrial, poBuffer->GetPlaneInfo(), roVidParam);
    Access oAccess(roTrial, *poBuffer);
    roTrial.At("the memory of the plane", PLANE_TIME_LIMIT);
    DrawTestCard(oAccess, uiOutput);
    oAccess.End();
    return poBuffer;
}

void TryCard(Trial& roTrial, const STrialInput& roInput)
{
    const Device              oDevice(roTrial, roInput.uiDevice);
    const tagTVideo_VidParam& roVidParam = roInput.roRequest.oVidParam;

    std::vector<std::unique_ptr<Buffer>> aoCards;
    aoCards.push_back(MakeCard(roTrial, oDevice, 0, roVidParam));
    // Whether the outputs can be enabled, and enabled again, is asked by other checks.
    size_t uiOutputs = 0;
    for (int i = 0; i < 2; ++i)
        uiOutputs = ShowOnEveryOutput(roTrial, oDevice, roVidParam, *aoCards[0]).size();

    roTrial.BeginQuestion();
    Outputs aoOutputs;
    for (KUINT32 uiOutput = 0; uiOutput < uiOutputs; ++uiOutput)
    {
        if (uiOutput > 0)
            aoCards.push_back(MakeCard(roTrial, oDevice, uiOutput, roVidParam));
        aoOutputs.push_back(std::make_unique<Output>(roTrial, oDevice, uiOutput));
        aoOutputs.back()->Enable(roVidParam, *aoCards.back());
        aoOutputs.back()->Release();
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
