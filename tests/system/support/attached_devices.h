#pragma once

#include <string>
#include <vector>

#include "sim/synthetic_device.h"
#include "sim/usb_descriptors.h"

/** Devices with nothing remarkable but the one thing that a test is about. */
namespace support {

/** A full-speed device that no worker but the generic one serves, on any link. */
sim::UsbDevice scanner(const std::string& port = "1-1", const std::string& product = "Scanner");
/** The same as a high-speed device. */
sim::UsbDevice fastScanner(const std::string& port = "1-1", const std::string& product = "Fast Scanner");
sim::UsbDevice keyboard(const std::string& port = "1-2");
sim::UsbDevice disk(const std::string& port = "1-3");
sim::UsbDevice hub(const std::string& port = "1-4");

/** A full-speed device whose "descriptors" file holds these bytes and nothing else. */
sim::UsbDevice deviceWithRaw(const std::string& descriptors);
/** A full-speed device whose one configuration holds these descriptors. */
sim::UsbDevice deviceWith(const std::string& configurationContent);
sim::UsbDevice deviceOfClass(std::uint8_t interfaceClass);
sim::UsbDevice mouse();
/** The only kind of device that the settings as they are by default refuse. */
sim::UsbDevice isochronousDevice();
sim::UsbDevice highSpeedDevice();

/** The same device in another port, with another name. */
sim::UsbDevice named(sim::UsbDevice device, const std::string& port, const std::string& product);

std::string interfaceOf(std::uint8_t interfaceClass);

/**
 * How the generic worker of a device in `directory` is started by a daemon that was started with
 * "transmitter 5000", with these options before the usual arguments.
 */
std::vector<std::string> genericWorker(const std::string& directory,
                                       const std::vector<std::string>& options = {});

}  // namespace support
