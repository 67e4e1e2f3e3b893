#include "Board.h"

#include "BoardError.h"
#include "PixelFiles.h"

namespace SoftwareBoard
{
namespace
{
Board OpenIn(BoardFolder oFolder, BoardLocks oLocks)
{
    const BoardLocks::Transaction oTransaction(oLocks);
    BoardState                    oState = BoardState::OpenOrMake(oFolder);
    return {std::move(oFolder), std::move(oLocks), std::move(oState)};
}
}

Board Board::Open()
{
    BoardFolder oFolder(BoardFolder::DefaultPath());
    BoardLocks  oLocks(oFolder);
    oLocks.JoinClients();
    return OpenIn(std::move(oFolder), std::move(oLocks));
}

Board Board::Observe()
{
    BoardFolder oFolder(BoardFolder::DefaultPath());
    BoardLocks  oLocks(oFolder);
    return OpenIn(std::move(oFolder), std::move(oLocks));
}

Board Board::Create(const SBoardPlan& roPlan)
{
    BoardFolder oFolder(BoardFolder::DefaultPath());
    BoardLocks  oLocks(oFolder);
    if (!oLocks.TryShutOutClients())
        throw BoardError(oFolder.GetPath() + ": the board is in use; end the processes that use it first");
    const BoardLocks::Transaction oTransaction(oLocks);
    BoardState                    oState = BoardState::Replace(oFolder, roPlan);
    Board                         oBoard{std::move(oFolder), std::move(oLocks), std::move(oState)};
    SweepPixelFiles(oBoard);
    return oBoard;
}
}
