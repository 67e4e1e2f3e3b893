#include "Scanout.h"

#include <algorithm>

#include "Refusal.h"

namespace SoftwareBoard::Display
{
namespace
{
struct SSetting
{
    uint32_t    uiObject;
    uint32_t    uiType;
    const char* pszProperty;
    uint64_t    uiValue;
};

// Zeros in the timing count as 1, so that nothing is divided by 0.
uint64_t RefreshNsOf(const drmModeModeInfo& ro)
{
    const uint64_t uiPixels = uint64_t{std::max<uint16_t>(ro.htotal, 1)} * std::max<uint16_t>(ro.vtotal, 1);
    return uiPixels * 1'000'000 / std::max<uint32_t>(ro.clock, 1);
}
}

Scanout::Scanout(Card& roCard, const SConnector& roConnector, uint32_t uiCrtc, const drmModeModeInfo& roMode,
                 const ScreenCopy& roCopy)
    : m_roCard(roCard), m_uiCrtc(uiCrtc), m_poPlane(roCard.FindPlane(uiCrtc)), m_uiRefreshNs(RefreshNsOf(roMode))
{
    const SScanFormat* const poFormat = m_poPlane != nullptr ? ChooseFormat(m_poPlane->auiFourCcs) : &CommonFormat();
    if (poFormat == nullptr)
        throw Refusal("has no format of 32-bit pixels");
    for (std::unique_ptr<ScanBuffer>& rpoBuffer : m_apoBuffers)
        rpoBuffer = std::make_unique<ScanBuffer>(roCard, *poFormat, roMode.hdisplay, roMode.vdisplay);
    m_apoBuffers[0]->Fill(roCopy);
    if (roCard.IsAtomic() && m_poPlane != nullptr)
        SetAtomic(roConnector.uiId, roMode);
    else
        SetLegacy(roConnector.uiId, roMode);
}

void Scanout::SetAtomic(uint32_t uiConnector, const drmModeModeInfo& roMode)
{
    uint32_t uiBlob = 0;
    CheckDrm(drmModeCreatePropertyBlob(m_roCard.GetFd(), &roMode, sizeof(roMode), &uiBlob), "refuses the mode");
    const auto fDestroy = [this](const uint32_t* pui) { drmModeDestroyPropertyBlob(m_roCard.GetFd(), *pui); };
    const std::unique_ptr<uint32_t, decltype(fDestroy)> poBlob(&uiBlob, fDestroy);

    const uint32_t uiPlane      = m_poPlane->uiId;
    const SSetting aoSettings[] = {
        {uiConnector, DRM_MODE_OBJECT_CONNECTOR, "CRTC_ID", m_uiCrtc},
        {m_uiCrtc, DRM_MODE_OBJECT_CRTC, "MODE_ID", uiBlob},
        {m_uiCrtc, DRM_MODE_OBJECT_CRTC, "ACTIVE", 1},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "FB_ID", m_apoBuffers[0]->GetFrameBuffer()},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "CRTC_ID", m_uiCrtc},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "SRC_X", 0},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "SRC_Y", 0},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "SRC_W", uint64_t{roMode.hdisplay} << 16},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "SRC_H", uint64_t{roMode.vdisplay} << 16},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "CRTC_X", 0},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "CRTC_Y", 0},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "CRTC_W", roMode.hdisplay},
        {uiPlane, DRM_MODE_OBJECT_PLANE, "CRTC_H", roMode.vdisplay},
    };
    const DrmAtomicRequest poRequest(drmModeAtomicAlloc());
    for (const SSetting& ro : aoSettings)
    {
        const uint32_t uiProperty = m_roCard.FindProperty(ro.uiObject, ro.uiType, ro.pszProperty);
        if (drmModeAtomicAddProperty(poRequest.get(), ro.uiObject, uiProperty, ro.uiValue) < 0)
            throw std::bad_alloc();
    }
    const int iFd = m_roCard.GetFd();
    CheckDrm(drmModeAtomicCommit(iFd, poRequest.get(), DRM_MODE_ATOMIC_TEST_ONLY | DRM_MODE_ATOMIC_ALLOW_MODESET, nullptr),
             "refuses the mode");
    CheckDrm(drmModeAtomicCommit(iFd, poRequest.get(), DRM_MODE_ATOMIC_ALLOW_MODESET, nullptr), "did not set the mode");
    m_uiFrameBufferProperty = m_roCard.FindProperty(uiPlane, DRM_MODE_OBJECT_PLANE, "FB_ID");
}

void Scanout::SetLegacy(uint32_t uiConnector, drmModeModeInfo oMode)
{
    CheckDrm(drmModeSetCrtc(m_roCard.GetFd(), m_uiCrtc, m_apoBuffers[0]->GetFrameBuffer(), 0, 0, &uiConnector, 1, &oMode),
             "refuses the mode");
}

int Scanout::Flip(uint32_t uiFrameBuffer, void* pFlip) const
{
    const int iFd = m_roCard.GetFd();
    if (m_uiFrameBufferProperty == 0)
        return drmModePageFlip(iFd, m_uiCrtc, uiFrameBuffer, DRM_MODE_PAGE_FLIP_EVENT, pFlip);
    const DrmAtomicRequest poRequest(drmModeAtomicAlloc());
    if (drmModeAtomicAddProperty(poRequest.get(), m_poPlane->uiId, m_uiFrameBufferProperty, uiFrameBuffer) < 0)
        throw std::bad_alloc();
    return drmModeAtomicCommit(iFd, poRequest.get(), DRM_MODE_PAGE_FLIP_EVENT | DRM_MODE_ATOMIC_NONBLOCK, pFlip);
}

void Scanout::Show(const ScreenCopy& roCopy)
{
    if (m_roCard.IsFlipping(m_uiFlip) || !IsBehind(roCopy))
        return;
    m_apoBuffers[1]->Fill(roCopy);
    const KUINT64 uiFlip  = m_roCard.NextFlip();
    const int     iResult = Flip(m_apoBuffers[1]->GetFrameBuffer(), reinterpret_cast<void*>(uiFlip));
    if (iResult == -EBUSY)  // the last flip is under way: the next call tries again
        return;
    CheckDrm(iResult, "takes no new picture");
    m_roCard.BeginFlip(uiFlip);
    m_uiFlip = uiFlip;
    std::swap(m_apoBuffers[0], m_apoBuffers[1]);
}
}
