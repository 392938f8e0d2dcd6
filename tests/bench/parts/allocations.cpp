#include "bench/parts/allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

bench::Allocations soFar;

}  // namespace

// What replaces `new` has nothing above it that manages memory.
// NOLINTBEGIN(cppcoreguidelines-no-malloc)
void* operator new(std::size_t size) {
  ++soFar.calls;
  soFar.bytes += size;
  void* memory = std::malloc(size == 0 ? 1 : size);
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

// NOLINTEND(cppcoreguidelines-no-malloc)

bench::Allocations bench::allocationsSoFar() {
  return soFar;
}
