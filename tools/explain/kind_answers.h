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
  std::string reason;

  [[nodiscard]] bool isAsked() const { return whyNotAsked.empty(); }
};

/** The word for a device that is of this kind for the daemon; empty where it has not found out. */
[[nodiscard]] std::string kindWord(std::optional<DeviceKind> kind);

/** The answers in the daemon's order. `kind` is what it has taken the device for. */
[[nodiscard]] std::vector<KindAnswer> answerKinds(std::uint32_t classes, const DeviceAttributes& device,
                                                  std::optional<DeviceKind> kind);

}  // namespace explain
