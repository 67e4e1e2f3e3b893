// The terminal while a program draws on it: alternate screen, no cursor, keys not echoed and read one by one. The destructor
// leaves it as it was found; so does Leave, before the process is stopped.
#ifndef TERMINAL_H
#define TERMINAL_H

#include <termios.h>

#include <chrono>
#include <map>
#include <string>
#include <utility>

#include "FileDescriptor.h"

namespace SoftwareBoard::Viewer
{
struct STerminalSize
{
    int iColumns      = 80;
    int iRows         = 24;
    int iCellWidthPx  = 0;  // 0 if the terminal does not tell it; likewise the next
    int iCellHeightPx = 0;

    bool operator==(const STerminalSize&) const = default;
};

class Terminal
{
public:
    Terminal();
    ~Terminal() { Leave(); }
    Terminal(const Terminal&)            = delete;
    Terminal& operator=(const Terminal&) = delete;

    // If the process is in the background, the system stops it here until it is brought to the foreground. Call it before
    // anything is drawn.
    static void AwaitForeground();

    void Enter();  // call it again only after Leave
    void Leave();  // after 0.2 s discards what the terminal has not taken; takes 0.4 s at most

    static STerminalSize GetSize();

    // Put adds a text or an image of the terminal to the next screen; rows and columns count from 0. A text must stay in its
    // row. Present writes what differs from the last screen; PresentChanges leaves what was not put as it is. Call them only
    // while IsBehind() is false.
    void Put(int iRow, int iColumn, std::string strText) { m_oNext[{iRow, iColumn}] = std::move(strText); }
    void Present();
    void PresentChanges();

    // Whether the terminal has not taken everything yet. Then wait until the descriptor can be written, and call WriteOn to
    // write more.
    bool IsBehind() const { return m_uiWritten < m_strOut.size(); }
    void WriteOn();
    int  GetDescriptor() const { return m_oFile.Get(); }

    // Makes the next Present write the whole screen again.
    void Forget() { m_bForgotten = true; }
    bool IsForgotten() const { return m_bForgotten; }

    // Sets what to write to remove images. Call it before the first image is drawn.
    void SetImageEraser(std::string strSequence) { m_strImageEraser = std::move(strSequence); }

private:
    static std::string At(std::pair<int, int> oPlace, const std::string& strText);

    using Texts = std::map<std::pair<int, int>, std::string>;

    void Write(std::string strText);
    bool WriteWithin(std::string strText, std::chrono::milliseconds oTime);

    FileDescriptor m_oFile;  // non-blocking and not shared with the shell, if possible

    termios     m_oBefore    = {};
    bool        m_bKeys      = false;  // standard input is a terminal, and m_oBefore its mode to restore
    bool        m_bForgotten = true;
    Texts       m_oShown;
    Texts       m_oNext;
    std::string m_strImageEraser;
    std::string m_strOut;
    size_t      m_uiWritten = 0;  // of m_strOut
};
}

#endif
