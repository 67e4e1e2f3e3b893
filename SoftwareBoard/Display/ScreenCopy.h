// A copy of what a screen of the board showed when it was last read. It knows when each row last changed. So each buffer is
// brought up to date with just the rows that it lacks, however old it is.
#ifndef SCREEN_COPY_H
#define SCREEN_COPY_H

#include <vector>

#include "ScanFormat.h"
#include "Screen.h"

namespace SoftwareBoard::Display
{
class ScreenCopy
{
public:
    explicit ScreenCopy(Screen oScreen);

    const Screen& GetScreen() const { return m_oScreen; }

    // Reads the screen again. Throws BoardError if the file was cut.
    void Update();

    // Counts the updates that found a change. A buffer that was filled at this time is up to date.
    KUINT64 GetTime() const { return m_uiTime; }

    // Copies the rows that changed after uiTime to puiTo, which must have room for the whole screen at that pitch.
    void CopyChanges(KUINT64 uiTime, const SScanFormat& roFormat, KUINT8* puiTo, size_t uiPitchInBytes) const;

private:
    Screen               m_oScreen;
    size_t               m_uiWidth;  // pixels
    std::vector<KUINT32> m_auiPixels;
    std::vector<KUINT64> m_auiChanged;  // the time of each row's last change
    KUINT64              m_uiTime = 0;
};
}

#endif
