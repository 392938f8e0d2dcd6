#include "kernel/pair/far_program.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "sim/error.h"

namespace pair {

namespace {

constexpr const char* logFile = "/tmp/usb_tx_usbip.log";
/** Prints how many ports are in another state than "free", which is 4. */
constexpr const char* countPortsInUse =
    "cat /sys/devices/platform/vhci_hcd.*/status* | grep -c '^[hs]s .* 00[5-7] '";

}  // namespace

FarProgram::FarProgram(FarMachine& machine)
    : machine_(machine), stateReport_([this] { return describe(); }) {}

FarProgram::~FarProgram() {
  try {
    if (isRunning()) {
      stop();
    }
  } catch (const std::exception& error) {
    // The next test could start no other.
    std::fprintf(stderr, "the far program does not end: %s\n", error.what());
    std::abort();
  }
}

void FarProgram::start(const std::string& options) {
  if (isRunning()) {
    throw sim::Error("the far program runs already");
  }
  process_ = machine_.read("usb_tx_usbip " + options + " " + std::to_string(port) + " >" + logFile +
                           " 2>&1 &\necho $!");
  machine_.waitUntil("netstat -ltn | grep -q ':" + std::to_string(port) + " ' || ! [ -d /proc/" + process_ +
                     " ]");
  if (machine_.call("kill -0 " + process_).status != 0) {
    wait();
    throw sim::Error("the far program does not start: " + log());
  }
}

int FarProgram::stop() {
  machine_.read("kill -TERM " + process_);
  return wait();
}

void FarProgram::kill() {
  machine_.read("kill -KILL " + process_);
  wait();
}

int FarProgram::wait() {
  const int status = machine_.call("wait " + process_).status;
  process_.clear();
  return status;
}

std::string FarProgram::log() {
  return machine_.call(std::string("cat ") + logFile).output;
}

// The machine may be what does not answer.
std::string FarProgram::describe() {
  if (isBeingDescribed_) {
    return {};
  }
  isBeingDescribed_ = true;
  std::string text = "the far program's lines:\n";
  try {
    text += log();
    text += "the far machine's kernel has reported last:\n" + machine_.call("dmesg | tail -n 40").output;
  } catch (const sim::Error&) {
    text += "its machine does not answer\n";
  }
  isBeingDescribed_ = false;
  return text;
}

std::string FarProgram::waitForLine(const std::string& expression, int count, const sim::Deadline& deadline) {
  return machine_.waitUntil("[ $(grep -c '" + expression + "' " + logFile + ") -ge " + std::to_string(count) +
                                " ] && grep '" + expression + "' " + logFile + " | tail -n 1",
                            deadline);
}

std::size_t FarProgram::openDescriptors() {
  return std::stoul(machine_.read("ls /proc/" + process_ + "/fd | wc -l"));
}

int FarProgram::portsInUse() {
  return std::stoi(machine_.call(countPortsInUse).output);
}

}  // namespace pair
