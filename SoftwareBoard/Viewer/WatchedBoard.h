// What a watcher sees: a look at the board, again and again. Each look opens the board anew and is no client of it, so that
// it never keeps the board from being made anew and follows it when it is.
#ifndef WATCHED_BOARD_H
#define WATCHED_BOARD_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>

#include "DeviceStatus.h"
#include "Picture.h"

namespace SoftwareBoard::Viewer
{
struct SOutputView
{
    std::string strState;  // printable
    std::shared_ptr<const Panel::SPicture>
        poPicture;  // null when there is none; the same object as long as the pixels are the same

    bool operator==(const SOutputView&) const = default;
};

// "output 0: " and the state.
std::string DescribeOutput(size_t uiOutput, const SOutputView& roOutput);

struct SBoardView
{
    std::string              strProblem;         // why the board cannot be read now, and then nothing else counts
    ino_t                    uiBoard       = 0;  // another number is another board
    KUINT32                  uiProgressPct = 0;
    bool                     bBarRunning   = false;
    std::vector<SOutputView> aoOutputs;

    bool operator==(const SBoardView&) const = default;
};

// "progress 40 %", and whether the tool says that its bar is running.
std::string DescribeProgress(const SBoardView& roView);

class WatchedBoard
{
public:
    // Throws if the board cannot be believed or lacks the device. One that is not there yet is waited for.
    WatchedBoard(KUINT32 uiDevice, bool bWithPictures);

    // Whether anything differs from the look before. What fails is a part of what is seen.
    bool Update();

    const SBoardView& GetView() const { return m_oView; }

    // The board and device in a word, for a title; printable.
    const std::string& GetTitle() const { return m_strTitle; }

    // How long to wait for the next look: 30 a second while something changes, fewer when nothing does, and never more than
    // a third of the time spent looking and, as the caller says since when, drawing.
    std::chrono::milliseconds GetPause(std::chrono::steady_clock::time_point oUpdateBegan) const;

private:
    using Pictures = std::map<KUINT32, std::vector<std::shared_ptr<const Panel::SPicture>>>;  // by the file that holds them

    SBoardView                             ReadBoard();
    std::shared_ptr<const Panel::SPicture> Take(const Screen& roScreen, Pictures& roTaken) const;

    KUINT32     m_uiDevice;
    bool        m_bWithPictures;
    std::string m_strTitle;
    SBoardView  m_oView;
    Pictures    m_oPictures;  // of the last look
    KUINT32     m_uiUpdatesWithoutChange = 0;
};
}

#endif
