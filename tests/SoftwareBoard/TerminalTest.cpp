// What watch shows in a terminal. libvterm is the terminal.
#include <vterm.h>

#include "PanelWorld.h"
#include "Watch.h"

namespace
{
using namespace SoftwareBoard::Viewer;
using TerminalTest = PanelWorld;

// How many ends of a cell, of a row or column of cells, lie in the middle half of it.
int EndsInMiddle(size_t uiCell, size_t uiCells)
{
    const size_t uiFrom = 4 * uiCell, uiTo = uiFrom + 4;
    return (uiFrom >= uiCells && uiFrom < 3 * uiCells ? 1 : 0) + (uiTo > uiCells && uiTo <= 3 * uiCells ? 1 : 0);
}

// A terminal in which watch runs.
struct Screen
{
    Screen(const char* pszTerm, const std::string& strEnvironment, winsize oSize)
        : m_oWatch("watch", true, oSize, pszTerm, "export " + strEnvironment + "; "),
          m_poTerm(vterm_new(oSize.ws_row, oSize.ws_col), vterm_free)
    {
        vterm_set_utf8(m_poTerm.get(), 1);
        vterm_screen_enable_altscreen(m_poScreen, 1);
        vterm_screen_reset(m_poScreen, 1);
    }
    // Reads on until the screen is as expected, where '?' is any cell.
    void Await(const std::string& strWhat, const std::function<std::string()>& fExpected)
    {
        if (testing::Test::HasFailure()) return;
        m_strRead.clear();
        const auto fIsShown = [&] {
            char   acRead[4096];
            pollfd oFile = {.fd = m_oWatch.aiFds[0], .events = POLLIN};
            for (ssize_t iRead; poll(&oFile, 1, 0) > 0 && (iRead = read(oFile.fd, acRead, sizeof(acRead))) > 0;)
            {
                m_strRead.append(acRead, static_cast<size_t>(iRead));
                vterm_input_write(m_poTerm.get(), acRead, static_cast<size_t>(iRead));
            }
            const std::string strIs = Read(), strExpected = fExpected();
            return std::equal(strIs.begin(), strIs.end(), strExpected.begin(), strExpected.end(),
                              [](char cIs, char c) { return c == cIs || c == '?'; });
        };
        EXPECT_TRUE(Becomes(fIsShown)) << strWhat << " is never shown:\n" << Read();
    }
    // The letters of each row, or '@' for a green cell and '&' for a blue one. Then the reversed cells of the last row.
    std::string Read() const
    {
        std::string strAll, strReversed;
        int         iRows = 0, iColumns = 0;
        vterm_get_size(m_poTerm.get(), &iRows, &iColumns);
        for (int iRow = 0; iRow < iRows; ++iRow, strAll += '\n')
            for (int iColumn = 0; iColumn < iColumns; ++iColumn)
            {
                VTermScreenCell oCell = {};
                vterm_screen_get_cell(m_poScreen, {iRow, iColumn}, &oCell);
                const uint32_t uiChar    = std::max(oCell.chars[0], uint32_t{' '});
                const bool     bReversed = oCell.attrs.reverse != 0;
                const char cBack = NameOf(bReversed ? oCell.fg : oCell.bg), cFore = NameOf(bReversed ? oCell.bg : oCell.fg);
                const char cColour = uiChar == ' ' ? cBack : uiChar == FULL_BLOCK || cBack == cFore ? cFore : ' ';
                strAll += cColour != ' ' ? cColour : uiChar < 0x80 ? static_cast<char>(uiChar) : '#';
                if (iRow == iRows - 1) strReversed += bReversed ? 'r' : '.';
            }
        return strAll + strReversed;
    }
    char NameOf(VTermColor o) const
    {
        vterm_screen_convert_color_to_rgb(m_poScreen, &o);
        const bool bStrong = std::max(o.rgb.green, o.rgb.blue) > 100 && o.rgb.red < 100;
        return bStrong && o.rgb.green > 3 * o.rgb.blue ? '@' : bStrong && o.rgb.blue > 3 * o.rgb.green ? '&' : ' ';
    }

    static constexpr uint32_t                FULL_BLOCK = 0x2588;
    Live                                     m_oWatch;
    std::string                              m_strRead;  // by the last Await
    std::unique_ptr<VTerm, void (*)(VTerm*)> m_poTerm;
    VTermScreen*                             m_poScreen = vterm_obtain_screen(m_poTerm.get());
};

// A size of the terminal, and where things are then.
struct SLayout
{
    winsize                   oSize;
    std::array<size_t, 4>     aauiPictures[2];  // left, top, and the first cell right and below
    std::pair<size_t, size_t> aoCaptions[2];    // column and row
    size_t                    uiCaptionColumns, uiCaptionRows;
};

// All of a screen, where the picture is made of these cells: around its middle half, partly in it, and in it.
std::string Compose(const WatchedBoard& roBoard, const SLayout& ro, const char* pszCells)
{
    const SBoardView& roView = roBoard.GetView();
    const size_t      uiRows = ro.oSize.ws_row, uiColumns = ro.oSize.ws_col, uiBar = uiColumns * roView.uiProgressPct / 100;
    std::string       strAll;
    for (size_t uiRow = 0; uiRow < uiRows; ++uiRow) strAll += std::string(uiColumns, ' ') + '\n';
    const auto fPut = [&](size_t uiColumn, size_t uiRow, const std::string& strText, size_t uiRoom) {
        const std::string strCut = CutText(strText, FitsColumns(static_cast<int>(uiRoom)));
        strAll.replace(uiRow * (uiColumns + 1) + uiColumn, strCut.size(), strCut);
    };
    for (const auto& [uiLeft, uiTop, uiRight, uiBottom] : ro.aauiPictures)
        for (size_t uiX = uiLeft; uiX < uiRight; ++uiX)
            for (size_t uiY = uiTop; uiY < uiBottom; ++uiY)
                strAll[uiY * (uiColumns + 1) + uiX] = pszCells[std::min(EndsInMiddle(uiX - uiLeft, uiRight - uiLeft),
                                                                        EndsInMiddle(uiY - uiTop, uiBottom - uiTop))];
    if (uiRows >= 6) fPut(0, 0, "board " + roBoard.GetTitle(), uiColumns);
    fPut(0, uiRows / 2, roView.strProblem, uiColumns);
    for (size_t ui = 0; ui < roView.aoOutputs.size(); ++ui)
        for (auto [uiColumn, uiRow] = ro.aoCaptions[ui];
             const auto& roText :
             CaptionOutput(ui, roView.aoOutputs[ui], ro.uiCaptionRows, FitsColumns(static_cast<int>(ro.uiCaptionColumns))))
            fPut(uiColumn, uiRow++, roText, ro.uiCaptionColumns);
    if (roView.uiBoard != 0) fPut(0, uiRows - 1, " progress " + std::to_string(roView.uiProgressPct) + " %", uiColumns);
    return strAll + std::string(uiBar, 'r') + std::string(uiColumns - uiBar, '.');
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
         {{44, 130, 0, 0}, {{0, 9, 64, 33}, {65, 9, 129, 33}}, {{0, 42}, {65, 42}}, 64, 1}},
    };  // clang-format on
    for (const auto& ro : aoCases)
    {
        SCOPED_TRACE(ro.pszEnvironment);
        Expect("create", 0, "");
        Drawing    oDrawing(ro.uiWidth, ro.uiHeight);
        Screen     oScreen(ro.pszTerm, ro.pszEnvironment, ro.oFirst.oSize);
        const auto fAwait = [&](const char* pszWhat, const SLayout& roLayout, const char* pszCells) {
            oScreen.Await(pszWhat, [&] {
                WatchedBoard oBoard(0, false);
                oBoard.Update();
                return Compose(oBoard, roLayout, pszCells);
            });
        };
        fAwait("the picture", ro.oFirst, "@@@");
        oDrawing.Resume();
        oDrawing.Await();
        fAwait("what is drawn", ro.oFirst, "@?&");
        Expect("progress 50", 0, "");
        fAwait("the bar", ro.oFirst, "@?&");
        EXPECT_EQ(oScreen.m_strRead.find("\x1b[2J"), std::string::npos) << "it flickers";
        vterm_screen_reset(oScreen.m_poScreen, 1);  // as if another program had written over it
        EXPECT_EQ(write(oScreen.m_oWatch.aiFds[0], "\f", 1), 1);
        fAwait("all of it anew", ro.oFirst, "@?&");
        EXPECT_EQ(oScreen.m_strRead.find('\xE2') == std::string::npos, std::string_view(ro.pszEnvironment) == "LC_ALL=C");
        vterm_set_size(oScreen.m_poTerm.get(), ro.oThen.oSize.ws_row, ro.oThen.oSize.ws_col);
        ioctl(oScreen.m_oWatch.aiFds[0], TIOCSWINSZ, &ro.oThen.oSize);
        fAwait("the picture in another size", ro.oThen, "@?&");
        fs::remove(At("board.state"));
        fAwait("no board", ro.oThen, "   ");
        fs::remove_all(m_oFolder);
        Expect("create", 0, "");
        fAwait("the new board", ro.oThen, "   ");
        EXPECT_EQ(write(oScreen.m_oWatch.aiFds[0], "q", 1), 1);
        oScreen.m_oWatch.ooProcess.reset();
    }
}
}
