// Records a device of this machine: says when to plug it in and take it out, and writes what the kernel shows of it.

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "tools/recorder/device_recorder.h"
#include "tools/recorder/recording_output.h"
#include "tools/version.h"
#include "ulx/exceptions.h"

namespace {

constexpr int failed = 1;
constexpr int wrongUse = 2;

/** The description of a device that was recorded without one. */
std::string descriptionOf(const recorder::DeviceRecording& recording) {
  return recording.product.empty() ? "device without a product text" : recording.product;
}

recorder::DeviceRecording recordDevice() {
  recorder::DeviceRecorder recorder;
  std::cerr << "Plug the device in.\n";
  recorder.recordPlug();
  std::cerr << "Take it out.\n";
  recorder.recordUnplug();
  return recorder.recording();
}

void record(const std::string& folder, const std::string& description) {
  recorder::requireNewFolder(folder);
  recorder::DeviceRecording recording = recordDevice();
  recording.description = description.empty() ? descriptionOf(recording) : description;
  recorder::writeRecording(recording, recorder::kernelRelease(), folder);
  std::cerr << "Recorded in " << folder
            << ". Look through it for anything that nobody else need know before you pass it on.\n";
}

bool isOneName(const std::string& name) {
  return !name.empty() && name.front() != '.' && name.find('/') == std::string::npos;
}

int run(const std::vector<std::string>& arguments) {
  if (arguments == std::vector<std::string>{"--version"}) {
    std::cout << "usb_rx_recorder " << programVersion << std::endl;
    return std::cout ? 0 : failed;
  }
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
  } catch (const ulx::Exception& error) {
    std::cerr << "usb_rx_recorder: " << error.text();
  }
  return failed;
}
