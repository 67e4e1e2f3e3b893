// The faces of watch. Each shows the board until a person or the system ends it.
#ifndef WATCH_H
#define WATCH_H

#include "WatchedBoard.h"

namespace SoftwareBoard::Viewer
{
// One plain line a change, for a file or another program.
void WatchInLines(WatchedBoard& roBoard);

void WatchInTerminal(WatchedBoard& roBoard);
void WatchInWindow(WatchedBoard& roBoard);
}

#endif
