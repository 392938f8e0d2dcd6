#include "examples/usbip/transmitter/poll_set.h"

#include <algorithm>
#include <cerrno>

#include "ulx/exceptions.h"

namespace usbip {

void PollSet::add(int fd, short events) {
  descriptors_.push_back({.fd = fd, .events = events, .revents = 0});
}

void PollSet::wait(int milliseconds) {
  const int events = ::poll(descriptors_.data(), descriptors_.size(), milliseconds);
  if (events == -1 && errno != EINTR) {
    ulx::throwErrno("poll()", errno);
  }
}

bool PollSet::hasEvent(int fd) const {
  return std::any_of(descriptors_.begin(), descriptors_.end(), [fd](const pollfd& descriptor) {
    return descriptor.fd == fd && descriptor.revents != 0;
  });
}

}  // namespace usbip
