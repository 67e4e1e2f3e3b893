// A frame buffer in the card's memory that the processor fills: what a plane scans out.
#ifndef SCAN_BUFFER_H
#define SCAN_BUFFER_H

#include "Card.h"
#include "Picture.h"

namespace SoftwareBoard::Display
{
// The card has no room for another picture.
class NoMemoryOnCard : public BoardError
{
public:
    using BoardError::BoardError;
};

class ScanBuffer
{
public:
    // Black. Throws what a person should read.
    ScanBuffer(const Card& roCard, const SScanFormat& roFormat, uint32_t uiWidth, uint32_t uiHeight);
    ~ScanBuffer();
    ScanBuffer(const ScanBuffer&)            = delete;
    ScanBuffer& operator=(const ScanBuffer&) = delete;

    // Takes over what has changed since it was last filled.
    void Fill(const Picture& roPicture);

    uint32_t GetFrameBuffer() const { return m_uiFrameBuffer; }
    KUINT64  GetTime() const { return m_uiTime; }

private:
    void Free();

    const int          m_iFd;
    const SScanFormat& m_roFormat;
    uint32_t           m_uiHandle      = 0;
    uint32_t           m_uiPitch       = 0;
    uint64_t           m_uiSize        = 0;
    uint32_t           m_uiFrameBuffer = 0;
    void*              m_pMapped       = nullptr;
    KUINT64            m_uiTime        = 0;  // of the picture
};
}

#endif
