// What watch shows in a terminal. libvterm is the terminal.
#include <poll.h>
#include <vterm.h>

#include "PanelWorld.h"

namespace
{
struct SCells
{
    int  iLeft, iTop, iRight, iBottom;  // the last two are outside
    bool Has(int iColumn, int iRow) const { return iColumn >= iLeft && iColumn < iRight && iRow >= iTop && iRow < iBottom; }
};

// The cells of a picture's upper left quarter: those that are wholly in it, or those that some of it touches.
SCells Quarter(const SCells& ro, bool bTouched)
{
    const int iMore = bTouched ? 1 : 0;
    return {ro.iLeft, ro.iTop, ro.iLeft + (ro.iRight - ro.iLeft + iMore) / 2, ro.iTop + (ro.iBottom - ro.iTop + iMore) / 2};
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
    // Reads on until the screen passes the test.
    void Await(const std::string& strWhat, const std::function<bool()>& fIsIt)
    {
        const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(LONGEST_SEC);
        while (!fIsIt())
        {
            char   acRead[4096];
            pollfd oFile = {m_oWatch.aiFds[0], POLLIN, 0};
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
        if (oCell.chars[0] == 0 || oCell.chars[0] == ' ') return cBack;  // 0x2588 is the full block
        return oCell.chars[0] == 0x2588 || cBack == cFore ? cFore : ' ';
    }
    std::string TextOf(int iRow) const
    {
        std::string strText;
        for (int iColumn = 0; iColumn < m_oSize.ws_col; ++iColumn)
        {
            const uint32_t uiChar = At(iColumn, iRow).chars[0];
            strText += uiChar == 0 ? ' ' : uiChar < 0x80 ? static_cast<char>(uiChar) : '?';
        }
        return strText;
    }
    int CountReversed(int iRow) const
    {
        int iColumn = 0;
        while (iColumn < m_oSize.ws_col && At(iColumn, iRow).attrs.reverse != 0) ++iColumn;
        return iColumn;
    }
    // Whether the picture is in each of these cells, with a blue quarter or without one, and nowhere else.
    bool Shows(std::initializer_list<SCells> aoPlaces, bool bBlue) const
    {
        for (int iAt = 0; iAt < m_oSize.ws_row * m_oSize.ws_col; ++iAt)
        {
            const int  iColumn = iAt % m_oSize.ws_col, iRow = iAt / m_oSize.ws_col;
            const char cIs = ColourAt(iColumn, iRow);
            const auto i   = std::find_if(aoPlaces.begin(), aoPlaces.end(), [&](auto& ro) { return ro.Has(iColumn, iRow); });
            if (i != aoPlaces.end() && bBlue && Quarter(*i, true).Has(iColumn, iRow) &&
                !Quarter(*i, false).Has(iColumn, iRow))
                continue;  // blue meets green in here
            if (cIs != (i == aoPlaces.end() ? ' ' : bBlue && Quarter(*i, false).Has(iColumn, iRow) ? 'b' : 'g'))
                return false;
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
         {24, 80, 0, 0},
         1024,
         768,
         {{0, 3, 39, 18}, {40, 3, 79, 18}},
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
         40,
         30,
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
        const auto fShows = [&](const SCells(&ao)[2], bool bBlue) {
            const int iLast = oTerminal.m_oSize.ws_row - 1;
            return oTerminal.Shows({ao[0], ao[1]}, bBlue) && oTerminal.TextOf(iLast).starts_with(" progress 0 %") &&
                   oTerminal.TextOf(0).starts_with("board " + m_oFolder.string()) == (iLast >= 5);
        };
        oTerminal.Await("the picture", [&] { return fShows(ro.aoAt, false); });
        oDrawing.Resume();
        oDrawing.Await();
        oTerminal.Await("what is drawn", [&] { return fShows(ro.aoAt, true); });
        oTerminal.Resize(ro.oOther);
        oTerminal.Await("the picture in another size", [&] { return fShows(ro.aoThen, true); });
        Expect("progress 50", 0, "");
        const int iLast = ro.oOther.ws_row - 1;
        oTerminal.Await("the bar", [&] { return oTerminal.CountReversed(iLast) == ro.oOther.ws_col / 2; });
        fs::remove(At("board.state"));
        oTerminal.Await("no board", [&] {
            return oTerminal.TextOf(ro.oOther.ws_row / 2).find("waiting for a board") != std::string::npos;
        });
        EXPECT_EQ(write(oTerminal.m_oWatch.aiFds[0], "q", 1), 1);
        oTerminal.m_oWatch.ooProcess.reset();
    }
}
}
