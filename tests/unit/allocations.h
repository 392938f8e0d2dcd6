#pragma once

/* A program that has this among its sources takes and releases memory by operators that tests can observe and disturb. */

/** How often memory has been taken so far. */
[[nodiscard]] long allocationsSoFar();

/** While this lives, each allocation sets errno to this number, as one that has to search for memory may. */
class AllocationsThatSetErrno {
 public:
  explicit AllocationsThatSetErrno(int number);
  AllocationsThatSetErrno(const AllocationsThatSetErrno&) = delete;
  AllocationsThatSetErrno& operator=(const AllocationsThatSetErrno&) = delete;
  ~AllocationsThatSetErrno();

  /** What an allocation does to errno, for memory that is taken elsewhere. */
  static void disturb();
};

/** While this lives, each release of memory sets errno to this number, as it may with any C library. */
class ReleasesThatSetErrno {
 public:
  explicit ReleasesThatSetErrno(int number);
  ReleasesThatSetErrno(const ReleasesThatSetErrno&) = delete;
  ReleasesThatSetErrno& operator=(const ReleasesThatSetErrno&) = delete;
  ~ReleasesThatSetErrno();
};

/** While this lives, `new` finds no memory. Exceptions can be thrown all the same. */
class NoMemory {
 public:
  NoMemory();
  NoMemory(const NoMemory&) = delete;
  NoMemory& operator=(const NoMemory&) = delete;
  ~NoMemory();
};
