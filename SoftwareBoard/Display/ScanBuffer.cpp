#include "ScanBuffer.h"

#include <sys/mman.h>

#include "Refusal.h"

namespace SoftwareBoard::Display
{
ScanBuffer::ScanBuffer(const Card& roCard, const SScanFormat& roFormat, uint32_t uiWidth, uint32_t uiHeight)
    : m_iFd(roCard.GetFd()), m_roFormat(roFormat)
{
    CheckDrm<NoMemoryOnCard>(drmModeCreateDumbBuffer(m_iFd, uiWidth, uiHeight, 32, 0, &m_uiHandle, &m_uiPitch, &m_uiSize),
                             "has no memory for the picture");
    try
    {
        const uint32_t auiHandles[4] = {m_uiHandle};
        const uint32_t auiPitches[4] = {m_uiPitch};
        const uint32_t auiOffsets[4] = {};
        CheckDrm(drmModeAddFB2(m_iFd, uiWidth, uiHeight, roFormat.uiFourCc, auiHandles, auiPitches, auiOffsets,
                               &m_uiFrameBuffer, 0),
                 "takes no picture of this size");
        uint64_t uiOffset = 0;
        CheckDrm(drmModeMapDumbBuffer(m_iFd, m_uiHandle, &uiOffset), "does not show its memory");
        m_pMapped = mmap(nullptr, m_uiSize, PROT_READ | PROT_WRITE, MAP_SHARED, m_iFd, static_cast<off_t>(uiOffset));
        CheckDrm(m_pMapped == MAP_FAILED ? -1 : 0, "does not show its memory");
    }
    catch (...)
    {
        Free();
        throw;
    }
    const std::vector<KUINT32> auiBlack(uiWidth);
    for (uint32_t uiRow = 0; uiRow < uiHeight; ++uiRow)
        CopyRow(m_roFormat, auiBlack.data(),
                reinterpret_cast<KUINT32*>(static_cast<KUINT8*>(m_pMapped) + size_t{uiRow} * m_uiPitch), uiWidth);
}

ScanBuffer::~ScanBuffer()
{
    munmap(m_pMapped, m_uiSize);
    Free();
}

void ScanBuffer::Free()
{
    if (m_uiFrameBuffer != 0)
        drmModeRmFB(m_iFd, m_uiFrameBuffer);
    drmModeDestroyDumbBuffer(m_iFd, m_uiHandle);
}

void ScanBuffer::Fill(const ScreenCopy& roCopy)
{
    roCopy.CopyChanges(m_uiTime, m_roFormat, static_cast<KUINT8*>(m_pMapped), m_uiPitch);
    m_uiTime = roCopy.GetTime();
}
}
