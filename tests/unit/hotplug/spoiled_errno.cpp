#include "unit/hotplug/spoiled_errno.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constinit bool isSpoiled = false;

}  // namespace

SpoiledErrno::SpoiledErrno() {
  isSpoiled = true;
}

SpoiledErrno::~SpoiledErrno() {
  isSpoiled = false;
}

// The program's own operators, in place of the library's. Allocation has to be replaced with release.
// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return std::malloc(size == 0 ? 1 : size);
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
  if (isSpoiled) {
    errno = EXDEV;
  }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  operator delete(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
