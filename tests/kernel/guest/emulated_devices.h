#pragma once

#include <string>
#include <vector>

namespace guest {

/** A command to the machine; "@" in its arguments stands for the id of the device that it is for. */
struct MachineCommand {
  std::string name;
  std::string arguments;  ///< a JSON object
};

/** One of the emulator's USB devices. */
struct EmulatedDevice {
  std::string driver;           ///< what the emulator calls it
  std::string product;          ///< the device's product text
  std::string properties = {};  ///< further members of the command that makes it: ", \"NAME\": VALUE"...
  std::vector<MachineCommand> before = {};         ///< makes what the device needs
  std::vector<MachineCommand> after = {};          ///< completes it
  std::vector<MachineCommand> afterDeletion = {};  ///< takes away what `before` has made
};

// High speed, or full speed in a port that has no more.
[[nodiscard]] EmulatedDevice keyboard();
[[nodiscard]] EmulatedDevice mouse();
[[nodiscard]] EmulatedDevice tablet();
[[nodiscard]] EmulatedDevice mediaPlayer();
/** Bulk-only, one disk. */
[[nodiscard]] EmulatedDevice disk();
/** The same with a file of the emulator's working directory behind it. */
[[nodiscard]] EmulatedDevice diskOf(const std::string& file);
/** Bulk-only, two disks. */
[[nodiscard]] EmulatedDevice twoDisks();
[[nodiscard]] EmulatedDevice uasDisk();

// Full speed.
/** Eight ports. */
[[nodiscard]] EmulatedDevice hub();
/** Isochronous. */
[[nodiscard]] EmulatedDevice speaker();
[[nodiscard]] EmulatedDevice smartCardReader();
[[nodiscard]] EmulatedDevice serialAdapter();
[[nodiscard]] EmulatedDevice networkAdapter();

}  // namespace guest
