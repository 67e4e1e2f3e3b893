#include "ConnectorOutput.h"

#include <utility>

#include "Refusal.h"

namespace SoftwareBoard::Display
{
FollowedScreen::FollowedScreen(Screen oScreen)
    : m_oCopy(std::move(oScreen)),
      m_oDrawing(m_oCopy.GetScreen().GetPixels().Get(), m_oCopy.GetScreen().GetOutput().iHolderPid)
{}

void FollowedScreen::Update()
try
{
    if (!m_strProblem.empty())
        return;
    if (m_oDrawing.MayHaveDrawn())
        m_uiLooksLeft = ScreenCopy::LOOKS;
    if (m_uiLooksLeft == 0)
        return;
    --m_uiLooksLeft;
    m_oCopy.Update();
}
catch (const BoardError& roError)
{
    m_strProblem = roError.what();
}

void ConnectorOutput::Connect(uint32_t uiConnector)
{
    Darken();
    Renew();
    m_uiConnector = uiConnector;
}

void ConnectorOutput::TakeUp(KUINT32 uiGeneration)
{
    m_ouiGeneration = uiGeneration;
    m_strProblem.clear();
}

void ConnectorOutput::Light(const SConnector& roConnector, uint32_t uiCrtc, const drmModeModeInfo& roMode,
                            std::shared_ptr<FollowedScreen> poScreen)
{
    const auto fLight = [&] {
        m_poScanout = std::make_unique<Scanout>(*m_poCard, roConnector, uiCrtc, roMode, poScreen->GetCopy());
    };
    try
    {
        fLight();
    }
    catch (const NoMemoryOnCard&)
    {
        if (m_poScanout == nullptr)
            throw;
        Darken();  // frees the memory of the present picture
        fLight();
    }
    m_poScreen = std::move(poScreen);
}

void ConnectorOutput::Darken()
{
    if (m_poScanout != nullptr)
        m_poCard->TurnOff(m_poScanout->GetCrtc());
    m_poScanout.reset();
    m_poScreen.reset();
}

std::optional<std::string> ConnectorOutput::Follow()
{
    if (m_poScanout == nullptr)
        return std::nullopt;
    std::string strProblem;
    try
    {
        if (m_poScreen->GetProblem().empty())
            m_poScanout->Show(m_poScreen->GetCopy());
        else
            strProblem = "keeps its last picture: " + m_poScreen->GetProblem();
    }
    catch (const Refusal& roRefusal)
    {
        strProblem = roRefusal.what();
    }
    if (std::exchange(m_strProblem, strProblem) == strProblem)
        return std::nullopt;
    return strProblem;
}

std::optional<uint64_t> ConnectorOutput::GetPeriodNs() const
{
    const bool bMayShowMore =
        m_poScanout != nullptr &&
        (!m_poScreen->IsFinished() || (m_poScreen->GetProblem().empty() && m_poScanout->IsBehind(m_poScreen->GetCopy())));
    if (!bMayShowMore)
        return std::nullopt;
    return m_poScanout->GetRefreshNs();
}
}
