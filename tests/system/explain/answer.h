#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace support {

/** What is done for a node of a device: a keyboard's or a disk's. */
struct NodeAnswer {
  std::string path;
  std::vector<std::string> worker;
  std::optional<std::string> display;

  bool operator==(const NodeAnswer&) const = default;
};

/** What is done for a device: as the daemon does it, or as usb_rx_explain says that it would. */
struct Answer {
  std::string device;                    ///< its physical directory
  std::optional<std::string> kind = {};  ///< "hub", "keyboard", "storage", "generic"
  std::string verdict = "no worker";     ///< "served", "refused", "no worker"
  std::optional<std::string> rule = {};  ///< the one that has refused it
  std::optional<std::string> display = {};
  std::optional<std::vector<std::string>> worker = {};
  std::vector<NodeAnswer> nodes = {};

  bool operator==(const Answer&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Answer& answer);

/**
 * A line for each device that only one side knows, and for each field in which the sides differ:
 * "/sys/...: display: the daemon "...", usb_rx_explain null".
 */
std::vector<std::string> differences(const std::vector<Answer>& daemon, const std::vector<Answer>& explained);

}  // namespace support
