#include "PreviewBoard.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include "Board.h"
#include "BoardError.h"

namespace SoftwareBoard::Viewer
{
namespace
{
// In memory if there is room, so that the pictures need not reach a disk.
std::string ChooseParent()
{
    constexpr std::uintmax_t uiRoomInBytes = std::uintmax_t{1} << 30;  // eight times an output of 8K
    constexpr char           MEMORY[]      = "/dev/shm";
    std::error_code          oError;
    if (const char* const pszTemporary = std::getenv("TMPDIR"); pszTemporary != nullptr && *pszTemporary != '\0')
        return pszTemporary;
    const auto oSpace = std::filesystem::space(MEMORY, oError);
    return !oError && oSpace.available >= uiRoomInBytes && access(MEMORY, W_OK | X_OK) == 0 ? MEMORY : "/tmp";
}

std::string MakeFolder()
{
    std::string strFolder = ChooseParent() + "/tavrin-preview-XXXXXX";
    if (mkdtemp(strFolder.data()) == nullptr)
        ThrowSystemError(strFolder, "mkdtemp (TMPDIR is to name a folder that can be written to)");
    return strFolder;
}
}

PreviewBoard::PreviewBoard() : m_strFolder(MakeFolder())
{
    try
    {
        if (setenv("TAVRIN_BOARD", m_strFolder.c_str(), 1) != 0)
            ThrowSystemError("TAVRIN_BOARD", "setenv");
        // So that the arguments may name any device.
        SBoardPlan oPlan    = DefaultPlan();
        oPlan.uiDeviceCount = MAX_DEVICES;
        Board::Create(oPlan);

        m_ooReads.emplace(m_strFolder + "/" + BoardState::FILE_NAME, IN_ACCESS);
        m_ooWrites.emplace(m_strFolder + "/" + BoardState::FILE_NAME, IN_MODIFY);
        if (!m_ooReads->IsWatching() || !m_ooWrites->IsWatching())
            ThrowSystemError(m_strFolder, "inotify");
    }
    catch (...)
    {
        std::error_code oError;
        std::filesystem::remove_all(m_strFolder, oError);
        throw;
    }
}

PreviewBoard::~PreviewBoard()
{
    std::error_code oError;
    std::filesystem::remove_all(m_strFolder, oError);
}

void PreviewBoard::SetProgress(KUINT32 uiPercent)
{
    Board         oBoard        = Board::Open();
    const KUINT32 uiDeviceCount = oBoard.m_oState.GetDeviceCount();
    for (KUINT32 uiDevice = 0; uiDevice < uiDeviceCount; ++uiDevice)
        oBoard.m_oState.WriteRegisterLowByte(uiDevice, REG_PROGRESS_UPDATE, static_cast<KUINT8>(uiPercent));
    TakeReads();
}

bool PreviewBoard::IsRunning() const
{
    const Board   oBoard        = Board::Open();
    const KUINT32 uiDeviceCount = oBoard.m_oState.GetDeviceCount();
    for (KUINT32 uiDevice = 0; uiDevice < uiDeviceCount; ++uiDevice)
    {
        if (oBoard.m_oState.ReadRegister(uiDevice, REG_PROGRESS_BAR_RUNNING) != 0)
            return true;
    }
    return false;
}

std::optional<Screen> PreviewBoard::OpenScreen() const
{
    const Board       oBoard = Board::Open();
    const Transaction oTransaction(oBoard.m_oLocks);
    const KUINT32     uiDeviceCount = oBoard.m_oState.GetDeviceCount();
    for (KUINT32 uiDevice = 0; uiDevice < uiDeviceCount; ++uiDevice)
    {
        if (const SOutputRecord oOutput = oBoard.m_oState.ReadOutput(oTransaction, uiDevice, 0); oOutput.bEnabled == TRUE)
            return Screen(oTransaction, oBoard.m_oFolder, oBoard.m_oState, oOutput);
    }
    return std::nullopt;
}
}
