#pragma once

#include <string>

namespace bench {

/** What figures depend on besides the programs. */
struct Machine {
  std::string kernel;
  std::string processor;
  int processors;  // that the contenders may use: taskset leaves fewer than the machine has
};

[[nodiscard]] Machine thisMachine();

}  // namespace bench
