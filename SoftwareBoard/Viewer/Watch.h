// The three views of watch. Each shows the board until a person or the system ends it.
#ifndef WATCH_H
#define WATCH_H

#include "WatchedBoard.h"

namespace SoftwareBoard::Viewer
{
// Prints one plain line for each change, for a file or another program.
void WatchInLines(WatchedBoard& roBoard);

void WatchInTerminal(WatchedBoard& roBoard);
void WatchInWindow(WatchedBoard& roBoard);
}

#endif
