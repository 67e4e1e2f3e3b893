// Whether the outputs show a buffer, and belong to whoever shows it.
#include <memory>
#include <string>
#include <vector>

#include "DrawTries.h"
#include "TestCard.h"

namespace BoardCheck
{
namespace
{
// The buffer of an output's card.
std::unique_ptr<Buffer> MakeCard(Trial& roTrial, const Device& roDevice, KUINT32 uiOutput,
                                 const tagTVideo_VidParam& roVidParam)
{
    auto poBuffer = std::make_unique<Buffer>(roTrial, roDevice, roVidParam);
    RequireRows(roTrial, poBuffer->GetPlaneInfo(), roVidParam);
    Access oAccess(roTrial, *poBuffer);
    roTrial.At("reading and writing the plane", PLANE_TIME_LIMIT);
    DrawTestCard(oAccess.m_oInfo, oAccess.m_auiPlanes, uiOutput);
    oAccess.End();
    return poBuffer;
}
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
}
