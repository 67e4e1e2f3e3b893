// A board for one preview, in a folder of its own that is gone with it. It tells when the tool has read the progress.
#ifndef PREVIEW_BOARD_H
#define PREVIEW_BOARD_H

#include <optional>
#include <string>

#include "Picture.h"

namespace SoftwareBoard::Viewer
{
class PreviewBoard
{
public:
    PreviewBoard();
    ~PreviewBoard();
    PreviewBoard(const PreviewBoard&)            = delete;
    PreviewBoard& operator=(const PreviewBoard&) = delete;

    // As every device reports it, and forgets the reads before.
    void SetProgress(KUINT32 uiPercent);

    // Whether something has read from the board's state since this was asked last.
    bool TakeReads() const;

    // Output 0 of the first device whose output 0 is on, or nothing.
    std::optional<Screen> OpenScreen() const;
    // Whether the tool has turned all outputs on; until its loop asks for the progress it reads nothing after that.
    bool IsRunning() const;

private:
    std::string    m_strFolder;
    FileDescriptor m_oReads;
};
}

#endif
