#include "WatchedBoard.h"

#include <algorithm>

#include "Board.h"
#include "BoardError.h"

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr std::chrono::milliseconds BUSY_PAUSE(66), IDLE_PAUSE(1000);

// How often to read the board although none of its files has changed: the process that shows an output or serves a display
// may have been killed. The pictures tell of the first one at once.
constexpr std::chrono::seconds RECHECK(1), RECHECK_WITH_PICTURES(5);

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
            oScreens.aooScreens.back() = Screen(oTransaction, oBoard.m_oFolder, oBoard.m_oState, roOutput.oRecord);
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

bool IsLikeExceptPixels(const SBoardView& roLeft, const SBoardView& roRight)
{
    const auto fWithoutVersions = [](SBoardView oView) {
        for (SOutputView& roOutput : oView.aoOutputs)
            roOutput.uiVersion = 0;
        return oView;
    };
    return fWithoutVersions(roLeft) == fWithoutVersions(roRight);
}

std::string DescribeProgress(const SBoardView& roView)
{
    return "progress " + std::to_string(roView.uiProgressPct) + " %" + (roView.bBarRunning ? ", progress bar running" : "");
}

std::pair<KUINT32, KUINT32> UsualSize(const SBoardView& roView)
{
    const auto i =
        std::find_if(roView.aoOutputs.begin(), roView.aoOutputs.end(), [](const auto& ro) { return ro.poPicture; });
    return i != roView.aoOutputs.end() ? std::pair(i->poPicture->GetPixels().uiWidth, i->poPicture->GetPixels().uiHeight)
                                       : std::pair(4u, 3u);
}

WatchedBoard::WatchedBoard(KUINT32 uiDevice, bool bWithPictures)
    : m_uiDevice(uiDevice), m_bWithPictures(bWithPictures), m_oPause(BUSY_PAUSE)
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
    SBoardView oView = m_oView;
    try
    {
        if (MustReadBoard() || !LookAtPictures())
            oView = ReadBoard();
        for (SOutputView& roOutput : oView.aoOutputs)
            roOutput.uiVersion = roOutput.poPicture != nullptr ? roOutput.poPicture->GetVersion() : 0;
    }
    catch (const NoBoardError& roError)
    {
        oView = {.strProblem = "waiting for a board: " + MakePrintable(roError.what())};
    }
    catch (const BoardError& roError)
    {
        oView = {.strProblem = MakePrintable(roError.what())};
    }
    const bool bChanged = oView != m_oView;
    m_oPause            = bChanged ? BUSY_PAUSE : std::min(2 * m_oPause, IDLE_PAUSE);
    m_oView             = std::move(oView);
    return bChanged;
}

// Says whether the files of the board may have changed since they were read. It is asked once before each reading, so that
// a later change is found at the next Update.
bool WatchedBoard::MustReadBoard()
{
    const auto oNow = Clock::now();
    if (GetChanges() < 0 || !m_oView.strProblem.empty())
        m_ooChanges.emplace(BoardFolder::DefaultPath(), IN_MODIFY | IN_MOVED_TO | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF);
    else if (!m_ooChanges->Take() &&
             !(m_bMayEnd && oNow - m_oBoardRead >= (CanPicturesChange() ? RECHECK_WITH_PICTURES : RECHECK)))
        return false;
    m_oBoardRead = oNow;
    return true;
}

// Returns false if the board must be read as well: a picture cannot be read any more, or nobody draws it any more.
bool WatchedBoard::LookAtPictures()
try
{
    bool bDrawnOn = true;
    for (const auto& [uiFile, apoPictures] : m_oPictures)
    {
        for (const auto& rpoPicture : apoPictures)
        {
            const bool bCouldChange = rpoPicture->CanChange();
            rpoPicture->Look();
            bDrawnOn = bDrawnOn && rpoPicture->CanChange() == bCouldChange;
        }
    }
    return bDrawnOn;
}
catch (const BoardError&)
{
    m_oPictures.clear();  // read whole by ReadBoard, which says what is wrong
    return false;
}

SBoardView WatchedBoard::ReadBoard()
{
    SBoardView oView;
    SScreens   oScreens = OpenScreens(m_uiDevice, m_bWithPictures);
    oView.uiBoard       = oScreens.uiBoard;
    oView.uiProgressPct = oScreens.oDevice.GetProgressPct();
    oView.bBarRunning   = oScreens.oDevice.uiProgressBarRunning != 0;
    m_bMayEnd           = oScreens.oDevice.bDisplayed;
    Pictures oTaken;
    for (size_t uiOutput = 0; uiOutput < oScreens.aooScreens.size(); ++uiOutput)
    {
        SOutputView oOutput{Panel::DescribeOutput(oScreens.oDevice.aoOutputs[uiOutput]), nullptr, 0};
        std::string strProblem = oScreens.astrProblems[uiOutput];
        m_bMayEnd              = m_bMayEnd || oScreens.oDevice.aoOutputs[uiOutput].ooHolder;
        try
        {
            if (auto& rooScreen = oScreens.aooScreens[uiOutput])
                oOutput.poPicture = Take(std::move(*rooScreen), oTaken);
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
std::shared_ptr<WatchedPicture> WatchedBoard::Take(Screen oScreen, Pictures& roTaken) const
{
    const auto fFind = [&](const std::vector<std::shared_ptr<WatchedPicture>>& roFrom) {
        const auto i = std::find_if(roFrom.begin(), roFrom.end(), [&](const auto& ro) { return ro->IsOf(oScreen); });
        return i != roFrom.end() ? *i : nullptr;
    };
    const KUINT32 uiFile   = oScreen.GetOutput().uiPixelFile;
    auto&         roOfFile = roTaken[uiFile];
    if (const auto poTaken = fFind(roOfFile))
        return poTaken;
    const auto                      iBefore   = m_oPictures.find(uiFile);
    std::shared_ptr<WatchedPicture> poPicture = iBefore != m_oPictures.end() ? fFind(iBefore->second) : nullptr;
    if (poPicture != nullptr)
        poPicture->Look();
    else
        poPicture = std::make_shared<WatchedPicture>(std::move(oScreen));
    roOfFile.push_back(poPicture);
    return poPicture;
}

bool WatchedBoard::CanPicturesChange() const
{
    return std::any_of(m_oPictures.begin(), m_oPictures.end(), [](const auto& roOfFile) {
        return std::any_of(roOfFile.second.begin(), roOfFile.second.end(), [](const auto& ro) { return ro->CanChange(); });
    });
}

std::chrono::milliseconds WatchedBoard::GetPause(std::chrono::steady_clock::time_point oUpdateBegan) const
{
    using Milliseconds = std::chrono::milliseconds;
    const auto oSpent  = std::chrono::ceil<Milliseconds>(std::chrono::steady_clock::now() - oUpdateBegan);
    if (m_oView.strProblem.empty() && GetChanges() >= 0 && !m_bMayEnd && !CanPicturesChange())
        return Milliseconds(m_oPause < IDLE_PAUSE ? m_oPause : Milliseconds(-1));
    return std::max(m_oPause - oSpent, 2 * oSpent);
}
}
