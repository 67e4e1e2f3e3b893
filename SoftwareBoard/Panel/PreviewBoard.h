// A board for one preview, in a folder of its own that is gone with it. It tells when the tool has read the progress.
#ifndef PREVIEW_BOARD_H
#define PREVIEW_BOARD_H

#include <optional>
#include <string>

#include "Screen.h"

namespace Panel
{
class PreviewBoard
{
public:
    PreviewBoard();
    ~PreviewBoard();
    PreviewBoard(const PreviewBoard&)            = delete;
    PreviewBoard& operator=(const PreviewBoard&) = delete;

    // As every device reports it, and forgets the reads before. The tool is not running, or stopped.
    void SetProgress(KUINT32 uiPercent);

    // Readable once something has read from the board's state.
    int GetReadsDescriptor() const { return m_oReads.Get(); }
    // Whether something has since the last question.
    bool TakeReads() const;

    // What output 0 shows, of the first device that shows something.
    std::optional<SPicture> TakePicture() const;
    // Whether the tool has turned all outputs on; until its loop asks for the progress it reads nothing after that.
    bool IsRunning() const;

private:
    std::optional<SScreen> FindScreen() const;

    std::string                   m_strFolder;
    SoftwareBoard::FileDescriptor m_oReads;
};
}

#endif
