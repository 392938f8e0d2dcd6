#include "demo/process_ends.h"

#include <sys/epoll.h>

#include <array>

#include "sim/error.h"

namespace demo {

ProcessEnds::ProcessEnds()
    : epoll_(::epoll_create1(EPOLL_CLOEXEC)), source_(epoll_.get(), [this] { takeAll(); }) {
  if (!epoll_.isOpen()) {
    throw sim::systemError("epoll_create1()");
  }
}

void ProcessEnds::watch(int endEvents) const {
  epoll_event event{};
  event.events = EPOLLIN | EPOLLONESHOT;
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, endEvents, &event) != 0) {
    throw sim::systemError("epoll_ctl(a process)");
  }
}

void ProcessEnds::takeAll() const {
  std::array<epoll_event, 16> events{};
  while (::epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), 0) > 0) {
  }
}

}  // namespace demo
