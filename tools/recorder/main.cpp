// Records a device of this machine: tells what to do with it, and writes down what the kernel makes of it.

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "sim/error.h"
#include "tools/recorder/device_recorder.h"
#include "tools/recorder/recording_output.h"

namespace {

constexpr int failed = 1;
constexpr int wrongUse = 2;

/** What is known of a device that nobody has described. */
std::string descriptionOf(const sim::DeviceRecording& recording) {
  return recording.product.empty() ? "device without a product text" : recording.product;
}

sim::DeviceRecording recordDevice() {
  sim::DeviceRecorder recorder;
  std::cerr << "Plug the device in.\n";
  recorder.recordPlug();
  std::cerr << "Take it out.\n";
  recorder.recordUnplug();
  return recorder.recording();
}

void record(const std::string& folder, const std::string& description) {
  sim::requireNewFolder(folder);
  sim::DeviceRecording recording = recordDevice();
  recording.description = description.empty() ? descriptionOf(recording) : description;
  sim::writeRecording(recording, sim::kernelRelease(), folder);
  std::cerr << "Recorded in " << folder
            << ". Look through it for anything that nobody else need know before you pass it on.\n";
}

bool isOneName(const std::string& name) {
  return !name.empty() && name.front() != '.' && name.find('/') == std::string::npos;
}

int run(const std::vector<std::string>& arguments) {
  if (arguments.size() < 2 || arguments.size() > 3 || !isOneName(arguments[1])) {
    std::cerr << "Usage: usb_rx_recorder FOLDER NAME [DESCRIPTION]\n";
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
    std::cerr << "usb_rx_recorder: " << error.what() << '\n';
    return failed;
  }
}
