#pragma once

#include <optional>
#include <string>
#include <vector>

/** What the daemon's debug lines tell the demo. */
namespace demo {

using Lines = std::vector<std::string>;

/** The daemon's line on an event by which the simulated unit finds out how far the daemon has got. */
[[nodiscard]] bool isOfTheUnitItself(const std::string& line);

/**
 * The lines without those on events that the daemon took no interest in: for each of them it names the event,
 * perhaps its subsystem, and nothing follows. `lines` must end with a complete event.
 */
[[nodiscard]] Lines withoutPassedOver(const Lines& lines);

/** The sysfs path for which this line says that a worker is started. */
[[nodiscard]] std::optional<std::string> pathOfStartedWorker(const std::string& line);

}  // namespace demo
