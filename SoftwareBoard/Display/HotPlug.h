// Reports that the connectors of a card may have changed. The events come from the kernel, so no udev daemon needs to run.
#ifndef HOT_PLUG_H
#define HOT_PLUG_H

#include <libudev.h>

#include "Drm.h"

namespace SoftwareBoard::Display
{
class HotPlug
{
public:
    HotPlug();

    // Readable when there is an event to take; -1 if events are not available.
    int GetFd() const { return m_poMonitor != nullptr ? udev_monitor_get_fd(m_poMonitor.get()) : -1; }
    // Takes all events of display controllers. Returns whether there was one.
    bool Take() const;

private:
    DrmPointer<udev, udev_unref>                 m_poUdev;
    DrmPointer<udev_monitor, udev_monitor_unref> m_poMonitor;
};
}

#endif
