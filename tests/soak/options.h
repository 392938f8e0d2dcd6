#pragma once

#include <string>
#include <vector>

#include "sim/link_manager.h"
#include "soak/random.h"

namespace soak {

/** The command line of one daemon. */
struct Options {
  std::string classList;  ///< empty: no such option
  bool keyboards = false;
  bool disks = false;
  bool debugGeneric = false;
  bool debugKeyboard = false;
  bool debugScsi = false;
  std::string socketPath = sim::LinkManager::usualPath;
  sim::LinkParameters link;  ///< keys: both or none

  [[nodiscard]] std::vector<std::string> arguments() const;
};

/** Keys begin with this; it must never be logged. */
inline constexpr const char* secret = "SeCrEt";

[[nodiscard]] Options randomOptions(Random& random);
/** Parameters as a link manager sends them; the port may be 0. */
[[nodiscard]] sim::LinkParameters randomLink(Random& random);

}  // namespace soak
