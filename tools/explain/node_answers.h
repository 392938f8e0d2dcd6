#pragma once

#include <string>
#include <vector>

#include "tools/explain/circumstances.h"
#include "tools/explain/device_tree.h"
#include "workers/worker_arguments.h"

namespace explain {

/** A HID or SCSI generic node, which the daemon learns of by an event of its own, and the worker that serves it. */
struct NodeAnswer {
  std::string path;
  std::string reason;   // why it has no worker; empty where it has one
  std::string atStart;  // what is different where it is there when the daemon starts; empty where nothing is
  std::string display;
  WorkerArguments worker;

  [[nodiscard]] bool isServed() const { return reason.empty(); }
};

/** The device's nodes of the classes that are enabled, in order of their names. */
[[nodiscard]] std::vector<NodeAnswer> answerNodes(const Device& device, const Circumstances& circumstances);

}  // namespace explain
