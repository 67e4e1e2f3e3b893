// A copy of what a screen of the board showed when it was last read, and when each row last changed. So any number of
// buffers, each as old as it is, are brought up to date with the rows that they lack and no others.
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

    // Reads the screen again. Throws BoardError for a file that was cut.
    void Update();

    // Counts the updates that found something new. A buffer that was filled at this time is up to date.
    KUINT64 GetTime() const { return m_uiTime; }

    // Copies the rows that changed after uiTime to memory that is at least as wide and high as the screen.
    void CopyChanges(KUINT64 uiTime, const SScanFormat& roFormat, KUINT8* puiTo, size_t uiPitchInBytes) const;

private:
    Screen               m_oScreen;
    size_t               m_uiWidth;  // pixels
    std::vector<KUINT32> m_auiPixels;
    std::vector<KUINT64> m_auiChanged;  // of each row
    KUINT64              m_uiTime = 0;
};
}

#endif
