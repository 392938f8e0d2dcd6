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
  enum class Verdict { passed, refused, refusedSilently, failed, notAsked };

  std::string name;
  bool isOn = false;
  bool readsDescriptors = false;
  std::string reason;                // why it is on or off
  std::string whyNotAsked;           // of one that is on, for what the rules before it say
  std::string found;                 // what it objects to, and where; or what of the device it cannot read
  std::optional<std::size_t> place;  // of that in the descriptors
  Verdict verdict = Verdict::notAsked;
};

/** The answers in the daemon's order. */
[[nodiscard]] std::vector<RuleAnswer> answerRules(const Circumstances& circumstances,
                                                  const DeviceAttributes& device,
                                                  const DescriptorListing& listing);

}  // namespace explain
