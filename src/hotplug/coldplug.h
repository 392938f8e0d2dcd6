#pragma once

#include "ctrl/rx_ctrl.h"
#include "hotplug/device_attributes.h"

/**
 * Handles the devices that were plugged in before the daemon listened, as if they had just been: every USB
 * device, then the HID nodes of boot keyboards, then SCSI generic nodes. The class mask enables the last two.
 *
 * A failure while a device is handled ends with that device. A directory that cannot be listed, and a HID node
 * whose USB device cannot be read, end coldplug with their exceptions.
 */
void coldplug(RxCtrl& ctrl);

/**
 * Whether a node of the class "usb" is the HID node of a boot keyboard, which coldplug handles. Throws what cannot be
 * read of it, and the exceptions of isKeyboardDescriptor.
 */
bool isBootKeyboardNode(const DeviceAttributes& node);
