#include "TerminalPicture.h"

#include <langinfo.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr float WORK_FACTOR = 0.2F;  // of 1: more takes longer, and shows little more on pictures that move

constexpr int USUAL_CELL_WIDTH_PX = 8, USUAL_CELL_HEIGHT_PX = 16;

// The block characters that the fonts of the kernel's console have.
constexpr auto CONSOLE_SYMBOLS =
    static_cast<ChafaSymbolTags>(CHAFA_SYMBOL_TAG_SOLID | CHAFA_SYMBOL_TAG_HHALF | CHAFA_SYMBOL_TAG_VHALF);

bool IsConsole()
{
    const char* const pszTerm = std::getenv("TERM");
    return pszTerm != nullptr && std::string_view(pszTerm).starts_with("linux");
}

int CellWidth(const STerminalSize& ro)
{
    return ro.iCellWidthPx > 0 ? ro.iCellWidthPx : USUAL_CELL_WIDTH_PX;
}

int CellHeight(const STerminalSize& ro)
{
    return ro.iCellHeightPx > 0 ? ro.iCellHeightPx : USUAL_CELL_HEIGHT_PX;
}
}

TerminalPictures::TerminalPictures()
{
    const std::unique_ptr<char*, void (*)(char**)> ppszEnvironment(g_get_environ(), g_strfreev);
    chafa_set_n_threads(1);  // drawing so few cells takes less time than starting threads
    m_poTermInfo.reset(chafa_term_db_detect(chafa_term_db_get_default(), ppszEnvironment.get()));
    const auto fHas = [this](ChafaTermSeq eSequence) {
        return chafa_term_info_have_seq(m_poTermInfo.get(), eSequence) != FALSE;
    };

    if (fHas(CHAFA_TERM_SEQ_BEGIN_KITTY_IMMEDIATE_IMAGE_V1))
        m_ePixelMode = CHAFA_PIXEL_MODE_KITTY;
    else if (fHas(CHAFA_TERM_SEQ_BEGIN_SIXELS))
        m_ePixelMode = CHAFA_PIXEL_MODE_SIXELS;

    if (HasImages() || fHas(CHAFA_TERM_SEQ_SET_COLOR_FGBG_DIRECT))
        m_eCanvasMode = CHAFA_CANVAS_MODE_TRUECOLOR;
    else if (fHas(CHAFA_TERM_SEQ_SET_COLOR_FGBG_256))
        m_eCanvasMode = CHAFA_CANVAS_MODE_INDEXED_240;
    else if (fHas(CHAFA_TERM_SEQ_SET_COLOR_FGBG_16))
        m_eCanvasMode = CHAFA_CANVAS_MODE_INDEXED_16;

    std::setlocale(LC_CTYPE, "");
    const bool bUtf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    m_poSymbols.reset(chafa_symbol_map_new());
    chafa_symbol_map_add_by_tags(m_poSymbols.get(), CHAFA_SYMBOL_TAG_SPACE);
    if (!bUtf8)
        chafa_symbol_map_add_by_tags(m_poSymbols.get(), CHAFA_SYMBOL_TAG_ASCII);
    else if (IsConsole())
        chafa_symbol_map_add_by_tags(m_poSymbols.get(), CONSOLE_SYMBOLS);
    else
        chafa_symbol_map_add_by_tags(m_poSymbols.get(), CHAFA_SYMBOL_TAG_BLOCK);
}

std::pair<double, double> TerminalPictures::SizeInCells(KUINT32 uiWidth, KUINT32 uiHeight, const STerminalSize& roTerminal)
{
    return {double{1} * uiWidth / CellWidth(roTerminal), double{1} * uiHeight / CellHeight(roTerminal)};
}

std::pair<int, int> TerminalPictures::FitInto(int iColumns, int iRows, KUINT32 uiWidth, KUINT32 uiHeight,
                                              const STerminalSize& roTerminal) const
{
    const auto [fWidth, fHeight] = SizeInCells(uiWidth, uiHeight, roTerminal);
    const double fScale          = std::min(iColumns / fWidth, iRows / fHeight);
    return {std::clamp(static_cast<int>(fWidth * fScale + 0.5), 1, iColumns),
            std::clamp(static_cast<int>(fHeight * fScale + 0.5), 1, iRows)};
}

// Making a canvas takes longer than drawing a few cells on it.
ChafaCanvas* TerminalPictures::FindCanvas(int iColumns, int iRows, const STerminalSize& roTerminal) const
{
    constexpr size_t uiMost = 64;
    const auto       oKey   = std::array{iColumns, iRows, CellWidth(roTerminal), CellHeight(roTerminal)};
    if (const auto i = m_oCanvases.find(oKey); i != m_oCanvases.end())
        return i->second.get();
    if (m_oCanvases.size() >= uiMost)
        m_oCanvases.clear();
    const Owned<ChafaCanvasConfig> poConfig(chafa_canvas_config_new());
    chafa_canvas_config_set_geometry(poConfig.get(), iColumns, iRows);
    chafa_canvas_config_set_cell_geometry(poConfig.get(), CellWidth(roTerminal), CellHeight(roTerminal));
    chafa_canvas_config_set_canvas_mode(poConfig.get(), m_eCanvasMode);
    chafa_canvas_config_set_pixel_mode(poConfig.get(), m_ePixelMode);
    chafa_canvas_config_set_work_factor(poConfig.get(), WORK_FACTOR);
    chafa_canvas_config_set_preprocessing_enabled(poConfig.get(), FALSE);  // it made dark blue cyan where colours are few
    chafa_canvas_config_set_symbol_map(poConfig.get(), m_poSymbols.get());
    return (m_oCanvases[oKey] = Owned<ChafaCanvas>(chafa_canvas_new(poConfig.get()))).get();
}

std::vector<std::string> TerminalPictures::Draw(const KUINT8* puiRgba, KUINT32 uiWidth, KUINT32 uiHeight,
                                                size_t uiPitchInBytes, int iColumns, int iRows,
                                                const STerminalSize& roTerminal) const
{
    ChafaCanvas* const poCanvas = FindCanvas(iColumns, iRows, roTerminal);
    chafa_canvas_draw_all_pixels(poCanvas, CHAFA_PIXEL_RGBA8_UNASSOCIATED, puiRgba, static_cast<gint>(uiWidth),
                                 static_cast<gint>(uiHeight), static_cast<gint>(uiPitchInBytes));
    const Owned<GString> poText(chafa_canvas_print(poCanvas, m_poTermInfo.get()));
    const std::string    strText(poText->str, poText->len);
    if (m_ePixelMode == CHAFA_PIXEL_MODE_KITTY)
        return {"\x1b_Ga=d,d=C,q=2\x1b\\" + strText};  // removes the last image; they would pile up
    if (HasImages())
        return {strText};

    std::vector<std::string> astrRows;
    for (size_t uiFrom = 0; uiFrom < strText.size();)
    {
        const size_t uiEnd = std::min(strText.find('\n', uiFrom), strText.size());
        astrRows.push_back(strText.substr(uiFrom, uiEnd - uiFrom));
        uiFrom = uiEnd + 1;
    }
    return astrRows;
}
}
