// What following a picture on a display costs: a look at one that does not change, and at one with an animation.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>
#include <vector>

#include <drm_fourcc.h>

#include "BenchmarkTable.h"
#include "Board.h"
#include "BoardOfItsOwn.h"
#include "PixelFiles.h"
#include "ScreenCopy.h"

namespace
{
using namespace SoftwareBoard;
using namespace SoftwareBoard::Display;

constexpr KUINT32 WIDTH = 1920, HEIGHT = 1080, PITCH = 1936;
constexpr KUINT32 ANIM_SIZE = 256, ANIM_LEFT = 832, ANIM_TOP = 300, FRAMES = 24;
constexpr size_t  ROWS_AT_ONCE = (256 << 10) / (PITCH * 4);

// The size of a row is an argument, as in a copy of changes: of one that it knows the compiler makes instructions of its
// own.
[[gnu::noipa]] void CopyRows(KUINT32* puiTo, const KUINT32* puiFrom, size_t uiFromPitch, KUINT32 uiRows, size_t uiRowPixels)
{
    for (KUINT32 y = 0; y < uiRows; ++y)
        std::memcpy(puiTo + y * size_t{PITCH}, puiFrom + y * uiFromPitch, uiRowPixels * 4);
}

// A picture of the board that is drawn through a mapping, and a buffer as that of a card.
class Picture
{
public:
    Picture()
        : m_oBoard(Board::Create(DefaultPlan())), m_oTransaction(m_oBoard.m_oLocks),
          m_oPixels(MakePixelFile(m_oTransaction, m_oBoard.m_oFolder, m_oBoard.m_oState, PITCH * HEIGHT * 4)),
          m_oCopy(Screen(m_oTransaction, m_oBoard.m_oFolder,
                         {.oVidParam      = {WIDTH, HEIGHT},
                          .uiPixelFile    = m_oPixels.uiNumber,
                          .uiBufferWidth  = WIDTH,
                          .uiBufferHeight = HEIGHT})),
          m_auiCard(PITCH * HEIGHT), m_auiBefore(WIDTH * HEIGHT), m_auiBlock(ROWS_AT_ONCE * PITCH),
          m_aauiFrames(FRAMES, std::vector<KUINT32>(ANIM_SIZE * ANIM_SIZE))
    {
        void* const pMapped =
            mmap(nullptr, PITCH * HEIGHT * 4, PROT_READ | PROT_WRITE, MAP_SHARED, m_oPixels.oFile.Get(), 0);
        if (pMapped == MAP_FAILED)
            std::abort();
        m_puiDrawn = static_cast<KUINT32*>(pMapped);
        for (KUINT32 i = 0; i < FRAMES; ++i)
            std::fill(m_aauiFrames[i].begin(), m_aauiFrames[i].end(), 0x01020304 * i);
    }

    void Draw() { CopyRows(At(m_puiDrawn), m_aauiFrames[++m_uiFrame % FRAMES].data(), ANIM_SIZE, ANIM_SIZE, ANIM_SIZE); }
    // A look, and the card's buffer brought up to date.
    void Follow()
    {
        m_oCopy.Update();
        if (m_oCopy.GetTime() != m_uiTime)
            m_oCopy.CopyChanges(std::exchange(m_uiTime, m_oCopy.GetTime()), *m_poFormat,
                                reinterpret_cast<KUINT8*>(m_auiCard.data()), PITCH * 4);
    }
    void CopyAnimation() { CopyRows(At(m_auiCard.data()), At(m_puiDrawn), PITCH, ANIM_SIZE, ANIM_SIZE); }
    // As it was before the file was mapped: every row is read and compared with the one before.
    void ReadAndCompare()
    {
        for (size_t uiTop = 0; uiTop < HEIGHT; uiTop += ROWS_AT_ONCE)
        {
            const size_t uiRows = std::min(ROWS_AT_ONCE, HEIGHT - uiTop), uiSize = uiRows * PITCH * 4;
            if (pread(m_oPixels.oFile.Get(), m_auiBlock.data(), uiSize, static_cast<off_t>(uiTop * PITCH * 4)) !=
                static_cast<ssize_t>(uiSize))
                std::abort();
            for (size_t y = 0; y < uiRows; ++y)
                m_bSame =
                    std::memcmp(m_auiBefore.data() + (uiTop + y) * WIDTH, m_auiBlock.data() + y * PITCH, WIDTH * 4) == 0;
        }
    }

private:
    static KUINT32* At(KUINT32* puiPlane) { return puiPlane + size_t{ANIM_TOP} * PITCH + ANIM_LEFT; }

    Board                             m_oBoard;
    Transaction                       m_oTransaction;
    SPixelFile                        m_oPixels;
    ScreenCopy                        m_oCopy;
    std::vector<KUINT32>              m_auiCard, m_auiBefore, m_auiBlock;
    std::vector<std::vector<KUINT32>> m_aauiFrames;
    const SScanFormat*                m_poFormat = ChooseFormat({DRM_FORMAT_XBGR8888});  // the board's: as memcpy copies
    KUINT32*                          m_puiDrawn = nullptr;
    KUINT32                           m_uiFrame  = 0;
    KUINT64                           m_uiTime   = 0;
    volatile bool                     m_bSame    = true;
};
}

int main(int iArguments, char** ppszArguments)
{
    BenchmarkTable      oTable(iArguments, ppszArguments);
    const BoardOfItsOwn oOwn;
    Picture             oPicture;
    for (size_t uiLook = 0; uiLook <= 2 * ScreenCopy::LOOKS; ++uiLook)
        oPicture.Follow();
    oTable.Compare(
        "look at an unchanged 1920x1080", "pread and memcmp of its rows", CostAtMost(0.25), [&] { oPicture.Follow(); },
        [&] { oPicture.ReadAndCompare(); });
    oTable.Compare(
        "look and copy, 256x256 animation", "memcpy of the changed bytes", CostAtMost(2), [&] { oPicture.Follow(); },
        [&] { oPicture.CopyAnimation(); },
        [&] {
            oPicture.Draw();
            std::this_thread::sleep_for(std::chrono::milliseconds(16));  // as at 60 Hz: neither side finds its caches warm
        });
    return 0;
}
