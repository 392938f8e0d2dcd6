#include "support/guarded_bytes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace support {

GuardedBytes::GuardedBytes(std::string_view bytes) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t readable = (bytes.size() + page - 1) / page * page;
  void* const start =
      mmap(nullptr, readable + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (start == MAP_FAILED) {
    throw std::system_error(errno, std::generic_category(), "mmap");
  }
  pages_ = {static_cast<std::uint8_t*>(start), readable + page};
  const auto copy = pages_.first(readable).last(bytes.size());
  std::copy(bytes.begin(), bytes.end(), copy.begin());
  bytes_ = copy;
  mprotect(pages_.last(page).data(), page, PROT_NONE);
}

GuardedBytes::~GuardedBytes() {
  munmap(pages_.data(), pages_.size());
}

}  // namespace support
