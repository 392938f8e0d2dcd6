#pragma once

#include <string>
#include <vector>

namespace support {

/** What the fate of a device depends on besides the device. */
struct Circumstances {
  std::string classList = "none";  ///< of the option --class=
  std::string linkSpeed = "high";
  std::string settings = {};  ///< the lines of section "usb" of the configuration

  /** "class all, full-speed link, hid_only = true". */
  [[nodiscard]] std::string text() const;
};

/** The configuration file with these lines of section "usb". */
std::string configurationWith(const std::string& settings);

/**
 * Every policy that can decide otherwise than another one. Each key switches a rule of its own, so all sets of
 * keys count. Only the user warning has no effect of its own where isochronous endpoints are enabled.
 */
std::vector<std::string> everyPolicy();
/** The circumstances in which nothing is refused, and those in which every rule is on that refuses with a reason. */
Circumstances mildest(const std::string& classList);
Circumstances strictest(const std::string& classList);

/**
 * Every circumstance that can make a difference. Where no class is served, every device but a hub is subject to
 * the policy: there all policies are tried, on both links. A class takes devices out of the policy and changes
 * nothing of it: there the mildest and the strictest one show which devices are concerned.
 */
std::vector<Circumstances> everyCircumstance();
/** The same for devices of which a daemon that serves no keyboards decides in three seconds: few of those. */
std::vector<Circumstances> circumstancesOfOlderKernels();

}  // namespace support
