#include "system/support/worker_launch.h"

#include "system/support/daemon_fixture.h"

namespace support {

void WorkerLaunch::startWith(const Arguments& options, const sim::ProcessOptions& world) {
  startFor({"transmitter", "5000", "high"}, options, world);
}

void WorkerLaunch::startFor(const Arguments& positionals, const Arguments& options,
                            const sim::ProcessOptions& world) {
  unit.startDaemon(commandLine(joined({"--class=all"}, options), positionals), world);
  if (positionals.at(1) != "0") {
    unit.waitUntilServing();
  }
}

sim::Worker& WorkerLaunch::genericWorker(const std::string& port) {
  return unit.workers.waitForWorkerOf(unit.plug(named(mouse(), port, "Mouse")));
}

sim::Worker& WorkerLaunch::keyboardWorker() {
  unit.plug(sim::HiddevNode{.usbDevice = unit.sysfs.add(keyboard()), .dev = "13:65"});
  return unit.workers.waitForWorkerOf("65");
}

sim::Worker& WorkerLaunch::scsiWorker() {
  return unit.workers.waitForWorkerOf(unit.plug(sim::ScsiGenericNode{.usbDevice = unit.sysfs.add(disk())}));
}

std::vector<sim::WorkerStart> WorkerLaunch::startsOfAllWorkers() {
  return {genericWorker().start, keyboardWorker().start, scsiWorker().start};
}

}  // namespace support
