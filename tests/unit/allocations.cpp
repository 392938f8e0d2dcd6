#include "unit/allocations.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constinit long allocations = 0;
constinit int errnoOfAllocations = 0;  // 0 leaves errno alone
constinit int errnoOfReleases = 0;     // 0 leaves errno alone
constinit bool noMemory = false;

void setErrno(int number) {
  if (number != 0) {
    errno = number;
  }
}

}  // namespace

// The program's own operators, in place of the library's. Allocation has to be replaced with release.
// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  ++allocations;
  void* memory = noMemory ? nullptr : std::malloc(size == 0 ? 1 : size);
  AllocationsThatSetErrno::disturb();
  return memory;
}

void* operator new(std::size_t size) {
  void* memory = operator new(size, std::nothrow);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
  setErrno(errnoOfReleases);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  operator delete(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)

long allocationsSoFar() {
  return allocations;
}

AllocationsThatSetErrno::AllocationsThatSetErrno(int number) {
  errnoOfAllocations = number;
}

AllocationsThatSetErrno::~AllocationsThatSetErrno() {
  errnoOfAllocations = 0;
}

void AllocationsThatSetErrno::disturb() {
  setErrno(errnoOfAllocations);
}

ReleasesThatSetErrno::ReleasesThatSetErrno(int number) {
  errnoOfReleases = number;
}

ReleasesThatSetErrno::~ReleasesThatSetErrno() {
  errnoOfReleases = 0;
}

NoMemory::NoMemory() {
  noMemory = true;
}

NoMemory::~NoMemory() {
  noMemory = false;
}
