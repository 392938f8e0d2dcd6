#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hotplug/classification.h"
#include "tools/explain/circumstances.h"
#include "tools/explain/descriptor_listing.h"
#include "tools/explain/device_tree.h"
#include "tools/explain/kind_answers.h"
#include "tools/explain/node_answers.h"
#include "tools/explain/rule_answers.h"
#include "workers/worker_arguments.h"

namespace explain {

enum class Outcome { served, refused, noWorker };

/** Everything that is known of a device and of what the daemon does with it. */
struct Explanation {
  std::string path;
  std::string source;  // the argument that named it; empty where none did
  std::string name;
  std::string speed;  // the "speed" attribute; empty where there is none
  bool isSpeedInferred = false;
  DescriptorListing descriptors;

  std::optional<DeviceKind> kind;  // none where the daemon cannot find it out
  std::vector<KindAnswer> kinds;
  std::vector<RuleAnswer> rules;  // empty where the policy is not asked
  std::vector<NodeAnswer> nodes;  // that the daemon is offered by their own events

  Outcome outcome = Outcome::noWorker;
  std::string rule;                    // that refuses it, or empty
  std::string reason;                  // why it has no worker; empty where it has one
  std::optional<std::string> display;  // the line that the user reads
  WorkerArguments worker;              // empty where none starts
};

/**
 * Explains one device. Throws what cannot be read of it before anything is decided, and Error, with its path, for what
 * nothing can be decided without.
 */
[[nodiscard]] Explanation explainDevice(const Device& device, const Circumstances& circumstances);

}  // namespace explain
