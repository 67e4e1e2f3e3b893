#include "Text.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

#include <cairo.h>
#include <glib.h>

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr double FONT_SIZE = 15;  // pixels

// An image of opaque pixels, and the context that draws text on it.
class Canvas
{
public:
    Canvas(int iWidth, int iHeight)
        : m_poSurface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, iWidth, iHeight), cairo_surface_destroy),
          m_poContext(cairo_create(m_poSurface.get()), cairo_destroy)
    {
        cairo_select_font_face(m_poContext.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(m_poContext.get(), FONT_SIZE);
    }

    cairo_t* Get() const { return m_poContext.get(); }

    void SetColour(const std::array<KUINT8, 3>& roColour) const
    {
        cairo_set_source_rgb(Get(), roColour[0] / 255.0, roColour[1] / 255.0, roColour[2] / 255.0);
    }

    // The pixels as words of 0x00RRGGBB. Sets riWords to the number of words from one row to the next.
    const KUINT32* GetPixels(int& riWords) const
    {
        cairo_surface_flush(m_poSurface.get());
        riWords = cairo_image_surface_get_stride(m_poSurface.get()) / 4;
        return reinterpret_cast<const KUINT32*>(cairo_image_surface_get_data(m_poSurface.get()));
    }

private:
    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> m_poSurface;
    std::unique_ptr<cairo_t, void (*)(cairo_t*)>                 m_poContext;
};

bool IsInsideCharacter(char c)
{
    return (c & 0xC0) == 0x80;
}

// Where the last letter of the text begins. The marks that follow a letter belong to it.
size_t FindLastLetter(const std::string& strText)
{
    size_t uiAt = strText.size();
    while (uiAt > 0)
    {
        --uiAt;
        const gunichar uiChar = IsInsideCharacter(strText[uiAt]) ? 0 : g_utf8_get_char(&strText[uiAt]);
        if (uiChar != 0 && g_unichar_ismark(uiChar) == FALSE && g_unichar_iszerowidth(uiChar) == FALSE)
            break;
    }
    return uiAt;
}
}

FitsFunction FitsColumns(int iColumns)
{
    return [iColumns](const std::string& strText) { return TextColumns(strText) <= iColumns; };
}

FitsFunction FitsPixels(int iWidth)
{
    return [iWidth](const std::string& strText) { return TextWidth(strText) <= iWidth; };
}

int TextColumns(const std::string& strText)
{
    int iColumns = 0;
    for (const char& roChar : strText)
    {
        const gunichar uiChar = IsInsideCharacter(roChar) ? 0 : g_utf8_get_char(&roChar);
        if (uiChar != 0 && g_unichar_iszerowidth(uiChar) == FALSE)
            iColumns += g_unichar_iswide(uiChar) != FALSE ? 2 : 1;
    }
    return iColumns;
}

std::string CutText(const std::string& strText, const FitsFunction& fFits)
{
    std::string strKept = strText, strCut = strText;
    while (!strKept.empty() && !fFits(strCut))
    {
        strKept.erase(FindLastLetter(strKept));
        strCut = strKept + "..";
    }
    return fFits(strCut) ? strCut : "";
}

std::vector<std::string> WrapText(std::string strText, size_t uiRows, const FitsFunction& fFits)
{
    std::vector<std::string> astrRows;
    if (uiRows == 0)
        return astrRows;
    while (astrRows.size() + 1 < uiRows && !fFits(strText))
    {
        size_t uiSpace = strText.rfind(' ');
        while (uiSpace != std::string::npos && uiSpace != 0 && !fFits(strText.substr(0, uiSpace)))
            uiSpace = strText.rfind(' ', uiSpace - 1);
        if (uiSpace == std::string::npos || uiSpace == 0)
            break;
        astrRows.push_back(strText.substr(0, uiSpace));
        strText.erase(0, uiSpace + 1);
    }
    astrRows.push_back(strText);
    return astrRows;
}

int TextWidth(const std::string& strText)
{
    // The same texts are measured again and again, and finding the font takes much longer than finding the text here.
    static std::map<std::string, int> s_oKnown;
    constexpr size_t                  uiMost = 500;
    if (const auto i = s_oKnown.find(strText); i != s_oKnown.end())
        return i->second;
    cairo_text_extents_t oExtents = {};
    cairo_text_extents(Canvas(1, 1).Get(), strText.c_str(), &oExtents);
    if (s_oKnown.size() >= uiMost)
        s_oKnown.clear();
    return s_oKnown[strText] =
               static_cast<int>(std::ceil(std::max(oExtents.x_advance, oExtents.x_bearing + oExtents.width)));
}

Panel::SPicture DrawText(const std::string& strText, KUINT32 uiWidth, KUINT32 uiHeight, const STextColours& roColours,
                         bool bCentred)
{
    const Canvas         oCanvas(static_cast<int>(uiWidth), static_cast<int>(uiHeight));
    cairo_font_extents_t oFont = {};
    cairo_font_extents(oCanvas.Get(), &oFont);
    oCanvas.SetColour(roColours.auiPaper);
    cairo_paint(oCanvas.Get());
    oCanvas.SetColour(roColours.auiInk);
    cairo_move_to(oCanvas.Get(), bCentred ? std::floor((static_cast<int>(uiWidth) - TextWidth(strText)) / 2.0) : 0,
                  std::floor((uiHeight + oFont.ascent - oFont.descent) / 2));
    cairo_show_text(oCanvas.Get(), strText.c_str());

    Panel::SPicture      oPicture{uiWidth, uiHeight, {}};
    int                  iWords    = 0;
    const KUINT32* const puiPixels = oCanvas.GetPixels(iWords);
    for (KUINT32 uiRow = 0; uiRow < uiHeight; ++uiRow)
    {
        for (KUINT32 uiColumn = 0; uiColumn < uiWidth; ++uiColumn)
        {
            const KUINT32 uiPixel = puiPixels[uiRow * static_cast<KUINT32>(iWords) + uiColumn];
            for (const KUINT32 uiShift : {16u, 8u, 0u})
                oPicture.auiRgba.push_back(static_cast<KUINT8>(uiPixel >> uiShift));
            oPicture.auiRgba.push_back(255);
        }
    }
    return oPicture;
}
}
