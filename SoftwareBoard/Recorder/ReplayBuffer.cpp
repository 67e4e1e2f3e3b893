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
constexpr KUINT64                   MAX_BYTES_PER_PIXEL = 4, MAX_PLANE = 0xFFFFFFFF;

// Keeps the client's signals from a thread that is started meanwhile.
class BlockedSignals
{
public:
    BlockedSignals()
    {
        sigset_t oAll = {};
        sigfillset(&oAll);
        pthread_sigmask(SIG_SETMASK, &oAll, &m_oBefore);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_oBefore, nullptr); }
    BlockedSignals(const BlockedSignals&)            = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t m_oBefore = {};
};
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

ReplayBuffer::ReplayBuffer(const std::optional<tagTBuffer_PlaneInfo>& ooPlanes, const std::optional<SPlaneLayout>& ooLayout,
                           const Board& roBoard)
    : m_ooLayout(ooLayout)
{
    // A client that was not told of the planes cannot know more than the board's layout.
    if (ooPlanes)
        m_oInfo = *ooPlanes;
    else if (ooLayout)
        m_oInfo = {1, {}, {}, {}, {ooLayout->uiHeight}, {ooLayout->uiPitch}, {ooLayout->uiPitchInBytes}};
    m_oInfo.uiPlaneCount = std::clamp<KUINT32>(m_oInfo.uiPlaneCount, 1, static_cast<KUINT32>(std::size(m_oInfo.auiPitch)));
    if (m_ooLayout && m_ooLayout->ePixelFormat == TPixelFormat_R8G8B8A8)
    {
        const Transaction oTransaction(roBoard.m_oLocks);
        SweepPixelFiles(oTransaction, roBoard.m_oFolder, roBoard.m_oState);
        m_oPixels = MakePixelFile(oTransaction, roBoard.m_oFolder, roBoard.m_oState, m_ooLayout->uiSizeInBytes);
    }
    if (IsDrawnInPlace())
        return;
    for (KUINT32 ui = 0; ui < m_oInfo.uiPlaneCount; ++ui)
        m_aoMemory.emplace_back(SizeOfPlane(ui), nullptr);
}

// Room for each way in which a client may understand the numbers, as a bad board's do not fit each other.
KUINT64 ReplayBuffer::SizeOfPlane(KUINT32 uiPlane) const
{
    const KUINT32 uiPixels = std::max(m_oInfo.auiPitch[uiPlane], m_oInfo.auiWidth[uiPlane]);
    KUINT64       uiRow    = std::max({uiPixels * MAX_BYTES_PER_PIXEL, KUINT64{m_oInfo.auiPitchInBytes[uiPlane]},
                                       KUINT64{m_oInfo.auiWidthInBytes[uiPlane]}, KUINT64{1}});
    KUINT64       uiRows   = std::max(m_oInfo.auiHeight[uiPlane], KUINT32{1});
    if (m_ooLayout)
    {
        uiRow  = std::max<KUINT64>(uiRow, m_ooLayout->uiPitchInBytes);
        uiRows = std::max<KUINT64>(uiRows, m_ooLayout->uiHeight);
    }
    if (uiRow > MAX_PLANE / uiRows)
        throw BoardError("the planes of the buffer are too large");
    return uiRow * uiRows;
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
        const BlockedSignals oBlocked;
        m_oCopying = std::jthread([this](const std::stop_token& roStop) {
            for (; !roStop.stop_requested(); std::this_thread::sleep_for(BETWEEN_COPIES))
                CopyToFile();
        });
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
    return m_oPixels.oFile ? MakeOutputRecord(roVidParam, *m_ooLayout, m_oPixels.uiNumber) : std::nullopt;
}
}
