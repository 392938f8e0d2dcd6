#include "tools/explain/node_answers.h"

#include <memory>

#include "ctrl/device_classes.h"
#include "hotplug/coldplug.h"
#include "hotplug/sysfs.h"
#include "tools/explain/error.h"
#include "tools/explain/failure_text.h"
#include "tools/explain/worker_lines.h"
#include "workers/launch.h"

namespace explain {

namespace {

std::string whyIgnored(const DeviceAttributes& node) {
  const std::string subsystem = node.subsystem();
  if (subsystem != "usb") {
    return "this kernel puts it into the class \"" + subsystem +
           R"(", and the daemon looks into "usb" only: see usb_rx_ctrl(8))";
  }
  return R"(this kernel shows an "uevent" file for it, by which the daemon takes it for an interface: see )"
         "usb_rx_ctrl(8)";
}

std::string keyboardAtStart(const DeviceAttributes& node) {
  try {
    return isBootKeyboardNode(node)
               ? ""
               : "there when the daemon starts, it is left alone: only boot keyboards are looked for then";
  } catch (const Error&) {
    throw;
  } catch (...) {
    return "there when the daemon starts, it ends the daemon: " + failureText();
  }
}

// As the launchers of the daemon do.
void serve(NodeAnswer& answer, DeviceKind kind, const DeviceTree& tree, const DeviceAttributes& node,
           const Circumstances& circumstances) {
  if (kind == DeviceKind::hid) {
    answer.worker = keyboardWorker(circumstances, node);
    answer.display = attachedMessage(tree.attributes(node.path() + "/device/..")->name());
    answer.atStart = keyboardAtStart(node);
  } else if (kind == DeviceKind::scsiGeneric) {
    answer.worker = scsiWorker(circumstances, tree.workerPath(node.path()));
    answer.display = attachedMessage(diskName(*tree.attributes(node.path() + "/device")));
  } else {
    answer.reason = whyIgnored(node);
  }
}

NodeAnswer answerNode(const DeviceTree& tree, const std::string& path, const Circumstances& circumstances) {
  NodeAnswer answer{.path = path, .reason = {}, .atStart = {}, .display = {}, .worker = {}};
  try {
    const std::unique_ptr<DeviceAttributes> node = tree.attributes(path);
    serve(answer, tree.kindOf(circumstances.classes, *node), tree, *node, circumstances);
  } catch (const Error&) {
    throw;
  } catch (...) {
    answer.reason = "the daemon ignores it: " + failureText();
  }
  return answer;
}

}  // namespace

std::vector<NodeAnswer> answerNodes(const Device& device, const Circumstances& circumstances) {
  const bool hasKeyboards = enablesClass(circumstances.classes, keyboardClass);
  const bool hasStorage = enablesClass(circumstances.classes, storageClass);
  std::vector<NodeAnswer> answers;
  if (!hasKeyboards && !hasStorage) {
    return answers;
  }
  for (const std::string& path : device.tree->nodes(device.path)) {
    if (isHiddevPath(path) ? hasKeyboards : hasStorage) {
      answers.push_back(answerNode(*device.tree, path, circumstances));
    }
  }
  return answers;
}

}  // namespace explain
