// Records a device of this machine: says when to plug it in and take it out, and writes what the kernel shows of it.

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "tools/recorder/advice.h"
#include "tools/recorder/device_recorder.h"
#include "tools/recorder/plugged_device.h"
#include "tools/recorder/recording_output.h"
#include "tools/version.h"
#include "ulx/exceptions.h"

namespace {

constexpr int failed = 1;
constexpr int wrongUse = 2;

constexpr const char* usage = "Usage: usb_rx_recorder FOLDER NAME [DESCRIPTION]\n";

constexpr const char* help =
    "Records a USB device: says when to plug it in and when to take it out, and writes\n"
    "FOLDER/NAME, which must not be there yet. DESCRIPTION is the first line of its\n"
    "about.txt; the product text unless given.\n"
    "\n"
    "Plug nothing else meanwhile: every uevent is recorded, without serial numbers.\n"
    "It needs no root, but the network of the host: in a container, no uevents arrive.\n"
    "It waits for five minutes each time.\n"
    "\n"
    "Exit status: 0 recorded, 1 failure, 2 wrong usage.\n";

void print(const std::string& text) {
  std::fputs(text.c_str(), stderr);
}

recorder::DeviceRecording recordDevice() {
  recorder::DeviceRecorder recorder({}, [](recorder::Delay delay) { print(recorder::adviceOn(delay)); });
  print("Plug the device in.\n");
  recorder.recordPlug();
  print("Take it out.\n");
  recorder.recordUnplug();
  return recorder.recording();
}

void record(const std::string& folder, const std::string& description) {
  recorder::requireNewFolder(folder);
  recorder::DeviceRecording recording = recordDevice();
  recording.description = description.empty() ? recorder::descriptionByProduct(recording) : description;
  recorder::writeRecording(recording, recorder::kernelRelease(), folder);
  print("Recorded in " + folder +
        ". Look through it for anything that nobody else need know before you pass it on.\n");
}

bool isOneName(const std::string& name) {
  return !name.empty() && name.front() != '.' && name.find('/') == std::string::npos;
}

// What was asked for; it may be sent to a full disk.
int printAnswer(const std::string& text) {
  return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : failed;
}

int run(const std::vector<std::string>& arguments) {
  if (arguments == std::vector<std::string>{"--version"}) {
    return printAnswer(std::string("usb_rx_recorder ") + programVersion + "\n");
  }
  if (arguments == std::vector<std::string>{"--help"}) {
    return printAnswer(std::string(usage) + help);
  }
  if (arguments.size() < 2 || arguments.size() > 3 || !isOneName(arguments[1])) {
    print(usage);
    return wrongUse;
  }
  record(arguments[0] + "/" + arguments[1], arguments.size() == 3 ? arguments[2] : "");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    print("usb_rx_recorder: " + std::string(error.what()) + "\n");
  } catch (const ulx::Exception& error) {
    print("usb_rx_recorder: " + error.text());
  }
  return failed;
}
