#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace usbip {

/** What usb_tx_usbip is to do. */
enum class Action { serve, list, help };

struct Arguments {
  Action action = Action::serve;
  bool debugging = false;
  bool toSyslog = false;
  bool anyPeer = false;
  std::string keyFile{};   ///< empty: there are no keys
  std::uint16_t port = 0;  ///< of TCP
};

/** What is printed for arguments that are wrong, and before the help. */
extern const char* const usage;
extern const char* const help;

/** Nothing for what is wrong. */
[[nodiscard]] std::optional<Arguments> parseArguments(const std::vector<std::string>& arguments);

}  // namespace usbip
