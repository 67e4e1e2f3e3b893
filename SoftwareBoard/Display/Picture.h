// What a pixel file showed when it was last looked at, and when each row last changed, so that any number of buffers, each
// as old as it is, are brought up to date with the rows that they lack and no others.
#ifndef PICTURE_H
#define PICTURE_H

#include <vector>

#include "Board.h"
#include "ScanFormat.h"

namespace SoftwareBoard::Display
{
class Picture
{
public:
    // The part of the file that the timings' active size covers; beyond the buffer there is none.
    Picture(const SOutputRecord& roOutput, FileDescriptor oPixels);

    bool IsOf(const SOutputRecord& roOutput, const FileDescriptor& roPixels) const;

    // Looks again. Throws BoardError for a file that was cut.
    void Update();

    // Counts the looks that found something new; the picture of a buffer that was filled at this time is up to date.
    KUINT64 GetTime() const { return m_uiTime; }

    // The rows that changed after uiTime into memory that is as wide and high as the timings' active size at least.
    void CopyChanges(KUINT64 uiTime, const SScanFormat& roFormat, KUINT8* puiTo, size_t uiPitchInBytes) const;

    const FileDescriptor& GetFile() const { return m_oPixels; }

private:
    size_t               m_uiWidth;  // pixels
    size_t               m_uiHeight;
    size_t               m_uiFilePitch;  // pixels
    FileDescriptor       m_oPixels;
    std::vector<KUINT32> m_auiPixels;
    std::vector<KUINT64> m_auiChanged;  // of each row
    std::vector<KUINT32> m_auiFromFile;
    KUINT64              m_uiTime = 0;
};
}

#endif
