#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "hotplug/device_attributes.h"
#include "tools/explain/circumstances.h"
#include "tools/explain/descriptor_listing.h"
#include "workers/admission.h"

namespace explain {

/** What a rule of the policy says of a device. */
struct RuleAnswer {
  enum class Verdict { passed, refused, refusedSilently, notAsked };

  std::string name;
  bool isOn = false;
  std::string reason;                // why it is on or off
  std::string found;                 // what it objects to, and where; empty where nothing
  std::optional<std::size_t> place;  // of that in the descriptors
  Verdict verdict = Verdict::notAsked;
};

/** The answers in the daemon's order, which `judgement` has come from. Throws what cannot be read of the device. */
[[nodiscard]] std::vector<RuleAnswer> answerRules(const Circumstances& circumstances,
                                                  const DeviceAttributes& device,
                                                  const DescriptorListing& listing,
                                                  const Judgement& judgement);

}  // namespace explain
