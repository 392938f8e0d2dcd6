#pragma once

#include <string>

#include "hotplug/device_attributes.h"
#include "tools/explain/circumstances.h"
#include "workers/worker_arguments.h"

/*
 * The command lines of workers, as the daemon would make them at its start. What is not known of the Transmitter is
 * shown as "<hostname>", "<port>", "<port>+1" and "<port>+2".
 */

namespace explain {

/** In the place of a directory that is not known. */
inline constexpr const char* unknownDirectory = "<device directory>";

[[nodiscard]] WorkerArguments genericWorker(const Circumstances& circumstances,
                                            const std::string& devicePath);
/** `node`: a HID node with a "dev" attribute; throws when that cannot be read. */
[[nodiscard]] WorkerArguments keyboardWorker(const Circumstances& circumstances,
                                             const DeviceAttributes& node);
[[nodiscard]] WorkerArguments scsiWorker(const Circumstances& circumstances, const std::string& node);

/** The line to type into a shell, with quotes where it needs them. */
[[nodiscard]] std::string shellLine(const WorkerArguments& arguments);

}  // namespace explain
