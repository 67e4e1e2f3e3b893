// One output of the board on its connector of the card. It is dark, or it shows a screen of the board and follows what is
// drawn there.
#ifndef CONNECTOR_OUTPUT_H
#define CONNECTOR_OUTPUT_H

#include <memory>
#include <optional>
#include <string>

#include "DrawingProcess.h"
#include "Scanout.h"

namespace SoftwareBoard::Display
{
// A screen of the board that one or more outputs show. Knows whether somebody may still draw into it.
class FollowedScreen
{
public:
    // Throws BoardError if the screen cannot be read.
    explicit FollowedScreen(Screen oScreen);

    const ScreenCopy& GetCopy() const { return m_oCopy; }

    // Looks at the screen again if somebody may have drawn what no look has found yet. If it cannot be read any more, the
    // copy stays as it is.
    void Update();

    // Why the screen cannot be read any more; empty while it can.
    const std::string& GetProblem() const { return m_strProblem; }

    // Whether nobody can draw any more, and the copy has all that was drawn.
    bool IsFinished() const { return m_oDrawing.IsGone() && (m_uiLooksLeft == 0 || !m_strProblem.empty()); }

private:
    ScreenCopy     m_oCopy;
    DrawingProcess m_oDrawing;
    size_t         m_uiLooksLeft = 0;  // until nothing that was drawn is missed
    std::string    m_strProblem;
};

class ConnectorOutput
{
public:
    explicit ConnectorOutput(Card& roCard) : m_poCard(&roCard) {}

    // The connector's id, 0 for none. Connect turns the output dark and calls Renew.
    uint32_t GetConnector() const { return m_uiConnector; }
    void     Connect(uint32_t uiConnector);

    // The generation of the board's output that was taken up last. Renew forgets it, so that it is taken up again.
    bool    HasTakenUp(KUINT32 uiGeneration) const { return m_ouiGeneration == uiGeneration; }
    KUINT32 GetGeneration() const { return m_ouiGeneration.value_or(0); }
    void    TakeUp(KUINT32 uiGeneration);
    void    Renew() { m_ouiGeneration.reset(); }

    // The CRTC that feeds the connector; 0 while the output is dark.
    uint32_t GetCrtc() const { return m_poScanout != nullptr ? m_poScanout->GetCrtc() : 0; }

    // The screen that the output shows; null while it is dark.
    const std::shared_ptr<FollowedScreen>& GetScreen() const { return m_poScreen; }

    // Shows the screen in this mode. Throws Refusal if the card refuses. The connector then shows what it showed before, or
    // it is dark if the card had no memory for both pictures.
    void Light(const SConnector& roConnector, uint32_t uiCrtc, const drmModeModeInfo& roMode,
               std::shared_ptr<FollowedScreen> poScreen);
    void Darken();

    // Brings the display up to date with the copy of its screen. Returns a value only if something changed: why it cannot
    // follow the screen any more, as a text to follow the connector's name, or an empty text if it can again.
    std::optional<std::string> Follow();

    // How often Follow should be called, in nanoseconds; nothing if the picture cannot change.
    std::optional<uint64_t> GetPeriodNs() const;

private:
    Card*                           m_poCard;
    uint32_t                        m_uiConnector = 0;
    std::optional<KUINT32>          m_ouiGeneration;
    std::string                     m_strProblem;  // what Follow found last
    std::shared_ptr<FollowedScreen> m_poScreen;
    std::unique_ptr<Scanout>        m_poScanout;
};
}

#endif
