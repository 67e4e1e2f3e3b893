// What watch shows in a terminal. libvterm is the terminal.
#include <poll.h>
#include <vterm.h>

#include "PanelWorld.h"

namespace
{
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
class Terminal
{
public:
    Terminal(const char* pszTerm, const std::string& strEnvironment, winsize oSize)
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
        while (!testing::Test::HasFailure() && !fIsIt())
        {
            char   acRead[4096];
            pollfd oFile = {.fd = m_oWatch.aiFds[0], .events = POLLIN};
            if (std::chrono::steady_clock::now() > oEnd)
            {
                ADD_FAILURE() << strWhat << " is never shown:\n" << Describe();
                return;
            }
            if (poll(&oFile, 1, 100) > 0)
                vterm_input_write(m_poTerm.get(), acRead,
                                  static_cast<size_t>(std::max<ssize_t>(read(oFile.fd, acRead, sizeof(acRead)), 0)));
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
    // Whether a caption begins below the picture, no further right than it.
    bool IsCaptioned(int iOutput, const SCells& roPicture) const
    {
        return HasText("output " + std::to_string(iOutput) + ": ", roPicture.iBottom, roPicture.iLeft);
    }
    bool HasBlocks() const { return HasText({BLOCK}, 0, m_oSize.ws_col); }
    int  CountReversed(int iRow) const
    {
        int iColumn = 0;
        while (iColumn < m_oSize.ws_col && At(iColumn, iRow).attrs.reverse != 0) ++iColumn;
        return iColumn;
    }
    // Whether the picture is in each of these cells, with a blue middle or without one, and nowhere else.
    bool Shows(std::initializer_list<SCells> aoPlaces, bool bBlue) const
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

    winsize m_oSize;
    Live    m_oWatch;

private:
    struct SFree
    {
        void operator()(VTerm* po) const { vterm_free(po); }
    };
    // Whether the text begins in one of the rows from iFirst on, at iColumn or before it.
    bool HasText(const std::string& strText, int iFirst, int iColumn) const
    {
        int iRow = iFirst;
        while (iRow < m_oSize.ws_row && TextOf(iRow).find(strText) > static_cast<size_t>(iColumn)) ++iRow;
        return iRow < m_oSize.ws_row;
    }
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
        for (int iRow = 0; iRow < m_oSize.ws_row; ++iRow, strAll += '\n')
        {
            const std::string strText = TextOf(iRow);
            for (int iColumn = 0; iColumn < m_oSize.ws_col; ++iColumn)
            {
                const char cColour = ColourAt(iColumn, iRow);
                strAll += cColour != ' ' ? cColour : strText[static_cast<size_t>(iColumn)];
            }
        }
        return strAll;
    }
    std::unique_ptr<VTerm, SFree> m_poTerm{vterm_new(m_oSize.ws_row, m_oSize.ws_col)};
    VTermScreen*                  m_poScreen = vterm_obtain_screen(m_poTerm.get());
};

struct TerminalTest : PanelWorld
{
};

TEST_F(TerminalTest, ShowsPicturesCaptionsAndProgressWhereTheyBelong)
{
    const struct
    {
        const char *pszTerm, *pszEnvironment;
        winsize     oSize;
        KUINT32     uiWidth, uiHeight;
        SCells      aoAt[2];
        winsize     oOther;  // which it is resized to
        SCells      aoThen[2];
    } aoCases[] = {
        {"xterm-256color",
         "LC_ALL=C.UTF-8 COLORTERM=truecolor",
         {50, 200, 0, 0},
         1024,
         768,
         {{0, 6, 99, 43}, {100, 6, 199, 43}},
         {12, 61, 0, 0},
         {{4, 1, 25, 9}, {35, 1, 56, 9}}},
        {"linux",
         "LC_ALL=C.UTF-8",
         {30, 60, 600, 600},
         1024,
         768,
         {{12, 1, 47, 14}, {12, 15, 47, 28}},
         {12, 61, 0, 0},
         {{4, 1, 25, 9}, {35, 1, 56, 9}}},
        {"xterm-256color",
         "LC_ALL=C",
         {5, 130, 0, 0},
         80,
         60,
         {{28, 0, 36, 3}, {93, 0, 101, 3}},
         {40, 130, 0, 0},
         {{0, 7, 64, 31}, {65, 7, 129, 31}}},
    };
    for (const auto& ro : aoCases)
    {
        SCOPED_TRACE(ro.pszEnvironment);
        Expect("create", 0, "");
        Drawing    oDrawing(ro.uiWidth, ro.uiHeight);
        Terminal   oTerminal(ro.pszTerm, ro.pszEnvironment, ro.oSize);
        const bool bUtf8  = std::string_view(ro.pszEnvironment).find("UTF-8") != std::string_view::npos;
        const auto fShows = [&](const SCells(&ao)[2], bool bBlue, int iPercent) {
            const winsize& roSize = oTerminal.m_oSize;
            const int      iLast  = roSize.ws_row - 1;
            return oTerminal.Shows({ao[0], ao[1]}, bBlue) && (!bBlue || oTerminal.HasBlocks() == bUtf8) &&
                   oTerminal.IsCaptioned(0, ao[0]) && oTerminal.IsCaptioned(1, ao[1]) &&
                   oTerminal.TextOf(iLast).starts_with(" progress " + std::to_string(iPercent) + " %") &&
                   oTerminal.CountReversed(iLast) == roSize.ws_col * iPercent / 100 &&
                   oTerminal.TextOf(0).starts_with("board " + m_oFolder.string()) == (iLast >= 5);
        };
        oTerminal.Await("the picture", [&] { return fShows(ro.aoAt, false, 0); });
        oDrawing.Resume();
        oDrawing.Await();
        oTerminal.Await("what is drawn", [&] { return fShows(ro.aoAt, true, 0); });
        Expect("progress 50", 0, "");
        oTerminal.Await("the bar", [&] { return fShows(ro.aoAt, true, 50); });
        oTerminal.Lose();
        EXPECT_EQ(write(oTerminal.m_oWatch.aiFds[0], "\f", 1), 1);
        oTerminal.Await("all of it anew", [&] { return fShows(ro.aoAt, true, 50); });
        oTerminal.Resize(ro.oOther);
        oTerminal.Await("the picture in another size", [&] { return fShows(ro.aoThen, true, 50); });
        fs::remove(At("board.state"));
        oTerminal.Await("no board", [&] {
            return oTerminal.TextOf(ro.oOther.ws_row / 2).find("waiting for a board") != std::string::npos;
        });
        fs::remove_all(m_oFolder);
        Expect("create", 0, "");
        oTerminal.Await("the new board", [&] {
            return oTerminal.Shows({}, false) && oTerminal.IsCaptioned(0, {0, 0, 0, 0}) &&
                   oTerminal.TextOf(ro.oOther.ws_row - 1).starts_with(" progress 0 %");
        });
        EXPECT_EQ(write(oTerminal.m_oWatch.aiFds[0], "q", 1), 1);
        oTerminal.m_oWatch.ooProcess.reset();
    }
}
}
