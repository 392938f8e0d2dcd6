#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

/** The environment of one kernel uevent ("ACTION", "DEVPATH", "SUBSYSTEM", ...), in byte order of the keys. */
using UEvent = std::map<std::string, std::string, std::less<>>;

/**
 * Splits a uevent datagram, items that each end in a NUL (the last one may lack it). Items without "=" are
 * dropped, the "ACTION@DEVPATH" header among them; of equal keys the first stays. A datagram that begins with
 * "libudev" gives an empty event: udevd repeats in it what the kernel has announced.
 */
UEvent parseUEvent(std::string_view datagram);

/** An "add" event of the device at `sysfsPath`, which begins with "/sys", as the kernel would announce it. */
UEvent makeAddEvent(const std::string& sysfsPath);
