// The board as watch shows it. Each Update opens the board anew and is no client of it. So watch never keeps the board from
// being replaced, and it follows the new board.
#ifndef WATCHED_BOARD_H
#define WATCHED_BOARD_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>

#include "DeviceStatus.h"
#include "FileChanges.h"
#include "Text.h"
#include "WatchedPicture.h"

namespace SoftwareBoard::Viewer
{
struct SOutputView
{
    std::string                           strState;       // printable
    std::shared_ptr<const WatchedPicture> poPicture;      // null for none
    KUINT32                               uiVersion = 0;  // of the picture

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

// Whether nothing but pixels may differ.
bool IsLikeExceptPixels(const SBoardView& roLeft, const SBoardView& roRight);

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

    // How long to wait for the next Update, or negative: until GetChanges has something to read. While the pictures change,
    // 66 ms after the last one began; otherwise longer and longer, up to a second. But Update and drawing, which began at
    // oUpdateBegan, never take more than a third of the time.
    std::chrono::milliseconds GetPause(std::chrono::steady_clock::time_point oUpdateBegan) const;

    // Readable when the board has changed, but not when somebody draws; -1 if the system does not tell.
    int GetChanges() const { return m_ooChanges && m_ooChanges->IsWatching() ? m_ooChanges->GetDescriptor() : -1; }

private:
    using Clock    = std::chrono::steady_clock;
    using Pictures = std::map<KUINT32, std::vector<std::shared_ptr<WatchedPicture>>>;  // by the number of their file

    SBoardView                      ReadBoard();
    bool                            MustReadBoard();
    bool                            LookAtPictures();
    bool                            CanPicturesChange() const;
    std::shared_ptr<WatchedPicture> Take(Screen oScreen, Pictures& roTaken) const;

    KUINT32                    m_uiDevice;
    bool                       m_bWithPictures;
    std::string                m_strTitle;
    SBoardView                 m_oView;
    Pictures                   m_oPictures;       // of the last Update
    bool                       m_bMayEnd = true;  // the board may change without a change of its files
    std::optional<FileChanges> m_ooChanges;       // of the board's folder
    Clock::time_point          m_oBoardRead;      // when
    std::chrono::milliseconds  m_oPause;
};
}

#endif
