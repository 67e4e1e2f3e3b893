// What watch shows in a terminal. libvterm is the terminal.
#include <poll.h>
#include <vterm.h>

#include "PanelWorld.h"
#include "Watch.h"

namespace
{
using namespace SoftwareBoard::Viewer;

constexpr char     BLOCK      = '#';  // any letter that is not ASCII
constexpr uint32_t FULL_BLOCK = 0x2588;

struct SCells
{
    int  iLeft, iTop, iRight, iBottom;  // the last two are outside
    bool Has(int iColumn, int iRow) const { return iColumn >= iLeft && iColumn < iRight && iRow >= iTop && iRow < iBottom; }
};

// The middle half of the cells in both directions: those that are wholly in it, or those that some of it touches.
SCells Middle(const SCells& ro, bool bTouched)
{
    const int iWidth = ro.iRight - ro.iLeft, iHeight = ro.iBottom - ro.iTop, iMore = bTouched ? 0 : 3;
    const int iAcross = (iWidth + iMore) / 4, iDown = (iHeight + iMore) / 4;
    return {ro.iLeft + iAcross, ro.iTop + iDown, ro.iRight - iAcross, ro.iBottom - iDown};
}

// A terminal in which watch runs.
class Screen
{
public:
    Screen(const char* pszTerm, const std::string& strEnvironment, winsize oSize)
        : m_oSize(oSize), m_oWatch("watch", true, oSize, pszTerm, "export " + strEnvironment + "; ")
    {
        vterm_set_utf8(m_poTerm.get(), 1);
        vterm_screen_enable_altscreen(m_poScreen, 1);
        vterm_screen_reset(m_poScreen, 1);
    }
    void Resize(winsize oSize)
    {
        m_oSize = oSize;
        vterm_set_size(m_poTerm.get(), oSize.ws_row, oSize.ws_col);
        ioctl(m_oWatch.aiFds[0], TIOCSWINSZ, &oSize);
    }
    // Loses what it shows, as if another program had written over it.
    void Lose() { vterm_screen_reset(m_poScreen, 1); }
    // Reads on until the screen passes the test.
    void Await(const std::string& strWhat, const std::function<bool()>& fIsIt)
    {
        const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(LONGEST_SEC);
        m_strRead.clear();
        while (!testing::Test::HasFailure() && !fIsIt())
        {
            char   acRead[4096];
            pollfd oFile = {.fd = m_oWatch.aiFds[0], .events = POLLIN};
            if (std::chrono::steady_clock::now() > oEnd)
            {
                ADD_FAILURE() << strWhat << " is never shown:\n" << Describe();
                return;
            }
            if (poll(&oFile, 1, 100) <= 0) continue;
            const auto uiRead = static_cast<size_t>(std::max<ssize_t>(read(oFile.fd, acRead, sizeof(acRead)), 0));
            vterm_input_write(m_poTerm.get(), acRead, uiRead);
            m_strRead.append(acRead, uiRead);
        }
    }
    // 'g' or 'b' for a cell of that colour, ' ' for any other.
    char ColourAt(int iColumn, int iRow) const
    {
        const VTermScreenCell oCell = At(iColumn, iRow);
        char                  cBack = NameOf(oCell.bg), cFore = NameOf(oCell.fg);
        if (oCell.attrs.reverse != 0) std::swap(cBack, cFore);
        if (oCell.chars[0] == 0 || oCell.chars[0] == ' ') return cBack;
        return oCell.chars[0] == FULL_BLOCK || cBack == cFore ? cFore : ' ';
    }
    std::string TextOf(int iRow) const
    {
        std::string strText;
        for (int iColumn = 0; iColumn < m_oSize.ws_col; ++iColumn)
        {
            const uint32_t uiChar = At(iColumn, iRow).chars[0];
            strText += uiChar == 0 ? ' ' : uiChar < 0x80 ? static_cast<char>(uiChar) : BLOCK;
        }
        return strText;
    }
    // The text of each row, without what the pictures are made of.
    std::vector<std::string> TextAround(const std::vector<SCells>& roPictures) const
    {
        std::vector<std::string> astrRows;
        for (int iRow = 0; iRow < m_oSize.ws_row; ++iRow)
        {
            astrRows.push_back(TextOf(iRow));
            for (int iColumn = 0; iColumn < m_oSize.ws_col; ++iColumn)
                for (const SCells& ro : roPictures)
                    if (ro.Has(iColumn, iRow)) astrRows.back()[static_cast<size_t>(iColumn)] = ' ';
        }
        return astrRows;
    }
    bool HasBlocks() const { return testing::PrintToString(TextAround({})).find(BLOCK) != std::string::npos; }
    int  CountReversed(int iRow) const
    {
        int iColumn = 0;
        while (iColumn < m_oSize.ws_col && At(iColumn, iRow).attrs.reverse != 0) ++iColumn;
        return iColumn;
    }
    // Whether the picture is in each of these cells, with a blue middle or without one, and nowhere else.
    bool Shows(const std::vector<SCells>& aoPlaces, bool bBlue) const
    {
        for (int iAt = 0; iAt < m_oSize.ws_row * m_oSize.ws_col; ++iAt)
        {
            const int  iColumn = iAt % m_oSize.ws_col, iRow = iAt / m_oSize.ws_col;
            const char cIs = ColourAt(iColumn, iRow);
            const auto i   = std::find_if(aoPlaces.begin(), aoPlaces.end(), [&](auto& ro) { return ro.Has(iColumn, iRow); });
            if (i != aoPlaces.end() && bBlue && Middle(*i, true).Has(iColumn, iRow) && !Middle(*i, false).Has(iColumn, iRow))
                continue;  // blue meets green in here
            if (cIs != (i == aoPlaces.end() ? ' ' : bBlue && Middle(*i, false).Has(iColumn, iRow) ? 'b' : 'g')) return false;
        }
        return true;
    }

    winsize     m_oSize;
    Live        m_oWatch;
    std::string m_strRead;  // by the last Await

private:
    struct SFree
    {
        void operator()(VTerm* po) const { vterm_free(po); }
    };
    VTermScreenCell At(int iColumn, int iRow) const
    {
        VTermScreenCell oCell = {};
        vterm_screen_get_cell(m_poScreen, {iRow, iColumn}, &oCell);
        return oCell;
    }
    char NameOf(VTermColor o) const
    {
        vterm_screen_convert_color_to_rgb(m_poScreen, &o);
        const bool bStrong = std::max(o.rgb.green, o.rgb.blue) > 100 && o.rgb.red < 100;
        return bStrong && o.rgb.green > 3 * o.rgb.blue ? 'g' : bStrong && o.rgb.blue > 3 * o.rgb.green ? 'b' : ' ';
    }
    std::string Describe() const
    {
        std::string strAll;
        for (int iAt = 0; iAt < m_oSize.ws_row * m_oSize.ws_col; ++iAt)
        {
            const int iColumn = iAt % m_oSize.ws_col, iRow = iAt / m_oSize.ws_col;
            strAll += ColourAt(iColumn, iRow) == ' ' ? TextOf(iRow)[static_cast<size_t>(iColumn)] : ColourAt(iColumn, iRow);
            if (iColumn == m_oSize.ws_col - 1) strAll += '\n';
        }
        return strAll;
    }
    std::unique_ptr<VTerm, SFree> m_poTerm{vterm_new(m_oSize.ws_row, m_oSize.ws_col)};
    VTermScreen*                  m_poScreen = vterm_obtain_screen(m_poTerm.get());
};

struct TerminalTest : PanelWorld
{
};

// A size of the terminal, and where things are then.
struct SLayout
{
    winsize             oSize;
    std::vector<SCells> aoPictures;
    std::pair<int, int> aoCaptions[2];  // column and row
    int                 iCaptionColumns;
    size_t              uiCaptionRows;
};

// All text of a screen but that of the pictures.
std::vector<std::string> Compose(const SBoardView& roView, const std::string& strTitle, const SLayout& ro)
{
    std::vector<std::string> astrRows(ro.oSize.ws_row, std::string(ro.oSize.ws_col, ' '));
    const auto               fPut = [&](int iColumn, int iRow, const std::string& strText, int iColumns) {
        const std::string strCut = CutText(strText, FitsColumns(iColumns));
        astrRows[static_cast<size_t>(iRow)].replace(static_cast<size_t>(iColumn), strCut.size(), strCut);
    };
    if (ro.oSize.ws_row >= 6) fPut(0, 0, "board " + strTitle, ro.oSize.ws_col);
    if (!roView.strProblem.empty()) return fPut(0, ro.oSize.ws_row / 2, roView.strProblem, ro.oSize.ws_col), astrRows;
    for (const size_t ui : {0u, 1u})
        for (auto [iColumn, iRow] = ro.aoCaptions[ui];
             const auto& roText : CaptionOutput(ui, roView.aoOutputs[ui], ro.uiCaptionRows, FitsColumns(ro.iCaptionColumns)))
            fPut(iColumn, iRow++, roText, ro.iCaptionColumns);
    fPut(0, ro.oSize.ws_row - 1, " " + DescribeProgress(roView), ro.oSize.ws_col);
    return astrRows;
}

TEST_F(TerminalTest, ShowsPicturesCaptionsAndProgressWhereTheyBelong)
{
    const SLayout oSmall = {{12, 61, 0, 0}, {{4, 1, 25, 9}, {35, 1, 56, 9}}, {{0, 9}, {31, 9}}, 30, 2};
    const struct
    {
        const char *pszTerm, *pszEnvironment;
        KUINT32     uiWidth, uiHeight;
        SLayout     oFirst, oThen;
    } aoCases[] = {
        // clang-format off
        {"xterm-256color", "LC_ALL=C.UTF-8 COLORTERM=truecolor", 1024, 768,
         {{50, 200, 0, 0}, {{0, 6, 99, 43}, {100, 6, 199, 43}}, {{0, 48}, {100, 48}}, 99, 1}, oSmall},
        {"linux", "LC_ALL=C.UTF-8", 1024, 768,
         {{30, 60, 600, 600}, {{12, 1, 47, 14}, {12, 15, 47, 28}}, {{0, 14}, {0, 28}}, 60, 1}, oSmall},
        {"xterm-256color", "LC_ALL=C", 80, 60,
         {{5, 130, 0, 0}, {{28, 0, 36, 3}, {93, 0, 101, 3}}, {{0, 3}, {65, 3}}, 64, 1},
         {{40, 130, 0, 0}, {{0, 7, 64, 31}, {65, 7, 129, 31}}, {{0, 38}, {65, 38}}, 64, 1}},
    };  // clang-format on
    for (const auto& ro : aoCases)
    {
        SCOPED_TRACE(ro.pszEnvironment);
        Expect("create", 0, "");
        Drawing    oDrawing(ro.uiWidth, ro.uiHeight);
        Screen     oScreen(ro.pszTerm, ro.pszEnvironment, ro.oFirst.oSize);
        const bool bUtf8  = std::string_view(ro.pszEnvironment).find("UTF-8") != std::string_view::npos;
        const auto fShows = [&](SLayout oLayout, bool bPictures, bool bBlue) {
            WatchedBoard oBoard(0, false);
            oBoard.Update();
            const SBoardView& roView = oBoard.GetView();
            if (!bPictures) oLayout.aoPictures.clear();
            const int iFull =
                roView.strProblem.empty() ? oLayout.oSize.ws_col * static_cast<int>(roView.uiProgressPct) / 100 : 0;
            return oScreen.Shows(oLayout.aoPictures, bBlue) && (!bBlue || oScreen.HasBlocks() == bUtf8) &&
                   oScreen.TextAround(oLayout.aoPictures) == Compose(roView, oBoard.GetTitle(), oLayout) &&
                   oScreen.CountReversed(oLayout.oSize.ws_row - 1) == iFull;
        };
        oScreen.Await("the picture", [&] { return fShows(ro.oFirst, true, false); });
        oDrawing.Resume();
        oDrawing.Await();
        oScreen.Await("what is drawn", [&] { return fShows(ro.oFirst, true, true); });
        Expect("progress 50", 0, "");
        oScreen.Await("the bar", [&] { return fShows(ro.oFirst, true, true); });
        EXPECT_EQ(oScreen.m_strRead.find("\x1b[2J"), std::string::npos) << "it flickers";
        oScreen.Lose();
        EXPECT_EQ(write(oScreen.m_oWatch.aiFds[0], "\f", 1), 1);
        oScreen.Await("all of it anew", [&] { return fShows(ro.oFirst, true, true); });
        oScreen.Resize(ro.oThen.oSize);
        oScreen.Await("the picture in another size", [&] { return fShows(ro.oThen, true, true); });
        fs::remove(At("board.state"));
        oScreen.Await("no board", [&] { return fShows(ro.oThen, false, false); });
        fs::remove_all(m_oFolder);
        Expect("create", 0, "");
        oScreen.Await("the new board", [&] { return fShows(ro.oThen, false, false); });
        EXPECT_EQ(write(oScreen.m_oWatch.aiFds[0], "q", 1), 1);
        oScreen.m_oWatch.ooProcess.reset();
    }
}
}
