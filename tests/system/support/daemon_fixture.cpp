#include "system/support/daemon_fixture.h"

#include <algorithm>
#include <iterator>

#include "support/eventually.h"
#include "system/support/attached_devices.h"
#include "system/support/process_state.h"

namespace support {

Lines commandLine(const Lines& options, const Lines& link) {
  return joined(options, link);
}

std::string linkLine(const std::string& speed, const std::string& host) {
  return host + " 5000 " + speed + " eth1  ";
}

Lines writes(const Lines& texts) {
  Lines all;
  std::transform(texts.begin(), texts.end(), std::back_inserter(all),
                 [](const std::string& text) { return text + "\n"; });
  return all;
}

Lines joined(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

sim::Daemon& DaemonFixture::start(const Lines& arguments, const sim::ProcessOptions& world) {
  sim::Daemon& daemon = unit.startDaemon(arguments, world);
  unit.waitUntilServing();
  return daemon;
}

sim::Worker& DaemonFixture::attach(const sim::UsbDevice& device) {
  return unit.workers.waitForWorkerOf(unit.plug(device));
}

sim::Worker& DaemonFixture::attachKeyboard() {
  unit.plug(sim::HiddevNode{.usbDevice = unit.plug(keyboard())});
  return unit.workers.waitForWorker();
}

sim::Worker& DaemonFixture::attachDisk() {
  return unit.workers.waitForWorkerOf(unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(disk())}));
}

void DaemonFixture::detachAndEnd(sim::Worker& worker, int status) {
  unit.unplug(worker.device());
  worker.exitWith(status);
}

void DaemonFixture::waitUntilForgotten(const sim::Worker& worker) {
  eventually("the daemon's notice of its worker's end", [&] {
    const std::vector<pid_t> children = unit.daemon().children();
    return std::find(children.begin(), children.end(), worker.start.pid) == children.end();
  });
}

void DaemonFixture::waitUntilAllForgotten(const sim::Deadline& deadline) {
  eventually(
      "no child of the daemon", [&] { return unit.daemon().children().empty(); }, deadline);
}

sim::LinkManager& DaemonFixture::send(const std::string& line) {
  clients.push_back(unit.connect());
  clients.back().send(line);
  return clients.back();
}

sim::LinkManager& DaemonFixture::deliver(const std::string& line) {
  sim::LinkManager& client = send(line);
  settleEverySource(unit);
  return client;
}

}  // namespace support
