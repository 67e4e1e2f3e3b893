#include "HotPlug.h"

namespace SoftwareBoard::Display
{
HotPlug::HotPlug() : m_poUdev(udev_new())
{
    if (m_poUdev != nullptr)
        m_poMonitor.reset(udev_monitor_new_from_netlink(m_poUdev.get(), "kernel"));
    if (m_poMonitor != nullptr && (udev_monitor_filter_add_match_subsystem_devtype(m_poMonitor.get(), "drm", nullptr) < 0 ||
                                   udev_monitor_enable_receiving(m_poMonitor.get()) < 0))
        m_poMonitor.reset();
}

bool HotPlug::Take() const
{
    bool bAny = false;
    while (const DrmPointer<udev_device, udev_device_unref> poDevice{udev_monitor_receive_device(m_poMonitor.get())})
        bAny = true;
    return bAny;
}
}
