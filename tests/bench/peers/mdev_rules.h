#pragma once

#include <string>

namespace bench {

/**
 * The rules of mdev and of mdevd, which are written alike. Either waits for the command that a rule names, so a worker
 * that rests has to be one that the shell leaves behind.
 */
inline std::string mdevRules(const std::string& worker) {
  return "DEVTYPE=usb_device;.* 0:0 600 @" + worker + " \"/sys$DEVPATH\" &\n";
}

}  // namespace bench
