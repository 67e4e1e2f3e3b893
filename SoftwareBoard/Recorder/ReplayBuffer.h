// A video buffer of a replay: planes of the sizes that the record tells. A buffer that an output can show has a pixel file
// of the board. If its rows lie there as the record tells, the client draws into that file. Otherwise the client draws into
// memory, and a thread copies the picture to the file while the client has access.
#ifndef REPLAY_BUFFER_H
#define REPLAY_BUFFER_H

#include <optional>
#include <thread>
#include <vector>

#include "Board.h"
#include "PixelFiles.h"
#include "PlaneLayout.h"

namespace SoftwareBoard::Recorder
{
// Memory of this process, shared with a file or not. Throws BoardError.
class Mapping
{
public:
    Mapping(size_t uiSize, const FileDescriptor* poFile);
    ~Mapping();
    Mapping(Mapping&& roOther) noexcept
        : m_pMapped(std::exchange(roOther.m_pMapped, nullptr)), m_uiSize(std::exchange(roOther.m_uiSize, 0))
    {}
    Mapping& operator=(Mapping&&) = delete;

    KUINT8* Get() const { return static_cast<KUINT8*>(m_pMapped); }

private:
    void*  m_pMapped;
    size_t m_uiSize;
};

class ReplayBuffer
{
public:
    // ooPlanes is what the record tells of the planes, ooLayout how the board lays out such a buffer, if it can. Throws
    // BoardError if there is no room.
    ReplayBuffer(const std::optional<tagTBuffer_PlaneInfo>& ooPlanes, const std::optional<SPlaneLayout>& ooLayout,
                 const Board& roBoard);

    // Returns the addresses of the planes. They are valid until EndAccess.
    std::vector<KUINT8*> BeginAccess();
    // Brings the file up to date with what was drawn. The addresses are void then.
    void EndAccess();

    // What an output that shows the buffer stands for; nothing if no output of the board can show it.
    std::optional<SOutputRecord> MakeOutput(const tagTVideo_VidParam& roVidParam) const;

private:
    KUINT64 SizeOfPlane(KUINT32 uiPlane) const;
    bool    IsDrawnInPlace() const
    {
        return m_oPixels.oFile && m_oInfo.uiPlaneCount == 1 && SizeOfPlane(0) <= m_ooLayout->uiSizeInBytes &&
               m_oInfo.auiPitchInBytes[0] == m_ooLayout->uiPitchInBytes;
    }
    void CopyToFile();

    tagTBuffer_PlaneInfo        m_oInfo = {};
    std::optional<SPlaneLayout> m_ooLayout;
    SPixelFile                  m_oPixels;  // without a file, nothing can show the buffer
    std::vector<Mapping>        m_aoMemory;
    std::vector<Mapping>        m_aoInAccess;  // of the file
    std::jthread                m_oCopying;
};
}

#endif
