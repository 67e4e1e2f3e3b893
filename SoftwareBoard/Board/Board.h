// A board as a process sees it: the folder, what it knows, who holds what. A board in software is a thing of its own that
// outlives the processes that use it.
#ifndef BOARD_H
#define BOARD_H

#include "BoardFolder.h"
#include "BoardLocks.h"
#include "BoardState.h"
#include "Transaction.h"

namespace SoftwareBoard
{
struct Board
{
    Board(BoardFolder oFolder, BoardState oState);

    // The board where DefaultPath says, the default one newly made when there is none. The process is its client from now
    // on: while it has one, no new board takes its place.
    static Board Open();
    // The board for one who only looks: no client, and NoBoardError when there is none. A new board may take its place; then
    // IsReplaced() is true, and it is to be opened again.
    static Board Observe();
    // As Observe, but makes the default one when there is none.
    static Board ObserveOrMake();
    // A new board in its place; refused while the one there has clients.
    static Board Create(const SBoardPlan& roPlan);

    BoardFolder m_oFolder;
    BoardState  m_oState;
    BoardLocks  m_oLocks;
};
}

#endif
