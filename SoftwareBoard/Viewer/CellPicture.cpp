#include "CellPicture.h"

#include <algorithm>

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr int WIDTH  = TerminalPictures::CELL_WIDTH;
constexpr int HEIGHT = TerminalPictures::CELL_HEIGHT;

// A text is as wide as this, so that what changes in few columns needs few texts. In columns.
constexpr int TEXT_COLUMNS = 4;
}

void CellPicture::Update(const WatchedPicture& roPicture, const TerminalPictures& roDrawer)
{
    const Panel::SPicture& roPixels = roPicture.GetPixels();
    const auto             uiWidth  = static_cast<KUINT32>(m_oCells.first * WIDTH);
    const auto             uiHeight = static_cast<KUINT32>(m_oCells.second * HEIGHT);
    const bool             bParts   = roDrawer.HasParts() && roPixels.uiWidth >= uiWidth && roPixels.uiHeight >= uiHeight;
    m_oChanged.clear();
    if (m_ouiVersion == roPicture.GetVersion())
        return;
    if (!bParts)
        DrawWhole(roPixels, roDrawer);
    else
    {
        const bool bNext = m_ouiVersion && *m_ouiVersion + 1 == roPicture.GetVersion();
        if (!m_ouiVersion)
            m_oScaled = MakePlain(uiWidth, uiHeight);
        DrawPart(ScaleDown(roPixels, bNext ? roPicture.GetChanged() : WholeOf(roPixels), m_oScaled), roDrawer);
    }
    m_ouiVersion = roPicture.GetVersion();
}

void CellPicture::SetText(int iRow, int iColumn, std::string strText)
{
    std::string& rstrText = m_oTexts[{iRow, iColumn}];
    if (rstrText == strText)
        return;
    rstrText                    = strText;
    m_oChanged[{iRow, iColumn}] = std::move(strText);
}

void CellPicture::DrawWhole(const Panel::SPicture& roPicture, const TerminalPictures& roDrawer)
{
    int iRow = 0;
    for (std::string& rstrText : roDrawer.Draw(roPicture.auiRgba.data(), roPicture.uiWidth, roPicture.uiHeight,
                                               roPicture.GetPitchInBytes(), m_oCells.first, m_oCells.second, m_oTerminal))
        SetText(iRow++, 0, std::move(rstrText));
}

void CellPicture::DrawPart(const SArea& oPixels, const TerminalPictures& roDrawer)
{
    const int iTop    = static_cast<int>(oPixels.uiTop) / HEIGHT;
    const int iBottom = (static_cast<int>(oPixels.uiBottom) + HEIGHT - 1) / HEIGHT;
    const int iRight  = (static_cast<int>(oPixels.uiRight) + WIDTH - 1) / WIDTH;
    int       iColumn = static_cast<int>(oPixels.uiLeft) / WIDTH / TEXT_COLUMNS * TEXT_COLUMNS;
    for (; iColumn < iRight; iColumn += TEXT_COLUMNS)
    {
        const int           iColumns = std::min(TEXT_COLUMNS, m_oCells.first - iColumn);
        const KUINT8* const puiFrom  = m_oScaled.auiRgba.data() +
                                      static_cast<size_t>(iTop * HEIGHT) * m_oScaled.GetPitchInBytes() +
                                      static_cast<size_t>(iColumn * WIDTH) * 4;
        int iRow = iTop;
        for (std::string& rstrText :
             roDrawer.Draw(puiFrom, static_cast<KUINT32>(iColumns * WIDTH), static_cast<KUINT32>((iBottom - iTop) * HEIGHT),
                           m_oScaled.GetPitchInBytes(), iColumns, iBottom - iTop, m_oTerminal))
            SetText(iRow++, iColumn, std::move(rstrText));
    }
}
}
