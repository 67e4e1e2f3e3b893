// A watched picture as texts for the terminal. Only the cells whose pixels have changed are drawn again.
#ifndef CELL_PICTURE_H
#define CELL_PICTURE_H

#include <map>
#include <optional>
#include <string>
#include <utility>

#include "TerminalPicture.h"
#include "WatchedPicture.h"

namespace SoftwareBoard::Viewer
{
class CellPicture
{
public:
    // The size is in columns and rows.
    CellPicture(std::pair<int, int> oCells, const STerminalSize& roTerminal) : m_oCells(oCells), m_oTerminal(roTerminal) {}

    bool IsFor(std::pair<int, int> oCells, const STerminalSize& roTerminal) const
    {
        return oCells == m_oCells && roTerminal == m_oTerminal;
    }

    // By row and column.
    using Texts = std::map<std::pair<int, int>, std::string>;

    // Draws what has changed since the last call.
    void Update(const WatchedPicture& roPicture, const TerminalPictures& roDrawer);

    const Texts& GetTexts() const { return m_oTexts; }
    // Those that the last Update drew.
    const Texts& GetChanged() const { return m_oChanged; }

private:
    void SetText(int iRow, int iColumn, std::string strText);
    void DrawWhole(const Panel::SPicture& roPicture, const TerminalPictures& roDrawer);
    void DrawPart(const SArea& oPixels, const TerminalPictures& roDrawer);

    std::pair<int, int>    m_oCells;
    STerminalSize          m_oTerminal;
    std::optional<KUINT32> m_ouiVersion;  // of the picture that was drawn
    Panel::SPicture        m_oScaled;     // empty while pictures are drawn as a whole
    Texts                  m_oTexts;
    Texts                  m_oChanged;
};
}

#endif
