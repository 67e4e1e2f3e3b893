// A board for one preview, in a folder of its own, which the destructor removes. It reports when the tool has read it.
#ifndef PREVIEW_BOARD_H
#define PREVIEW_BOARD_H

#include <optional>
#include <string>

#include "FileChanges.h"
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

    // Sets the progress of every device, in percent. Forgets the reads so far.
    void SetProgress(KUINT32 uiPercent);

    // Whether a process has read the board's state since the last call.
    bool TakeReads() const { return m_ooReads->Take(); }
    int  GetReads() const { return m_ooReads->GetDescriptor(); }  // has something to read when there are some
    // Whether a process has written to it since the last call.
    bool TakeWrites() const { return m_ooWrites->Take(); }
    int  GetWrites() const { return m_ooWrites->GetDescriptor(); }

    // The screen of output 0 of the first device on which that output is on; nothing if there is none.
    std::optional<Screen> OpenScreen() const;
    // Whether the tool has turned all outputs on. After that it does not read the board until its loop reads the progress.
    bool IsRunning() const;

private:
    std::string                m_strFolder;
    std::optional<FileChanges> m_ooReads;
    std::optional<FileChanges> m_ooWrites;
};
}

#endif
