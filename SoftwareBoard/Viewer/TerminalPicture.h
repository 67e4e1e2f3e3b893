// Draws pictures in the terminal: as images if the terminal has them, otherwise as coloured cells.
#ifndef TERMINAL_PICTURE_H
#define TERMINAL_PICTURE_H

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <chafa.h>

#include "Picture.h"
#include "Terminal.h"

namespace SoftwareBoard::Viewer
{
class TerminalPictures
{
public:
    // Asks the environment what the terminal can do.
    TerminalPictures();

    // The columns and rows of a picture that is not scaled.
    static std::pair<double, double> SizeInCells(KUINT32 uiWidth, KUINT32 uiHeight, const STerminalSize& roTerminal);

    // The columns and rows that an undistorted picture takes if it may take at most iColumns and iRows.
    std::pair<int, int> FitInto(int iColumns, int iRows, KUINT32 uiWidth, KUINT32 uiHeight,
                                const STerminalSize& roTerminal) const;

    // The pixels of a cell that symbols are chosen by.
    static constexpr int CELL_WIDTH = 8, CELL_HEIGHT = 8;

    // Returns one text for each row of cells, or a single text if the terminal draws images. uiPitchInBytes leads from one
    // row of pixels to the next.
    std::vector<std::string> Draw(const KUINT8* puiRgba, KUINT32 uiWidth, KUINT32 uiHeight, size_t uiPitchInBytes,
                                  int iColumns, int iRows, const STerminalSize& roTerminal) const;

    // Whether a part of a picture looks the same whatever is around it. With few colours they are chosen for the whole
    // picture, and an image is drawn as a whole.
    bool HasParts() const
    {
        return !HasImages() &&
               (m_eCanvasMode == CHAFA_CANVAS_MODE_TRUECOLOR || m_eCanvasMode == CHAFA_CANVAS_MODE_INDEXED_240);
    }

    // What to write to remove images; empty if drawing over them is enough.
    std::string GetImageEraser() const { return m_ePixelMode == CHAFA_PIXEL_MODE_KITTY ? "\x1b_Ga=d,q=2\x1b\\" : ""; }

    bool HasImages() const { return m_ePixelMode != CHAFA_PIXEL_MODE_SYMBOLS; }

private:
    struct SUnref
    {
        void operator()(ChafaTermInfo* po) const { chafa_term_info_unref(po); }
        void operator()(ChafaSymbolMap* po) const { chafa_symbol_map_unref(po); }
        void operator()(ChafaCanvasConfig* po) const { chafa_canvas_config_unref(po); }
        void operator()(ChafaCanvas* po) const { chafa_canvas_unref(po); }
        void operator()(GString* po) const { g_string_free(po, TRUE); }
    };
    template <class T> using Owned = std::unique_ptr<T, SUnref>;

    ChafaCanvas* FindCanvas(int iColumns, int iRows, const STerminalSize& roTerminal) const;

    Owned<ChafaTermInfo>  m_poTermInfo;
    Owned<ChafaSymbolMap> m_poSymbols;
    ChafaCanvasMode       m_eCanvasMode = CHAFA_CANVAS_MODE_FGBG;
    ChafaPixelMode        m_ePixelMode  = CHAFA_PIXEL_MODE_SYMBOLS;

    mutable std::map<std::array<int, 4>, Owned<ChafaCanvas>> m_oCanvases;  // by size in cells and size of a cell
};
}

#endif
