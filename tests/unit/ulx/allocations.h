#pragma once

/** While this lives, each allocation sets errno to this number, as one that has to search for memory may. */
class AllocationsThatSetErrno {
 public:
  explicit AllocationsThatSetErrno(int number);
  AllocationsThatSetErrno(const AllocationsThatSetErrno&) = delete;
  AllocationsThatSetErrno& operator=(const AllocationsThatSetErrno&) = delete;
  ~AllocationsThatSetErrno();
};

/** While this lives, `new` finds no memory. Exceptions can be thrown all the same. */
class NoMemory {
 public:
  NoMemory();
  NoMemory(const NoMemory&) = delete;
  NoMemory& operator=(const NoMemory&) = delete;
  ~NoMemory();
};
