// One output of the board on its connector of the card. It is dark, or lit with a screen of the board that it follows; what
// the card or the board refuses leaves it as it was.
#ifndef DISPLAY_OUTPUT_H
#define DISPLAY_OUTPUT_H

#include <memory>
#include <optional>
#include <string>

#include "DrawingProcess.h"
#include "Scanout.h"

namespace SoftwareBoard::Display
{
// A screen of the board that outputs show, and whether somebody may still draw into it.
class FollowedScreen
{
public:
    // Throws BoardError when the screen cannot be read.
    explicit FollowedScreen(Screen oScreen);

    const ScreenCopy& GetCopy() const { return m_oCopy; }

    // Reads the screen again if somebody may have drawn. When it cannot be read any more, the copy stays as it is.
    void Update();

    // Why the screen cannot be read any more; empty while it can.
    const std::string& GetProblem() const { return m_strProblem; }

    // Nobody can draw any more.
    bool IsFinished() const { return m_oDrawing.IsGone(); }

private:
    ScreenCopy     m_oCopy;
    DrawingProcess m_oDrawing;
    std::string    m_strProblem;
};

class DisplayOutput
{
public:
    explicit DisplayOutput(Card& roCard) : m_poCard(&roCard) {}

    // The connector's id, 0 for none. Another connector begins dark, and with nothing taken up.
    uint32_t GetConnector() const { return m_uiConnector; }
    void     Connect(uint32_t uiConnector);

    // Which generation of the board's output was taken up. After Renew that is to be done anew.
    bool    HasTakenUp(KUINT32 uiGeneration) const { return m_ouiGeneration == uiGeneration; }
    KUINT32 GetGeneration() const { return m_ouiGeneration.value_or(0); }
    void    TakeUp(KUINT32 uiGeneration);
    void    Renew() { m_ouiGeneration.reset(); }

    // The CRTC that feeds the connector; 0 while it is dark.
    uint32_t GetCrtc() const { return m_poScanout != nullptr ? m_poScanout->GetCrtc() : 0; }

    // The screen that it shows; null while it is dark.
    const std::shared_ptr<FollowedScreen>& GetScreen() const { return m_poScreen; }

    // Shows the screen in this mode. Throws Refusal; the connector then shows what it did, or is dark where the card had no
    // memory for both.
    void Light(const SConnector& roConnector, uint32_t uiCrtc, const drmModeModeInfo& roMode,
               std::shared_ptr<FollowedScreen> poScreen);
    void Darken();

    // Brings the display up to date. Returns news only: why it cannot follow the screen any more, in words that follow the
    // connector's name, or an empty text when it can again.
    std::optional<std::string> Follow();

    // How often it wants to be called to follow, in nanoseconds; nothing when nothing can change.
    std::optional<uint64_t> GetPeriodNs() const;

private:
    Card*                           m_poCard;
    uint32_t                        m_uiConnector = 0;
    std::optional<KUINT32>          m_ouiGeneration;
    std::string                     m_strProblem;  // as Follow found it
    std::shared_ptr<FollowedScreen> m_poScreen;
    std::unique_ptr<Scanout>        m_poScanout;
};
}

#endif
