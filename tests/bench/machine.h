#pragma once

#include <string>

namespace bench {

/** What figures depend on besides the programs. */
struct Machine {
  std::string kernel;
  std::string processor;
  long processors;
};

[[nodiscard]] Machine thisMachine();

}  // namespace bench
