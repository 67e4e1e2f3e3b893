// A video buffer of this process: its pixel file, and the mapping of that file while the client has access. The
// library's mutex guards it.
#ifndef BUFFER_OBJECT_H
#define BUFFER_OBJECT_H

#include "PixelFiles.h"
#include "PlaneLayout.h"

struct TBUFFER_OBJECT
{
public:
    TBUFFER_OBJECT(KUINT32 uiDevice, const SoftwareBoard::SPlaneLayout& roLayout, SoftwareBoard::SPixelFile oPixels)
        : m_uiDevice(uiDevice), m_oLayout(roLayout), m_oPixels(std::move(oPixels))
    {}
    ~TBUFFER_OBJECT() { EndAccess(); }
    TBUFFER_OBJECT(const TBUFFER_OBJECT&)            = delete;
    TBUFFER_OBJECT& operator=(const TBUFFER_OBJECT&) = delete;

    bool IsInAccess() const { return m_pMapped != nullptr; }

    // Maps the pixels and returns the address of plane 0, which is never the last one. Throws BoardError on failure.
    void* BeginAccess();
    void  EndAccess();

    const KUINT32                     m_uiDevice;
    const SoftwareBoard::SPlaneLayout m_oLayout;
    const SoftwareBoard::SPixelFile   m_oPixels;

private:
    void* m_pMapped = nullptr;
    void* m_pBefore = nullptr;  // the last address; nothing is mapped there now
};

#endif
