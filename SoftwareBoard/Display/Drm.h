// libdrm's objects, each freed by its own function.
#ifndef DRM_H
#define DRM_H

#include <xf86drm.h>
#include <xf86drmMode.h>

#include <memory>

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
}

#endif
