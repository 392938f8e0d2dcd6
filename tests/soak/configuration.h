#pragma once

#include <optional>
#include <string>

#include "soak/random.h"

namespace soak {

/** What "/vel/quor.conf" says to one who can read it, and its text. */
struct Configuration {
  enum class Form { missing, broken, readable };

  Form form = Form::missing;
  bool smartcard = false;
  bool hidOnly = false;
  bool blockMassStorage = false;
  bool isochronousEnabled = false;
  bool isochronousUserWarning = true;
  std::string genericProgram = "usb_rx_generic";
  std::string connectFailTimeout = "10";
  std::string text;

  /** Puts it into the unit. */
  void write() const;
};

/** Without the time-out, which only a start reads: see randomTimeout(). */
[[nodiscard]] Configuration randomConfiguration(Random& random, const std::string& timeout);
/**
 * Either so long that every failure comes within it, or nothing. So the model needs no clock: only a failure
 * with no start of a generic worker before it comes late.
 */
[[nodiscard]] std::string randomTimeout(Random& random);

}  // namespace soak
