#pragma once

#include <string>
#include <vector>

#include "sim/synthetic_device.h"

/** A full-speed device that no worker but the generic one serves, whatever the link. */
sim::UsbDevice scanner(const std::string& name = "1-1", const std::string& product = "Scanner");
/** The same as a high-speed device. */
sim::UsbDevice fastScanner(const std::string& name = "1-1", const std::string& product = "Fast Scanner");
sim::UsbDevice keyboard(const std::string& name = "1-2");
sim::UsbDevice disk(const std::string& name = "1-3");

/**
 * How the generic worker of a device in `directory` is started by a daemon that was started with
 * "transmitter 5000", with these options before the usual arguments.
 */
std::vector<std::string> genericWorker(const std::string& directory,
                                       const std::vector<std::string>& options = {});
