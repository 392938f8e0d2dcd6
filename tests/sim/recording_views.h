#pragma once

#include "sim/device_recording.h"

/** A recording as it would be elsewhere. */
namespace sim {

/**
 * The device as the unit's older kernel shows it. There a hiddev node belongs to the class "usb" (the
 * recording kernel says "usbmisc") and has no "uevent" file. So "usbmisc" becomes "usb" in paths, links and
 * events, and that file is left out.
 */
[[nodiscard]] DeviceRecording withClassUsbHiddev(DeviceRecording recording);

/**
 * The device plugged into another port of the same hub, so that several recordings of one port can be plugged
 * at a time. `port` ("1-7") replaces the name of the device's directory in paths, links and events; hiddev
 * nodes, SCSI generic nodes and SCSI hosts, which the recordings number from 0, are numbered from
 * `firstNode`, with their device numbers. Everything else (the device's number on the bus, its input and
 * hidraw nodes) stays as recorded; where two devices claim one such name in a class, the later has it.
 */
[[nodiscard]] DeviceRecording atPort(DeviceRecording recording, const std::string& port, int firstNode);

}  // namespace sim
