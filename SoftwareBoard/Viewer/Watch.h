// The faces of watch. Each shows the board until a person or the system ends it.
#ifndef WATCH_H
#define WATCH_H

#include "WatchedBoard.h"

namespace SoftwareBoard::Viewer
{
// The caption of an output, in rows of this many characters; the last may be longer.
std::vector<std::string> DescribeInRows(size_t uiOutput, const SOutputView& roOutput, int iColumns, int iRows);

// One plain line a change, for a file or another program.
void WatchInLines(WatchedBoard& roBoard);

void WatchInTerminal(WatchedBoard& roBoard);
void WatchInWindow(WatchedBoard& roBoard);
}

#endif
