#pragma once

#include <stdexcept>

namespace explain {

/** Wrong usage, or a device that cannot be read; the text says which. */
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace explain
