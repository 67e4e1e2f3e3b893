// Tells that a card's connectors may have changed. From the kernel itself, so that no udev daemon has to run.
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

    // Readable when there is something to take; -1 where the kernel tells nothing.
    int GetFd() const { return m_poMonitor != nullptr ? udev_monitor_get_fd(m_poMonitor.get()) : -1; }
    // Takes what has come; TRUE when it was about display controllers.
    bool Take() const;

private:
    DrmPointer<udev, udev_unref>                 m_poUdev;
    DrmPointer<udev_monitor, udev_monitor_unref> m_poMonitor;
};
}

#endif
