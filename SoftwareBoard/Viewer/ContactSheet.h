// Pictures in a grid, row by row, each with its label under it. Large pictures are scaled down, so that the sheet fits a
// screen of 1920 x 1080. Smaller pictures keep their size. A sheet of very many pictures is higher than that screen.
#ifndef CONTACT_SHEET_H
#define CONTACT_SHEET_H

#include <string>
#include <vector>

#include "Picture.h"
#include "Tiling.h"

namespace SoftwareBoard::Viewer
{
class ContactSheet
{
public:
    explicit ContactSheet(size_t uiPictures) : m_uiPictures(uiPictures) {}

    // Returns black of the size to which a picture of this size is scaled. The first one decides how many stand side by
    // side.
    Panel::SPicture MakeTile(KUINT32 uiWidth, KUINT32 uiHeight);
    void Add(Panel::SPicture oTile, std::string strLabel) { m_aoTiles.push_back({std::move(oTile), std::move(strLabel)}); }
    Panel::SPicture Draw() const;

private:
    struct STile
    {
        Panel::SPicture oPicture;
        std::string     strLabel;
    };

    size_t             m_uiPictures;
    STiling            m_oTiling = {};  // valid from the first picture on
    std::vector<STile> m_aoTiles;
};
}

#endif
