#pragma once

#include <vector>

#include "tools/recorder/device_recording.h"

/**
 * Events that nobody heard, made up from a recording's tree: for a device that was plugged in already, or of which
 * no more than the tree is known. They hold what the kernel's own hold except SEQNUM, and DRIVER where one driver has
 * claimed several interfaces. They come in the order of a kernel: the device, its interfaces with their nodes, then
 * the devices behind it; nodes of one parent by their names. Nothing is announced that the tree leaves out, and
 * nothing is bound or changed. All have the time 0.
 */
namespace recorder {

/** An "add" event for the device and for each device and node below it. */
[[nodiscard]] std::vector<RecordedEvent> madeUpPlugEvents(const DeviceRecording& recording);

/** The "remove" events of the same, the last that was added first. */
[[nodiscard]] std::vector<RecordedEvent> madeUpUnplugEvents(const DeviceRecording& recording);

}  // namespace recorder
