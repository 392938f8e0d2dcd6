#include "sim/descriptor.h"

#include <unistd.h>

#include <utility>

namespace sim {

Descriptor::Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    close();
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

Descriptor::~Descriptor() {
  close();
}

void Descriptor::close() {
  if (isOpen()) {
    ::close(std::exchange(fd_, -1));
  }
}

}  // namespace sim
