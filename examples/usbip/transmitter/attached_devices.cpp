#include "examples/usbip/transmitter/attached_devices.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "examples/usbip/exchange/failure_line.h"
#include "examples/usbip/transmitter/virtual_ports.h"
#include "ulx/exceptions.h"
#include "ulx/sleep.h"

namespace usbip {
namespace {

constexpr std::chrono::seconds timeToDetach{5};
constexpr double secondsBetweenLooks = 0.02;

bool isFree(unsigned number, const std::vector<VirtualPort>& ports) {
  return std::any_of(ports.begin(), ports.end(), [number](const VirtualPort& port) {
    return port.number == number && port.state == VirtualPort::State::free;
  });
}

bool areFree(const std::list<AttachedDevice>& devices) {
  const std::vector<VirtualPort> ports = readPorts();
  return std::all_of(devices.begin(), devices.end(),
                     [&ports](const AttachedDevice& device) { return isFree(device.port, ports); });
}

void waitUntilFree(const std::list<AttachedDevice>& devices) {
  const auto deadline = std::chrono::steady_clock::now() + timeToDetach;
  while (!areFree(devices)) {
    if (std::chrono::steady_clock::now() > deadline) {
      throw ulx::StrException("the kernel has not detached all that was attached");
    }
    ulx::sleepSeconds(secondsBetweenLooks);
  }
}

// One that cannot be detached keeps none of the others attached. Whether it still is, its port shows.
void askToDetach(const AttachedDevice& device, const Log& log) {
  try {
    detach(device.port);
  } catch (const ulx::ErrnoException& e) {
    log.error(device.name + ": " + failureLine(e));
  }
}

}  // namespace

void AttachedDevices::add(AttachedDevice device) {
  log_.print(device.name + " is attached at port " + std::to_string(device.port));
  devices_.push_back(std::move(device));
}

void AttachedDevices::watch(PollSet& descriptors) const {
  for (const AttachedDevice& device : devices_) {
    descriptors.add(device.socket->fd(), POLLRDHUP);
  }
}

void AttachedDevices::forgetGone(const PollSet& descriptors) {
  devices_.remove_if([this, &descriptors](const AttachedDevice& device) {
    const bool hasGone = descriptors.hasEvent(device.socket->fd());
    if (hasGone) {
      log_.print(device.name + " has gone");
    }
    return hasGone;
  });
}

// What has gone meanwhile has given up its port, which may be another's by now.
void AttachedDevices::detachAll() {
  PollSet now;
  watch(now);
  now.wait(0);
  forgetGone(now);
  if (devices_.empty()) {
    return;
  }
  for (const AttachedDevice& device : devices_) {
    askToDetach(device, log_);
  }
  waitUntilFree(devices_);
  log_.debug("all that was attached is detached");
}

}  // namespace usbip
