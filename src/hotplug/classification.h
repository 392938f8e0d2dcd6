#pragma once

#include <cstdint>

#include "hotplug/device_attributes.h"

/** The subsystem of SCSI generic nodes. */
inline constexpr const char* scsiGenericSubsystem = "scsi_generic";

/** What a device or a node of sysfs is to the daemon. */
enum class DeviceKind {
  scsiGeneric,   // a SCSI generic node, for usb_rx_scsi
  hid,           // a HID device node, for usb_rx_keyboard
  hub,           // no worker
  keyboard,      // no worker: its HID device node comes as an event of its own
  storage,       // no worker: its SCSI generic node comes as an event of its own
  unsupported,   // any other USB device that the policy refuses; `classify` leaves that to the policy
  generic,       // any other USB device, for the generic worker
  undetermined,  // sysfs did not say in time
  ignored,       // none of the above; not even its kind is logged
};

/**
 * What a device or a node is. `classes` is the mask of device_classes.h. Only reads and logs; waits a little
 * over 3 seconds at most until sysfs says what it is.
 *
 * Throws what cannot be read of it, and the exceptions of the descriptor tests.
 */
DeviceKind classify(std::uint32_t classes, const DeviceAttributes& device);

/** The same without waiting, for a device that does not change: `undetermined` where it is incomplete. */
DeviceKind classifyAsItIs(std::uint32_t classes, const DeviceAttributes& device);
