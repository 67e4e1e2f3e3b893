// A frame buffer in the card's memory. The processor fills it, and a plane scans it out.
#ifndef SCAN_BUFFER_H
#define SCAN_BUFFER_H

#include "Card.h"
#include "ScreenCopy.h"

namespace SoftwareBoard::Display
{
class ScanBuffer
{
public:
    // Makes a black buffer; the sizes are in pixels. Throws Refusal, or NoMemoryOnCard if the card has no memory for it.
    ScanBuffer(const Card& roCard, const SScanFormat& roFormat, uint32_t uiWidth, uint32_t uiHeight);
    ~ScanBuffer();
    ScanBuffer(const ScanBuffer&)            = delete;
    ScanBuffer& operator=(const ScanBuffer&) = delete;

    // Copies the rows that have changed since the last call.
    void Fill(const ScreenCopy& roCopy);

    uint32_t GetFrameBuffer() const { return m_uiFrameBuffer; }
    KUINT64  GetTime() const { return m_uiTime; }  // GetTime() of the copy at the last Fill

private:
    void Free();

    const int          m_iFd;
    const SScanFormat& m_roFormat;
    uint32_t           m_uiHandle      = 0;
    uint32_t           m_uiPitch       = 0;
    uint64_t           m_uiSize        = 0;
    uint32_t           m_uiFrameBuffer = 0;
    void*              m_pMapped       = nullptr;
    KUINT64            m_uiTime        = 0;
};
}

#endif
