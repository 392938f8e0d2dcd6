#include "tools/explain/explanation.h"

#include <algorithm>
#include <memory>

#include "hotplug/sysfs.h"
#include "tools/explain/failure_text.h"
#include "tools/explain/worker_lines.h"
#include "workers/admission.h"
#include "workers/launch.h"

namespace explain {

namespace {

void describe(Explanation& explanation, const DeviceAttributes& device) {
  explanation.name = device.name();
  explanation.speed = device.textOr("speed", "");
  try {
    explanation.descriptors = listDescriptors(device.content("descriptors"));
  } catch (...) {
    explanation.descriptors.damage = failureText();
  }
}

void classifyDevice(Explanation& explanation, const Device& device, const DeviceAttributes& attributes,
                    const Circumstances& circumstances) {
  try {
    explanation.kind = device.tree->kindOf(circumstances.classes, attributes);
  } catch (...) {
    explanation.reason = "the daemon cannot find out what it is, and ignores it: " + failureText();
  }
  if (explanation.kind == DeviceKind::undetermined) {
    explanation.kind.reset();
    explanation.reason =
        "the daemon gives it up after 3 seconds: \"uevent\" or \"bDeviceClass\" is not there";
  } else if (explanation.kind == DeviceKind::ignored) {
    explanation.kind.reset();
    explanation.reason = "the daemon ignores it: \"subsystem\" and \"uevent\" do not make it a USB device";
  }
}

void serveGeneric(Explanation& explanation, const Device& device, const Circumstances& circumstances) {
  explanation.outcome = Outcome::served;
  explanation.worker = genericWorker(circumstances, device.tree->workerPath(device.path));
  explanation.display = attachedMessage(explanation.name);
}

void refuse(Explanation& explanation, const Judgement& judgement) {
  explanation.outcome = Outcome::refused;
  explanation.rule = judgement.rule->name;
  explanation.reason = "it is refused";
  if (judgement.verdict == Verdict::refused) {
    explanation.display = judgement.message;
  }
}

// Only a generic device is put to the policy.
void judgeDevice(Explanation& explanation, const Device& device, const DeviceAttributes& attributes,
                 const Circumstances& circumstances) {
  explanation.rules = answerRules(circumstances, attributes, explanation.descriptors);
  try {
    const Judgement judgement = judge(circumstances.policy, circumstances.linkSpeed, attributes);
    if (judgement.verdict == Verdict::admitted) {
      serveGeneric(explanation, device, circumstances);
    } else {
      refuse(explanation, judgement);
    }
  } catch (...) {
    explanation.reason = "the daemon cannot ask the policy, and ignores it: " + failureText();
  }
}

// A kind of devices that is left to its nodes.
struct NodeKind {
  const char* name;
  bool (*isOne)(const std::string& path);
};
constexpr NodeKind hidNodes{"hiddev", isHiddevPath};
constexpr NodeKind scsiNodes{"SCSI generic", [](const std::string& path) { return !isHiddevPath(path); }};

std::string whyLeftToNode(const Device& device, const std::vector<NodeAnswer>& nodes, const NodeKind& kind) {
  const std::string left = "left to its " + std::string(kind.name) + " node, ";
  if (!device.tree->showsNodes()) {
    return left + "which descriptors do not show";
  }
  const bool isThere = std::ranges::any_of(nodes, kind.isOne, &NodeAnswer::path);
  return left + (isThere ? "which has no worker either" : "which is not there: see usb_rx_ctrl(8)");
}

// The device itself has no worker; the first of its nodes that has one speaks for it.
void leaveToNodes(Explanation& explanation, const Device& device, const NodeKind& kind) {
  const auto served = std::ranges::find_if(explanation.nodes, [&kind](const NodeAnswer& node) {
    return kind.isOne(node.path) && node.isServed();
  });
  if (served == explanation.nodes.end()) {
    explanation.reason = whyLeftToNode(device, explanation.nodes, kind);
    return;
  }
  explanation.outcome = Outcome::served;
  explanation.worker = served->worker;
  explanation.display = served->display;
}

void decide(Explanation& explanation, const Device& device, const DeviceAttributes& attributes,
            const Circumstances& circumstances) {
  if (explanation.kind == DeviceKind::hub) {
    explanation.reason = "hubs need none";
  } else if (explanation.kind == DeviceKind::keyboard) {
    leaveToNodes(explanation, device, hidNodes);
  } else if (explanation.kind == DeviceKind::storage) {
    leaveToNodes(explanation, device, scsiNodes);
  } else if (explanation.kind == DeviceKind::generic) {
    judgeDevice(explanation, device, attributes, circumstances);
  }
}

}  // namespace

Explanation explainDevice(const Device& device, const Circumstances& circumstances) {
  const std::unique_ptr<DeviceAttributes> attributes = device.tree->attributes(device.path);
  Explanation explanation;
  explanation.path = device.path;
  explanation.source = device.source;
  explanation.isSpeedInferred = device.tree->infersSpeed();
  describe(explanation, *attributes);
  classifyDevice(explanation, device, *attributes, circumstances);
  explanation.kinds = answerKinds(circumstances.classes, *attributes);
  explanation.nodes = answerNodes(device, circumstances);
  decide(explanation, device, *attributes, circumstances);
  return explanation;
}

}  // namespace explain
