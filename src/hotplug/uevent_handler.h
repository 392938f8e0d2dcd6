#pragma once

#include <string>

#include "ctrl/rx_ctrl.h"
#include "hotplug/uevent.h"

/**
 * Finds out what the device of an "add" event is, and starts the worker that serves it. Needs "ACTION" and
 * "DEVPATH" of the event; without them, and for every other action, nothing happens. Nothing
 * depends on `speed` so far, the link's at the time of the event. May wait a little over 3 seconds until sysfs
 * says what the device is.
 *
 * Never throws: a failure ends the handling of this one event, with a debug message.
 */
void handleUEvent(RxCtrl& ctrl, const UEvent& event, std::string speed) noexcept;
