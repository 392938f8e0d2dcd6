// The memory of a thrown object does not come from `new`.

#include <cstddef>

#include "unit/allocations.h"

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" void* __real___cxa_allocate_exception(std::size_t size) noexcept;

extern "C" void* __wrap___cxa_allocate_exception(std::size_t size) noexcept {
  void* memory = __real___cxa_allocate_exception(size);
  AllocationsThatSetErrno::disturb();
  return memory;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
