#pragma once

#include <sys/select.h>
#include <sys/time.h>

namespace ulx {

/** The descriptors of one wait, up to FD_SETSIZE - 1. A plain record that callers may copy. */
struct FdSetRecord {
  /** Adds `fd` to `readSet`. Throws "select()" with EINVAL for a number that no fd_set can hold. */
  void addReader(int fd);

  fd_set readSet{};
  fd_set writeSet{};
  fd_set exceptSet{};
  int maxFd = -1;  // the highest number in any set
};

/**
 * Waits until a descriptor of `sets` is ready or `timeout` has passed (null: no limit). Returns the lowest
 * ready descriptor of all three sets, or -1 after the time-out. Signals do not end the wait. Reduces
 * `timeout` by the time spent, and leaves only the ready descriptors in `sets`. Throws "select()", with
 * EINVAL when an fd_set cannot hold `maxFd`.
 */
int waitReady(FdSetRecord& sets, timeval* timeout);

/** waitReady for up to `seconds`, on sets that the caller has no other use for. */
int waitForFd(FdSetRecord&& sets, float seconds);

/** Whether any descriptor of such sets is ready now. Throws "select()". */
bool pollFd(FdSetRecord&& sets);

}  // namespace ulx
