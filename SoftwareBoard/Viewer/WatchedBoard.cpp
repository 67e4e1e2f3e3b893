#include "WatchedBoard.h"

#include <algorithm>

#include "Board.h"
#include "BoardError.h"

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr std::chrono::milliseconds BUSY_PAUSE(34), IDLE_PAUSE(150);
constexpr KUINT32                   UPDATES_UNTIL_IDLE = 30;

struct SScreens
{
    ino_t                              uiBoard;
    Panel::SDeviceStatus               oDevice;
    std::vector<std::optional<Screen>> aooScreens;
    std::vector<std::string>           astrProblems;
};

// Keeps the transaction short: the pixels are read after it.
SScreens OpenScreens(KUINT32 uiDevice, bool bWithPictures)
{
    const Board       oBoard = Board::Observe();
    const Transaction oTransaction(oBoard.m_oLocks);

    SScreens oScreens{oBoard.m_oState.GetFile().GetInode(), Panel::ReadDeviceStatus(oTransaction, oBoard, uiDevice), {}, {}};
    for (const Panel::SOutputStatus& roOutput : oScreens.oDevice.aoOutputs)
    {
        oScreens.aooScreens.emplace_back();
        oScreens.astrProblems.emplace_back();
        if (!bWithPictures || roOutput.oRecord.bEnabled == FALSE)
            continue;
        try
        {
            oScreens.aooScreens.back() = Screen(oTransaction, oBoard.m_oFolder, roOutput.oRecord);
        }
        catch (const BoardError& roError)
        {
            oScreens.astrProblems.back() = roError.what();
        }
    }
    return oScreens;
}
}

std::string DescribeOutput(size_t uiOutput, const SOutputView& roOutput)
{
    return "output " + std::to_string(uiOutput) + ": " + roOutput.strState;
}

std::vector<std::string> CaptionOutput(size_t uiOutput, const SOutputView& roOutput, size_t uiRows,
                                       const FitsFunction& fFits)
{
    const std::string strNumber = std::to_string(uiOutput);
    return WrapText(fFits("output " + strNumber + "..") ? DescribeOutput(uiOutput, roOutput) : strNumber, uiRows, fFits);
}

std::string DescribeProgress(const SBoardView& roView)
{
    return "progress " + std::to_string(roView.uiProgressPct) + " %" + (roView.bBarRunning ? ", progress bar running" : "");
}

std::pair<KUINT32, KUINT32> UsualSize(const SBoardView& roView)
{
    const auto i =
        std::find_if(roView.aoOutputs.begin(), roView.aoOutputs.end(), [](const auto& ro) { return ro.poPicture; });
    return i != roView.aoOutputs.end() ? std::pair(i->poPicture->uiWidth, i->poPicture->uiHeight) : std::pair(4u, 3u);
}

WatchedBoard::WatchedBoard(KUINT32 uiDevice, bool bWithPictures) : m_uiDevice(uiDevice), m_bWithPictures(bWithPictures)
{
    m_strTitle = MakePrintable(BoardFolder::DefaultPath()) + ", device " + std::to_string(uiDevice);
    try
    {
        Board::Observe().m_oState.ReadDevice(uiDevice);
    }
    catch (const NoBoardError&)
    {
        // Update says so until there is a board.
    }
}

bool WatchedBoard::Update()
{
    SBoardView oView;
    try
    {
        oView = ReadBoard();
    }
    catch (const NoBoardError& roError)
    {
        oView.strProblem = "waiting for a board: " + MakePrintable(roError.what());
    }
    catch (const BoardError& roError)
    {
        oView.strProblem = MakePrintable(roError.what());
    }
    const bool bChanged      = oView != m_oView;
    m_uiUpdatesWithoutChange = bChanged ? 0 : m_uiUpdatesWithoutChange + 1;
    m_oView                  = std::move(oView);
    return bChanged;
}

SBoardView WatchedBoard::ReadBoard()
{
    SBoardView     oView;
    const SScreens oScreens = OpenScreens(m_uiDevice, m_bWithPictures);
    oView.uiBoard           = oScreens.uiBoard;
    oView.uiProgressPct     = oScreens.oDevice.GetProgressPct();
    oView.bBarRunning       = oScreens.oDevice.uiProgressBarRunning != 0;
    Pictures oTaken;
    for (size_t uiOutput = 0; uiOutput < oScreens.aooScreens.size(); ++uiOutput)
    {
        SOutputView oOutput{Panel::DescribeOutput(oScreens.oDevice.aoOutputs[uiOutput]), nullptr};
        std::string strProblem = oScreens.astrProblems[uiOutput];
        try
        {
            if (const auto& roScreen = oScreens.aooScreens[uiOutput])
                oOutput.poPicture = Take(*roScreen, oTaken);
        }
        catch (const BoardError& roError)
        {
            strProblem = roError.what();
        }
        if (!strProblem.empty())
            oOutput.strState += "; " + MakePrintable(strProblem);
        oView.aoOutputs.push_back(std::move(oOutput));
    }
    m_oPictures = std::move(oTaken);
    return oView;
}

// Outputs often show the same file. An Update reads it only once.
std::shared_ptr<const Panel::SPicture> WatchedBoard::Take(const Screen& roScreen, Pictures& roTaken) const
{
    const KUINT32 uiFile  = roScreen.GetOutput().uiPixelFile;
    const auto    fIsSize = [&](const auto& ro) {
        return ro->uiWidth == roScreen.GetOutput().oVidParam.uiHActive &&
               ro->uiHeight == roScreen.GetOutput().oVidParam.uiVActive;
    };
    auto& roOfFile = roTaken[uiFile];
    if (const auto i = std::find_if(roOfFile.begin(), roOfFile.end(), fIsSize); i != roOfFile.end())
        return *i;

    std::shared_ptr<const Panel::SPicture> poPicture;
    if (const auto iBefore = m_oPictures.find(uiFile); iBefore != m_oPictures.end())
    {
        const auto& roBefore = iBefore->second;
        const auto  i        = std::find_if(roBefore.begin(), roBefore.end(), fIsSize);
        if (i != roBefore.end() && Panel::IsShowing(roScreen, **i))
            poPicture = *i;
    }
    if (poPicture == nullptr)
        poPicture = std::make_shared<const Panel::SPicture>(Panel::ReadPicture(roScreen));
    roOfFile.push_back(poPicture);
    return poPicture;
}

std::chrono::milliseconds WatchedBoard::GetPause(std::chrono::steady_clock::time_point oUpdateBegan) const
{
    using Milliseconds = std::chrono::milliseconds;
    const auto oSpent  = std::chrono::ceil<Milliseconds>(std::chrono::steady_clock::now() - oUpdateBegan);
    const auto oEvery  = m_uiUpdatesWithoutChange < UPDATES_UNTIL_IDLE ? BUSY_PAUSE : IDLE_PAUSE;
    return std::max(oEvery - oSpent, 2 * oSpent);
}
}
