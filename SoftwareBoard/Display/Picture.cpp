#include "Picture.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "BoardError.h"
#include "PlaneLayout.h"

namespace SoftwareBoard::Display
{
namespace
{
// What is read at once: it stays in the processor's nearest caches while it is compared.
constexpr size_t uiPixelsAtOnce = 16384;
}

Picture::Picture(const SOutputRecord& roOutput, FileDescriptor oPixels) : m_oPixels(std::move(oPixels))
{
    const auto ooLayout = LayOutPlane(TPixelFormat_R8G8B8A8, roOutput.uiBufferWidth, roOutput.uiBufferHeight);
    m_uiWidth           = std::min(ooLayout->uiWidth, roOutput.oVidParam.uiHActive);
    m_uiHeight          = std::min(ooLayout->uiHeight, roOutput.oVidParam.uiVActive);
    m_uiFilePitch       = ooLayout->uiPitch;
    m_auiPixels.resize(m_uiWidth * m_uiHeight);
    m_auiChanged.resize(m_uiHeight);
    m_auiFromFile.resize(std::max(uiPixelsAtOnce, m_uiFilePitch));
}

bool Picture::IsOf(const SOutputRecord& roOutput, const FileDescriptor& roPixels) const
{
    struct stat oOurs  = {};
    struct stat oOther = {};
    return fstat(m_oPixels.Get(), &oOurs) == 0 && fstat(roPixels.Get(), &oOther) == 0 && oOurs.st_ino == oOther.st_ino &&
           oOurs.st_dev == oOther.st_dev && m_uiWidth == std::min(roOutput.uiBufferWidth, roOutput.oVidParam.uiHActive) &&
           m_uiHeight == std::min(roOutput.uiBufferHeight, roOutput.oVidParam.uiVActive);
}

void Picture::Update()
{
    const KUINT64 uiNow        = m_uiTime + 1;
    const size_t  uiRowsAtOnce = m_auiFromFile.size() / m_uiFilePitch;
    for (size_t uiFirst = 0; uiFirst < m_uiHeight; uiFirst += uiRowsAtOnce)
    {
        const size_t uiRows = std::min(uiRowsAtOnce, m_uiHeight - uiFirst);
        // Read, not mapped: a file that is cut meanwhile is an error here and would be a signal there.
        const size_t uiSize = uiRows * m_uiFilePitch * 4;
        if (pread(m_oPixels.Get(), m_auiFromFile.data(), uiSize, static_cast<off_t>(uiFirst * m_uiFilePitch * 4)) !=
            static_cast<ssize_t>(uiSize))
            throw BoardError("the pixels that it shows are cut short; enable it anew");
        for (size_t uiRow = 0; uiRow < uiRows; ++uiRow)
        {
            const KUINT32* const puiNew = m_auiFromFile.data() + uiRow * m_uiFilePitch;
            KUINT32* const       puiOld = m_auiPixels.data() + (uiFirst + uiRow) * m_uiWidth;
            if (m_uiTime != 0 && std::memcmp(puiOld, puiNew, m_uiWidth * 4) == 0)
                continue;
            std::memcpy(puiOld, puiNew, m_uiWidth * 4);
            m_auiChanged[uiFirst + uiRow] = uiNow;
        }
    }
    if (std::find(m_auiChanged.begin(), m_auiChanged.end(), uiNow) != m_auiChanged.end())
        m_uiTime = uiNow;
}

void Picture::CopyChanges(KUINT64 uiTime, const SScanFormat& roFormat, KUINT8* puiTo, size_t uiPitchInBytes) const
{
    for (size_t uiRow = 0; uiRow < m_uiHeight; ++uiRow)
    {
        if (m_auiChanged[uiRow] > uiTime)
            CopyRow(roFormat, m_auiPixels.data() + uiRow * m_uiWidth,
                    reinterpret_cast<KUINT32*>(puiTo + uiRow * uiPitchInBytes), m_uiWidth);
    }
}
}
