#pragma once

#include <optional>
#include <string>

#include "soak/configuration.h"

/** What sysfs shows of a device, and what that means. A reading of its own, shared with nothing of the product. */
namespace soak {

/** An attribute that something needs is missing or makes no sense: the handling of the event ends. */
struct Unreadable {};

/** Without one final newline. */
[[nodiscard]] std::optional<std::string> attribute(const std::string& directory, const std::string& name);
/** Throws Unreadable when it is missing. */
[[nodiscard]] std::string neededAttribute(const std::string& directory, const std::string& name);
/** The product text. */
[[nodiscard]] std::string nameOf(const std::string& directory);
/** The last part of where "subsystem" leads. */
[[nodiscard]] std::string subsystemOf(const std::string& directory);

/** Both tests throw Unreadable where the file does not begin with a device descriptor. */
[[nodiscard]] bool showsKeyboard(const std::string& directory);
[[nodiscard]] bool showsDisk(const std::string& directory);

/** The rules of admission, in their order: how one of them ends. */
struct Admission {
  bool admitted = true;
  bool looksForIsochronous = false;
  bool hasIsochronous = false;
  std::string message;      ///< for the user; empty: none
  bool unreadable = false;  ///< the rule after those above could not be decided
};
[[nodiscard]] Admission admissionOf(const std::string& directory, const Configuration& policy,
                                    const std::string& linkSpeed);

}  // namespace soak
