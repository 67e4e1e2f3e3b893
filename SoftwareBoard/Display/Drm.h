// Owning pointers to the objects of libdrm. Each object is freed by its own function.
#ifndef DRM_H
#define DRM_H

#include <memory>

#include <xf86drm.h>
#include <xf86drmMode.h>

namespace SoftwareBoard::Display
{
template <auto pfnFree> struct DrmFree
{
    template <class T> void operator()(T* po) const { pfnFree(po); }
};
template <class T, auto pfnFree> using DrmPointer = std::unique_ptr<T, DrmFree<pfnFree>>;

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
