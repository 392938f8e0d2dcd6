#include "system/support/worker_launch.h"

void WorkerLaunch::startWith(const Arguments& options, const sim::ProcessOptions& world) {
  startFor({"transmitter", "5000", "high"}, options, world);
}

void WorkerLaunch::startFor(const Arguments& positionals, const Arguments& options,
                            const sim::ProcessOptions& world) {
  Arguments arguments{"--class=all"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), positionals.begin(), positionals.end());
  unit.startDaemon(arguments, world);
  if (positionals.at(1) != "0") {
    unit.waitUntilServing();
  }
}

sim::Worker& WorkerLaunch::genericWorker(const std::string& port) {
  return unit.workers.waitForWorkerOf(unit.plug(named(mouse(), port, "Mouse")));
}

sim::Worker& WorkerLaunch::keyboardWorker() {
  sim::UsbDevice keyboard = named(deviceWithRaw(sim::keyboardDescriptors()), "1-2", "Keyboard");
  unit.sysfs.add(keyboard);
  sim::HiddevNode node;
  node.usbDevice = keyboard.directory();
  node.dev = "13:65";
  unit.plug(node);
  return unit.workers.waitForWorkerOf("65");
}

sim::Worker& WorkerLaunch::scsiWorker() {
  sim::UsbDevice disk = named(deviceWithRaw(sim::diskDescriptors()), "1-3", "Disk");
  unit.sysfs.add(disk);
  sim::ScsiGenericNode node;
  node.usbDevice = disk.directory();
  return unit.workers.waitForWorkerOf(unit.plug(node));
}

std::vector<sim::WorkerStart> WorkerLaunch::startsOfAllWorkers() {
  return {genericWorker().start, keyboardWorker().start, scsiWorker().start};
}
