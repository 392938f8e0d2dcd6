#pragma once

#include <string>

#include "sim/unit.h"

namespace support {

/** What the daemon answers to a query of the link parameters; waits for the end of the connection. */
std::string askForParameters(sim::Unit& unit);

/**
 * Delivers a line of link parameters, whose port is not 0, and waits until the daemon has served it. The
 * daemon ends with the connection that is returned.
 */
[[nodiscard]] sim::LinkManager deliver(sim::Unit& unit, const std::string& line);

/** A client that has connected and sent this, and that the daemon has accepted and keeps. */
[[nodiscard]] sim::LinkManager acceptedClient(sim::Unit& unit, const std::string& message);

/** A client that has connected and sends nothing: the daemon waits for it, and serves no other source. */
[[nodiscard]] sim::LinkManager silentClient(sim::Unit& unit);

/** Whether the daemon neither sends to the client nor closes its connection. */
[[nodiscard]] bool isSilentAndOpen(sim::LinkManager& client);

}  // namespace support
