// The picture of an output while it is watched. A look compares a part of it with the screen where that is, and copies only
// what has changed, because much more does not change.
#ifndef WATCHED_PICTURE_H
#define WATCHED_PICTURE_H

#include <vector>

#include "DrawingProcess.h"
#include "PixelMapping.h"
#include "Scaling.h"

namespace SoftwareBoard::Viewer
{
class WatchedPicture
{
public:
    // Reads the whole picture. Throws BoardError on failure, as Look does.
    explicit WatchedPicture(Screen oScreen);

    // Whether roScreen shows this picture.
    bool IsOf(const Screen& roScreen) const;

    // Compares what may have changed since the last look. A change that is lower than 8 rows may be found a few looks later.
    void Look();

    // True until Look finds that nobody can draw any more.
    bool CanChange() const { return !m_oDrawing.IsGone(); }

    const Panel::SPicture& GetPixels() const { return m_oPicture; }
    // Counts the looks that found a change.
    KUINT32 GetVersion() const { return m_uiVersion; }
    // What changed from the version before to this one.
    const SArea& GetChanged() const { return m_oChanged; }

private:
    enum class ERow : KUINT8
    {
        SKIPPED,
        PENDING,
        COMPARED
    };
    void LookAtRows(std::vector<ERow>& roRows, const KUINT32* puiShown, size_t uiPitch);
    bool TakeRow(size_t uiRow, const KUINT32* puiShown);

    Screen              m_oScreen;
    PixelMapping        m_oMapping;
    DrawingProcess      m_oDrawing;
    Panel::SPicture     m_oPicture;
    std::vector<KUINT8> m_auiLooksLeft;  // for each row: how many more looks compare it, because it changed
    size_t              m_uiLooks   = 0;
    KUINT32             m_uiVersion = 0;
    SArea               m_oChanged  = {};
};
}

#endif
