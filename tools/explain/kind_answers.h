#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hotplug/classification.h"
#include "hotplug/device_attributes.h"

namespace explain {

/** Whether a device is of one of the kinds that the daemon asks for before the policy. */
struct KindAnswer {
  std::string kind;         // "hub", "keyboard", "storage"
  std::string whyNotAsked;  // empty where it is asked
  bool fits = false;        // also where it is not asked: what the answer would be
  bool hasFailed = false;   // because of what cannot be tested: the daemon then gives the device up
  std::string reason;       // empty where the daemon has given up before

  [[nodiscard]] bool isAsked() const { return whyNotAsked.empty(); }
};

/** The word for a device that is of this kind for the daemon; empty where it has not found out. */
[[nodiscard]] std::string kindWord(std::optional<DeviceKind> kind);

/** The answers in the daemon's order. */
[[nodiscard]] std::vector<KindAnswer> answerKinds(std::uint32_t classes, const DeviceAttributes& device);

}  // namespace explain
