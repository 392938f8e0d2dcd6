#pragma once

#include <sys/select.h>
#include <sys/time.h>

namespace ulx {

/** The descriptors that one wait watches. Plain: callers copy it. Descriptors go up to FD_SETSIZE - 1. */
struct FdSetRecord {
  /** Watches `fd` for reading. A number that no fd_set can hold throws "select()" with EINVAL. */
  void addReader(int fd);

  fd_set readSet{};
  fd_set writeSet{};
  fd_set exceptSet{};
  int maxFd = -1;  // the highest number in any set
};

/**
 * Waits until a descriptor of `sets` is ready or `timeout` has passed (null: without limit). Returns the
 * lowest ready descriptor, whatever set it is in, or -1 on time-out. A signal does not end the wait;
 * `timeout` is reduced by the time spent. `sets` is left with what is ready. Throws "select()"; EINVAL when
 * `maxFd` is more than an fd_set holds.
 */
int waitReady(FdSetRecord& sets, timeval* timeout);

/** waitReady on a copy of `sets` for up to `seconds`. */
int waitForFd(const FdSetRecord& sets, float seconds);

/** Whether any descriptor of `sets` is ready now. */
bool pollFd(const FdSetRecord& sets);

}  // namespace ulx
