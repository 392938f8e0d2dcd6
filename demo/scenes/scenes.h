#pragma once

#include <string>

#include "demo/story.h"

namespace demo {

// Each scene has a source of its own. A new one is declared here and put into story().

[[nodiscard]] Scene linkNotKnownYet();
[[nodiscard]] Scene defaultPolicy();
[[nodiscard]] Scene policyChanges();
[[nodiscard]] Scene fullSpeedLink();
[[nodiscard]] Scene workersOfTheirOwn();
[[nodiscard]] Scene pluggedInBefore();
[[nodiscard]] Scene workersFail();

/** The directory of what is plugged into a port ("1-4") of the bus that most recordings come from. */
[[nodiscard]] std::string atUsbPort(const std::string& port);

/**
 * The first step of a scene that is about something else: the daemon starts with its own debug messages, and
 * the link manager delivers a link of high speed, "transmitter 5000 high eth1" with the keys "key1" and
 * "key2".
 */
[[nodiscard]] Step startWithLink();
/** How a generic worker is started then. */
[[nodiscard]] CommandLine genericWorker(const std::string& device);

}  // namespace demo
