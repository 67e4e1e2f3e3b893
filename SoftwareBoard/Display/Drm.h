// libdrm's objects, each freed by its own function, and what its failures are in words.
#ifndef DRM_H_
#define DRM_H_

#include <xf86drm.h>
#include <xf86drmMode.h>

#include <memory>

#include "BoardError.h"

namespace SoftwareBoard::Display
{
template <auto pfFree> struct DrmFree
{
    template <class T> void operator()(T* po) const { pfFree(po); }
};
template <class T, auto pfFree> using DrmPointer = std::unique_ptr<T, DrmFree<pfFree>>;

using DrmResources     = DrmPointer<drmModeRes, drmModeFreeResources>;
using DrmConnector     = DrmPointer<drmModeConnector, drmModeFreeConnector>;
using DrmEncoder       = DrmPointer<drmModeEncoder, drmModeFreeEncoder>;
using DrmCrtc          = DrmPointer<drmModeCrtc, drmModeFreeCrtc>;
using DrmPlanes        = DrmPointer<drmModePlaneRes, drmModeFreePlaneResources>;
using DrmPlane         = DrmPointer<drmModePlane, drmModeFreePlane>;
using DrmProperties    = DrmPointer<drmModeObjectProperties, drmModeFreeObjectProperties>;
using DrmProperty      = DrmPointer<drmModePropertyRes, drmModeFreeProperty>;
using DrmAtomicRequest = DrmPointer<drmModeAtomicReq, drmModeAtomicFree>;

// For calls that answer 0, or the negative error number, or -1 and errno.
inline void CheckDrm(int iResult, const std::string& strWhat)
{
    if (iResult < 0)
        ThrowSystemError(strWhat, "the kernel says", iResult == -1 ? errno : -iResult);
}
}

#endif
