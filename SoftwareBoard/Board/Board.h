// What a board is: folder, locks, transaction, state, pixel files, layout of a plane. It needs no process: each process that
// uses the board opens the files in its folder.
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

    // Opens the board at BoardFolder::DefaultPath() as a client; makes the default one if there is none. Create does not
    // replace a board that has a client. All four functions throw BoardError on failure.
    static Board Open();
    // Opens the board to look at it. Throws NoBoardError if there is none. Does not keep it from being replaced: check
    // m_oState.IsReplaced() and open it again.
    static Board Observe();
    // As Observe, but makes a board if there is none.
    static Board ObserveOrMake(const SBoardPlan& roPlan = DefaultPlan());
    // Makes a new board, which replaces the one there, and opens it. Fails if the one there has clients.
    static Board Create(const SBoardPlan& roPlan);

    BoardFolder m_oFolder;
    BoardState  m_oState;
    BoardLocks  m_oLocks;
};
}

#endif
