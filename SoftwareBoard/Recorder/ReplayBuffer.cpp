#include "ReplayBuffer.h"

#include <signal.h>
#include <sys/mman.h>

#include <algorithm>
#include <chrono>

#include "BoardError.h"

namespace SoftwareBoard::Recorder
{
namespace
{
constexpr std::chrono::milliseconds BETWEEN_COPIES{16};
}

Mapping::Mapping(size_t uiSize, const FileDescriptor* poFile)
    : m_pMapped(mmap(nullptr, uiSize, PROT_READ | PROT_WRITE,
                     poFile != nullptr ? MAP_SHARED : MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE,
                     poFile != nullptr ? poFile->Get() : -1, 0)),
      m_uiSize(uiSize)
{
    if (m_pMapped == MAP_FAILED)
        ThrowSystemError("the planes of a buffer", "mmap");
}

Mapping::~Mapping()
{
    if (m_pMapped != nullptr)
        munmap(m_pMapped, m_uiSize);
}

ReplayBuffer::ReplayBuffer(const tagTBuffer_PlaneInfo& roInfo, const std::optional<SPlaneLayout>& roLayout,
                           const Board& roBoard)
    : m_oInfo(roInfo), m_ooLayout(roLayout)
{
    m_oInfo.uiPlaneCount = std::clamp<KUINT32>(roInfo.uiPlaneCount, 1, static_cast<KUINT32>(std::size(roInfo.auiPitch)));
    if (m_ooLayout && m_ooLayout->ePixelFormat == TPixelFormat_R8G8B8A8)
    {
        const Transaction oTransaction(roBoard.m_oLocks);
        SweepPixelFiles(oTransaction, roBoard.m_oFolder, roBoard.m_oState);
        m_oPixels = MakePixelFile(oTransaction, roBoard.m_oFolder, roBoard.m_oState, m_ooLayout->uiSizeInBytes);
    }
    if (IsDrawnInPlace())
        return;
    for (KUINT32 ui = 0; ui < m_oInfo.uiPlaneCount; ++ui)
        m_aoMemory.emplace_back(std::max<size_t>(size_t{m_oInfo.auiPitchInBytes[ui]} * m_oInfo.auiHeight[ui], 1), nullptr);
}

std::vector<KUINT8*> ReplayBuffer::BeginAccess()
{
    EndAccess();
    if (m_oPixels.oFile)
        m_aoInAccess.emplace_back(m_ooLayout->uiSizeInBytes, &m_oPixels.oFile);
    if (IsDrawnInPlace())
        return {m_aoInAccess[0].Get()};
    std::vector<KUINT8*> apPlanes;
    for (const Mapping& roPlane : m_aoMemory)
        apPlanes.push_back(roPlane.Get());
    if (m_oPixels.oFile)
    {
        // The client's signals are not this thread's.
        sigset_t oAll = {}, oBefore = {};
        sigfillset(&oAll);
        pthread_sigmask(SIG_SETMASK, &oAll, &oBefore);
        m_oCopying = std::jthread([this](const std::stop_token& roStop) {
            for (; !roStop.stop_requested(); std::this_thread::sleep_for(BETWEEN_COPIES))
                CopyToFile();
        });
        pthread_sigmask(SIG_SETMASK, &oBefore, nullptr);
    }
    return apPlanes;
}

void ReplayBuffer::EndAccess()
{
    if (m_oCopying.joinable())
    {
        m_oCopying = {};
        CopyToFile();
    }
    m_aoInAccess.clear();
}

void ReplayBuffer::CopyToFile()
{
    const size_t uiWidth = std::min(m_oInfo.auiPitchInBytes[0], m_ooLayout->uiWidth * m_ooLayout->uiBytesPerPixel);
    for (size_t uiRow = 0; uiRow < std::min(m_oInfo.auiHeight[0], m_ooLayout->uiHeight); ++uiRow)
        std::copy_n(m_aoMemory[0].Get() + uiRow * m_oInfo.auiPitchInBytes[0], uiWidth,
                    m_aoInAccess[0].Get() + uiRow * m_ooLayout->uiPitchInBytes);
}

std::optional<SOutputRecord> ReplayBuffer::MakeOutput(const tagTVideo_VidParam& roVidParam) const
{
    if (!m_oPixels.oFile || !LayOutPlane(TPixelFormat_R8G8B8A8, roVidParam.uiHActive, roVidParam.uiVActive))
        return std::nullopt;
    SOutputRecord oOutput;
    oOutput.bEnabled       = TRUE;
    oOutput.iHolderPid     = getpid();
    oOutput.oVidParam      = roVidParam;
    oOutput.uiPixelFile    = m_oPixels.uiNumber;
    oOutput.uiBufferWidth  = m_ooLayout->uiWidth;
    oOutput.uiBufferHeight = m_ooLayout->uiHeight;
    return oOutput;
}
}
