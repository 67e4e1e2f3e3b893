#include <algorithm>

#include "BoardError.h"
#include "Signals.h"
#include "TerminalPicture.h"
#include "Text.h"
#include "Watch.h"

namespace SoftwareBoard::Viewer
{
namespace
{
FitsFunction FitsColumns(int iColumns)
{
    return
        [uiColumns = static_cast<size_t>(std::max(iColumns, 0))](const std::string& str) { return str.size() <= uiColumns; };
}

// Cuts or fills the text to exactly this many columns.
std::string CutOrFill(const std::string& strText, int iColumns)
{
    std::string strCut = CutText(strText, FitsColumns(iColumns));
    strCut.resize(static_cast<size_t>(std::max(iColumns, 0)), ' ');
    return strCut;
}

// The grid of outputs between the title and the progress. Each output is a tile with its caption under it.
struct STiles
{
    int iAcross  = 1;
    int iColumns = 0;  // of one tile
    int iRows    = 0;  // of one tile, with its caption
    int iCaption = 1;  // rows of the caption
};

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
    void Leave() { m_oTerminal.Leave(); }
    void Enter() { m_oTerminal.Enter(); }
    bool IsBehind() const { return m_oTerminal.IsBehind(); }
    void WriteOn() { m_oTerminal.WriteOn(); }

    // What to wait for before WriteOn; the descriptor is -1 if everything is written.
    pollfd AwaitWriting() const { return {IsBehind() ? m_oTerminal.GetDescriptor() : -1, POLLOUT, 0}; }

private:
    STiles LayOut(int iRows) const;
    void   DrawTile(size_t uiOutput, int iRow, int iColumn, const STiles& roTiles);
    void   DrawProgress(int iRow);

    // A picture as texts for the terminal, kept until the picture or its size in cells changes.
    struct SDrawn
    {
        std::shared_ptr<const Panel::SPicture> poPicture;
        std::pair<int, int>                    oCells;
        std::vector<std::string>               astrTexts;
    };

    WatchedBoard&       m_roBoard;
    TerminalPictures    m_oPictures;
    Terminal            m_oTerminal;
    STerminalSize       m_oSize;
    std::vector<SDrawn> m_aoDrawn;
};

// Chooses how many tiles stand side by side, so that the pictures become largest.
STiles TerminalView::LayOut(int iRows) const
{
    const auto&            roOutputs = m_roBoard.GetView().aoOutputs;
    const int              iOutputs  = std::max(static_cast<int>(roOutputs.size()), 1);
    const Panel::SPicture  oUsual    = {4, 3, {}};
    const auto             i = std::find_if(roOutputs.begin(), roOutputs.end(), [](const auto& ro) { return ro.poPicture; });
    const Panel::SPicture& roLike     = i != roOutputs.end() ? *i->poPicture : oUsual;
    int                    iBestCells = -1;
    STiles                 oBest;
    for (int iAcross = 1; iAcross <= iOutputs; ++iAcross)
    {
        const int iDown = (iOutputs + iAcross - 1) / iAcross;
        STiles    oTiles{iAcross, (m_oSize.iColumns - (iAcross - 1)) / iAcross, iRows / iDown, 1};
        if (oTiles.iColumns < 1 || oTiles.iRows < 1)
            continue;
        if (oTiles.iRows >= ROWS_FOR_LONG_CAPTION && oTiles.iColumns < COLUMNS_FOR_CAPTION)
            oTiles.iCaption = 2;
        const int  iHigh  = oTiles.iRows - oTiles.iCaption;
        const auto oCells = iHigh > 0 ? m_oPictures.FitInto(oTiles.iColumns, iHigh, roLike.uiWidth, roLike.uiHeight, m_oSize)
                                      : std::pair(0, 0);
        if (oCells.first * oCells.second > iBestCells)
        {
            iBestCells = oCells.first * oCells.second;
            oBest      = oTiles;
        }
    }
    if (iBestCells < 0)
        oBest = {1, m_oSize.iColumns, 1, 1};
    return oBest;
}

void TerminalView::DrawTile(size_t uiOutput, int iRow, int iColumn, const STiles& roTiles)
{
    const SOutputView& roOutput = m_roBoard.GetView().aoOutputs[uiOutput];
    const int          iHigh    = roTiles.iRows - roTiles.iCaption;
    int                iLine    = iRow + iHigh;
    for (const std::string& strText :
         WrapText(DescribeOutput(uiOutput, roOutput), static_cast<size_t>(roTiles.iCaption), FitsColumns(roTiles.iColumns)))
        m_oTerminal.Put(iLine++, iColumn, CutOrFill(strText, roTiles.iColumns));
    if (roOutput.poPicture == nullptr || iHigh < 1)
        return;
    const Panel::SPicture& roPicture = *roOutput.poPicture;
    const auto oCells  = m_oPictures.FitInto(roTiles.iColumns, iHigh, roPicture.uiWidth, roPicture.uiHeight, m_oSize);
    SDrawn&    roDrawn = m_aoDrawn[uiOutput];
    if (roDrawn.poPicture != roOutput.poPicture || roDrawn.oCells != oCells)
        roDrawn = {roOutput.poPicture, oCells, m_oPictures.Draw(roPicture, oCells.first, oCells.second, m_oSize)};

    const int iLeft = iColumn + (roTiles.iColumns - oCells.first) / 2;
    int       iTop  = iRow + (iHigh - oCells.second) / 2;
    for (const std::string& strCells : roDrawn.astrTexts)
        m_oTerminal.Put(iTop++, iLeft, strCells);
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
    m_oSize                  = Terminal::GetSize();
    const SBoardView& roView = m_roBoard.GetView();
    const bool        bTitle = m_oSize.iRows >= 6;
    const int         iTop   = bTitle ? 1 : 0;
    const int         iRows  = m_oSize.iRows - iTop - 1;
    if (bTitle)
        m_oTerminal.Put(0, 0, "\x1b[1m" + CutOrFill("board " + m_roBoard.GetTitle(), m_oSize.iColumns) + "\x1b[0m");
    if (!roView.strProblem.empty())
    {
        m_oTerminal.Put(m_oSize.iRows / 2, 0, CutOrFill(roView.strProblem, m_oSize.iColumns));
        return m_oTerminal.Present();
    }
    m_aoDrawn.resize(roView.aoOutputs.size());
    const STiles oTiles = LayOut(iRows);
    for (size_t uiOutput = 0; uiOutput < roView.aoOutputs.size(); ++uiOutput)
    {
        const int iRow    = static_cast<int>(uiOutput) / oTiles.iAcross * oTiles.iRows;
        const int iColumn = static_cast<int>(uiOutput) % oTiles.iAcross * (oTiles.iColumns + 1);
        if (iRow + oTiles.iRows <= iRows)
            DrawTile(uiOutput, iTop + iRow, iColumn, oTiles);
    }
    DrawProgress(m_oSize.iRows - 1);
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
    const bool           bKeys   = isatty(STDIN_FILENO) == 1;
    bool                 bRedraw = true;
    while (true)
    {
        const auto oUpdateBegan = std::chrono::steady_clock::now();
        if (!oView.IsBehind() && (roBoard.Update() || bRedraw))
        {
            oView.Draw();
            bRedraw = false;
        }

        pollfd            aoFiles[] = {{bKeys ? STDIN_FILENO : -1, POLLIN, 0}, oView.AwaitWriting()};
        const int         iSignal   = oSignals.Wait(roBoard.GetPause(oUpdateBegan), aoFiles);
        const std::string strKeys   = (aoFiles[0].revents & POLLIN) != 0 ? ReadKeys() : "";
        if (strKeys.find('q') != std::string::npos)
            return;
        if ((aoFiles[0].revents & (POLLHUP | POLLERR)) != 0)
            throw Panel::EndedBySignal{SIGHUP};
        if (aoFiles[1].revents != 0)
            oView.WriteOn();
        if (strKeys.find(CTRL_L) != std::string::npos)
        {
            oView.DrawAnew();
            bRedraw = true;
        }
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
        bRedraw = bRedraw || iSignal != 0;
    }
}
}
