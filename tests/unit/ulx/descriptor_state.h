#pragma once

#include <fcntl.h>
#include <unistd.h>

/** Whether `fd` is an open descriptor. */
inline bool isOpen(int fd) {
  return fcntl(fd, F_GETFD) != -1;
}

/** Whether executed programs do not get `fd`. */
inline bool isCloseOnExec(int fd) {
  return (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
}

/** Reads and writes of `fd` that would wait fail with EAGAIN from now on. */
inline void setNonBlocking(int fd) {
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
}

/** The number that the next descriptor to be opened will have: it stays where nothing is left open. */
inline int nextDescriptor() {
  const int next = open("/dev/null", O_RDONLY);
  close(next);
  return next;
}
