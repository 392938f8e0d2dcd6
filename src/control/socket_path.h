#pragma once

/** Where the daemon listens unless it is told otherwise; workers assume the same. */
inline constexpr const char* defaultSocketPath = "/var/run/usb_rx";
