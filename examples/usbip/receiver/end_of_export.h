#pragma once

#include "examples/usbip/receiver/connection.h"
#include "examples/usbip/receiver/exported_device.h"
#include "examples/usbip/receiver/usb_device.h"

namespace usbip {

/** Why an export ends by itself. */
enum class EndOfExport { deviceHasGone, linkIsLost };

/**
 * Waits while the kernel exports a device over a connection that has been handed over: nothing is read of it. Throws
 * EndRequested.
 */
[[nodiscard]] EndOfExport waitForEnd(const Connection& connection, const UsbDevice& device,
                                     const ExportedDevice& exported);

}  // namespace usbip
