#pragma once

#include <optional>
#include <string>

/*
 * What more than one place needs of the link to the Transmitter, and of the socket that its parameters come by.
 */

/** A key of the link, or none. */
using LinkKey = std::optional<std::string>;

/** The link speed that carries no high-speed device; every other word is a faster link. */
inline constexpr const char* fullSpeedLink = "full";

/** Where the daemon listens for link parameters unless `--sock=` says otherwise. Workers assume the same. */
inline constexpr const char* defaultSocketPath = "/var/run/usb_rx";
