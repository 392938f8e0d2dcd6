#pragma once

#include <boost/container/flat_map.hpp>
#include <boost/container/small_vector.hpp>

#include <string_view>

/**
 * The environment of one kernel uevent ("ACTION", "DEVPATH", "SUBSYSTEM", ...), in byte order of the keys: views of
 * the text that it was made of, which must outlive it. More than 32 items take memory.
 */
using UEvent = boost::container::small_flat_map<std::string_view, std::string_view, 32>;

/**
 * Splits a uevent datagram, items that each end in a NUL (the last one may lack it). Items without "=" are
 * dropped, the "ACTION@DEVPATH" header among them; of equal keys the first stays. A datagram that begins with
 * "libudev" gives an empty event: udevd repeats in it what the kernel has announced.
 */
UEvent parseUEvent(std::string_view datagram);

/** An "add" event of the device at `sysfsPath`, which begins with "/sys", as the kernel would announce it. */
UEvent makeAddEvent(std::string_view sysfsPath);
