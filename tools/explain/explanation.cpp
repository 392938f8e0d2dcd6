#include "tools/explain/explanation.h"

#include <algorithm>
#include <memory>

#include "ctrl/link.h"
#include "hotplug/sysfs.h"
#include "tools/explain/error.h"
#include "tools/explain/failure_text.h"
#include "tools/explain/worker_lines.h"
#include "ulx/exceptions.h"
#include "workers/admission.h"
#include "workers/launch.h"

namespace explain {

namespace {

void describe(Explanation& explanation, const DeviceAttributes& device) {
  explanation.name = device.name();
  explanation.speed = device.textOr("speed", "");
  try {
    explanation.descriptors = listDescriptors(device.content("descriptors"));
  } catch (const ulx::Exception&) {
    // There is nothing to list. What the daemon makes of that is said where it reads them.
  }
}

void classifyDevice(Explanation& explanation, const Device& device, const DeviceAttributes& attributes,
                    const Circumstances& circumstances) {
  try {
    explanation.kind = device.tree->kindOf(circumstances.classes, attributes);
  } catch (const Error&) {
    throw;
  } catch (...) {
    explanation.reason = "the daemon cannot find out what it is, and ignores it: " + failureText();
  }
  if (explanation.kind == DeviceKind::undetermined) {
    explanation.kind.reset();
    explanation.reason = R"(the daemon gives it up after 3 seconds: "uevent" or "bDeviceClass" is not there)";
  } else if (explanation.kind == DeviceKind::ignored) {
    explanation.kind.reset();
    explanation.reason = R"(the daemon ignores it: "subsystem" and "uevent" do not make it a USB device)";
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

// Its rule is asked last, and needs to know the speed unless another has refused already.
void requireSpeed(const Device& device, const Circumstances& circumstances, const Judgement& judgement) {
  const bool isAsked = circumstances.linkSpeed == fullSpeedLink && judgement.verdict != Verdict::refused;
  const std::string why = isAsked ? device.tree->whySpeedIsUnknown(device.path) : "";
  if (!why.empty()) {
    throw Error((device.source.empty() ? device.path : device.source) + ": " + why);
  }
}

// Only a generic device is put to the policy.
void judgeDevice(Explanation& explanation, const Device& device, const DeviceAttributes& attributes,
                 const Circumstances& circumstances) {
  explanation.rules = answerRules(circumstances, attributes, explanation.descriptors);
  try {
    const Judgement judgement = judge(circumstances.policy, circumstances.linkSpeed, attributes);
    requireSpeed(device, circumstances, judgement);
    if (judgement.verdict == Verdict::admitted) {
      serveGeneric(explanation, device, circumstances);
    } else {
      refuse(explanation, judgement);
    }
  } catch (const Error&) {
    throw;
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
  const std::string hiding = device.tree->whyNodesAreHidden(device.path);
  if (!hiding.empty()) {
    return left + "which " + hiding;
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
