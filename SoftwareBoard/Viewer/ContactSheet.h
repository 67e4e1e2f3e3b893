// Pictures in a grid, row by row, each with its label under it. Large pictures are scaled down to fit the same square, so
// that the sheet is at most 1920 pixels wide. Smaller pictures keep their size.
#ifndef CONTACT_SHEET_H
#define CONTACT_SHEET_H

#include <string>
#include <vector>

#include "Picture.h"

namespace SoftwareBoard::Viewer
{
class ContactSheet
{
public:
    explicit ContactSheet(size_t uiPictures);

    void            Add(const Panel::SPicture& roPicture, const std::string& strLabel);
    Panel::SPicture Draw() const;

private:
    struct STile
    {
        Panel::SPicture oPicture;
        std::string     strLabel;
    };

    size_t             m_uiAcross;
    KUINT32            m_uiRoom;  // the greatest width and height of a picture, in pixels
    std::vector<STile> m_aoTiles;
};
}

#endif
