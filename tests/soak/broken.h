#pragma once

#include <stdexcept>

namespace soak {

/** The daemon did something else than the model, or something that must always hold does not. */
class Broken : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace soak
