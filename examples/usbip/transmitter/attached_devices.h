#pragma once

#include <list>
#include <memory>
#include <string>

#include "examples/usbip/exchange/log.h"
#include "examples/usbip/transmitter/poll_set.h"
#include "ulx/file_descriptor.h"

namespace usbip {

/** A device whose connection the kernel has, and what a log calls it. */
struct AttachedDevice {
  std::string name;
  unsigned port = 0;
  /** Only to be looked at for its end: what comes in is the kernel's. It ends when the port is given up. */
  std::unique_ptr<ulx::FileDescriptor> socket;
};

/** The devices that this program has attached. */
class AttachedDevices {
 public:
  /** `log` must outlive it. */
  explicit AttachedDevices(const Log& log) : log_(log) {}

  void add(AttachedDevice device);
  /** Has `descriptors` notice when one goes. */
  void watch(PollSet& descriptors) const;
  /** Forgets those that have gone. */
  void forgetGone(const PollSet& descriptors);
  /** Detaches all, and waits until the kernel has. Throws a ulx::StrException when it does not in time. */
  void detachAll();

 private:
  const Log& log_;
  std::list<AttachedDevice> devices_;
};

}  // namespace usbip
