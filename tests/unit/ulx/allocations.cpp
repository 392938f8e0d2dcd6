#include "unit/ulx/allocations.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

int errnoOfAllocations = 0;  // 0 leaves errno alone
bool noMemory = false;

void disturb() {
  if (errnoOfAllocations != 0) {
    errno = errnoOfAllocations;
  }
}

}  // namespace

void* operator new(std::size_t size) {
  void* memory = noMemory ? nullptr : std::malloc(size == 0 ? 1 : size);
  disturb();
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

// The memory of a thrown object comes from elsewhere.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" void* __real___cxa_allocate_exception(std::size_t size) noexcept;

extern "C" void* __wrap___cxa_allocate_exception(std::size_t size) noexcept {
  void* memory = __real___cxa_allocate_exception(size);
  disturb();
  return memory;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

AllocationsThatSetErrno::AllocationsThatSetErrno(int number) {
  errnoOfAllocations = number;
}

AllocationsThatSetErrno::~AllocationsThatSetErrno() {
  errnoOfAllocations = 0;
}

NoMemory::NoMemory() {
  noMemory = true;
}

NoMemory::~NoMemory() {
  noMemory = false;
}
