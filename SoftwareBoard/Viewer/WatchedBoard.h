// The board as watch shows it. Each Update opens the board anew and is no client of it. So watch never keeps the board from
// being replaced, and it follows the new board.
#ifndef WATCHED_BOARD_H
#define WATCHED_BOARD_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>

#include "DeviceStatus.h"
#include "Picture.h"
#include "Text.h"

namespace SoftwareBoard::Viewer
{
struct SOutputView
{
    std::string                            strState;   // printable
    std::shared_ptr<const Panel::SPicture> poPicture;  // null for none; the same object while the pixels stay the same

    bool operator==(const SOutputView&) const = default;
};

// "output 0: " and the state.
std::string DescribeOutput(size_t uiOutput, const SOutputView& roOutput);

// The same in at most that many rows, the last of which may still have to be cut. Where a cut would hide the output's
// number, the caption is only that.
std::vector<std::string> CaptionOutput(size_t uiOutput, const SOutputView& roOutput, size_t uiRows,
                                       const FitsFunction& fFits);

struct SBoardView
{
    std::string              strProblem;         // why the board cannot be read now; empty if the rest is valid
    ino_t                    uiBoard       = 0;  // a new board has another number
    KUINT32                  uiProgressPct = 0;
    bool                     bBarRunning   = false;
    std::vector<SOutputView> aoOutputs;

    bool operator==(const SBoardView&) const = default;
};

// "progress 40 %", and whether the tool says that its bar is running.
std::string DescribeProgress(const SBoardView& roView);

// The width and height that most pictures are like: those of the first one or, without any, those of a usual screen.
std::pair<KUINT32, KUINT32> UsualSize(const SBoardView& roView);

class WatchedBoard
{
public:
    // Throws BoardError if the board is damaged or lacks the device. If there is no board yet, Update reports that.
    WatchedBoard(KUINT32 uiDevice, bool bWithPictures);

    // Reads the board. Returns whether the view has changed. A failure becomes part of the view.
    bool Update();

    const SBoardView& GetView() const { return m_oView; }

    // The board and the device, for a title; printable.
    const std::string& GetTitle() const { return m_strTitle; }

    // How long to wait for the next Update: 34 ms after the last one began, or 150 ms if nothing has changed for a while.
    // But Update and drawing, which began at oUpdateBegan, never take more than a third of the time.
    std::chrono::milliseconds GetPause(std::chrono::steady_clock::time_point oUpdateBegan) const;

private:
    using Pictures = std::map<KUINT32, std::vector<std::shared_ptr<const Panel::SPicture>>>;  // by the number of their file

    SBoardView                             ReadBoard();
    std::shared_ptr<const Panel::SPicture> Take(const Screen& roScreen, Pictures& roTaken) const;

    KUINT32     m_uiDevice;
    bool        m_bWithPictures;
    std::string m_strTitle;
    SBoardView  m_oView;
    Pictures    m_oPictures;  // of the last Update
    KUINT32     m_uiUpdatesWithoutChange = 0;
};
}

#endif
