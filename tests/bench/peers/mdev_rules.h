#pragma once

#include <string>

namespace bench {

/**
 * The rules of mdev and of mdevd, which are written alike. Either hands the command to a shell, which becomes the worker
 * here, and waits for its end.
 */
inline std::string mdevRules(const std::string& worker) {
  return "DEVTYPE=usb_device;.* 0:0 600 @exec " + worker + " \"/sys$DEVPATH\"\n";
}

}  // namespace bench
