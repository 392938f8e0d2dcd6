#pragma once

#include <cstdio>

/**
 * Opens the file at `path` with the fopen mode `mode` and takes the flock(2) lock `lockOp` on it, making sure
 * that the locked file is still the one at the path (a writer may have moved a new one there meanwhile).
 *
 * At most 100 attempts are made. A blocking request retries at once after each of its first 20 failed
 * attempts and sleeps 1 ms after each later one; a request with LOCK_NB sleeps 1 ms after every failed
 * attempt.
 *
 * Returns the locked stream, which the caller closes; null when the attempts are used up or `path` has more
 * than 254 characters (both without a message), or when it cannot be opened as a file (one line on standard
 * output).
 */
FILE* configOpenLocked(const char* path, const char* mode, int lockOp);

/** flock(fd, lockOp), resumed when a signal interrupts it: 0, or -1 with a line on standard output. */
int configLockFile(int fd, int lockOp);
