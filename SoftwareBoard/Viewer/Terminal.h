// The terminal while a program draws on it: its other screen, no cursor, keys unseen and read one by one. Left as it was
// found by the destructor, and by Leave before the process is stopped.
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
    int iCellWidthPx  = 0;  // 0 where the terminal does not say
    int iCellHeightPx = 0;
};

class Terminal
{
public:
    Terminal();
    ~Terminal() { Leave(); }
    Terminal(const Terminal&)            = delete;
    Terminal& operator=(const Terminal&) = delete;

    // A process in the background is stopped here by the system until it is brought to the front, as any that is to draw on
    // a terminal that a shell has.
    static void AwaitForeground();

    void Enter();  // again only after Leave
    void Leave();  // takes a moment at most: of a terminal that nobody reads what it has not read is thrown away

    static STerminalSize GetSize();

    // Puts a picture of the whole screen together; texts begin at a row and column from 0 and stay in their row, or are one
    // of the terminal's own images. Present then writes what differs from the last one, which must be written.
    void Put(int iRow, int iColumn, std::string strText) { m_oNext[{iRow, iColumn}] = std::move(strText); }
    void Present();

    // A terminal that takes no more for the moment is behind. Whoever draws waits until the descriptor can be written, and
    // then calls WriteOn, which hands over more of the rest.
    bool IsBehind() const { return m_uiWritten < m_strOut.size(); }
    void WriteOn();
    int  GetDescriptor() const { return m_oFile.Get(); }

    // The terminal holds nothing of what was presented any more.
    void Forget() { m_bForgotten = true; }

    // Before anything is drawn where images may stand.
    void SetImageEraser(std::string strSequence) { m_strImageEraser = std::move(strSequence); }

private:
    using Texts = std::map<std::pair<int, int>, std::string>;

    void Write(std::string strText);
    bool WriteWithin(std::string strText, std::chrono::milliseconds oTime);

    FileDescriptor m_oFile;  // non-blocking, and not the one that the shell has

    termios     m_oBefore    = {};
    bool        m_bKeys      = false;  // standard input is the terminal too, and m_oBefore is to be restored
    bool        m_bForgotten = true;
    Texts       m_oShown;
    Texts       m_oNext;
    std::string m_strImageEraser;
    std::string m_strOut;
    size_t      m_uiWritten = 0;  // of m_strOut
};
}

#endif
