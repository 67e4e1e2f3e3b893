#include "TestCard.h"

#include <algorithm>
#include <string>

#include "CardFont.h"
#include "QelColor.h"
#include "QelSurfaceTyped.h"

namespace BoardCheck
{
namespace
{
using Surface = QelSurfaceTyped<QelColor<TPixelFormat_R8G8B8A8, unsigned int>>;

struct SColour
{
    KUINT16 uiRed;
    KUINT16 uiGreen;
    KUINT16 uiBlue;
};

constexpr SColour BLACK = {0, 0, 0}, WHITE = {255, 255, 255}, RED = {255, 0, 0}, GREEN = {0, 255, 0}, BLUE = {0, 0, 255},
                  YELLOW = {255, 255, 0}, CYAN = {0, 255, 255}, MAGENTA = {255, 0, 255};

struct SLine
{
    const char* pszText;
    SColour     oColour;
};

// clang-format off
constexpr SLine LINES[] = {
    {"THIS WORD IS RED",                       RED},
    {"THIS WORD IS GREEN",                     GREEN},
    {"THIS WORD IS BLUE",                      BLUE},
    {"A THIN LINE RUNS AROUND ALL FOUR EDGES", WHITE},
    {"EACH BAR HAS THE COLOUR OF ITS NAME",    WHITE},
};

// The colour bars, from the left.
constexpr SLine BARS[] = {
    {"WHITE", WHITE}, {"YELLOW",  YELLOW},  {"CYAN", CYAN}, {"GREEN", GREEN},
    {"MAGENTA", MAGENTA}, {"RED", RED}, {"BLUE", BLUE}, {"BLACK", BLACK},
};
// clang-format on

constexpr KUINT32 COLUMNS = 50;  // of text in the width of the picture
constexpr KUINT32 ROWS    = 30;  // of text in its height

constexpr KINT32 LAST_ROW = 18;  // of the card, counted in its distance of lines; it holds the bar and the square

// Draws in cells of text, so that the card looks alike in every size.
class Card
{
public:
    Card(const tagTBuffer_PlaneInfo& roInfo, const KUINTPTR* puiPlanes)
        : m_iWidth(static_cast<KINT32>(roInfo.auiWidth[0])), m_iHeight(static_cast<KINT32>(roInfo.auiHeight[0])),
          m_iDot(std::max(1, std::min(m_iWidth / static_cast<KINT32>(COLUMNS * (GLYPH_WIDTH + 1)),
                                      m_iHeight / static_cast<KINT32>(ROWS * (GLYPH_HEIGHT + 1))))),
          m_oSurface(puiPlanes, roInfo.auiPitch, roInfo.auiPitchInBytes, roInfo.auiWidth[0], roInfo.auiHeight[0], 1)
    {}

    // Right and bottom excluded. What lies outside is left out.
    void Fill(const SColour& roColour, KINT32 iLeft, KINT32 iTop, KINT32 iRight, KINT32 iBottom)
    {
        m_oSurface.SetFgColorFromARGB(255, roColour.uiRed, roColour.uiGreen, roColour.uiBlue);
        m_oSurface.Rectangle(std::max(iLeft, 0), std::max(iTop, 0), std::min(iRight, m_iWidth),
                             std::min(iBottom, m_iHeight));
    }

    void Frame(const SColour& roColour, KINT32 iLeft, KINT32 iTop, KINT32 iRight, KINT32 iBottom)
    {
        Fill(roColour, iLeft, iTop, iRight, iTop + 1);
        Fill(roColour, iLeft, iBottom - 1, iRight, iBottom);
        Fill(roColour, iLeft, iTop, iLeft + 1, iBottom);
        Fill(roColour, iRight - 1, iTop, iRight, iBottom);
    }

    // Around the column iCentre.
    void Write(const std::string& strText, const SColour& roColour, KINT32 iCentre, KINT32 iTop, KINT32 iDot)
    {
        const auto iCell = static_cast<KINT32>(GLYPH_WIDTH + 1) * iDot;
        KINT32     iLeft = iCentre - iCell * static_cast<KINT32>(strText.size()) / 2;
        for (const char c : strText)
        {
            for (KUINT32 uiDot = 0; uiDot < GLYPH_WIDTH * GLYPH_HEIGHT; ++uiDot)
            {
                const KINT32 x = iLeft + static_cast<KINT32>(uiDot % GLYPH_WIDTH) * iDot;
                const KINT32 y = iTop + static_cast<KINT32>(uiDot / GLYPH_WIDTH) * iDot;
                if (IsInk(c, uiDot % GLYPH_WIDTH, uiDot / GLYPH_WIDTH))
                    Fill(roColour, x, y, x + iDot, y + iDot);
            }
            iLeft += iCell;
        }
    }

    const KINT32 m_iWidth;
    const KINT32 m_iHeight;
    const KINT32 m_iDot;                                                              // pixels of a dot of text
    const KINT32 m_iRow    = static_cast<KINT32>(GLYPH_HEIGHT + 1) * m_iDot * 3 / 2;  // pixels from one line to the next
    const KINT32 m_iSquare = m_iWidth * 4 / 5 - m_iRow / 2;  // the left edge of the square, as wide and high as a line

private:
    Surface m_oSurface;
};
}

void DrawBlinkingSquare(const tagTBuffer_PlaneInfo& roInfo, const KUINTPTR* puiPlanes, bool bLit)
{
    Card         oCard(roInfo, puiPlanes);
    const KINT32 iRow = oCard.m_iRow, iLeft = oCard.m_iSquare, iTop = LAST_ROW * iRow;
    oCard.Fill(bLit ? WHITE : BLACK, iLeft + 2, iTop + 2, iLeft + iRow - 2, iTop + iRow - 2);
}

void DrawTestCard(const tagTBuffer_PlaneInfo& roInfo, const KUINTPTR* puiPlanes, KUINT32 uiOutput)
{
    Card         oCard(roInfo, puiPlanes);
    const KINT32 iRow = oCard.m_iRow, w = oCard.m_iWidth, h = oCard.m_iHeight;

    oCard.Fill(BLACK, 0, 0, w, h);

    KINT32 iTop = iRow;
    oCard.Write("THIS LINE IS AT THE TOP", WHITE, w / 2, iTop, oCard.m_iDot);
    oCard.Write("OUTPUT " + std::to_string(uiOutput), WHITE, w / 2, iTop + 2 * iRow, 3 * oCard.m_iDot);
    iTop += 5 * iRow;
    for (const SLine& roLine : LINES)
    {
        oCard.Write(roLine.pszText, roLine.oColour, w / 2, iTop, oCard.m_iDot);
        iTop += iRow;
    }

    const KINT32 iBar  = w / 10;
    KINT32       iLeft = iBar;
    for (const SLine& roBar : BARS)
    {
        oCard.Write(roBar.pszText, WHITE, iLeft + iBar / 2, iTop + iRow, std::max(1, oCard.m_iDot * 2 / 3));
        oCard.Fill(roBar.oColour, iLeft, iTop + 2 * iRow, iLeft + iBar, iTop + 5 * iRow);
        iLeft += iBar;
    }
    oCard.Frame(WHITE, iBar, iTop + 2 * iRow, iLeft, iTop + 5 * iRow);

    iTop = LAST_ROW * iRow;
    oCard.Write("THIS BAR IS AT 50 %", WHITE, iBar * 7 / 2, iTop - iRow, oCard.m_iDot);
    oCard.Fill(WHITE, iBar, iTop, iBar * 7 / 2, iTop + iRow);
    oCard.Frame(WHITE, iBar, iTop, iBar * 6, iTop + iRow);

    oCard.Write("THIS SQUARE BLINKS", WHITE, w * 4 / 5, iTop - iRow, oCard.m_iDot);
    oCard.Frame(WHITE, oCard.m_iSquare, iTop, oCard.m_iSquare + iRow, iTop + iRow);

    oCard.Frame(WHITE, 0, 0, w, h);
}
}
