#pragma once

#include <string>

#include "sim/files.h"

/** vhci_hcd's directory, made up in a private /sys. */
namespace hubs {

inline const std::string directory = "/sys/devices/platform/vhci_hcd.0/";
inline const std::string headline = "hub port sta spd dev      sockfd local_busid\n";

inline void writeStatus(const std::string& rows, const std::string& name = "status") {
  sim::writeFile(directory + name, headline + rows);
}

/** Two ports of each hub, all free. */
inline const std::string freeRows =
    "hs  0000 004 000 00000000 000000 0-0\n"
    "hs  0001 004 000 00000000 000000 0-0\n"
    "ss  0008 004 000 00000000 000000 0-0\n"
    "ss  0009 004 000 00000000 000000 0-0\n";

}  // namespace hubs
