// A board as a process sees it: the folder, who holds what, what it knows. A board in software is a thing of its own that
// outlives the processes that use it.
#ifndef BOARD_H
#define BOARD_H

#include "BoardFolder.h"
#include "BoardLocks.h"
#include "BoardState.h"

namespace SoftwareBoard
{
struct Board
{
    BoardFolder m_oFolder;
    BoardLocks  m_oLocks;
    BoardState  m_oState;

    // The board where DefaultPath says; the process is its client from now on.
    static Board Open();
    // The same without being a client: it stands in the way of no new board, and must follow when there is one.
    static Board Observe();
    // A new board in its place; refused while the one there has clients.
    static Board Create(const SBoardPlan& roPlan);
};
}

#endif
