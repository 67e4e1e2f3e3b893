#include "Board.h"

#include <fcntl.h>

#include <chrono>
#include <thread>

#include "BoardError.h"
#include "PixelFiles.h"

namespace SoftwareBoard
{
namespace
{
constexpr char NEW_NAME[] = "board.new";

// Makes a complete board and renames it to its place. Holds the transaction of the new file, so another process that makes a
// board waits. Overwrites what a killed process left. poOld is the board to replace, whose clients the caller has shut out;
// null if there is none to replace. Returns nothing if another process made a board first.
std::optional<Board> TryMake(BoardFolder& roFolder, const SBoardPlan& roPlan, const BoardState* poOld)
{
    FileDescriptor    oFile = roFolder.OpenFile(NEW_NAME, O_RDWR | O_CREAT);
    const BoardLocks  oLocks(oFile);
    const Transaction oTransaction(oLocks);
    if (!roFolder.IsNameOf(NEW_NAME, oFile))
        return std::nullopt;
    if (!BoardFolder::IsUnfinished(oFile) && !BoardState::IsOurs(oFile))
        throw BoardError(roFolder.PathOf(NEW_NAME) + ": not a file of the board's; it is left alone");

    std::optional<BoardState> ooState;
    try
    {
        const bool bFree = poOld != nullptr ? roFolder.IsNameOf(BoardState::FILE_NAME, poOld->GetFile())
                                            : !roFolder.Exists(BoardState::FILE_NAME);
        if (bFree)
        {
            ooState.emplace(BoardState::Write(std::move(oFile), roFolder.PathOf(NEW_NAME), roPlan));
            roFolder.Rename(NEW_NAME, BoardState::FILE_NAME);
        }
        else
            roFolder.Remove(NEW_NAME);
    }
    catch (...)
    {
        roFolder.Remove(NEW_NAME);
        throw;
    }
    if (!ooState)
        return std::nullopt;
    return Board(std::move(roFolder), std::move(*ooState));
}
}

Board::Board(BoardFolder oFolder, BoardState oState)
    : m_oFolder(std::move(oFolder)), m_oState(std::move(oState)), m_oLocks(m_oState.GetFile())
{}

Board Board::Observe()
{
    BoardFolder oFolder = BoardFolder::Open();
    auto        ooState = BoardState::Find(oFolder);
    if (!ooState)
        throw NoBoardError(oFolder.GetPath());
    ooState->GetDeviceCount();  // throws if the state is damaged
    return {std::move(oFolder), std::move(*ooState)};
}

Board Board::ObserveOrMake(const SBoardPlan& roPlan)
{
    for (;;)
    {
        BoardFolder oFolder = BoardFolder::OpenOrMake();
        if (!oFolder.Exists(BoardState::FILE_NAME))
        {
            if (auto ooBoard = TryMake(oFolder, roPlan, nullptr))
                return std::move(*ooBoard);
        }
        try
        {
            return Observe();
        }
        catch (const NoBoardError&)
        {
            // The board was removed in between: try again.
        }
    }
}

Board Board::Open()
{
    for (;;)
    {
        Board oBoard = ObserveOrMake();
        oBoard.m_oLocks.JoinClients();
        if (!oBoard.m_oState.IsReplaced())
            return oBoard;
    }
}

Board Board::Create(const SBoardPlan& roPlan)
{
    using namespace std::chrono;
    const auto oEnd = steady_clock::now() + 200ms;  // `progress` is a client for less than that
    for (;;)
    {
        BoardFolder               oFolder = BoardFolder::OpenOrMake();
        const auto                ooOld   = BoardState::Find(oFolder);
        std::optional<BoardLocks> ooLocks;
        if (ooOld && !ooLocks.emplace(ooOld->GetFile()).TryShutOutClients())
        {
            if (steady_clock::now() >= oEnd)
                throw BoardError(oFolder.GetPath() + ": the board is in use; end the processes that use it first");
            std::this_thread::sleep_for(5ms);
            continue;
        }
        auto ooBoard = TryMake(oFolder, roPlan, ooOld ? &*ooOld : nullptr);
        if (!ooBoard)
            continue;
        {
            ooBoard->m_oLocks.JoinClients();  // the board stays while its files are swept
            const Transaction oTransaction(ooBoard->m_oLocks);
            SweepPixelFiles(oTransaction, ooBoard->m_oFolder, ooBoard->m_oState);
        }
        return std::move(*ooBoard);
    }
}
}
