#include "Board.h"

#include <fcntl.h>

#include "BoardError.h"
#include "PixelFiles.h"

namespace SoftwareBoard
{
namespace
{
constexpr char pszNewName[] = "board.new";

enum class EPlace
{
    Empty,  // another process may make a board there first
    Taken,  // by a board that may be replaced
};

// Makes a board whole and renames it to its place. Who makes one holds the transaction of the new board, so others that make
// one at the same time wait; what a killed process left of one is written anew. Nothing when another process was first.
std::optional<Board> TryMake(BoardFolder& roFolder, const SBoardPlan& roPlan, EPlace ePlace)
{
    FileDescriptor                oFile = roFolder.OpenFile(pszNewName, O_RDWR | O_CREAT);
    const BoardLocks              oLocks(oFile);
    const BoardLocks::Transaction oTransaction(oLocks);
    if (!roFolder.IsNameOf(pszNewName, oFile))
        return std::nullopt;
    try
    {
        if (ePlace == EPlace::Empty && roFolder.Exists(BoardState::msc_szName))
        {
            roFolder.Remove(pszNewName);
            return std::nullopt;
        }
        BoardState oState = BoardState::Write(std::move(oFile), roFolder.PathOf(pszNewName), roPlan);
        roFolder.Rename(pszNewName, BoardState::msc_szName);
        return Board(std::move(roFolder), std::move(oState));
    }
    catch (...)
    {
        roFolder.Remove(pszNewName);
        throw;
    }
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
    ooState->GetDeviceCount();  // throws when it is damaged
    return {std::move(oFolder), std::move(*ooState)};
}

Board Board::ObserveOrMake()
{
    for (;;)
    {
        BoardFolder oFolder = BoardFolder::OpenOrMake();
        if (!oFolder.Exists(BoardState::msc_szName))
        {
            if (auto ooBoard = TryMake(oFolder, DefaultPlan(), EPlace::Empty))
                return std::move(*ooBoard);
        }
        try
        {
            return Observe();
        }
        catch (const NoBoardError&)
        {
            // Gone again meanwhile.
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
    for (;;)
    {
        BoardFolder               oFolder = BoardFolder::OpenOrMake();
        const auto                ooOld   = BoardState::Find(oFolder);
        std::optional<BoardLocks> ooLocks;
        if (ooOld && !ooLocks.emplace(ooOld->GetFile()).TryShutOutClients())
            throw BoardError(oFolder.GetPath() + ": the board is in use; end the processes that use it first");
        if (ooOld && ooOld->IsReplaced())
            continue;
        auto ooBoard = TryMake(oFolder, roPlan, ooOld ? EPlace::Taken : EPlace::Empty);
        if (!ooBoard)
            continue;
        const BoardLocks::Transaction oTransaction(ooBoard->m_oLocks);
        SweepPixelFiles(*ooBoard);
        return std::move(*ooBoard);
    }
}
}
