// A device that was saved while it was plugged in: plugged elsewhere, the daemon does with it what it did with the
// device itself.

#include <algorithm>
#include <cctype>
#include <string>
#include <tuple>
#include <vector>

#include "sim/recording_views.h"
#include "support/temporary_directory.h"
#include "system/support/hotplug.h"
#include "tools/recorder/plugged_device.h"
#include "tools/recorder/recording_input.h"
#include "tools/recorder/recording_output.h"

namespace {

using support::Lines;

namespace debug = contract::debug;

/** What comes of plugging a device. */
struct Outcome {
  Lines decisions;  ///< "PATH: TEXT" for what the daemon prints of its decisions
  Lines workers;    ///< their command lines, sorted
  Lines display;

  bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  for (const Lines* lines : {&outcome.decisions, &outcome.workers, &outcome.display}) {
    for (const std::string& line : *lines) {
      out << "\n  " << line;
    }
  }
  return out;
}

/** Not so a subsystem, nor that something outside the device's tree could not be decided about. */
bool isDecision(const std::string& text) {
  return !text.starts_with("subsystem is ") && text != debug::eventIgnored;
}

Lines decisionsIn(const Lines& messages) {
  Lines decisions;
  std::string path;
  for (const std::string& message : messages) {
    const std::string text = message.substr(std::string(debug::tag).size());
    const std::size_t blank = text.find(' ');
    if (blank != std::string::npos && text.substr(blank + 1).starts_with('/')) {
      path = text.substr(blank + 1);
    } else if (isDecision(text)) {
      decisions.push_back(path + ": " + text);
    }
  }
  return decisions;
}

/** The USB devices that a recording is of: several where it is of the root hubs. */
std::vector<std::string> devicesOf(const sim::DeviceRecording& recording) {
  if (!recording.directory.empty()) {
    return {recording.directory};
  }
  std::vector<std::string> devices;
  for (const sim::TreeEntry& entry : recording.tree) {
    if (entry.path.ends_with("/bDeviceClass")) {
      devices.push_back("/sys/" + entry.path.substr(0, entry.path.rfind('/')));
    }
  }
  return devices;
}

/** A unit with a daemon that a device is plugged into. */
class PluggedUnit {
 public:
  explicit PluggedUnit(const std::string& classList) {
    unit_.startDaemon({"--debug=ctrl", "--class=" + classList, "transmitter", "5000", "high"});
    unit_.waitUntilServing();
  }

  Outcome outcomeOf(const std::vector<sim::DeviceRecording>& recordings) {
    const Lines messages = support::messagesDuring(unit_, [&] {
      for (const sim::DeviceRecording& recording : recordings) {
        unit_.plug(recording);
      }
    });
    return {decisionsIn(messages), commandLines(), unit_.display.takeWrites()};
  }

 private:
  Lines commandLines() {
    Lines commands;
    for (std::size_t i = unit_.daemon().children().size(); i > 0; --i) {
      std::string command;
      for (const std::string& argument : unit_.workers.waitForWorker().start.arguments) {
        command += argument + " ";
      }
      commands.push_back(command);
    }
    std::sort(commands.begin(), commands.end());
    return commands;
  }

  sim::Unit unit_;
};

/** Saved from the unit that this is called in, and read again. */
std::vector<sim::DeviceRecording> savedAgain(const sim::DeviceRecording& recording) {
  const support::TemporaryDirectory folder;
  std::vector<sim::DeviceRecording> saved;
  for (const std::string& device : devicesOf(recording)) {
    const std::string place = folder / recording.name + std::to_string(saved.size());
    recorder::writeRecording(recorder::recordPluggedDevice(device), recorder::kernelRelease(), place);
    saved.push_back(recorder::readRecording(place));
  }
  return saved;
}

void expectSameWhenSaved(const sim::DeviceRecording& recording, const std::string& classList) {
  Outcome expected;
  std::vector<sim::DeviceRecording> saved;
  {
    PluggedUnit unit(classList);
    expected = unit.outcomeOf({recording});
    saved = savedAgain(recording);
  }
  ASSERT_FALSE(expected.decisions.empty());
  EXPECT_EQ(PluggedUnit(classList).outcomeOf(saved), expected);
}

using Names = std::vector<std::string>;

Names namesOfHiddevRecordings() {
  Names names = sim::recordingNames();
  std::erase_if(names, [](const std::string& name) { return !name.ends_with("-hiddev"); });
  return names;
}

std::string withoutHyphens(std::string name) {
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

class SavedDevices : public testing::TestWithParam<std::tuple<std::string, std::string>> {};

std::string nameOf(const testing::TestParamInfo<SavedDevices::ParamType>& instance) {
  return withoutHyphens(std::get<0>(instance.param) + "_" + std::get<1>(instance.param));
}

INSTANTIATE_TEST_SUITE_P(Devices, SavedDevices,
                         testing::Combine(testing::ValuesIn(sim::recordingNames()),
                                          testing::Values("none", "all")),
                         nameOf);

TEST_P(SavedDevices, AreHandledAsTheDeviceItself) {
  const auto& [device, classList] = GetParam();
  expectSameWhenSaved(sim::loadRecording(device), classList);
}

class SavedDevicesOfOlderKernels : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Devices, SavedDevicesOfOlderKernels, testing::ValuesIn(namesOfHiddevRecordings()),
                         [](const testing::TestParamInfo<std::string>& instance) {
                           return withoutHyphens(instance.param);
                         });

TEST_P(SavedDevicesOfOlderKernels, AreHandledAsTheDeviceItself) {
  expectSameWhenSaved(sim::withClassUsbHiddev(sim::loadRecording(GetParam())), "all");
}

}  // namespace
