#include <algorithm>
#include <list>

#include "BoardError.h"
#include "CellPicture.h"
#include "Signals.h"
#include "Text.h"
#include "Tiling.h"
#include "Watch.h"

namespace SoftwareBoard::Viewer
{
namespace
{
// Cuts or fills the text to exactly this many columns.
std::string CutOrFill(const std::string& strText, int iColumns)
{
    std::string strCut = CutText(strText, FitsColumns(iColumns));
    return strCut.append(static_cast<size_t>(std::max(iColumns - TextColumns(strCut), 0)), ' ');
}

constexpr char CTRL_L = 'L' & 0x1F;  // draws everything again

// A tile that is narrower than most captions has two rows for them, unless it is so low that the picture needs the second.
constexpr int COLUMNS_FOR_CAPTION   = 60;
constexpr int ROWS_FOR_LONG_CAPTION = 6;

class TerminalView
{
public:
    explicit TerminalView(WatchedBoard& roBoard) : m_roBoard(roBoard)
    {
        m_oTerminal.SetImageEraser(m_oPictures.GetImageEraser());
    }

    void Draw();
    void DrawAnew() { m_oTerminal.Forget(); }  // at the next Draw
    bool IsToBeDrawnAnew() const { return m_oTerminal.IsForgotten(); }
    void Leave() { m_oTerminal.Leave(); }
    void Enter() { m_oTerminal.Enter(); }
    bool IsBehind() const { return m_oTerminal.IsBehind(); }
    void WriteOn() { m_oTerminal.WriteOn(); }

    // What to wait for before WriteOn; the descriptor is -1 if everything is written.
    pollfd AwaitWriting() const { return {.fd = IsBehind() ? m_oTerminal.GetDescriptor() : -1, .events = POLLOUT}; }

private:
    STiling LayOut(int iRows) const;
    void    DrawTile(size_t uiOutput, int iRow, int iColumn, const STiling& roTiling);
    void    DrawProgress(int iRow);

    // A picture as texts for the terminal, and the size in cells. Outputs that show the same share it.
    struct SDrawn
    {
        std::shared_ptr<const WatchedPicture> poPicture;
        CellPicture                           oCells;
    };
    // Where it is shown.
    struct SPlaced
    {
        const SDrawn* poDrawn;
        int           iTop, iLeft;
    };
    void          DrawPixels();
    const SDrawn& DrawPicture(const std::shared_ptr<const WatchedPicture>& rpoPicture, std::pair<int, int> oCells);

    WatchedBoard&     m_roBoard;
    TerminalPictures  m_oPictures;
    Terminal          m_oTerminal;
    STerminalSize     m_oSize;
    std::list<SDrawn> m_oDrawn;      // of this Draw, and then
    std::list<SDrawn> m_oDrawnLast;  // those of the last one that were not used yet

    SBoardView           m_oShown;  // by the last Draw
    std::vector<SPlaced> m_aoPlaced;
};

STiling TerminalView::LayOut(int iRows) const
{
    const auto [uiWidth, uiHeight] = UsualSize(m_roBoard.GetView());
    const auto [fColumns, fRows]   = TerminalPictures::SizeInCells(uiWidth, uiHeight, m_oSize);
    return ChooseTiling({.iTiles            = static_cast<int>(m_roBoard.GetView().aoOutputs.size()),
                         .iWidth            = m_oSize.iColumns,
                         .iHeight           = iRows,
                         .iGapAcross        = 1,
                         .fPictureWidth     = fColumns,
                         .fPictureHeight    = fRows,
                         .fGetCaptionHeight = [](int iTileColumns, int iTileRows) {
                             return iTileRows >= ROWS_FOR_LONG_CAPTION && iTileColumns < COLUMNS_FOR_CAPTION ? 2 : 1;
                         }});
}

void TerminalView::DrawTile(size_t uiOutput, int iRow, int iColumn, const STiling& roTiling)
{
    const SOutputView& roOutput = m_roBoard.GetView().aoOutputs[uiOutput];
    const int          iHigh    = roTiling.iTileHeight - roTiling.iCaptionHeight;
    int                iLine    = iRow + iHigh;
    for (const std::string& strText :
         CaptionOutput(uiOutput, roOutput, static_cast<size_t>(roTiling.iCaptionHeight), FitsColumns(roTiling.iTileWidth)))
        m_oTerminal.Put(iLine++, iColumn, CutOrFill(strText, roTiling.iTileWidth));
    if (roOutput.poPicture == nullptr || iHigh < 1)
        return;
    const auto& [uiWidth, uiHeight, auiRgba] = roOutput.poPicture->GetPixels();
    const auto    oCells                     = m_oPictures.FitInto(roTiling.iTileWidth, iHigh, uiWidth, uiHeight, m_oSize);
    const SDrawn& roDrawn                    = DrawPicture(roOutput.poPicture, oCells);
    const int     iLeft = iColumn + (roTiling.iTileWidth - oCells.first) / 2, iTop = iRow + (iHigh - oCells.second) / 2;
    for (const auto& [oPlace, strText] : roDrawn.oCells.GetTexts())
        m_oTerminal.Put(iTop + oPlace.first, iLeft + oPlace.second, strText);
    m_aoPlaced.push_back({&roDrawn, iTop, iLeft});
}

const TerminalView::SDrawn& TerminalView::DrawPicture(const std::shared_ptr<const WatchedPicture>& rpoPicture,
                                                      std::pair<int, int>                          oCells)
{
    const auto fIsIt = [&](const SDrawn& ro) { return ro.poPicture == rpoPicture && ro.oCells.IsFor(oCells, m_oSize); };
    if (const auto i = std::find_if(m_oDrawn.begin(), m_oDrawn.end(), fIsIt); i != m_oDrawn.end())
        return *i;
    if (const auto i = std::find_if(m_oDrawnLast.begin(), m_oDrawnLast.end(), fIsIt); i != m_oDrawnLast.end())
        m_oDrawn.splice(m_oDrawn.end(), m_oDrawnLast, i);
    else
        m_oDrawn.push_back({rpoPicture, CellPicture(oCells, m_oSize)});
    m_oDrawn.back().oCells.Update(*rpoPicture, m_oPictures);
    return m_oDrawn.back();
}

// Everything else stays as it is.
void TerminalView::DrawPixels()
{
    for (SDrawn& roDrawn : m_oDrawn)
        roDrawn.oCells.Update(*roDrawn.poPicture, m_oPictures);
    for (const SPlaced& roPlaced : m_aoPlaced)
    {
        for (const auto& [oPlace, strText] : roPlaced.poDrawn->oCells.GetChanged())
            m_oTerminal.Put(roPlaced.iTop + oPlace.first, roPlaced.iLeft + oPlace.second, strText);
    }
    m_oTerminal.PresentChanges();
}

// Draws the bar over the whole row, with the text in it.
void TerminalView::DrawProgress(int iRow)
{
    const SBoardView& roView = m_roBoard.GetView();
    std::string       strBar = CutOrFill(std::string(" ").append(DescribeProgress(roView)), m_oSize.iColumns);
    strBar.insert(strBar.size() * std::min(roView.uiProgressPct, 100u) / 100, "\x1b[0;2m");
    m_oTerminal.Put(iRow, 0, "\x1b[7m" + strBar + "\x1b[0m");
}

void TerminalView::Draw()
{
    const SBoardView& roView = m_roBoard.GetView();
    if (!IsToBeDrawnAnew() && IsLikeExceptPixels(m_oShown, roView))
        return DrawPixels();
    m_oShown = roView;
    m_aoPlaced.clear();
    m_oSize           = Terminal::GetSize();
    const bool bTitle = m_oSize.iRows >= 6;
    const int  iTop   = bTitle ? 1 : 0;
    const int  iRows  = m_oSize.iRows - iTop - 1;
    if (bTitle)
        m_oTerminal.Put(0, 0, "\x1b[1m" + CutOrFill("board " + m_roBoard.GetTitle(), m_oSize.iColumns) + "\x1b[0m");
    if (!roView.strProblem.empty())
    {
        m_oTerminal.Put(m_oSize.iRows / 2, 0, CutOrFill(roView.strProblem, m_oSize.iColumns));
        return m_oTerminal.Present();
    }
    m_oDrawnLast          = std::exchange(m_oDrawn, {});
    const STiling oTiling = LayOut(iRows);
    for (size_t uiOutput = 0; uiOutput < roView.aoOutputs.size(); ++uiOutput)
    {
        const int iRow    = static_cast<int>(uiOutput) / oTiling.iAcross * oTiling.iTileHeight;
        const int iColumn = static_cast<int>(uiOutput) % oTiling.iAcross * (oTiling.iTileWidth + 1);
        if (iRow + oTiling.iTileHeight <= iRows)
            DrawTile(uiOutput, iTop + iRow, iColumn, oTiling);
    }
    DrawProgress(m_oSize.iRows - 1);
    m_oDrawnLast.clear();
    m_oTerminal.Present();
}

// Takes everything that was typed, so that the shell does not get it.
std::string ReadKeys()
{
    char          acKeys[64];
    const ssize_t iRead = read(STDIN_FILENO, acKeys, sizeof(acKeys));
    return {acKeys, iRead > 0 ? static_cast<size_t>(iRead) : 0};
}

void StopProcess()
{
    sigset_t oSet = {};
    sigemptyset(&oSet);
    sigaddset(&oSet, SIGTSTP);
    sigprocmask(SIG_UNBLOCK, &oSet, nullptr);
    raise(SIGTSTP);
    sigprocmask(SIG_BLOCK, &oSet, nullptr);
}
}

void WatchInTerminal(WatchedBoard& roBoard)
{
    const Panel::Signals oSignals({SIGWINCH, SIGTSTP, SIGCONT});
    TerminalView         oView(roBoard);
    const bool           bKeys = isatty(STDIN_FILENO) == 1;
    while (true)
    {
        const auto oUpdateBegan = std::chrono::steady_clock::now();
        if (!oView.IsBehind() && (roBoard.Update() || oView.IsToBeDrawnAnew()))
            oView.Draw();

        // A terminal that is behind shows nothing new until it has caught up.
        pollfd            aoFiles[] = {{.fd = bKeys ? STDIN_FILENO : -1, .events = POLLIN},
                                       oView.AwaitWriting(),
                                       {.fd = oView.IsBehind() ? -1 : roBoard.GetChanges(), .events = POLLIN}};
        const int         iSignal   = oSignals.Wait(roBoard.GetPause(oUpdateBegan), aoFiles);
        const std::string strKeys   = (aoFiles[0].revents & POLLIN) != 0 ? ReadKeys() : "";
        if (strKeys.find('q') != std::string::npos)
            return;
        if ((aoFiles[0].revents & (POLLHUP | POLLERR)) != 0)
            throw Panel::EndedBySignal{SIGHUP};
        if (aoFiles[1].revents != 0)
            oView.WriteOn();
        if (strKeys.find(CTRL_L) != std::string::npos)
            oView.DrawAnew();
        switch (iSignal)
        {
        case 0: break;
        case SIGINT:
        case SIGTERM: return;
        case SIGWINCH: oView.DrawAnew(); break;
        case SIGTSTP:
            oView.Leave();
            StopProcess();
            oView.Enter();
            break;
        case SIGCONT:  // others have used the terminal, or still do
            Terminal::AwaitForeground();
            oView.Leave();
            oView.Enter();
            break;
        default: throw Panel::EndedBySignal{iSignal};
        }
    }
}
}
