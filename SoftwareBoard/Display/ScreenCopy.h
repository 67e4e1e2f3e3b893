// A copy of what a screen of the board showed when it was last compared. It knows when each part last changed. So each
// buffer is brought up to date with just the parts that it lacks, however old it is.
//
// A look compares one row of every fourth band of rows, another one each time, and what changed lately or lies beside a
// change. So it costs little. It finds at once what covers four bands, what covers one in four looks, and anything in LOOKS.
//
// What changes at every look is compared at some looks only. Meanwhile it counts as changed and is copied from the screen.
#ifndef SCREEN_COPY_H
#define SCREEN_COPY_H

#include <vector>

#include "PixelMapping.h"
#include "ScanFormat.h"

namespace SoftwareBoard::Display
{
class ScreenCopy
{
public:
    static constexpr size_t BAND_ROWS  = 16;
    static constexpr size_t BANDS_STEP = 4;
    static constexpr size_t LOOKS      = BAND_ROWS * BANDS_STEP;

    // Copies the screen. Throws BoardError if it cannot be read.
    explicit ScreenCopy(Screen oScreen);

    const Screen& GetScreen() const { return m_oScreen; }

    // Looks at the screen again. Throws BoardError if the file was cut. After LOOKS of them nothing that was drawn before is
    // missed.
    void Update();

    // The number of the last look that found a change. A buffer that was filled at this time is up to date.
    KUINT64 GetTime() const { return m_uiTime; }

    // Copies what changed after uiTime to puiTo, which must have room for the whole screen at that pitch. If the file was
    // cut, what the looks have found is copied, and the next Update throws.
    void CopyChanges(KUINT64 uiTime, const SScanFormat& roFormat, KUINT8* puiTo, size_t uiPitchInBytes) const;

private:
    // A tile is a part of a band, TILE_PIXELS wide. Those at the right and at the bottom may be smaller.
    static constexpr size_t TILE_PIXELS = 64;
    struct STile
    {
        KUINT64 uiChanged       = 1;  // the number of the look that last found a change, or took it for granted
        KUINT64 uiBegan         = 1;  // the number of the one that found a change after a time without any
        KUINT32 uiChangesInARow = 0;  // how many comparisons, one after the other, found a change

        bool IsBusy() const { return uiChangesInARow >= BUSY_COMPARISONS; }
    };
    static constexpr KUINT32 BUSY_COMPARISONS = 4;
    static constexpr size_t  BUSY_LOOKS       = 16;  // of which one compares a busy tile

    void LookAtAll(const KUINT32* puiShown, size_t uiPitch);
    void LookAtTile(size_t uiTile, const KUINT32* puiShown, size_t uiPitch);
    bool ReplaceTile(size_t uiTile, const KUINT32* puiShown, size_t uiPitch);
    void CopyTiles(KUINT64 uiTime, const SScanFormat& roFormat, KUINT8* puiTo, size_t uiPitchInBytes, const KUINT32* puiBusy,
                   size_t uiBusyPitch) const;
    bool IsLately(KUINT64 uiChanged) const { return m_uiLook - uiChanged <= LOOKS; }
    bool BeginsNow(size_t uiTile) const { return uiTile < m_aoTiles.size() && m_aoTiles[uiTile].uiBegan == m_uiLook; }
    size_t GetTilePixels(size_t uiColumn) const { return std::min(TILE_PIXELS, m_uiWidth - uiColumn); }

    KUINT64              m_uiTime = 1;
    Screen               m_oScreen;
    PixelMapping         m_oMapping;
    size_t               m_uiWidth;  // pixels
    size_t               m_uiHeight;
    size_t               m_uiTilesInBand;
    std::vector<KUINT32> m_auiPixels;
    std::vector<STile>   m_aoTiles;
    std::vector<KUINT64> m_auiBandChanged;         // the latest uiChanged of each band's tiles
    KUINT64              m_uiLook    = 1 + LOOKS;  // its number; the first copy counts as look 1, and as long ago
    bool                 m_bBeganNow = false;      // this look has found a tile that begins to change
};
}

#endif
