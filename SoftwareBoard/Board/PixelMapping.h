// The pixels of a screen, mapped for reading: a look at them copies nothing. If the file is cut, reading it raises a signal;
// here it becomes a BoardError.
#ifndef PIXEL_MAPPING_H
#define PIXEL_MAPPING_H

#include "Screen.h"

namespace SoftwareBoard
{
class PixelMapping
{
public:
    // Maps the rows that the screen shows. Throws BoardError if that fails.
    explicit PixelMapping(const Screen& roScreen);
    ~PixelMapping();
    PixelMapping(const PixelMapping&)            = delete;
    PixelMapping& operator=(const PixelMapping&) = delete;

    // Calls fRead(pixels, pitch in pixels). Throws BoardError if the file was cut. fRead may be left at any pixel that it
    // reads, so it must not own anything then, and it must not throw.
    template <class TRead> void Read(TRead fRead) const
    {
        const auto fCall = [](void* pThis, const KUINT32* puiPixels, size_t uiPitch) noexcept {
            (*static_cast<TRead*>(pThis))(puiPixels, uiPitch);
        };
        CallGuarded(fCall, &fRead);
    }

private:
    using Call = void (*)(void*, const KUINT32*, size_t) noexcept;

    void CallGuarded(Call pfnCall, void* pThis) const;

    const Screen& m_roScreen;
    const size_t  m_uiSize;
    void*         m_pMapped;
};
}

#endif
