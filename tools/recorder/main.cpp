// Records a device of this machine: says when to plug it in and take it out, and writes what the kernel shows of it.

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "tools/recorder/device_recorder.h"
#include "tools/recorder/plugged_device.h"
#include "tools/recorder/recording_output.h"
#include "ulx/exceptions.h"

namespace {

constexpr int failed = 1;
constexpr int wrongUse = 2;

void print(const std::string& text) {
  std::fputs(text.c_str(), stderr);
}

recorder::DeviceRecording recordDevice() {
  recorder::DeviceRecorder recorder;
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

int run(const std::vector<std::string>& arguments) {
  if (arguments.size() < 2 || arguments.size() > 3 || !isOneName(arguments[1])) {
    print("Usage: usb_rx_recorder FOLDER NAME [DESCRIPTION]\n");
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
