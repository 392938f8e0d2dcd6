#pragma once

#include "tools/recorder/device_recording.h"

/** Recordings written by hand from a report, of which no more than the descriptors may be known. */
namespace recorder {

/** Whether the tree leaves out the device's own directory: a recorder never does. */
[[nodiscard]] bool isShort(const DeviceRecording& recording);

/**
 * Adds to the tree what a kernel shows of every USB device, as far as it follows from the rest: the directory,
 * "bDeviceClass" from the descriptors, "speed" and "product" as in about.txt, "subsystem" and "uevent". Entries that
 * are there stay. Throws Error without descriptors, or without a directory below /sys/devices.
 */
void completeShort(DeviceRecording& recording);

}  // namespace recorder
