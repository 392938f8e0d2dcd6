#pragma once

#include <cstdio>

/**
 * Opens the file at `path` with the fopen mode `mode` and takes the flock(2) lock `lockOp` on it. An attempt
 * fails when the lock is refused, and when another file has taken the place of the opened one at `path`.
 *
 * There are at most 100 attempts. With LOCK_NB, each failed attempt is followed by a sleep of 1 ms.
 * Without it, the first 20 failed attempts are followed by the next attempt at once, each later one by a
 * sleep of 1 ms.
 *
 * Returns the locked stream, which the caller closes. Returns null without a message after the last attempt
 * and for a `path` of more than 254 characters. When `path` cannot be opened as a file, it returns null and
 * prints one line to standard output.
 */
FILE* configOpenLocked(const char* path, const char* mode, int lockOp);

/** flock(fd, lockOp), resumed after signals. Returns 0, or -1 after one line on standard output. */
int configLockFile(int fd, int lockOp);
