#include "ulx/wait.h"

#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <ctime>

#include "ulx/exceptions.h"

namespace ulx {
namespace {

constexpr float microsecondsPerSecond = 1e6F;

[[noreturn]] void throwUnholdable() {
  errno = EINVAL;
  throwErrno("select()", EINVAL);
}

bool isReady(const FdSetRecord& sets, int fd) {
  return FD_ISSET(fd, &sets.readSet) || FD_ISSET(fd, &sets.writeSet) || FD_ISSET(fd, &sets.exceptSet);
}

int lowestReady(const FdSetRecord& sets) {
  for (int fd = 0; fd <= sets.maxFd; ++fd) {
    if (isReady(sets, fd)) {
      return fd;
    }
  }
  throw "not reached";
}

// The kernel copies every set that it is given, also an empty one.
fd_set* usedSet(fd_set& set, int maxFd) {
  for (int word = 0; word <= maxFd / NFDBITS; ++word) {
    if (set.fds_bits[word] != 0) {
      return &set;
    }
  }
  return nullptr;
}

// The number of ready descriptors; the sets hold no others then.
int select(FdSetRecord& sets, timeval* timeout) {
  if (sets.maxFd >= FD_SETSIZE) {
    throwUnholdable();
  }
  int ready = 0;
  do {
    ready = ::select(sets.maxFd + 1, usedSet(sets.readSet, sets.maxFd), usedSet(sets.writeSet, sets.maxFd),
                     usedSet(sets.exceptSet, sets.maxFd), timeout);
  } while (ready == -1 && errno == EINTR);
  if (ready == -1) {
    throwErrno("select()", errno);
  }
  return ready;
}

timeval toTimeval(float seconds) {
  float whole = 0;
  const float fraction = std::modf(seconds, &whole);
  return {.tv_sec = static_cast<time_t>(whole),
          .tv_usec = static_cast<suseconds_t>(fraction * microsecondsPerSecond)};
}

}  // namespace

void FdSetRecord::addReader(int fd) {
  if (fd < 0 || fd >= FD_SETSIZE) {
    throwUnholdable();
  }
  FD_SET(fd, &readSet);
  maxFd = std::max(maxFd, fd);
}

int waitReady(FdSetRecord& sets, timeval* timeout) {
  return select(sets, timeout) == 0 ? -1 : lowestReady(sets);
}

int waitForFd(FdSetRecord&& sets, float seconds) {
  timeval timeout = toTimeval(seconds);
  return waitReady(sets, &timeout);
}

bool pollFd(FdSetRecord&& sets) {
  timeval timeout{};
  return select(sets, &timeout) > 0;
}

}  // namespace ulx
