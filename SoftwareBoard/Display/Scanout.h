// Shows one picture on one connector, in one mode. Has two buffers: the one that is not shown is brought up to date and
// flipped in at the vertical blank.
#ifndef SCANOUT_H
#define SCANOUT_H

#include <array>
#include <memory>

#include "DisplayMode.h"
#include "ScanBuffer.h"

namespace SoftwareBoard::Display
{
class Scanout
{
public:
    // Tries the mode and sets it together with the picture. Throws Refusal if the card refuses; the connector then shows
    // what it showed before.
    Scanout(Card& roCard, const SConnector& roConnector, uint32_t uiCrtc, const drmModeModeInfo& roMode,
            const ScreenCopy& roCopy);

    uint32_t GetCrtc() const { return m_uiCrtc; }
    uint64_t GetRefreshNs() const { return m_uiRefreshNs; }

    // Whether the picture is newer than the one that is shown or being flipped in.
    bool IsBehind(const ScreenCopy& roCopy) const { return roCopy.GetTime() != m_apoBuffers[0]->GetTime(); }

    // Flips the picture in if it is newer than what is shown and no flip is under way. Throws Refusal if the card refuses.
    void Show(const ScreenCopy& roCopy);

private:
    void SetAtomic(uint32_t uiConnector, const drmModeModeInfo& roMode);
    void SetLegacy(uint32_t uiConnector, drmModeModeInfo oMode);
    int  Flip(uint32_t uiFrameBuffer, void* pFlip) const;

    Card&                                      m_roCard;
    const uint32_t                             m_uiCrtc;
    const SPlane*                              m_poPlane;
    const uint64_t                             m_uiRefreshNs;
    uint32_t                                   m_uiFrameBufferProperty = 0;
    std::array<std::unique_ptr<ScanBuffer>, 2> m_apoBuffers;  // the first one is shown or being flipped in
    KUINT64                                    m_uiFlip = 0;  // number of the last flip
};
}

#endif
