#include "examples/scripted_unit.h"

#include <unistd.h>

namespace examples {

const char* const startScriptFile = EXAMPLES_FOLDER "/busybox/usb_rx_ctrl.init";

namespace {

sim::UsbDevice device(const std::string& port, const std::string& descriptors) {
  sim::UsbDevice made;
  made.name = port;
  made.descriptors = descriptors;
  made.speed = "12";
  return made;
}

}  // namespace

void ScriptedUnit::SetUp() {
  if (::access(busybox, X_OK) != 0) {
    GTEST_SKIP() << "BusyBox is not there: " << busybox;
  }
  processes.emplace();
  script.emplace(processes->shell(), startScriptFile);
  script->setArguments("--class=all");
}

std::string ScriptedUnit::call(const std::string& command, int status) {
  const sim::ScriptRun run = script->call(command);
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(status)) << command << ": " << run.output;
  return run.output;
}

pid_t ScriptedUnit::start() {
  call("start");
  sim::StartScript::waitUntilServing();
  return sim::StartScript::waitForDaemonAfter(0);
}

pid_t ScriptedUnit::killAndAwaitNext(pid_t daemon) {
  sendSignal("KILL", daemon);
  const pid_t next = sim::StartScript::waitForDaemonAfter(daemon);
  sim::StartScript::waitUntilServing();
  return next;
}

void ScriptedUnit::sendSignal(const std::string& name, pid_t process) {
  const sim::ScriptRun run = script->shell("kill -" + name + " " + std::to_string(process));
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(0)) << run.output;
}

int ScriptedUnit::countProcesses(const std::string& program) {
  return std::stoi(script->shell("grep -lz '^" + program + "$' /proc/[0-9]*/cmdline | wc -l").output);
}

sim::Worker& ScriptedUnit::attachKeyboard() {
  unit.plug(sim::HiddevNode{.usbDevice = unit.plug(device("1-2", sim::keyboardDescriptors()))});
  return unit.workers.waitForWorker();
}

sim::Worker& ScriptedUnit::attachDisk() {
  return unit.workers.waitForWorkerOf(
      unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(device("1-3", sim::diskDescriptors()))}));
}

sim::Worker& ScriptedUnit::attachMouse() {
  return unit.workers.waitForWorkerOf(unit.plug(device("1-1", sim::mouseDescriptors())));
}

}  // namespace examples
