#include "system/support/killed_launch.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <vector>

#include "sim/process.h"
#include "sim/process_table.h"
#include "support/eventually.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace support {
namespace {

sim::ProcessEnd waitForEnd(pid_t process) {
  int status = 0;
  eventually("the end of process " + std::to_string(process),
             [&] { return ::waitpid(process, &status, WNOHANG) == process; });
  return sim::ProcessEnd::of(status);
}

}  // namespace

LaunchedKind genericKind() {
  return {{"Generic"}, [](sim::Sysfs& sysfs) { return sysfs.add(scanner()); }, scanner().directory(), true};
}

LaunchedKind keyboardKind() {
  return {{"Keyboard"},
          [](sim::Sysfs& sysfs) { return sysfs.add(sim::HiddevNode{.usbDevice = sysfs.add(keyboard())}); },
          keyboard().directory(),
          false};
}

LaunchedKind scsiKind() {
  return {{"Scsi"},
          [](sim::Sysfs& sysfs) { return sysfs.add(sim::ScsiGenericNode{.usbDevice = sysfs.add(disk())}); },
          disk().directory(),
          false};
}

void KilledLaunch::startDaemon() {
  leftBefore_ = leftBehind();
  start(commandLine({"--debug=ctrl", "--class=all"}));
}

KilledLaunch::Clock::time_point KilledLaunch::beginLaunch(const LaunchedKind& kind) {
  const std::string devpath = devpathOf(kind.add(unit.sysfs));
  const Clock::time_point now = Clock::now();
  unit.uevents.add(devpath);
  return now;
}

KilledLaunch::Clock::duration KilledLaunch::lengthOfLaunch(const LaunchedKind& kind) {
  startDaemon();
  const Clock::time_point begin = beginLaunch(kind);
  sim::Worker& worker = unit.workers.waitForWorker();
  const Clock::duration length = Clock::now() - begin;
  killDaemon();
  unit.sysfs.removeDevice(kind.usbDevice);
  if (!kind.endsWithTheDaemon) {
    worker.exitWith(0);
  }
  waitForEnd(worker.start.pid);
  unit.workers.forget(worker);
  return length;
}

void KilledLaunch::killDaemon() {
  unit.daemon().signal(SIGKILL);
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::killedBy(SIGKILL));
}

KilledLaunch::Outcome KilledLaunch::clear(const LaunchedKind& kind) {
  unit.sysfs.removeDevice(kind.usbDevice);
  const std::set<pid_t> left = leftBehind();
  const auto process =
      std::find_if(left.begin(), left.end(), [&](pid_t id) { return !leftBefore_.contains(id); });
  if (process == left.end()) {
    return Outcome::noProcess;
  }
  const Outcome outcome = kind.endsWithTheDaemon ? outcomeOfGeneric(*process) : outcomeOfLasting(*process);
  EXPECT_EQ(leftBehind(), leftBefore_);
  return outcome;
}

// They come to this process.
std::set<pid_t> KilledLaunch::leftBehind() {
  const std::vector<pid_t> children = sim::childrenOf(::getpid());
  return {children.begin(), children.end()};
}

KilledLaunch::Outcome KilledLaunch::outcomeOfGeneric(pid_t process) {
  const sim::ProcessEnd end = waitForEnd(process);
  if (end == sim::ProcessEnd::exited(0)) {
    return Outcome::endedByItself;
  }
  EXPECT_EQ(end, sim::ProcessEnd::killedBy(SIGTERM));
  return Outcome::endedBySignal;
}

KilledLaunch::Outcome KilledLaunch::outcomeOfLasting(pid_t process) {
  sim::Worker& worker = unit.workers.waitForWorker();
  EXPECT_EQ(worker.start.pid, process);
  EXPECT_TRUE(worker.isRunning());
  worker.exitWith(0);
  EXPECT_EQ(waitForEnd(process), sim::ProcessEnd::exited(0));
  unit.workers.forget(worker);
  return Outcome::served;
}

}  // namespace support
