#pragma once

/**
 * A scope in which each release of heap memory changes errno, as it may with any C library. Code that reads
 * errno only after a temporary object has gone reads EXDEV.
 */
class SpoiledErrno {
 public:
  SpoiledErrno();
  SpoiledErrno(const SpoiledErrno&) = delete;
  SpoiledErrno& operator=(const SpoiledErrno&) = delete;
  ~SpoiledErrno();
};
