// Whether the outputs show a buffer, and belong to whoever shows it.
#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "TestCard.h"
#include "Tries.h"

namespace BoardCheck
{
namespace
{
constexpr std::chrono::milliseconds BLINK_TIME(500);

// The buffer of an output's card.
std::unique_ptr<Buffer> MakeCard(const Device& roDevice, KUINT32 uiOutput)
{
    auto   poBuffer = std::make_unique<Buffer>(roDevice);
    Access oAccess(*poBuffer);
    roDevice.m_roTrial.At("reading and writing the plane", PLANE_TIME_LIMIT);
    DrawTestCard(oAccess.m_oInfo, oAccess.m_auiPlanes, uiOutput);
    oAccess.End();
    return poBuffer;
}

// Draws as a run does: in accesses that stay open.
void Blink(Trial& roTrial, const std::vector<std::unique_ptr<Buffer>>& roCards, std::chrono::seconds oTime)
{
    using Clock       = std::chrono::steady_clock;
    const auto oUntil = Clock::now() + oTime;

    std::vector<std::unique_ptr<Access>> aoAccesses;
    for (const auto& poCard : roCards)
        aoAccesses.push_back(std::make_unique<Access>(*poCard));
    for (bool bLit = true; Clock::now() < oUntil; bLit = !bLit)
    {
        for (const auto& poAccess : aoAccesses)
            DrawBlinkingSquare(poAccess->m_oInfo, poAccess->m_auiPlanes, bLit);
        roTrial.Wait(std::min(BLINK_TIME, std::chrono::ceil<std::chrono::milliseconds>(oUntil - Clock::now())));
    }
    for (const auto& poAccess : aoAccesses)
        poAccess->End();
}
}

void TryEnable(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    const Buffer oBuffer(oDevice);
    oDevice.RequireOutputs();
    roTrial.BeginQuestion();
    const Outputs aoOutputs = EnableEveryOutput(oBuffer);
    roTrial.Pass(std::to_string(aoOutputs.size()) + (aoOutputs.size() == 1 ? " output" : " outputs"));
}

void TryRelease(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput);
    const Buffer  oBuffer(oDevice);
    const Outputs aoOutputs = EnableEveryOutput(oBuffer);
    roTrial.BeginQuestion();
    for (const auto& poOutput : aoOutputs)
        poOutput->Release();
    roTrial.Pass(AS_EXPECTED);
}

void TryDrawing(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    const Buffer oBuffer(oDevice);
    CompareOnce(oBuffer, DrawOnce(oBuffer, false));
    const Outputs aoOutputs = ShowOnEveryOutput(oBuffer);
    roTrial.BeginQuestion();
    CompareOnce(oBuffer, DrawOnce(oBuffer, true));
    roTrial.Pass(AS_EXPECTED);
}

void HoldOutputs(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput);
    const Buffer  oBuffer(oDevice);
    const Outputs aoOutputs = ShowOnEveryOutput(oBuffer);
    roTrial.WaitForOther();
}

void TryBusy(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput);
    const Buffer  oBuffer(oDevice);
    const KUINT32 uiCount = oDevice.RequireOutputs();
    roTrial.BeginQuestion();
    for (KUINT32 uiOutput = 0; uiOutput < uiCount; ++uiOutput)
    {
        Output        oOutput(oDevice, uiOutput);
        const TStatus eStatus = oOutput.TryEnable(oBuffer);
        if (eStatus != TStatus_RESOURCES_BUSY)
            roTrial.Fail("output " + std::to_string(uiOutput) + ": " + roTrial.GetLastOperation() + " returned " +
                         DescribeStatus(eStatus));
    }
    roTrial.Pass(AS_EXPECTED);
}

void TryDisable(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput);
    const Buffer  oBuffer(oDevice);
    const Outputs aoOutputs = ShowOnEveryOutput(oBuffer);
    roTrial.BeginQuestion();
    for (const auto& poOutput : aoOutputs)
        poOutput->Disable();
    roTrial.Pass(AS_EXPECTED);
}

void TryEnableAgain(Trial& roTrial, const STrialInput& roInput)
{
    const Device  oDevice(roTrial, roInput);
    const Buffer  oBuffer(oDevice);
    const Outputs aoOutputs = ShowOnEveryOutput(oBuffer);
    for (const auto& poOutput : aoOutputs)
        poOutput->Disable();
    roTrial.BeginQuestion();
    for (const auto& poOutput : aoOutputs)
        poOutput->Enable(oBuffer);
    roTrial.Pass(AS_EXPECTED);
}

void TryCard(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);

    std::vector<std::unique_ptr<Buffer>> aoCards;
    aoCards.push_back(MakeCard(oDevice, 0));
    // Whether the outputs can be enabled, and enabled again, is asked by other checks.
    size_t uiOutputs = 0;
    for (int i = 0; i < 2; ++i)
        uiOutputs = ShowOnEveryOutput(*aoCards[0]).size();

    roTrial.BeginQuestion();
    Outputs aoOutputs;
    for (KUINT32 uiOutput = 0; uiOutput < uiOutputs; ++uiOutput)
    {
        if (uiOutput > 0)
            aoCards.push_back(MakeCard(oDevice, uiOutput));
        aoOutputs.push_back(std::make_unique<Output>(oDevice, uiOutput));
        aoOutputs.back()->Enable(*aoCards.back());
        aoOutputs.back()->Release();
    }
    Blink(roTrial, aoCards, std::chrono::seconds(roInput.roRequest.uiCardTimeS));
    roTrial.Pass("look at the outputs: the card says what it shows");
}

void TakeBackOutput(Trial& roTrial, const STrialInput& roInput, KUINT32 uiOutput)
{
    roTrial.IgnoreStop();
    const Device oDevice(roTrial, roInput);
    Output       oOutput(oDevice, uiOutput);
    oOutput.Disable();
    roTrial.Pass(AS_EXPECTED);
}
}
