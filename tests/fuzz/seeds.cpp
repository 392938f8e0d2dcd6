// Writes inputs to begin with into a folder for each fuzzer: from the recorded devices, and made by hand.
// Usage: fuzz_seeds FOLDER

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/control_input.h"
#include "fuzz/descriptors_input.h"
#include "fuzz/explain_seeds.h"
#include "fuzz/input.h"
#include "fuzz/made_up_devices.h"
#include "fuzz/recorded_attribute.h"
#include "fuzz/uevent_input.h"
#include "fuzz/usbip_far_side_seeds.h"
#include "fuzz/usbip_messages_seeds.h"
#include "fuzz/usbip_worker_seeds.h"
#include "sim/device_recording.h"
#include "sim/files.h"
#include "sim/recording_views.h"

namespace {

using fuzz::InputWriter;
using fuzz::recordedIn;
using namespace std::string_literals;

using Inputs = std::vector<std::string>;

std::string firstNode(const sim::DeviceRecording& recording, const std::string& prefix) {
  const std::vector<std::string> nodes = recording.nodes(prefix);
  return nodes.empty() ? "" : nodes.front();
}

// The recorded directory that stands behind one of the made-up devices; empty where there is none.
std::string recordedDirectory(const sim::DeviceRecording& recording, const std::string& madeUp) {
  if (madeUp == fuzz::usbDevice) {
    return recording.directory;
  }
  if (madeUp == fuzz::hidNode) {
    return firstNode(recording, "hiddev");
  }
  const std::filesystem::path node = firstNode(recording, "sg");
  return madeUp == fuzz::scsiNode ? node : node.parent_path().parent_path();
}

void addStep(InputWriter& input, fuzz::Step step) {
  input.byte(static_cast<unsigned>(step));
}

// Without its subsystem a device is not waited for.
void addAttributes(InputWriter& input, const sim::DeviceRecording& recording, fuzz::Step step) {
  for (std::size_t i = 0; i < fuzz::attributes.size(); ++i) {
    const fuzz::Attribute& attribute = fuzz::attributes.at(i);
    const std::string directory = recordedDirectory(recording, attribute.directory);
    const std::string* content =
        directory.empty() ? nullptr : recordedIn(recording, directory, attribute.name);
    if (content != nullptr) {
      const bool isLater = step == fuzz::Step::writeLater && attribute.name != "subsystem"s;
      addStep(input, isLater ? fuzz::Step::writeLater : fuzz::Step::write);
      input.byte(static_cast<unsigned>(i)).text(*content);
    }
  }
}

void addEvent(InputWriter& input, const std::string& datagram) {
  addStep(input, fuzz::Step::announce);
  input.text(datagram);
}

void addEventOf(InputWriter& input, const std::string& directory) {
  const std::string devpath = directory.substr("/sys"s.size());
  addEvent(input, "add@" + devpath + "\0ACTION=add\0DEVPATH="s + devpath + "\0SUBSYSTEM=usb\0"s);
}

std::string pluggedIn(const sim::DeviceRecording& recording, fuzz::Step step, unsigned switches,
                      unsigned policy) {
  InputWriter input;
  input.byte(switches).byte(policy);
  addAttributes(input, recording, step);
  for (const char* directory : {fuzz::usbDevice, fuzz::hidNode, fuzz::scsiNode}) {
    addEventOf(input, directory);
  }
  return input.written();
}

std::string recordedEvents(const sim::DeviceRecording& recording) {
  InputWriter input;
  input.byte(0).byte(0);
  for (const sim::RecordedEvent& event : recording.plugEvents) {
    addEvent(input, event.datagram);
  }
  return input.written();
}

// What goes wrong: no process to be had, files that cannot be read, a device that has a worker.
Inputs troubledUevents() {
  const sim::DeviceRecording recording = sim::loadRecording("made-vendor-hs");
  Inputs inputs;
  for (std::size_t i = 0; i < fuzz::attributes.size(); ++i) {
    InputWriter input;
    input.byte(fuzz::keyboardClassSwitch | fuzz::storageClassSwitch | fuzz::connectedSwitch).byte(0);
    addAttributes(input, recording, fuzz::Step::write);
    addStep(input, i % 2 == 0 ? fuzz::Step::makeUnreadable : fuzz::Step::remove);
    input.byte(static_cast<unsigned>(i));
    addStep(input, fuzz::Step::failLaunch);
    for (int event = 0; event < 3; ++event) {
      addEventOf(input, fuzz::usbDevice);
    }
    addStep(input, fuzz::Step::endWorker);
    addEventOf(input, fuzz::usbDevice);
    inputs.push_back(input.written());
  }
  return inputs;
}

// What depends on the daemon rather than on the device: options of workers, and the policy.
Inputs ueventsOfOtherDaemons() {
  constexpr unsigned switches = fuzz::keyboardClassSwitch | fuzz::workerDebugSwitch |
                                fuzz::otherSocketSwitch | fuzz::attachBlockedSwitch | fuzz::keysSwitch;
  constexpr unsigned hidNodeNumber = 9;  // among the attributes
  Inputs inputs;
  for (const char* name : {"made-vendor-hs", "kbd-fs-hiddev"}) {
    const sim::DeviceRecording recording = sim::withClassUsbHiddev(sim::loadRecording(name));
    InputWriter input;
    input.byte(switches).byte(0);
    addStep(input, fuzz::Step::configure);
    input.text("[usb]\nhid_only = no\n[apps]\nquor_usb_rx_generic = other_worker\n");
    addAttributes(input, recording, fuzz::Step::write);
    addEventOf(input, fuzz::usbDevice);
    addEventOf(input, fuzz::hidNode);
    addStep(input, fuzz::Step::write);
    input.byte(hidNodeNumber).text("none");
    addStep(input, fuzz::Step::endWorker);
    addEventOf(input, fuzz::hidNode);
    inputs.push_back(input.written());
  }
  inputs.push_back(InputWriter()
                       .byte(0)
                       .byte(0)
                       .byte(static_cast<unsigned>(fuzz::Step::announce))
                       .text("libudev\0ACTION=add\0DEVPATH=/devices\0"s)
                       .written());
  return inputs;
}

Inputs ueventInputs() {
  constexpr unsigned bothClasses = fuzz::keyboardClassSwitch | fuzz::storageClassSwitch;
  Inputs inputs = troubledUevents();
  std::ranges::copy(ueventsOfOtherDaemons(), std::back_inserter(inputs));
  for (const std::string& name : sim::recordingNames()) {
    const sim::DeviceRecording recording = sim::withClassUsbHiddev(sim::loadRecording(name));
    inputs.push_back(recordedEvents(recording));
    inputs.push_back(pluggedIn(recording, fuzz::Step::write, bothClasses | fuzz::debugSwitch, 0));
    inputs.push_back(pluggedIn(recording, fuzz::Step::write, fuzz::connectedSwitch | fuzz::keysSwitch,
                               fuzz::isochronousEnabledSwitch));
    inputs.push_back(pluggedIn(recording, fuzz::Step::write, 0,
                               fuzz::hidOnlySwitch | fuzz::blockMassStorageSwitch | fuzz::smartcardSwitch));
    inputs.push_back(pluggedIn(recording, fuzz::Step::writeLater, bothClasses, fuzz::hidOnlySwitch));
  }
  return inputs;
}

Inputs descriptorsInputs() {
  Inputs inputs;
  for (const std::string& name : sim::recordingNames()) {
    const sim::DeviceRecording recording = sim::loadRecording(name);
    const std::string* descriptors = recordedIn(recording, recording.directory, "descriptors");
    for (const unsigned switches :
         {0U, fuzz::hidOnlySwitch, fuzz::blockMassStorageSwitch, fuzz::smartcardSwitch,
          fuzz::isochronousEnabledSwitch | fuzz::fullSpeedLinkSwitch | fuzz::highSpeedDeviceSwitch,
          fuzz::isochronousUserWarningSwitch}) {
      if (descriptors != nullptr) {
        inputs.push_back(InputWriter().byte(switches).bytes(*descriptors).written());
      }
    }
  }
  return inputs;
}

InputWriter& step(InputWriter& input, fuzz::ControlStep step) {
  return input.byte(static_cast<unsigned>(step));
}

InputWriter& deliver(InputWriter& input, const std::string& text) {
  return step(input, fuzz::ControlStep::deliver).text(text);
}

Inputs controlInputs() {
  using fuzz::ControlStep;
  const std::string line = "other 5001 full eth2 IN OUT";
  InputWriter held;
  deliver(deliver(deliver(held.byte(0), "?"), "?"), line);
  step(deliver(held, "?"), ControlStep::openForeign).byte(0);
  deliver(held, "other 0 full eth2");
  deliver(held, "?");
  InputWriter departed;
  step(deliver(deliver(departed.byte(0), "?"), "?"), ControlStep::leave).byte(0);
  deliver(step(departed, ControlStep::openForeign).byte(2), line + "\n");
  InputWriter inPieces;
  step(step(inPieces.byte(1), ControlStep::connect), ControlStep::send).byte(0).text("other 50");
  step(step(inPieces, ControlStep::send).byte(0).text("01 high eth1"), ControlStep::serve);
  step(step(inPieces, ControlStep::connect), ControlStep::finish).byte(1);
  step(inPieces, ControlStep::serve);
  return {held.written(), departed.written(), inPieces.written(),
          deliver(InputWriter().byte(1), "other -1 full eth2  KEY").written(),
          deliver(InputWriter().byte(1), "other x").written()};
}

Inputs commandLineInputs() {
  return {"host\0005000\0high"s,
          "--debug=ctrl,generic,keyboard,scsi,none\0--class=none,keyboard,scsi,all\0host\0005000\0full"s,
          "--syslog\0--keys\0in\0out\0--sock=/tmp/other\0--intf=eth0\0host\0005000\0full"s,
          "--stderr\0--keys\0a\0b\0c"s,
          "none,keyboard,"s,
          "ctrl,,scsi"s,
          "--class=disk\0host\0005000\0full"s};
}

constexpr const char* wholeConfiguration =
    "[usb]\ndebug = ctrl,generic\nclasses = all\nlog_to_syslog = 1\nconnect_fail_timeout = 10\nhid_only = "
    "no\n"
    "block_mass_storage = yes\nsmartcard = True\nisochronous_enabled = f\nisochronous_user_warning = 1\n"
    "[apps]\nquor_usb_rx_generic = /usr/bin/usb_rx_generic ; a comment\n";

Inputs configurationInputs() {
  return {wholeConfiguration, "",
          "# a comment\n[one]\na = \"two words\"\nb = 'c'\nd = 0x1F\ne = 1.5e3\n\n[empty]\n",
          "[one]\na = first \\\nsecond\n[one]\nb=\n[TWO]\nA = x;y\n",
          "a = outside\n[one\nno equals\n= no name\n[]\n[ ]\nb ==\n"};
}

Inputs quorConfigInputs() {
  const std::string reports = "\0\0\0"s;
  const std::string unset = "\1"s;
  const std::string addSection = "\2"s;
  const std::string set = "\3"s;
  return {reports + wholeConfiguration,
          reports + "[usb]\nspeed = 1\nsmartcard = maybe\nclasses = disk\n",
          unset + "usb:debug\0\0"s + wholeConfiguration,
          unset + "usb\0\0[usb]\n"s,
          addSection + "new\0\0"s + wholeConfiguration,
          addSection + "a b\0\0outside = 1\n"s,
          set + "usb:debug\0ctrl\0"s + wholeConfiguration,
          set + "new:key\0two words\0"s,
          set + "usb:text\0a;b\0"s + wholeConfiguration,
          set + "usb:Text\0 a \0[usb]\ntext = b\n"s,
          set + "usb:text\0a\nb\0[usb]\n"s};
}

void writeInputs(const std::string& folder, const Inputs& inputs) {
  int number = 0;
  for (const std::string& input : inputs) {
    sim::writeFile(folder + "/seed-" + std::to_string(++number), input);
  }
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fputs("Usage: fuzz_seeds FOLDER\n", stderr);
    return 2;
  }
  const std::string folder = argv[1];
  writeInputs(folder + "/uevent", ueventInputs());
  writeInputs(folder + "/descriptors", descriptorsInputs());
  writeInputs(folder + "/explain", fuzz::explainSeeds());
  writeInputs(folder + "/control", controlInputs());
  writeInputs(folder + "/command_line", commandLineInputs());
  writeInputs(folder + "/configuration", configurationInputs());
  writeInputs(folder + "/quor_config", quorConfigInputs());
  writeInputs(folder + "/usbip_far_side", fuzz::usbipFarSideSeeds());
  writeInputs(folder + "/usbip_messages", fuzz::usbipMessagesSeeds());
  writeInputs(folder + "/usbip_worker", fuzz::usbipWorkerSeeds());
  return 0;
} catch (const std::exception& e) {
  std::fprintf(stderr, "fuzz_seeds: %s\n", e.what());
  return 1;
}
