// One connector that shows one picture with timings of its own: two buffers, of which the one that is not shown is brought
// up to date and flipped in at the vertical blank.
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
    // Tries the mode and sets it together with the picture. Throws why the card refuses, worded to follow the connector's
    // name; then the connector shows what it did.
    Scanout(Card& roCard, const SConnector& roConnector, uint32_t uiCrtc, const drmModeModeInfo& roMode,
            const ScreenCopy& roCopy);

    uint32_t GetCrtc() const { return m_uiCrtc; }
    uint64_t GetRefreshNs() const { return m_uiRefreshNs; }

    // The picture is newer than what is shown, or on its way.
    bool IsBehind(const ScreenCopy& roCopy) const { return roCopy.GetTime() != m_apoBuffers[0]->GetTime(); }

    // Flips the picture in when it is newer than what is shown and no flip is under way. Throws why the card refuses.
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
    std::array<std::unique_ptr<ScanBuffer>, 2> m_apoBuffers;  // the first one is shown
    KUINT64                                    m_uiFlip = 0;  // the last one
};
}

#endif
