// Says what the daemon does with a USB device, and why.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "tools/explain/circumstances.h"
#include "tools/explain/device_source.h"
#include "tools/explain/error.h"
#include "tools/explain/explanation.h"
#include "tools/explain/failure_text.h"
#include "tools/explain/json_output.h"
#include "tools/explain/outcome_words.h"
#include "tools/explain/request.h"
#include "tools/explain/text_output.h"
#include "tools/recorder/plugged_device.h"
#include "tools/recorder/recording_output.h"
#include "tools/version.h"

namespace {

using explain::Device;
using explain::Explanation;
using explain::Request;

enum ExitStatus : int { allServed = 0, notAllServed = 1, wrongUsageOrUnreadable = 2 };

// Asked before the daemon's library puts something harmless in the place of a standard descriptor that is closed.
struct StandardOutput {
  bool isOpen = fcntl(STDOUT_FILENO, F_GETFD) != -1;
};
[[gnu::init_priority(101)]] const StandardOutput standardOutput;

bool writeAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(fd, text.data(), text.size());
    if (written == -1 && errno != EINTR) {
      return false;
    }
    text.remove_prefix(written == -1 ? 0 : static_cast<std::size_t>(written));
  }
  return true;
}

void report(const std::string& fault) {
  writeAll(STDERR_FILENO, "usb_rx_explain: " + fault + "\n");
}

// A reader that has gone, as of "| head", needs no message.
int answer(const std::string& text, int status) {
  if (writeAll(STDOUT_FILENO, text)) {
    return status;
  }
  if (errno != EPIPE) {
    report(std::string("standard output: ") + std::strerror(errno));
  }
  return wrongUsageOrUnreadable;
}

// What could not be read is reported, and the rest explained.
struct Answers {
  std::vector<Explanation> explanations;
  bool isComplete = true;

  void add(const Device& device, const explain::Circumstances& circumstances) {
    try {
      explanations.push_back(explain::explainDevice(device, circumstances));
    } catch (const explain::Error& error) {
      reportUnread(error.what());
    } catch (...) {
      reportUnread(device.path + ": " + explain::failureText());
    }
  }

  void reportUnread(const std::string& fault) {
    report(fault);
    isComplete = false;
  }
};

Answers explainNamed(const Request& request, const explain::Circumstances& circumstances) {
  Answers answers;
  for (const std::string& argument : request.devices) {
    try {
      for (const Device& device : explain::devicesNamed(argument, request.deviceSpeed)) {
        answers.add(device, circumstances);
      }
    } catch (const explain::Error& error) {
      answers.reportUnread(error.what());
    }
  }
  return answers;
}

Answers explainPlugged(const explain::Circumstances& circumstances) {
  Answers answers;
  for (const Device& device : explain::devicesPlugged()) {
    answers.add(device, circumstances);
  }
  return answers;
}

// Every machine has hubs; they count only for somebody who asks for one.
int statusOf(const Answers& answers, const Request& request) {
  if (!answers.isComplete) {
    return wrongUsageOrUnreadable;
  }
  const bool hubsCount = !request.devices.empty();
  const bool allAreServed = std::ranges::all_of(answers.explanations, [&](const Explanation& explanation) {
    return explanation.outcome == explain::Outcome::served ||
           (explanation.kind == DeviceKind::hub && !hubsCount);
  });
  return allAreServed ? allServed : notAllServed;
}

std::string textOf(const Answers& answers, const Request& request,
                   const explain::Circumstances& circumstances) {
  if (request.json) {
    return explain::jsonOf(answers.explanations, circumstances);
  }
  if (answers.explanations.empty() && !answers.isComplete) {
    return {};  // the reports on standard error say all
  }
  std::string text = explain::headingOf(circumstances);
  if (request.devices.empty()) {
    text += "\n" + explain::tableOf(answers.explanations);
  }
  for (const Explanation& explanation : answers.explanations) {
    text += "\n" + explain::textOf(explanation);
  }
  return text;
}

int explainDevices(const Request& request) {
  const explain::Circumstances circumstances = explain::readCircumstances(request);
  if (request.json && circumstances.configurationState != explain::ConfigurationState::loaded) {
    report(explain::configurationLine(circumstances));
  }
  const Answers answers =
      request.devices.empty() ? explainPlugged(circumstances) : explainNamed(request, circumstances);
  return answer(textOf(answers, request, circumstances), statusOf(answers, request));
}

int saveDevice(const std::string& folder, const std::string& argument) {
  recorder::requireNewFolder(folder);
  const recorder::DeviceRecording recording =
      recorder::recordPluggedDevice(explain::pluggedDeviceNamed(argument));
  recorder::writeRecording(recording, recorder::kernelRelease(), folder);
  return answer("Saved in " + folder +
                    ". Look through it for anything that nobody else need know before you pass it on.\n",
                allServed);
}

int run(std::span<char* const> arguments) {
  const Request request = explain::parseRequest(arguments);
  switch (request.answer) {
    case Request::Answer::help:
      return answer(explain::usage, allServed);
    case Request::Answer::version:
      return answer("usb_rx_explain " + std::string(programVersion) + "\n", allServed);
    case Request::Answer::savedDevice:
      return saveDevice(request.folder, request.devices.front());
    case Request::Answer::explanations:
      break;
  }
  return explainDevices(request);
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  if (!standardOutput.isOpen) {
    report(std::string("standard output: ") + std::strerror(EBADF));
    return wrongUsageOrUnreadable;
  }
  try {
    return run(std::span<char* const>(argv, static_cast<std::size_t>(argc)).subspan(argc > 0 ? 1 : 0));
  } catch (...) {
    report(explain::failureText());
    return wrongUsageOrUnreadable;
  }
}
