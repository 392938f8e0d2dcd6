#pragma once

#include <string>

#include "ctrl/rx_ctrl.h"
#include "hotplug/uevent.h"

/**
 * Decides what the device of an "add" event is, and starts the worker that serves it. Needs "ACTION" and
 * "DEVPATH" of the event; without them, and for every other action, nothing happens. `speed`, the link's
 * at the time of the event, decides nothing so far. May wait a little over 3 seconds until sysfs tells what
 * the device is.
 *
 * Never throws: whatever fails ends the handling of this one event, with a debug message.
 */
void handleUEvent(RxCtrl& ctrl, const UEvent& event, std::string speed) noexcept;
