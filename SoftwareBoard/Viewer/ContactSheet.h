// Pictures in a grid, from left to right and from the top, each with its label under it. Pictures are scaled down, all to
// the same room, so far that the sheet is at most 1920 pixels wide; small ones stay as they are.
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
    KUINT32            m_uiRoom;  // the most that a picture may take of either side, in pixels
    std::vector<STile> m_aoTiles;
};
}

#endif
