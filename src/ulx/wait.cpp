#include "ulx/wait.h"

#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstring>
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
  static constexpr fd_set empty{};
  const std::size_t words = static_cast<std::size_t>(maxFd + NFDBITS) / NFDBITS;
  return std::memcmp(&set, &empty, words * sizeof(fd_mask)) == 0 ? nullptr : &set;
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
  if (sets.maxFd >= FD_SETSIZE) {
    throwUnholdable();
  }
  int ready = 0;
  do {
    ready = select(sets.maxFd + 1, usedSet(sets.readSet, sets.maxFd), usedSet(sets.writeSet, sets.maxFd),
                   usedSet(sets.exceptSet, sets.maxFd), timeout);
  } while (ready == -1 && errno == EINTR);
  if (ready == -1) {
    throwErrno("select()", errno);
  }
  return ready == 0 ? -1 : lowestReady(sets);
}

int waitForFd(FdSetRecord sets, float seconds) {
  timeval timeout = toTimeval(seconds);
  return waitReady(sets, &timeout);
}

bool pollFd(FdSetRecord sets) {
  timeval timeout{};
  return waitReady(sets, &timeout) != -1;
}

}  // namespace ulx
